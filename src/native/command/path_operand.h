#ifndef UTILS_COMMAND_PATH_OPERAND_H
#define UTILS_COMMAND_PATH_OPERAND_H

#include <string>
#include <vector>

namespace tarnwick {

// Appends `path` to the words of a git command, after "--" when it begins with "-", so that git
// never reads a path as an option (a file named "--output=x" would otherwise make git write to x).
void appendPathOperand(std::vector<std::string>& words, const std::string& path);

}  // namespace tarnwick

#endif
