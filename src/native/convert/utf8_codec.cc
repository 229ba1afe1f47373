#include "convert/utf8_codec.h"

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarnwick {

namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080ull;

// Returns true when the eight bytes at `p` are all ASCII.
inline bool asciiWord(const void* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return (word & kHighBits) == 0;
}

inline bool isContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

constexpr std::uint64_t kOnes = 0x0101010101010101ull;

// Returns whether any byte of `word` is zero.
constexpr bool hasZeroByte(std::uint64_t word) { return ((word - kOnes) & ~word & kHighBits) != 0; }

// Returns whether any of the eight ASCII bytes of `word` is "&", "<" or ">" ("<" and ">" differ
// only in one bit).
constexpr bool holdsEscaped(std::uint64_t word) {
  return hasZeroByte(word ^ (kOnes * '&')) || hasZeroByte((word & (kOnes * 0xFD)) ^ (kOnes * '<'));
}

inline bool escaped(std::uint32_t c) { return c == '&' || c == '<' || c == '>'; }

// Writes the entity of "&", "<" or ">" and returns how many bytes it added beyond the character.
inline std::size_t writeEntity(char c, char*& p) {
  const char* const entity = c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
  const std::size_t size = c == '&' ? 5 : 4;
  std::memcpy(p, entity, size);
  p += size;
  return size - 1;
}

// Copies the run of ASCII code units at the start of `units` to `out` as bytes, eight at a time,
// and returns how many it copied (a multiple of eight; the caller finishes the tail). With
// kEscape, a block holding a character to escape ends the run.
template <bool kEscape>
inline std::size_t narrowAsciiBlocks(const std::uint16_t* units, std::size_t length, char* out) {
  std::size_t i = 0;
#if defined(__SSE2__)
  const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
  while (i + 8 <= length) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(v, high), _mm_setzero_si128())) != 0xFFFF) break;
    const __m128i bytes = _mm_packus_epi16(v, v);
    if (kEscape) {
      std::uint64_t word;
      _mm_storel_epi64(reinterpret_cast<__m128i*>(&word), bytes);
      if (holdsEscaped(word)) break;
    }
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), bytes);
    i += 8;
  }
#else
  while (i + 4 <= length) {
    std::uint64_t word;
    std::memcpy(&word, units + i, sizeof word);
    if ((word & 0xFF80FF80FF80FF80ull) != 0) break;
    if (kEscape && (escaped(units[i]) || escaped(units[i + 1]) || escaped(units[i + 2]) || escaped(units[i + 3]))) break;
    for (int k = 0; k < 4; ++k) out[i + k] = static_cast<char>(units[i + k]);
    i += 4;
  }
#endif
  return i;
}

// Widens the run of ASCII bytes at the start of `text` into `out`, sixteen at a time where it
// can, and returns how many it widened.
inline std::size_t widenAsciiBlocks(const unsigned char* text, std::size_t length, std::uint16_t* out) {
  std::size_t i = 0;
#if defined(__SSE2__)
  while (i + 16 <= length) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
    if (_mm_movemask_epi8(v) != 0) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_unpacklo_epi8(v, _mm_setzero_si128()));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i + 8), _mm_unpackhi_epi8(v, _mm_setzero_si128()));
    i += 16;
  }
#endif
  while (i + 8 <= length && asciiWord(text + i)) {
    for (int k = 0; k < 8; ++k) out[i + k] = text[i + k];
    i += 8;
  }
  return i;
}

// Copies the run of ASCII bytes at the start of `text` to `out`, eight at a time, and returns how
// many it copied (the Latin-1 form of ASCII is the same bytes).
inline std::size_t widenAsciiBlocks(const unsigned char* text, std::size_t length, std::uint8_t* out) {
  std::size_t i = 0;
  while (i + 8 <= length && asciiWord(text + i)) {
    std::memcpy(out + i, text + i, 8);
    i += 8;
  }
  return i;
}

inline std::size_t sequenceLength(unsigned char lead) { return lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4; }

// Decodes `length` bytes of UTF-8 into units of type Unit, as decodeUtf8 describes; a character
// that does not fit the unit makes the text invalid.
template <typename Unit>
std::ptrdiff_t decode(const char* text, std::size_t length, Unit* out) {
  constexpr bool kLatin1 = sizeof(Unit) == 1;
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  Unit* const begin = out;
  std::size_t i = 0;
  while (i < length) {
    const std::size_t ascii = widenAsciiBlocks(s + i, length - i, out);
    i += ascii;
    out += ascii;
    if (i == length) break;
    const unsigned char c = s[i];
    if (c < 0x80) {
      *out++ = c;
      ++i;
    } else if (c >= 0xC2 && c <= 0xDF) {
      if (i + 1 >= length || !isContinuation(s[i + 1])) return -1;
      if (kLatin1 && c > 0xC3) return -1;
      *out++ = static_cast<Unit>(((c & 0x1F) << 6) | (s[i + 1] & 0x3F));
      i += 2;
    } else if (kLatin1) {
      return -1;
    } else if (c >= 0xE0 && c <= 0xEF) {
      if (i + 2 >= length || !isContinuation(s[i + 1]) || !isContinuation(s[i + 2])) return -1;
      if (c == 0xE0 && s[i + 1] < 0xA0) return -1;  // overlong
      if (c == 0xED && s[i + 1] >= 0xA0) return -1;  // surrogate
      *out++ = static_cast<Unit>(((c & 0x0F) << 12) | ((s[i + 1] & 0x3F) << 6) | (s[i + 2] & 0x3F));
      i += 3;
    } else if (c >= 0xF0 && c <= 0xF4) {
      if (i + 3 >= length || !isContinuation(s[i + 1]) || !isContinuation(s[i + 2]) ||
          !isContinuation(s[i + 3])) {
        return -1;
      }
      if (c == 0xF0 && s[i + 1] < 0x90) return -1;  // overlong
      if (c == 0xF4 && s[i + 1] >= 0x90) return -1;  // past U+10FFFF
      const std::uint32_t cp = ((c & 0x07u) << 18) | ((s[i + 1] & 0x3Fu) << 12) | ((s[i + 2] & 0x3Fu) << 6) |
                               (s[i + 3] & 0x3Fu);
      *out++ = static_cast<Unit>(0xD800 + ((cp - 0x10000) >> 10));
      *out++ = static_cast<Unit>(0xDC00 + ((cp - 0x10000) & 0x3FF));
      i += 4;
    } else {
      return -1;
    }
  }
  return out - begin;
}

}  // namespace

std::size_t asciiPrefixLength(const char* text, std::size_t length) {
  std::size_t i = 0;
  while (i + 8 <= length && asciiWord(text + i)) i += 8;
  while (i < length && static_cast<unsigned char>(text[i]) < 0x80) ++i;
  return i;
}

namespace {

template <bool kEscape>
std::size_t latin1ToUtf8(const std::uint8_t* chars, std::size_t length, char* out, Utf8Tally* tally) {
  char* p = out;
  std::size_t i = 0;
  while (i < length) {
    if (i + 8 <= length && asciiWord(chars + i)) {
      std::uint64_t word;
      std::memcpy(&word, chars + i, 8);
      if (!kEscape || !holdsEscaped(word)) {
        std::memcpy(p, &word, 8);
        p += 8;
        i += 8;
        continue;
      }
    }
    const std::uint8_t c = chars[i++];
    if (kEscape && escaped(c)) {
      tally->escapeBytes += writeEntity(static_cast<char>(c), p);
    } else if (c < 0x80) {
      *p++ = static_cast<char>(c);
    } else {
      *p++ = static_cast<char>(0xC0 | (c >> 6));
      *p++ = static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return static_cast<std::size_t>(p - out);
}

template <bool kEscape>
std::size_t utf16ToUtf8(const std::uint16_t* units, std::size_t length, char* out, Utf8Tally* tally) {
  char* p = out;
  std::size_t i = 0;
  while (i < length) {
    const std::size_t ascii = narrowAsciiBlocks<kEscape>(units + i, length - i, p);
    i += ascii;
    p += ascii;
    if (i == length) break;
    const std::uint32_t u = units[i++];
    if (u > 0xFF) tally->pastLatin1 = true;
    if (kEscape && escaped(u)) {
      tally->escapeBytes += writeEntity(static_cast<char>(u), p);
    } else if (u < 0x80) {
      *p++ = static_cast<char>(u);
    } else if (u < 0x800) {
      *p++ = static_cast<char>(0xC0 | (u >> 6));
      *p++ = static_cast<char>(0x80 | (u & 0x3F));
    } else if (u >= 0xD800 && u < 0xDC00 && i < length && units[i] >= 0xDC00 && units[i] < 0xE000) {
      const std::uint32_t c = 0x10000 + ((u - 0xD800) << 10) + (units[i++] - 0xDC00);
      *p++ = static_cast<char>(0xF0 | (c >> 18));
      *p++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *p++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *p++ = static_cast<char>(0x80 | (c & 0x3F));
    } else {
      if (u >= 0xD800 && u < 0xE000) tally->loneSurrogate = true;
      *p++ = static_cast<char>(0xE0 | (u >> 12));
      *p++ = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
      *p++ = static_cast<char>(0x80 | (u & 0x3F));
    }
  }
  return static_cast<std::size_t>(p - out);
}

}  // namespace

std::size_t latin1ToUtf8(const std::uint8_t* chars, std::size_t length, char* out, bool escapeHtml,
                         Utf8Tally* tally) {
  return escapeHtml ? latin1ToUtf8<true>(chars, length, out, tally) : latin1ToUtf8<false>(chars, length, out, tally);
}

std::size_t utf16ToUtf8(const std::uint16_t* units, std::size_t length, char* out, bool escapeHtml,
                        Utf8Tally* tally) {
  return escapeHtml ? utf16ToUtf8<true>(units, length, out, tally) : utf16ToUtf8<false>(units, length, out, tally);
}

std::ptrdiff_t decodeUtf8(const char* text, std::size_t length, std::uint16_t* out) {
  return decode(text, length, out);
}

// Returns the range the byte after `lead` must lie in for the sequence to stay well-formed (the
// table of well-formed byte sequences of the Unicode standard), or an empty range when `lead`
// begins none.
void secondByteRange(unsigned char lead, unsigned char& low, unsigned char& high) {
  low = 0x80;
  high = 0xBF;
  if (lead < 0xC2 || lead > 0xF4) {
    low = 1;
    high = 0;
  }
  if (lead == 0xE0) low = 0xA0;
  if (lead == 0xED) high = 0x9F;
  if (lead == 0xF0) low = 0x90;
  if (lead == 0xF4) high = 0x8F;
}

std::size_t leastUtf16Units(const char* text, std::size_t length) {
  std::size_t continuations = 0;
  std::size_t i = 0;
  for (; i + 8 <= length; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, text + i, sizeof word);
    // One bit per continuation byte, at the byte's low end; a multiply adds them into the top byte.
    const std::uint64_t marks = (word & ~(word << 1) & kHighBits) >> 7;
    continuations += static_cast<std::size_t>((marks * 0x0101010101010101ull) >> 56);
  }
  for (; i < length; ++i) continuations += (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
  return length - continuations;
}

std::size_t decodeUtf8Replacing(const char* text, std::size_t length, std::uint16_t* out) {
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  std::uint16_t* const begin = out;
  std::size_t i = 0;
  while (i < length) {
    const std::size_t ascii = widenAsciiBlocks(s + i, length - i, out);
    i += ascii;
    out += ascii;
    if (i == length) break;
    if (s[i] < 0x80) {
      *out++ = s[i++];
      continue;
    }
    unsigned char low, high;
    secondByteRange(s[i], low, high);
    const std::size_t need = low > high ? 1 : sequenceLength(s[i]);
    std::size_t taken = 1;
    while (taken < need && i + taken < length && s[i + taken] >= (taken == 1 ? low : 0x80) &&
           s[i + taken] <= (taken == 1 ? high : 0xBF)) {
      ++taken;
    }
    if (taken == need && low <= high) {
      out += decode(text + i, taken, out);
    } else {
      *out++ = 0xFFFD;  // one for a stray byte, or for the longest start of a sequence cut short
    }
    i += taken;
  }
  return static_cast<std::size_t>(out - begin);
}

template <typename Unit>
bool Utf8PieceDecoder<Unit>::add(const char* data, std::size_t size) {
  if (!valid_) return false;
  if (held_ > 0) {
    const std::size_t need = sequenceLength(pending_[0]);
    while (held_ < need && size > 0) {
      pending_[held_++] = static_cast<unsigned char>(*data++);
      --size;
    }
    if (held_ < need) return true;
    const std::ptrdiff_t n = decode(reinterpret_cast<const char*>(pending_), need, out_);
    held_ = 0;
    if (n < 0) return valid_ = false;
    out_ += n;
  }
  // A multi-byte sequence whose lead stands in the last three bytes and that the piece cuts short
  // waits for the next piece.
  std::size_t keep = size;
  for (std::size_t back = 1; back <= 3 && back <= size; ++back) {
    const unsigned char c = static_cast<unsigned char>(data[size - back]);
    if (isContinuation(c)) continue;
    if (c >= 0xC0 && sequenceLength(c) > back) keep = size - back;
    break;
  }
  const std::ptrdiff_t n = decode(data, keep, out_);
  if (n < 0) return valid_ = false;
  out_ += n;
  held_ = size - keep;
  std::memcpy(pending_, data + keep, held_);
  return true;
}

template class Utf8PieceDecoder<std::uint8_t>;
template class Utf8PieceDecoder<std::uint16_t>;

}  // namespace tarnwick
