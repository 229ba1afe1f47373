#ifndef UTILS_HUNK_HUNK_OPERATION_H
#define UTILS_HUNK_HUNK_OPERATION_H

#include <string>
#include <vector>

namespace tarnwick {

// What a hunk operation does with its patch: apply it to the index, apply it in reverse to the
// index, or apply it in reverse to the working tree.
enum class HunkAction { Stage, Unstage, Discard };

// Returns the words after "git" of the command that applies a patch, read on its standard input,
// for `action`, guarded by `driverSettings` (see guardedGitArguments: git apply reads and writes
// files through filter drivers). Empty when the run cannot be guarded.
std::vector<std::string> hunkApplyArguments(HunkAction action, const std::string& driverSettings);

// Returns whether git's output `text` shows an error of git's own: it is exactly "error", or a
// line of it begins with "error: " (a line of the patch that git quotes never does: it stands
// after a prefix of git's).
bool showsGitError(const std::string& text);

// Runs the git command line `command` inside `repoPath` (with git's environment, see
// gitEnvironment) with `patchText` on its standard input: no file is written. Returns true only
// when git ran, exited with status 0 and shows no error (see showsGitError) on its standard
// output or its standard error; a folder that cannot be entered runs nothing and answers false.
bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath);

// Return whether the hunk in `patchText` was staged, unstaged or discarded by git in `repoPath`.
bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath);

}  // namespace tarnwick

#endif
