#ifndef UTILS_TEST_REFERENCE_UNITS_H
#define UTILS_TEST_REFERENCE_UNITS_H

// The characters of script strings as the tests and fuzz targets check them: UTF-16 helpers, and
// the characters the diff view is made of.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "convert/utf8_codec.h"
#include "convert/script_units.h"

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

// Returns the characters that `units` holds, whatever their width, or "(not made)".
inline std::u16string unitsText(const tarnwick::ScriptUnits& units) {
  if (!units.made) return u"(not made)";
  const auto* data = reinterpret_cast<const unsigned char*>(units.block.data());
  return units.twoByte ? std::u16string(reinterpret_cast<const char16_t*>(data), units.length)
                       : std::u16string(data, data + units.length);
}

}  // namespace reference

#endif
