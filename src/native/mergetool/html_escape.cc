#include "mergetool/html_escape.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace tarnwick {

namespace {

// Returns a table that marks the five bytes HTML treats specially.
constexpr std::array<bool, 256> specialBytes() {
  std::array<bool, 256> table{};
  for (unsigned char c : {'&', '<', '>', '\'', '"'}) table[c] = true;
  return table;
}

constexpr std::array<bool, 256> kSpecial = specialBytes();

const char* entity(char c) {
  switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '\'': return "&#39;";
    default: return "&quot;";
  }
}

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;

// Returns whether any byte of `word` is zero.
constexpr bool hasZeroByte(std::uint64_t word) { return ((word - kOnes) & ~word & (kOnes * 0x80)) != 0; }

// Returns whether any of the eight bytes at `text` is special: & and ' differ only in the lowest
// bit, as do < and >, so three byte comparisons cover the five.
bool hasSpecialByte(const char* text) {
  std::uint64_t word;
  std::memcpy(&word, text, sizeof word);
  return hasZeroByte((word & (kOnes * 0xFE)) ^ (kOnes * '&')) ||
         hasZeroByte((word & (kOnes * 0xFD)) ^ (kOnes * '<')) || hasZeroByte(word ^ (kOnes * '"'));
}

}  // namespace

void appendEscapedHtml(std::string& out, const char* text, std::size_t length) {
  const char* const end = text + length;
  while (true) {
    const char* plain = text;
    while (end - text >= 8 && !hasSpecialByte(text)) text += 8;
    while (text != end && !kSpecial[static_cast<unsigned char>(*text)]) ++text;
    out.append(plain, static_cast<std::size_t>(text - plain));
    if (text == end) return;
    out += entity(*text++);
  }
}

}  // namespace tarnwick
