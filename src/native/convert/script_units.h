#ifndef UTILS_CONVERT_SCRIPT_UNITS_H
#define UTILS_CONVERT_SCRIPT_UNITS_H

#include <cstddef>

#include "memory/page_block.h"

namespace tarnwick {

// Results at least this long are handed to the host as external strings that it reads in place:
// copying them, and the fresh pages a copy needs, costs more than the whole rendering.
constexpr std::size_t kExternalResultBytes = 256 * 1024;

// A result as the characters of a script string, in a block that the string can keep: both faces
// hand their results over from one of these, so that they return the same characters.
struct ScriptUnits {
  // False when nothing was made (see tooLong, and the function that made it).
  bool made = false;
  // True when the result would take more than the longest string's characters.
  bool tooLong = false;
  // True: UTF-16 code units; false: one byte a character (Latin-1).
  bool twoByte = false;
  std::size_t length = 0;  // in characters (units)
  PageBlock block;
};

// Returns the `size` bytes of UTF-8 in `bytes` as the characters of a script string, up to their
// first zero byte (a result ends there): one byte each when they are ASCII (in `bytes` itself) or
// when `oneByteHint` says they likely fit Latin-1 and do, else UTF-16. Bytes that are not UTF-8
// are read as U+FFFD as the hosts' own decoders read them when `replaceInvalid`; else nothing is
// made, and the result holds the bytes themselves (`length` of them, up to the zero) for the
// caller to leave to its host. Nothing is made either (tooLong) past `longestUnits` characters.
ScriptUnits scriptUnits(PageBlock bytes, std::size_t size, bool oneByteHint, bool replaceInvalid,
                        std::size_t longestUnits);

// The same for the `size` bytes at `text`, which stay the caller's: ASCII is copied into a block.
ScriptUnits scriptUnits(const char* text, std::size_t size, bool oneByteHint, bool replaceInvalid,
                        std::size_t longestUnits);

}  // namespace tarnwick

#endif
