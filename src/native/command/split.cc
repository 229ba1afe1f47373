#include "command/split.h"

#include <cstring>

namespace tarnwick {

std::vector<std::string_view> split(const std::string& text, char delimiter) {
  std::vector<std::string_view> pieces;
  const char* start = text.data();
  const char* const end = start + text.size();
  for (;;) {
    const void* found = std::memchr(start, delimiter, static_cast<std::size_t>(end - start));
    if (found == nullptr) break;
    const char* const at = static_cast<const char*>(found);
    pieces.emplace_back(start, static_cast<std::size_t>(at - start));
    start = at + 1;
  }
  pieces.emplace_back(start, static_cast<std::size_t>(end - start));
  return pieces;
}

}  // namespace tarnwick
