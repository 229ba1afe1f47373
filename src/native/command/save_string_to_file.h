#ifndef UTILS_COMMAND_SAVE_STRING_TO_FILE_H
#define UTILS_COMMAND_SAVE_STRING_TO_FILE_H

#include <string>

namespace tarnwick {

// Writes every byte of `content`, zero bytes included, to the file at `path`, creating it or
// replacing what it held. Reports nothing: a file that cannot be opened is simply not written.
void saveStringToFile(std::string content, std::string path);

}  // namespace tarnwick

#endif
