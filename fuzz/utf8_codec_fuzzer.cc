// Checks the UTF-8 conversions of script strings on arbitrary bytes by their round trips: what
// decodeUtf8 accepts is well-formed UTF-16 that encodes back to the same bytes, well-formed UTF-16
// always decodes back to itself, and Latin-1 survives encoding and decoding. Decoding the bytes in
// pieces, cut where the first two bytes say, gives what decoding them whole gives.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "convert/utf8_codec.h"
#include "units.h"

namespace {

using reference::decode;
using reference::encode;
using reference::wellFormed;
using Units = std::u16string;

// Returns the units decoded by Utf8PieceDecoder from three pieces, or nothing when it rejects them.
template <typename Unit>
std::optional<Units> decodeInPieces(const std::string& bytes, std::size_t cut1, std::size_t cut2) {
  std::vector<Unit> out(bytes.size());
  tarnwick::Utf8PieceDecoder<Unit> decoder(out.data());
  decoder.add(bytes.data(), cut1);
  decoder.add(bytes.data() + cut1, cut2 - cut1);
  decoder.add(bytes.data() + cut2, bytes.size() - cut2);
  if (decoder.finish() < 0) return std::nullopt;
  return Units(out.begin(), out.begin() + decoder.finish());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  std::size_t ascii = 0;
  while (ascii < size && data[ascii] < 0x80) ++ascii;
  if (tarnwick::asciiPrefixLength(bytes.data(), size) != ascii) std::abort();

  const std::optional<Units> decoded = decode(bytes);
  if (decoded && (!wellFormed(*decoded) || encode(*decoded) != bytes)) std::abort();
  const std::size_t cut1 = size > 0 ? data[0] % (size + 1) : 0;
  const std::size_t cut2 = cut1 + (size > 1 ? data[1] % (size - cut1 + 1) : 0);
  const bool oneByte = decoded && std::all_of(decoded->begin(), decoded->end(), [](char16_t u) { return u < 256; });
  if (decodeInPieces<std::uint16_t>(bytes, cut1, cut2) != decoded ||
      decodeInPieces<std::uint8_t>(bytes, cut1, cut2) != (oneByte ? decoded : std::nullopt)) {
    std::abort();
  }

  // The bytes as UTF-16 code units, and as Latin-1 characters.
  Units units(size / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(data[2 * i] | (data[2 * i + 1] << 8));
  if (wellFormed(units) && decode(encode(units)) != units) std::abort();
  std::string latin1(2 * size, '\0');
  tarnwick::Utf8Tally tally;
  latin1.resize(tarnwick::latin1ToUtf8(data, size, &latin1[0], false, &tally));
  if (decode(latin1) != Units(data, data + size)) std::abort();
  return 0;
}
