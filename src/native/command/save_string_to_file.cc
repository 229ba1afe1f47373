#include "command/save_string_to_file.h"

#include <fstream>

namespace tarnwick {

void saveStringToFile(std::string content, std::string path) {
  std::ofstream out(path, std::ios::out | std::ios::trunc);
  // One write of all bytes puts the same bytes in the file as inserting them one at a time.
  out.write(content.data(), static_cast<std::streamsize>(content.size()));
  out.close();
}

}  // namespace tarnwick
