#include "hunk/hunk_operation.h"

#include <utility>

#include "command/exec.h"
#include "command/shell_quote.h"
#include "command/temporary_file.h"

namespace tarnwick {

std::vector<std::string> hunkApplyArguments(HunkAction action) {
  std::vector<std::string> words = {"apply"};
  if (action != HunkAction::Stage) words.emplace_back("-R");
  for (const char* option : {"--ignore-space-change", "--ignore-whitespace", "--whitespace=fix"}) {
    words.emplace_back(option);
  }
  if (action != HunkAction::Discard) words.emplace_back("--cached");
  return words;
}

std::string hunkApplyCommand(HunkAction action) {
  std::string command = "git";
  for (const std::string& word : hunkApplyArguments(action)) command += " " + word;
  return command;
}

bool showsGitError(const std::string& text) {
  return text == "error" || text.find("error: ") != std::string::npos;
}

bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath) {
  CommandResult result;
  {
    const TemporaryFile patch(patchText);
    if (patch.path().empty()) return false;
    result = exec(command + " " + quoteForShell(patch.path()), repoPath, true);
  }
  return result.exitStatus == 0 && !showsGitError(result.output) && !showsGitError(result.errors);
}

bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(hunkApplyCommand(HunkAction::Stage), patchText, repoPath);
}

bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(hunkApplyCommand(HunkAction::Unstage), patchText, repoPath);
}

bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(hunkApplyCommand(HunkAction::Discard), patchText, repoPath);
}

}  // namespace tarnwick
