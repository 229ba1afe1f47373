#include "hunk/hunk_operation.h"

#include <cstdio>

#include "command/exec.h"
#include "command/save_string_to_file.h"
#include "command/working_folder.h"

namespace tarnwick {

const char* const kStageHunkCommand =
    "git apply --ignore-space-change --ignore-whitespace --whitespace=fix --cached";
const char* const kUnstageHunkCommand =
    "git apply -R --ignore-space-change --ignore-whitespace --whitespace=fix --cached";
const char* const kDiscardHunkCommand = "git apply -R --ignore-space-change --ignore-whitespace --whitespace=fix";
const char* const kHunkPatchFileName = ".tarnwick_hunkpatch";

bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath) {
  WorkingFolderSwitch folder(repoPath);
  // The file is named through the folder as given and git gets the bare name: with an absolute
  // folder both are the same file.
  const std::string patchPath = repoPath + "/" + kHunkPatchFileName;
  saveStringToFile(patchText, patchPath);
  const std::string output = exec((command + " " + kHunkPatchFileName).c_str());
  std::remove(patchPath.c_str());
  folder.restore();
  if (output == "error") return false;
  return output.find("error: ") == std::string::npos;
}

bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(kStageHunkCommand, patchText, repoPath);
}

bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(kUnstageHunkCommand, patchText, repoPath);
}

bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(kDiscardHunkCommand, patchText, repoPath);
}

}  // namespace tarnwick
