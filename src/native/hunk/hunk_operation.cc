#include "hunk/hunk_operation.h"

#include <utility>

#include "command/git_invocation.h"

namespace tarnwick {

std::vector<std::string> hunkApplyArguments(HunkAction action, const std::string& driverSettings) {
  std::vector<std::string> words = {"apply"};
  if (action != HunkAction::Stage) words.emplace_back("-R");
  // nowarn: the index or work tree receives exactly the hunk's lines (fix would rewrite them by the
  // whitespace rules in force, and every rule git applies echoes the line it concerns).
  for (const char* option : {"--ignore-space-change", "--ignore-whitespace", "--whitespace=nowarn"}) {
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
  if (text == "error") return true;
  for (std::size_t line = 0; line < text.size();) {
    if (text.compare(line, 7, "error: ") == 0) return true;
    const std::size_t feed = text.find('\n', line);
    if (feed == std::string::npos) break;
    line = feed + 1;
  }
  return false;
}

bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath) {
  ExecOptions options;
  options.captureErrors = true;
  options.input = patchText;
  const CommandResult result = runGit(command, repoPath, options);
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
