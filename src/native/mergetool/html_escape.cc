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

char* writeEscapedHtml(char* out, const char* text, std::size_t length) {
  const char* const begin = text;
  const char* const end = text + length;
  while (true) {
    const char* plain = text;
    while (end - text >= 8 && !hasSpecialByte(text)) text += 8;
    // The last few bytes: one look at the final eight, which may overlap bytes already passed.
    if (text != end && end - text < 8 && end - begin >= 8 && !hasSpecialByte(end - 8)) text = end;
    while (text != end && !kSpecial[static_cast<unsigned char>(*text)]) ++text;
    std::memcpy(out, plain, static_cast<std::size_t>(text - plain));
    out += text - plain;
    if (text == end) return out;
    const char* replacement = entity(*text++);
    const std::size_t size = std::strlen(replacement);
    std::memcpy(out, replacement, size);
    out += size;
  }
}

void appendEscapedText(std::string& out, std::string_view text) {
  std::size_t plain = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c != '&' && c != '<' && c != '>') continue;
    out.append(text, plain, at - plain);
    out += entity(c);
    plain = at + 1;
  }
  out.append(text, plain, text.size() - plain);
}

}  // namespace tarnwick
