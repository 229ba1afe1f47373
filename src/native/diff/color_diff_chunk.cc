#include "diff/color_diff_chunk.h"

#include <cstdint>
#include <cstring>

namespace tarnwick {

namespace {

// The pieces of markup, as literals with their lengths.
struct Piece {
  const char* data;
  std::size_t size;
};
template <std::size_t N>
constexpr Piece piece(const char (&literal)[N]) {
  return Piece{literal, N - 1};
}

constexpr Piece kAddedOpen = piece("<div class='diff-added'><span class='diff-action'>+</span>");
constexpr Piece kRemovedOpen = piece("<div class='diff-removed'><span class='diff-action'>-</span>");
constexpr Piece kDivClose = piece("</div>");
constexpr Piece kHeaderOpen = piece("<div class='diff-break'>");
constexpr Piece kHeaderTools = piece(
    "<div class='tools'><span class='discard-hunk link'>discard hunk</span>"
    "<span class='stage-hunk link'>stage hunk</span><span class='unstage-hunk link'>unstage hunk</span>"
    "<span class='revert-hunk link'>revert hunk</span></div></div>");
constexpr Piece kNoteOpen = piece("\n<div class='diff-break'>");
constexpr Piece kNoteClose = piece("</div>\n");
constexpr Piece kNote = piece("\\ No newline at end of file");
constexpr Piece kSwatchOpen = piece("<span class='color-preview' style='background-color: ");
constexpr Piece kSwatchClose = piece("'></span>");

inline void append(std::string& out, Piece p) { out.append(p.data, p.size); }

inline bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool isDigit(char c) { return c >= '0' && c <= '9'; }
inline bool isHex(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

inline void appendRange(std::string& out, const char* begin, const char* end) {
  out.append(begin, static_cast<std::size_t>(end - begin));
}

// Returns whether the eight bytes of `word` hold a byte equal to every byte of `pattern`'s.
inline bool holdsByte(std::uint64_t word, std::uint64_t pattern) {
  const std::uint64_t v = word ^ pattern;
  return ((v - 0x0101010101010101ull) & ~v & 0x8080808080808080ull) != 0;
}

// Returns the first "#" or "r" in [p, end), or `end`; eight bytes at a time where neither occurs.
const char* findColorStart(const char* p, const char* const end) {
  while (end - p >= 8) {
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    if (holdsByte(word, 0x2323232323232323ull) || holdsByte(word, 0x7272727272727272ull)) break;
    p += 8;
  }
  while (p < end && *p != '#' && *p != 'r') ++p;
  return p;
}

// Returns whether [begin, end) holds the missing-newline note.
bool holdsNote(const char* begin, const char* end) {
  while (static_cast<std::size_t>(end - begin) >= kNote.size) {
    const void* slash = std::memchr(begin, '\\', static_cast<std::size_t>(end - begin) - kNote.size + 1);
    if (slash == nullptr) return false;
    const char* at = static_cast<const char*>(slash);
    if (std::memcmp(at, kNote.data, kNote.size) == 0) return true;
    begin = at + 1;
  }
  return false;
}

// Passes 1 to 4, fused: every line is classified once. A line's "content" runs from its start to
// its first carriage return (what ".*" covers); the rest of the line follows the markup as it is.
// A hunk header gains a line feed before and after its div (and any note div), which leaves the
// lines around it empty or starting with a carriage return, so the note pass never matches them.
void markLines(std::string& out, const char* p, const char* const end, bool markAddedRemoved) {
  for (;;) {
    const void* feed = std::memchr(p, '\n', static_cast<std::size_t>(end - p));
    const char* const lineEnd = feed ? static_cast<const char*>(feed) : end;
    const void* cr = std::memchr(p, '\r', static_cast<std::size_t>(lineEnd - p));
    const char* const contentEnd = cr ? static_cast<const char*>(cr) : lineEnd;
    const bool note = holdsNote(p, contentEnd);
    const bool header = contentEnd - p >= 2 && p[0] == '@' && p[1] == '@';
    const bool added = markAddedRemoved && p < contentEnd && p[0] == '+';
    const bool removed = markAddedRemoved && p < contentEnd && p[0] == '-';
    if (header) out.push_back('\n');
    if (note) append(out, kNoteOpen);
    if (added || removed) {
      append(out, added ? kAddedOpen : kRemovedOpen);
      appendRange(out, p + 1, contentEnd);
      append(out, kDivClose);
    } else if (header) {
      append(out, kHeaderOpen);
      appendRange(out, p, contentEnd);
      append(out, kHeaderTools);
    } else {
      appendRange(out, p, contentEnd);
    }
    if (note) append(out, kNoteClose);
    if (header) out.push_back('\n');
    appendRange(out, contentEnd, lineEnd);
    if (lineEnd == end) return;
    out.push_back('\n');
    p = lineEnd + 1;
  }
}

// Returns the length of the functional colour code starting at `p`, or 0. Every quantifier of the
// pattern is followed by a character it cannot take, so the greedy reading is the only one; the
// optional fourth component must reach the first ")" after the third number.
std::size_t rgbLength(const char* const p, const char* const end) {
  const char* q = p;
  if (end - q < 3 || q[1] != 'g' || q[2] != 'b') return 0;
  q += 3;
  while (q < end && *q == 'a') ++q;
  while (q < end && isSpace(*q)) ++q;
  if (q == end || *q != '(') return 0;
  ++q;
  auto digits = [&]() {
    const char* start = q;
    while (q < end && isDigit(*q)) ++q;
    return q > start;
  };
  auto optionalSpace = [&]() {
    if (q < end && isSpace(*q)) ++q;
  };
  auto comma = [&]() {
    if (q == end || *q != ',') return false;
    ++q;
    return true;
  };
  if (!digits()) return 0;
  for (int i = 0; i < 2; ++i) {
    optionalSpace();
    if (!comma()) return 0;
    optionalSpace();
    if (!digits()) return 0;
  }
  optionalSpace();
  if (comma()) {
    optionalSpace();
    digits();
    if (end - q >= 2 && q[0] == '.' && isDigit(q[1])) {
      ++q;
      digits();
    }
    optionalSpace();
  }
  if (q == end || *q != ')') return 0;
  return static_cast<std::size_t>(q + 1 - p);
}

// Returns the length of the hexadecimal colour code starting at the "#" at `p`, or 0.
std::size_t hexLength(const char* const p, const char* const end) {
  std::size_t digits = 0;
  while (digits < 8 && p + 1 + digits < end && isHex(p[1 + digits])) ++digits;
  return digits >= 6 ? digits + 1 : 0;
}

// Passes 5 and 6, fused: a hexadecimal code holds no "r" and a functional one no "#", and the
// swatch markup can neither start nor extend a code, so one left-to-right scan finds both kinds.
void addSwatches(std::string& out, const char* p, const char* const end) {
  const char* copied = p;
  for (;;) {
    p = findColorStart(p, end);
    if (p == end) break;
    const char c = *p;
    std::size_t length = 0;
    if (c == '#') {
      length = hexLength(p, end);
    } else if (c == 'r') {
      length = rgbLength(p, end);
    }
    if (length == 0) {
      ++p;
      continue;
    }
    appendRange(out, copied, p);
    append(out, kSwatchOpen);
    out.append(p, length);
    append(out, kSwatchClose);
    out.append(p, length);
    p += length;
    copied = p;
  }
  appendRange(out, copied, end);
}

}  // namespace

void appendColoredDiffChunk(std::string& out, std::string& scratch, const char* data, std::size_t size,
                            bool showColorPreviews, bool markAddedRemoved) {
  if (!showColorPreviews) {
    markLines(out, data, data + size, markAddedRemoved);
    return;
  }
  scratch.clear();
  scratch.reserve(size + size / 2 + 512);
  markLines(scratch, data, data + size, markAddedRemoved);
  addSwatches(out, scratch.data(), scratch.data() + scratch.size());
}

std::string colorDiffChunk(std::string text, bool showColorPreviews, bool markAddedRemoved) {
  std::string out;
  std::string scratch;
  out.reserve(text.size() * 2 + 512);
  appendColoredDiffChunk(out, scratch, text.data(), text.size(), showColorPreviews, markAddedRemoved);
  return out;
}

}  // namespace tarnwick
