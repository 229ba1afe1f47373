#ifndef UTILS_TEST_REFERENCE_UNITS_H
#define UTILS_TEST_REFERENCE_UNITS_H

// The characters of script strings as the tests and fuzz targets check them: UTF-16 helpers, and
// the characters the diff view is made of.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "convert/utf8_codec.h"
#include "diff/color_diff_units.h"

namespace reference {

// Returns whether every surrogate of `units` is half of a pair.
inline bool wellFormed(const std::u16string& units) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    const bool high = units[i] >= 0xD800 && units[i] < 0xDC00;
    if (high && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000) ++i;
    else if (units[i] >= 0xD800 && units[i] < 0xE000) return false;
  }
  return true;
}

// Returns utf16ToUtf8's bytes for `units`.
inline std::string encode(const std::u16string& units) {
  std::string out(3 * units.size(), '\0');
  tarnwick::Utf8Tally tally;
  out.resize(tarnwick::utf16ToUtf8(reinterpret_cast<const std::uint16_t*>(units.data()), units.size(), &out[0], false, &tally));
  return out;
}

// Returns what decodeUtf8 makes of `bytes`, or nothing when it rejects them.
inline std::optional<std::u16string> decode(const std::string& bytes) {
  std::u16string units(bytes.size(), u'\0');
  const std::ptrdiff_t n = tarnwick::decodeUtf8(bytes.data(), bytes.size(), reinterpret_cast<std::uint16_t*>(&units[0]));
  if (n < 0 || n > static_cast<std::ptrdiff_t>(bytes.size())) return std::nullopt;
  units.resize(static_cast<std::size_t>(n));
  return units;
}

// Returns `html` as the characters colorDiffUnits makes of it (UTF-16 units, or bytes when
// `oneByte`), or "" when it leaves the result to the host's decoder: one with a zero byte, bytes
// that are not UTF-8, or, for a one-byte text, characters past Latin-1.
inline std::u16string asUnits(const std::string& html, bool oneByte) {
  const std::optional<std::u16string> units = decode(html);
  const bool fits = units && std::all_of(units->begin(), units->end(), [&](char16_t u) { return u && (!oneByte || u < 256); });
  return fits ? *units : u"";
}

// Returns the characters colorDiffUnits made ("" when it made none), or "(wrong width)" when their
// width is not the text's.
inline std::u16string madeUnits(const tarnwick::ScriptUnits& made, bool oneByte) {
  if (!made.made) return u"";
  if (made.twoByte == oneByte) return u"(wrong width)";
  const auto* data = reinterpret_cast<const unsigned char*>(made.block.data());
  return made.twoByte ? std::u16string(reinterpret_cast<const char16_t*>(data), made.length)
                      : std::u16string(data, data + made.length);
}

}  // namespace reference

#endif
