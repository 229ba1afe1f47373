#include "diff/color_diff.h"

#include <algorithm>

#include "diff/color_diff_chunk.h"

namespace tarnwick {

namespace {

constexpr std::size_t kSliceLength = 10000;
constexpr std::size_t kSwatchLimit = 150000;
constexpr std::size_t kSmallestCut = 10;

}  // namespace

std::string colorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved) {
  const std::size_t length = text.size();
  if (length > kSwatchLimit) showColorPreviews = false;
  std::string out;
  std::string scratch;
  out.reserve(length * 2 + 512);
  if (length <= kSliceLength) {
    appendColoredDiffChunk(out, scratch, text.data(), length, showColorPreviews, markAddedRemoved);
    return out;
  }
  std::size_t start = 0;
  while (start <= length) {
    const char* const slice = text.data() + start;
    const std::size_t sliceLength = std::min(kSliceLength, length - start);
    // The last line feed of the slice, searched from its end.
    std::size_t chunkLength = kSliceLength;
    for (std::size_t i = sliceLength; i > 0; --i) {
      if (slice[i - 1] == '\n') {
        if (i - 1 >= kSmallestCut) chunkLength = i - 1;
        break;
      }
    }
    appendColoredDiffChunk(out, scratch, slice, std::min(chunkLength, length - start), showColorPreviews,
                           markAddedRemoved);
    start += chunkLength;
  }
  return out;
}

}  // namespace tarnwick
