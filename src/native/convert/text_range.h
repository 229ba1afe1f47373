#ifndef UTILS_CONVERT_TEXT_RANGE_H
#define UTILS_CONVERT_TEXT_RANGE_H

#include <cstddef>

namespace tarnwick {

// A byte range [begin, end) of a text.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// Returns whether `c` is a blank as the patterns' \s reads it: space, tab, line feed, vertical
// tab, form feed or carriage return.
inline bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace tarnwick

#endif
