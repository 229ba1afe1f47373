#ifndef UTILS_HUNK_HUNK_OPERATION_H
#define UTILS_HUNK_HUNK_OPERATION_H

#include <string>
#include <vector>

namespace tarnwick {

// What a hunk operation does with its patch: apply it to the index, apply it in reverse to the
// index, or apply it in reverse to the working tree.
enum class HunkAction { Stage, Unstage, Discard };

// Returns the words after "git" of the command that applies a patch for `action`, guarded by
// `driverSettings` (see guardedGitArguments: git apply reads and writes files through filter
// drivers); the patch follows them (as a file name, or on standard input when none is given).
// Empty when the run cannot be guarded.
std::vector<std::string> hunkApplyArguments(HunkAction action, const std::string& driverSettings);

// Returns whether git's output `text` shows an error: it is exactly "error", or holds "error: ".
bool showsGitError(const std::string& text);

// Writes `patchText` to a private temporary file (never into the repository), runs the git
// command line `command` followed by that file's full path inside `repoPath` (with git's
// environment, see gitEnvironment), and removes the file before answering.
// Returns true only when git ran, exited with status 0 and shows no error (see showsGitError)
// on its standard output or its standard error; a folder that cannot be entered, or a patch
// that cannot be written, runs nothing and answers false.
bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath);

// Return whether the hunk in `patchText` was staged, unstaged or discarded by git in `repoPath`.
bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath);

}  // namespace tarnwick

#endif
