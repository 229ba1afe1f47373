#ifndef UTILS_DIFF_COLOR_DIFF_UNITS_H
#define UTILS_DIFF_COLOR_DIFF_UNITS_H

#include <cstddef>

#include "convert/script_units.h"

namespace tarnwick {

// Returns colorDiff's result for `length` bytes of UTF-8 at `text`, `textUnits` characters of a
// script string, as the characters of a script string: one byte each when `oneByteText` says
// every character of the text fits in one byte (Latin-1), UTF-16 otherwise. The result is
// measured first and then written once: straight into its block when the text is ASCII, else
// chunk by chunk through a small buffer that is decoded into the block; one of more than
// `longestUnits` characters is not made at all (tooLong). A result with a zero byte or bytes that
// are not UTF-8 is made by scriptUnits from colorDiff's bytes, `replaceInvalid` passed on. With
// `words`, changed words are marked as colorDiff marks them.
ScriptUnits colorDiffUnits(const char* text, std::size_t length, std::size_t textUnits, bool oneByteText,
                           bool showColorPreviews, bool markAddedRemoved, bool words, bool replaceInvalid,
                           std::size_t longestUnits);

}  // namespace tarnwick

#endif
