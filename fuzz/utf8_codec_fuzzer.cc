// Checks the UTF-8 conversions of script strings on arbitrary bytes by their round trips: what
// decodeUtf8 accepts is well-formed UTF-16 that encodes back to the same bytes, well-formed UTF-16
// always decodes back to itself, and Latin-1 survives encoding and decoding. Decoding the bytes in
// pieces, cut where the first byte says, gives what decoding them whole gives.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "convert/utf8_codec.h"

namespace {

bool wellFormed(const std::vector<std::uint16_t>& units) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    const std::uint16_t u = units[i];
    if (u >= 0xDC00 && u < 0xE000) return false;
    if (u >= 0xD800 && u < 0xDC00) {
      if (i + 1 == units.size() || units[i + 1] < 0xDC00 || units[i + 1] >= 0xE000) return false;
      ++i;
    }
  }
  return true;
}

std::vector<std::uint16_t> decode(const std::string& bytes, bool& valid) {
  std::vector<std::uint16_t> units(bytes.size() + 1);
  const std::ptrdiff_t n = tarnwick::decodeUtf8(bytes.data(), bytes.size(), units.data());
  valid = n >= 0;
  if (n > static_cast<std::ptrdiff_t>(bytes.size())) std::abort();
  units.resize(valid ? static_cast<std::size_t>(n) : 0);
  return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);

  std::size_t ascii = 0;
  while (ascii < size && data[ascii] < 0x80) ++ascii;
  if (tarnwick::asciiPrefixLength(bytes.data(), size) != ascii) std::abort();

  // The bytes as UTF-8.
  bool valid = false;
  const std::vector<std::uint16_t> decoded = decode(bytes, valid);
  if (valid) {
    if (!wellFormed(decoded)) std::abort();
    std::string again;
    tarnwick::appendUtf16AsUtf8(decoded.data(), decoded.size(), again);
    if (again != bytes) std::abort();
  }

  // The bytes in three pieces, as UTF-16 and as Latin-1.
  const std::size_t cut1 = size > 0 ? data[0] % (size + 1) : 0;
  const std::size_t cut2 = cut1 + (size > 1 ? data[1] % (size - cut1 + 1) : 0);
  std::vector<std::uint16_t> wide(size + 1);
  std::vector<std::uint8_t> narrow(size + 1);
  tarnwick::Utf8PieceDecoder<std::uint16_t> wideDecoder(wide.data());
  tarnwick::Utf8PieceDecoder<std::uint8_t> narrowDecoder(narrow.data());
  for (const auto& [from, to] : {std::pair<std::size_t, std::size_t>{0, cut1}, {cut1, cut2}, {cut2, size}}) {
    wideDecoder.add(bytes.data() + from, to - from);
    narrowDecoder.add(bytes.data() + from, to - from);
  }
  bool fitsOneByte = valid;
  for (std::uint16_t unit : decoded) fitsOneByte = fitsOneByte && unit < 0x100;
  if ((wideDecoder.finish() >= 0) != valid || (narrowDecoder.finish() >= 0) != fitsOneByte) std::abort();
  for (std::size_t i = 0; valid && i < decoded.size(); ++i) {
    if (wide[i] != decoded[i] || (fitsOneByte && narrow[i] != decoded[i])) std::abort();
  }

  // The bytes as UTF-16 code units.
  std::vector<std::uint16_t> units(size / 2);
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<std::uint16_t>(data[2 * i] | (data[2 * i + 1] << 8));
  std::string encoded = "x";
  tarnwick::appendUtf16AsUtf8(units.data(), units.size(), encoded);
  if (encoded[0] != 'x') std::abort();
  encoded.erase(0, 1);
  const std::vector<std::uint16_t> back = decode(encoded, valid);
  if (wellFormed(units) && (!valid || back != units)) std::abort();

  // The bytes as Latin-1 characters.
  std::string latin1;
  tarnwick::appendLatin1AsUtf8(data, size, latin1);
  const std::vector<std::uint16_t> widened = decode(latin1, valid);
  if (!valid || widened.size() != size) std::abort();
  for (std::size_t i = 0; i < size; ++i) {
    if (widened[i] != data[i]) std::abort();
  }
  return 0;
}
