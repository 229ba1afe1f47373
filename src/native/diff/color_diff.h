#ifndef UTILS_DIFF_COLOR_DIFF_H
#define UTILS_DIFF_COLOR_DIFF_H

#include <cstddef>
#include <string>
#include <vector>

#include "command/output_pieces.h"
#include "diff/color_diff_chunk.h"

namespace tarnwick {

// Returns the diff view's HTML for a whole diff. Swatches are off for a text over 150000 bytes;
// a text over 10000 bytes is coloured in chunks cut at the slice's last line feed (at index 10 or
// more of a 10000-byte slice, else after 10000 bytes), the line feed starting the next chunk.
// With `words` (and `markAddedRemoved`), the changed words of each change block are wrapped in
// diff-changed spans (see findWordMarks); without the spans the result is the same.
std::string colorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved, bool words = false);

// Returns whether a text of `length` bytes gets swatches when asked.
inline bool swatchesFor(std::size_t length, bool showColorPreviews) { return showColorPreviews && length <= 150000; }

// Returns whether colorDiff's result of `totalBytes` (as measured) for a text of `textBytes`
// bytes and `textUnits` UTF-16 units takes more than `longestUnits` units: its markup is ASCII
// and every byte of the text stands in it once (a swatch repeats only ASCII), so this is known
// before the result is made.
inline bool colorDiffTooLong(std::size_t totalBytes, std::size_t textBytes, std::size_t textUnits,
                             std::size_t longestUnits) {
  return totalBytes - textBytes + textUnits > longestUnits;
}

// The byte length of colorDiff's result, and of the HTML of its largest chunk.
struct ColorDiffSize {
  std::size_t total = 0;
  std::size_t largestChunk = 0;
};

// Returns the size of colorDiff's result for `length` bytes at `text`, measured by the scans that
// write it, with `marks` (byte ranges of the text, see findWordMarks) when given.
ColorDiffSize measureColorDiff(const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                               const std::vector<TextRange>* marks = nullptr);

// Writes colorDiff's result for `length` bytes at `text` to `out`, which has room for its total
// size + kColorDiffSlack bytes, and returns the end of the result.
char* writeColorDiff(char* out, const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                     const std::vector<TextRange>* marks = nullptr);

// Hands colorDiff's result for `length` bytes at `text` to `sink` one chunk's HTML at a time, each
// written to a buffer of the `largestChunk` measured, so that only a chunk's worth of it is ever
// in memory here. Returns false when the sink stopped it.
bool streamColorDiff(const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                     std::size_t largestChunk, OutputSink& sink, const std::vector<TextRange>* marks = nullptr);

// Returns the changed-word marks of a whole diff (see findWordMarks), none unless `words` and
// `markAddedRemoved`, with a matcher kept per thread.
std::vector<TextRange> wordMarksOf(const char* text, std::size_t length, bool showColorPreviews, bool markAddedRemoved,
                                   bool words);

}  // namespace tarnwick

#endif
