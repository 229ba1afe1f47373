#ifndef UTILS_COMMAND_SPLIT_H
#define UTILS_COMMAND_SPLIT_H

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick {

// Returns the pieces of `text` between occurrences of `delimiter`: k delimiters give k + 1
// pieces, empty ones included, so a text ending in the delimiter has an empty last piece. The
// pieces are views into `text`, which must outlive them: a file's lines need no copies.
std::vector<std::string_view> split(const std::string& text, char delimiter);

}  // namespace tarnwick

#endif
