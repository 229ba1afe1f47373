#include "command/split.h"

namespace tarnwick {

std::vector<std::string> split(const std::string& text, char delimiter) {
  std::vector<std::string> pieces;
  std::string::size_type start = 0;
  std::string::size_type found = text.find(delimiter, start);
  while (found != std::string::npos) {
    pieces.emplace_back(text, start, found - start);
    start = found + 1;
    found = text.find(delimiter, start);
  }
  pieces.emplace_back(text, start);
  return pieces;
}

}  // namespace tarnwick
