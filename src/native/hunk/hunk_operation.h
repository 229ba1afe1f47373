#ifndef UTILS_HUNK_HUNK_OPERATION_H
#define UTILS_HUNK_HUNK_OPERATION_H

#include <string>

namespace tarnwick {

// The git commands that apply a one-hunk patch: to the index, in reverse to the index, and in
// reverse to the working tree. The patch file name follows them after one space.
extern const char kStageHunkCommand[];
extern const char kUnstageHunkCommand[];
extern const char kDiscardHunkCommand[];

// The patch file, directly inside the repository folder, that lives for one hunk operation.
extern const char kHunkPatchFileName[];

// Writes `patchText` to the patch file in `repoPath`, runs `command` on it inside `repoPath`,
// removes the file and returns to the folder that was current before. Returns false when git's
// standard output is exactly "error" or holds "error: ", true otherwise; standard error and the
// exit status are not looked at, and no failure to switch folders or write the file is reported.
bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath);

// Return whether the hunk in `patchText` was staged, unstaged or discarded without git's
// standard output showing an error. `repoPath` is expected to be an absolute path.
bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath);

}  // namespace tarnwick

#endif
