#include "hunk/hunk_operation.h"

#include <utility>

#include "command/git_invocation.h"
#include "command/shell_quote.h"
#include "command/temporary_file.h"

namespace tarnwick {

std::vector<std::string> hunkApplyArguments(HunkAction action, const std::string& driverSettings) {
  std::vector<std::string> words = {"apply"};
  if (action != HunkAction::Stage) words.emplace_back("-R");
  for (const char* option : {"--ignore-space-change", "--ignore-whitespace", "--whitespace=fix"}) {
    words.emplace_back(option);
  }
  if (action != HunkAction::Discard) words.emplace_back("--cached");
  return guardedGitArguments(driverSettings, words);
}

namespace {

bool applyHunk(HunkAction action, const std::string& patchText, const std::string& repoPath) {
  std::string driverSettings;
  if (!listDriverSettings(repoPath, driverSettings)) return false;
  const std::vector<std::string> words = hunkApplyArguments(action, driverSettings);
  return !words.empty() && _executeHunkOperation(gitCommandLine(words), patchText, repoPath);
}

}  // namespace

bool showsGitError(const std::string& text) {
  return text == "error" || text.find("error: ") != std::string::npos;
}

bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath) {
  CommandResult result;
  {
    const TemporaryFile patch(patchText);
    if (patch.path().empty()) return false;
    ExecOptions options;
    options.captureErrors = true;
    result = runGit(command + " " + quoteForShell(patch.path()), repoPath, options);
  }
  return result.exitStatus == 0 && !showsGitError(result.output) && !showsGitError(result.errors);
}

bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath) {
  return applyHunk(HunkAction::Stage, patchText, repoPath);
}

bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath) {
  return applyHunk(HunkAction::Unstage, patchText, repoPath);
}

bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath) {
  return applyHunk(HunkAction::Discard, patchText, repoPath);
}

}  // namespace tarnwick
