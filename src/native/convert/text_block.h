#ifndef UTILS_CONVERT_TEXT_BLOCK_H
#define UTILS_CONVERT_TEXT_BLOCK_H

#include <cstddef>
#include <cstdint>

#include "convert/utf8_codec.h"
#include "memory/page_block.h"

namespace tarnwick {

// A script string read into the UTF-8 that the core works on, in page memory: the big texts of
// the diff view come and go call after call, and a released block serves the next one without
// fresh pages. Both faces fill one with the characters their host hands out (one-byte or UTF-16
// slices, in order), HTML-escaped on the way when asked, so that they read the same bytes.
class TextBlock {
 public:
  // `units`: the string's length; `oneByte`: whether it will be read one byte a character (its
  // memory is then smaller); `escapeHtml`: "&", "<" and ">" become &amp; &lt; &gt;, as if the
  // script had escaped the string first.
  TextBlock(std::size_t units, bool oneByte, bool escapeHtml);

  void addLatin1(const std::uint8_t* chars, std::size_t count);
  void addUtf16(const std::uint16_t* units, std::size_t count);

  const char* data() const { return bytes_.data(); }
  std::size_t size() const { return size_; }
  // Returns the length, in UTF-16 units, of the string read (escaped, when asked).
  std::size_t units() const { return units_ + tally_.escapeBytes; }
  // Returns whether every character read fits in one byte.
  bool oneByte() const { return !tally_.pastLatin1; }
  // Returns what makes the text no name a file can have: "a zero character" (the system would end
  // the name there) or "a lone surrogate" (it has no UTF-8 form to hand over), else "".
  const char* unfitForPath() const;

 private:
  PageBlock bytes_;
  std::size_t size_ = 0;
  const std::size_t units_;
  const bool escapeHtml_;
  Utf8Tally tally_;
};

}  // namespace tarnwick

#endif
