#ifndef UTILS_COMMAND_SPLIT_H
#define UTILS_COMMAND_SPLIT_H

#include <string>
#include <vector>

namespace tarnwick {

// Returns the pieces of `text` between occurrences of `delimiter`: k delimiters give k + 1
// pieces, empty ones included, so a text ending in the delimiter has an empty last piece.
std::vector<std::string> split(const std::string& text, char delimiter);

}  // namespace tarnwick

#endif
