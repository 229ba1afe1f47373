#ifndef UTILS_COMMAND_WORKING_FOLDER_H
#define UTILS_COMMAND_WORKING_FOLDER_H

#include <string>

namespace tarnwick {

// Enters a repository folder for the length of a git run and returns to the folder that was
// current before. Neither switch is checked: a folder that cannot be entered leaves the process
// where it was, and when the current folder cannot be read (for instance a path of 4096 bytes or
// more, or a deleted folder) nothing is restored.
class WorkingFolderSwitch {
 public:
  explicit WorkingFolderSwitch(const std::string& folder);
  ~WorkingFolderSwitch();
  WorkingFolderSwitch(const WorkingFolderSwitch&) = delete;
  WorkingFolderSwitch& operator=(const WorkingFolderSwitch&) = delete;

  // Returns to the saved folder now, so that output is examined there; later calls do nothing.
  void restore();

 private:
  char saved_[4096];
  const char* savedFolder_;
  bool restored_ = false;
};

}  // namespace tarnwick

#endif
