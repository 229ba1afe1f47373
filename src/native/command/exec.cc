#include "command/exec.h"

#include <cstdio>
#include <memory>

namespace tarnwick {

std::string exec(const char* command) {
  std::string result;
  std::shared_ptr<FILE> pipe(popen(command, "r"), pclose);
  if (!pipe) return result;
  char buffer[128];
  // A read error sets no end-of-file indicator, so the error indicator ends the loop too.
  while (!feof(pipe.get()) && !ferror(pipe.get())) {
    if (fgets(buffer, sizeof buffer, pipe.get()) != nullptr) result += buffer;
  }
  return result;
}

}  // namespace tarnwick
