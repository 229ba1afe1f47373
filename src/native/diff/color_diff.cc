#include "diff/color_diff.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "diff/color_diff_chunk.h"
#include "diff/word_marks.h"

namespace tarnwick {

namespace {

constexpr std::size_t kSliceLength = 10000;
constexpr std::size_t kSmallestCut = 10;

// Returns the index of the last line feed among the `size` bytes at `slice`, or `size` when
// there is none; eight bytes at a time, since a slice that is one long line is read whole.
std::size_t lastLineFeed(const char* slice, std::size_t size) {
  constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
  std::size_t i = size;
  for (; i >= 8; i -= 8) {
    std::uint64_t word;
    std::memcpy(&word, slice + i - 8, 8);
    word ^= 0x0A0A0A0A0A0A0A0Aull;
    // The high bit of every zero byte, that is of every line feed (little-endian words).
    const std::uint64_t feeds = ~(((word & kLow7) + kLow7) | word | kLow7);
    if (feeds != 0) return i - 8 + static_cast<std::size_t>(63 - __builtin_clzll(feeds)) / 8;
  }
  while (i > 0) {
    if (slice[--i] == '\n') return i;
  }
  return size;
}

// Calls `colour(chunk, size, showColorPreviews)` for each chunk of the text in order, with the
// swatch limit applied.
template <typename Colour>
bool forEachChunk(const char* text, std::size_t length, bool showColorPreviews, Colour colour) {
  showColorPreviews = swatchesFor(length, showColorPreviews);
  if (length <= kSliceLength) return colour(text, length, showColorPreviews);
  for (std::size_t start = 0; start <= length;) {
    const char* const slice = text + start;
    const std::size_t sliceLength = std::min(kSliceLength, length - start);
    const std::size_t feed = lastLineFeed(slice, sliceLength);
    const std::size_t chunkLength = feed < sliceLength && feed >= kSmallestCut ? feed : kSliceLength;
    if (!colour(slice, std::min(chunkLength, length - start), showColorPreviews)) return false;
    start += chunkLength;
  }
  return true;
}

// Returns the cursor over `marks`, or nothing.
std::optional<WordMarks> cursorOf(const char* text, const std::vector<TextRange>* marks) {
  if (marks == nullptr || marks->empty()) return std::nullopt;
  return WordMarks{text, marks->data(), marks->data() + marks->size()};
}

}  // namespace

std::vector<TextRange> wordMarksOf(const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                                   bool words) {
  if (!words || !markAddedRemoved) return {};
  thread_local ChangedWords matcher;
  return findWordMarks(text, length, swatchesFor(length, showColorPreviews), matcher);
}

ColorDiffSize measureColorDiff(const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                               const std::vector<TextRange>* marks) {
  std::string scratch;
  ColorDiffSize size;
  std::optional<WordMarks> cursor = cursorOf(text, marks);
  forEachChunk(text, length, showColorPreviews, [&](const char* chunk, std::size_t chunkLength, bool show) {
    const std::size_t html = coloredChunkLength(chunk, chunkLength, show, markAddedRemoved, scratch,
                                                cursor ? &*cursor : nullptr);
    size.total += html;
    size.largestChunk = std::max(size.largestChunk, html);
    return true;
  });
  return size;
}

char* writeColorDiff(char* out, const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                     const std::vector<TextRange>* marks) {
  std::string scratch;
  std::optional<WordMarks> cursor = cursorOf(text, marks);
  forEachChunk(text, length, showColorPreviews, [&](const char* chunk, std::size_t size, bool show) {
    out = writeColoredChunk(out, chunk, size, show, markAddedRemoved, scratch, cursor ? &*cursor : nullptr);
    return true;
  });
  return out;
}

bool streamColorDiff(const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                     std::size_t largestChunk, OutputSink& sink, const std::vector<TextRange>* marks) {
  std::string html(largestChunk + kColorDiffSlack, '\0');
  std::string scratch;
  std::optional<WordMarks> cursor = cursorOf(text, marks);
  return forEachChunk(text, length, showColorPreviews, [&](const char* chunk, std::size_t size, bool show) {
    const char* const end = writeColoredChunk(&html[0], chunk, size, show, markAddedRemoved, scratch,
                                              cursor ? &*cursor : nullptr);
    return sink.take(html.data(), static_cast<std::size_t>(end - html.data()));
  });
}

namespace {

std::string writtenColorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved, std::size_t size,
                             const std::vector<TextRange>& marks) {
  std::string out(size + kColorDiffSlack, '\0');
  writeColorDiff(&out[0], text.data(), text.size(), showColorPreviews, markAddedRemoved, &marks);
  out.resize(size);
  return out;
}

}  // namespace

std::string colorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved, bool words) {
  const std::vector<TextRange> marks = wordMarksOf(text.data(), text.size(), showColorPreviews, markAddedRemoved, words);
  const std::size_t size = measureColorDiff(text.data(), text.size(), showColorPreviews, markAddedRemoved, &marks).total;
  return writtenColorDiff(text, showColorPreviews, markAddedRemoved, size, marks);
}

}  // namespace tarnwick
