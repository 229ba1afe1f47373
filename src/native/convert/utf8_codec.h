#ifndef UTILS_CONVERT_UTF8_CODEC_H
#define UTILS_CONVERT_UTF8_CODEC_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnwick {

// What a conversion below met, added up over the calls it is given to.
struct Utf8Tally {
  // The bytes that escaping added: four for each "&", three for each "<" and ">".
  std::size_t escapeBytes = 0;
  // Whether a UTF-16 unit past Latin-1 (above U+00FF) was seen, and a lone surrogate (written in
  // the three-byte form of its own value, which is no UTF-8).
  bool pastLatin1 = false;
  bool loneSurrogate = false;
};

// Writes the UTF-8 form of `length` Latin-1 characters (a one-byte script string) to `out`, which
// has room for 2 * length bytes (5 * length when `escapeHtml`), and returns the number of bytes
// written; adds to `tally` what it met. With `escapeHtml`, "&", "<" and ">" are written as &amp;
// &lt; &gt;.
std::size_t latin1ToUtf8(const std::uint8_t* chars, std::size_t length, char* out, bool escapeHtml, Utf8Tally* tally);

// The same for `length` UTF-16 code units, with room for 3 * length bytes (5 * length when
// `escapeHtml`). A surrogate pair becomes one four-byte sequence; a lone surrogate becomes the
// three-byte form of its own value, which is what the host's own UTF-8 conversion writes for it.
std::size_t utf16ToUtf8(const std::uint16_t* units, std::size_t length, char* out, bool escapeHtml, Utf8Tally* tally);

// Returns the fewest UTF-16 code units that `length` bytes decode to: one for each byte that is not
// a continuation byte, since each of those begins a character or a replacement character.
std::size_t leastUtf16Units(const char* text, std::size_t length);

// Returns the length of the ASCII prefix of `text`.
std::size_t asciiPrefixLength(const char* text, std::size_t length);

// Decodes `length` bytes of UTF-8 into UTF-16 code units at `out`, which must have room for
// `length` units. Returns the number of units written, or -1 when the bytes are not valid UTF-8
// (overlong forms, surrogates, values past U+10FFFF, cut sequences): the caller then leaves the
// decoding, and the replacement characters it implies, to the host.
std::ptrdiff_t decodeUtf8(const char* text, std::size_t length, std::uint16_t* out);

// Decodes `length` bytes of UTF-8 as decodeUtf8 does, but replaces each stretch that is not
// well-formed by U+FFFD as the WHATWG and Unicode practice of maximal subparts has it (one for a
// stray byte, one for the longest start of a sequence that is cut short), which is how the
// host's own decoders read such bytes. Returns the number of units written (at most `length`).
std::size_t decodeUtf8Replacing(const char* text, std::size_t length, std::uint16_t* out);

// Decodes UTF-8 that arrives in pieces, a sequence possibly split between two of them, into code
// units at the `out` given first, which has room for as many units as there are bytes in all.
// `Unit` is std::uint16_t for UTF-16, or std::uint8_t for Latin-1, where a character past U+00FF
// counts as invalid like a malformed sequence.
template <typename Unit>
class Utf8PieceDecoder {
 public:
  explicit Utf8PieceDecoder(Unit* out) : begin_(out), out_(out) {}

  // Decodes the next piece; returns false once the text so far is not valid.
  bool add(const char* data, std::size_t size);

  // Returns the number of units written for the whole text, or -1 when it was not valid or ended
  // inside a sequence.
  std::ptrdiff_t finish() const { return valid_ && held_ == 0 ? out_ - begin_ : -1; }

 private:
  Unit* const begin_;
  Unit* out_;
  bool valid_ = true;
  unsigned char pending_[4] = {0, 0, 0, 0};  // the start of a sequence the last piece cut
  std::size_t held_ = 0;
};

extern template class Utf8PieceDecoder<std::uint8_t>;
extern template class Utf8PieceDecoder<std::uint16_t>;

}  // namespace tarnwick

#endif
