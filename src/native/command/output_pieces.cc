#include "command/output_pieces.h"

#include <cstring>

namespace tarnwick {

bool FgetsPieces::take(const char* data, std::size_t size) {
  if (!dropping_ && std::memchr(data, 0, size) == nullptr) {
    std::size_t afterFeed = 0;
    while (afterFeed < size && data[size - 1 - afterFeed] != '\n') ++afterFeed;
    offset_ = (afterFeed < size ? afterFeed : offset_ + size) % kPiece;
    return sink_.take(data, size);
  }
  const char* const end = data + size;
  while (data < end) {
    const char* kept = data;
    while (data < end && !dropping_) {
      const char c = *data++;
      if (c == 0) {
        dropping_ = true;
        if (data - 1 > kept && !sink_.take(kept, static_cast<std::size_t>(data - 1 - kept))) return false;
      }
      if (c == '\n' || ++offset_ == kPiece) endPiece();
    }
    if (!dropping_ && data > kept && !sink_.take(kept, static_cast<std::size_t>(data - kept))) return false;
    while (data < end && dropping_) {
      const char c = *data++;
      if (c == '\n' || ++offset_ == kPiece) endPiece();
    }
  }
  return true;
}

}  // namespace tarnwick
