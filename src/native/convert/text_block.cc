#include "convert/text_block.h"

#include <cstring>

namespace tarnwick {

TextBlock::TextBlock(std::size_t units, bool oneByte, bool escapeHtml)
    : units_(units), escapeHtml_(escapeHtml) {
  // The most bytes a character can take: two from one byte, three from a UTF-16 unit, five as an
  // entity.
  if (units > 0) bytes_ = PageBlock::acquire((escapeHtml ? 5 : oneByte ? 2 : 3) * units);
}

const char* TextBlock::unfitForPath() const {
  if (size_ > 0 && std::memchr(bytes_.data(), 0, size_) != nullptr) return "a zero character";
  return tally_.loneSurrogate ? "a lone surrogate" : "";
}

void TextBlock::addLatin1(const std::uint8_t* chars, std::size_t count) {
  size_ += latin1ToUtf8(chars, count, bytes_.data() + size_, escapeHtml_, &tally_);
}

void TextBlock::addUtf16(const std::uint16_t* units, std::size_t count) {
  size_ += utf16ToUtf8(units, count, bytes_.data() + size_, escapeHtml_, &tally_);
}

}  // namespace tarnwick
