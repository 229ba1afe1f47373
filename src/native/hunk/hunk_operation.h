#ifndef UTILS_HUNK_HUNK_OPERATION_H
#define UTILS_HUNK_HUNK_OPERATION_H

#include <string>

namespace tarnwick {

// The git commands that apply one hunk's patch: to the index, in reverse to the index, and in
// reverse to the working tree.
extern const char* const kStageHunkCommand;
extern const char* const kUnstageHunkCommand;
extern const char* const kDiscardHunkCommand;

// The patch file's name, directly inside the repository folder, for the length of one call.
extern const char* const kHunkPatchFileName;

// Returns whether git applied `patchText` without an error in its standard output: writes the
// patch to the patch file in `repoPath`, runs `command` on it there, removes the file and returns
// to the previous folder. Output that is exactly "error", or holds "error: ", answers false;
// git's standard error and exit status are not looked at.
bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath);

bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath);

}  // namespace tarnwick

#endif
