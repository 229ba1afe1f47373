#ifndef UTILS_CONVERT_UTF8_CODEC_H
#define UTILS_CONVERT_UTF8_CODEC_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarnwick {

// Appends the UTF-8 form of `length` Latin-1 characters (a one-byte script string) to `out`.
void appendLatin1AsUtf8(const std::uint8_t* chars, std::size_t length, std::string& out);

// Appends the UTF-8 form of `length` UTF-16 code units to `out`. A surrogate pair becomes one
// four-byte sequence; a lone surrogate becomes the three-byte form of its own value, which is
// what the host's own UTF-8 conversion writes for it.
void appendUtf16AsUtf8(const std::uint16_t* units, std::size_t length, std::string& out);

// Returns the length of the ASCII prefix of `text`.
std::size_t asciiPrefixLength(const char* text, std::size_t length);

// Decodes `length` bytes of UTF-8 into UTF-16 code units at `out`, which must have room for
// `length` units. Returns the number of units written, or -1 when the bytes are not valid UTF-8
// (overlong forms, surrogates, values past U+10FFFF, cut sequences): the caller then leaves the
// decoding, and the replacement characters it implies, to the host.
std::ptrdiff_t decodeUtf8(const char* text, std::size_t length, std::uint16_t* out);

}  // namespace tarnwick

#endif
