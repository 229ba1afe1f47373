#include "command/working_folder.h"

#include <unistd.h>

namespace tarnwick {

WorkingFolderSwitch::WorkingFolderSwitch(const std::string& folder)
    : savedFolder_(getcwd(saved_, sizeof saved_)) {
  (void)!chdir(folder.c_str());
}

WorkingFolderSwitch::~WorkingFolderSwitch() { restore(); }

void WorkingFolderSwitch::restore() {
  if (restored_) return;
  restored_ = true;
  if (savedFolder_ != nullptr) (void)!chdir(savedFolder_);
}

}  // namespace tarnwick
