#include "hunk/hunk_operation.h"

#include <cstdio>
#include <utility>

#include "command/exec.h"
#include "command/save_string_to_file.h"
#include "command/working_folder.h"

namespace tarnwick {

const char kStageHunkCommand[] =
    "git apply --ignore-space-change --ignore-whitespace --whitespace=fix --cached";
const char kUnstageHunkCommand[] =
    "git apply -R --ignore-space-change --ignore-whitespace --whitespace=fix --cached";
const char kDiscardHunkCommand[] = "git apply -R --ignore-space-change --ignore-whitespace --whitespace=fix";
const char kHunkPatchFileName[] = ".tarnwick_hunkpatch";

namespace {

// Removes the patch file once: when asked, or when leaving early (an allocation that fails while
// git's output is read), so that no patch file outlives the call.
class PatchFileRemoval {
 public:
  explicit PatchFileRemoval(const std::string& repoPath) : repoPath_(repoPath) {}
  ~PatchFileRemoval() { removeNow(); }
  PatchFileRemoval(const PatchFileRemoval&) = delete;
  PatchFileRemoval& operator=(const PatchFileRemoval&) = delete;

  void removeNow() {
    if (removed_) return;
    removed_ = true;
    std::remove(patchFilePath(repoPath_).c_str());
  }

  static std::string patchFilePath(const std::string& repoPath) {
    return repoPath + "/" + kHunkPatchFileName;
  }

 private:
  const std::string& repoPath_;
  bool removed_ = false;
};

bool showsError(const std::string& output) {
  return output == "error" || output.find("error: ") != std::string::npos;
}

}  // namespace

bool _executeHunkOperation(std::string command, std::string patchText, std::string repoPath) {
  WorkingFolderSwitch folder(repoPath);
  std::string output;
  {
    PatchFileRemoval removal(repoPath);
    saveStringToFile(std::move(patchText), PatchFileRemoval::patchFilePath(repoPath));
    const std::string commandLine = command + " " + kHunkPatchFileName;
    output = exec(commandLine.c_str());
    removal.removeNow();
  }
  folder.restore();
  return !showsError(output);
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
