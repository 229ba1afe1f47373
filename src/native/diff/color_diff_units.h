#ifndef UTILS_DIFF_COLOR_DIFF_UNITS_H
#define UTILS_DIFF_COLOR_DIFF_UNITS_H

#include <cstddef>

#include "memory/page_block.h"

namespace tarnwick {

// colorDiff's result as the characters of a script string, in a block the string can keep.
struct ColorDiffUnits {
  // False when the result holds a zero byte or bytes that are not UTF-8: the caller then takes
  // colorDiff's bytes instead and leaves their decoding to the host.
  bool made = false;
  // True when the result would take more than the longest string's units: nothing was made.
  bool tooLong = false;
  // True: UTF-16 code units; false: one byte a character (Latin-1).
  bool twoByte = false;
  std::size_t length = 0;  // in characters (units)
  PageBlock block;
};

// Returns colorDiff's result for `length` bytes of UTF-8 at `text`, `textUnits` characters of a
// script string, as the characters of a script string: one byte each when `oneByteText` says
// every character of the text fits in one byte (Latin-1), UTF-16 otherwise. The result is
// measured first and then written once: straight into its block when the text is ASCII, else
// chunk by chunk through a small buffer that is decoded into the block; one of more than
// `longestUnits` characters is not made at all.
ColorDiffUnits colorDiffUnits(const char* text, std::size_t length, std::size_t textUnits, bool oneByteText,
                              bool showColorPreviews, bool markAddedRemoved, std::size_t longestUnits);

}  // namespace tarnwick

#endif
