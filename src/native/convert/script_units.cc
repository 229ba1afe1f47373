#include "convert/script_units.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "convert/utf8_codec.h"

namespace tarnwick {

namespace {

// Returns the units of the `size` bytes at `text`; `owner`, when not null, holds those bytes and
// is handed over for ASCII, else they are copied.
ScriptUnits unitsOf(const char* text, PageBlock* owner, std::size_t size, bool oneByteHint, bool replaceInvalid,
                    std::size_t longestUnits) {
  ScriptUnits out;
  const void* zero = size > 0 ? std::memchr(text, 0, size) : nullptr;
  if (zero != nullptr) size = static_cast<std::size_t>(static_cast<const char*>(zero) - text);
  if (leastUtf16Units(text, size) > longestUnits) {
    out.tooLong = true;
    return out;
  }
  if (asciiPrefixLength(text, size) == size) {
    if (owner != nullptr) {
      out.block = std::move(*owner);
    } else {
      out.block = PageBlock::acquire(size);
      if (size > 0) std::memcpy(out.block.data(), text, size);
    }
    out.length = size;
    out.made = true;
    return out;
  }
  // A character takes at least one byte of UTF-8, so as many units as bytes are always room enough.
  if (oneByteHint) {
    out.block = PageBlock::acquire(size);
    Utf8PieceDecoder<std::uint8_t> latin1(reinterpret_cast<std::uint8_t*>(out.block.data()));
    latin1.add(text, size);
    if (latin1.finish() >= 0) {
      out.length = static_cast<std::size_t>(latin1.finish());
      out.made = true;
      return out;
    }
  }
  out.block = PageBlock::acquire(2 * size);
  auto* const units = reinterpret_cast<std::uint16_t*>(out.block.data());
  const std::ptrdiff_t decoded = decodeUtf8(text, size, units);
  if (decoded < 0 && !replaceInvalid) {
    ScriptUnits bytesLeft;
    if (owner != nullptr) {
      bytesLeft.block = std::move(*owner);
    } else {
      bytesLeft.block = PageBlock::acquire(size);
      std::memcpy(bytesLeft.block.data(), text, size);
    }
    bytesLeft.length = size;
    return bytesLeft;
  }
  out.length = decoded >= 0 ? static_cast<std::size_t>(decoded) : decodeUtf8Replacing(text, size, units);
  out.twoByte = true;
  if (out.length <= longestUnits) {
    out.made = true;
    return out;
  }
  ScriptUnits none;
  none.tooLong = true;
  return none;
}

}  // namespace

ScriptUnits scriptUnits(PageBlock bytes, std::size_t size, bool oneByteHint, bool replaceInvalid,
                        std::size_t longestUnits) {
  return unitsOf(bytes.data(), &bytes, size, oneByteHint, replaceInvalid, longestUnits);
}

ScriptUnits scriptUnits(const char* text, std::size_t size, bool oneByteHint, bool replaceInvalid,
                        std::size_t longestUnits) {
  return unitsOf(text, nullptr, size, oneByteHint, replaceInvalid, longestUnits);
}

}  // namespace tarnwick
