#include "diff/color_diff_chunk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "convert/text_range.h"
#include "diff/byte_bitmap.h"

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
constexpr Piece kLineFeed = piece("\n");
constexpr Piece kBreakOpen = piece("<div class='diff-break'>");
constexpr Piece kHeaderTools = piece(
    "<div class='tools'><span class='discard-hunk link'>discard hunk</span>"
    "<span class='stage-hunk link'>stage hunk</span><span class='unstage-hunk link'>unstage hunk</span>"
    "<span class='revert-hunk link'>revert hunk</span></div></div>");
constexpr Piece kNoteOpen = piece("\n<div class='diff-break'>");
constexpr Piece kNoteClose = piece("</div>\n");
constexpr Piece kNote = piece("\\ No newline at end of file");
constexpr Piece kSwatchOpen = piece("<span class='color-preview' style='background-color: ");
constexpr Piece kSwatchClose = piece("'></span>");
constexpr Piece kChangedOpen = piece("<span class='diff-changed'>");
constexpr Piece kChangedClose = piece("</span>");
constexpr std::size_t kChangedExtra = kChangedOpen.size + kChangedClose.size;

inline bool isDigit(char c) { return c >= '0' && c <= '9'; }
inline bool isHex(char c) { return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// The markup of added (1) and removed (2) lines: an opening piece, which stands for the line's
// first byte, and a closing piece. Padded, so that each is copied with one store of fixed size.
constexpr char kOpenText[3][64] = {"", "<div class='diff-added'><span class='diff-action'>+</span>",
                                   "<div class='diff-removed'><span class='diff-action'>-</span>"};
constexpr std::size_t kOpenSize[3] = {0, kAddedOpen.size, kRemovedOpen.size};
constexpr char kCloseText[3][8] = {"", "</div>", "</div>"};
constexpr std::size_t kCloseSize[3] = {0, kDivClose.size, kDivClose.size};
static_assert(kAddedOpen.size < 64 && kRemovedOpen.size < 64, "an opening piece fits its padded copy");

// Copies `n` bytes exactly, without a library call for the short runs a diff line is made of.
inline void copyBytes(char* d, const char* s, std::size_t n) {
  if (n > 64) {
    std::memcpy(d, s, n);
  } else if (n >= 16) {
    for (std::size_t i = 0; i + 16 < n; i += 16) std::memcpy(d + i, s + i, 16);
    std::memcpy(d + n - 16, s + n - 16, 16);
  } else if (n >= 8) {
    std::memcpy(d, s, 8);
    std::memcpy(d + n - 8, s + n - 8, 8);
  } else if (n >= 4) {
    std::memcpy(d, s, 4);
    std::memcpy(d + n - 4, s + n - 4, 4);
  } else if (n > 0) {
    d[0] = s[0];
    d[n / 2] = s[n / 2];
    d[n - 1] = s[n - 1];
  }
}

// The two ways of producing the result, run by the same scans: measuring it, and writing it to
// memory sized by the measurement.
struct Measure {
  std::size_t size = 0;
  void bytes(const char*, std::size_t n, const char*) { size += n; }
  void put(Piece p) { size += p.size; }
  void open(std::size_t kind) { size += kOpenSize[kind]; }
  void close(std::size_t kind) { size += kCloseSize[kind]; }
};

// Writes with whole stores that may run up to kColorDiffSlack bytes past what they keep; the
// next write covers what they left there. Always inlined: a call for each piece of each line
// would cost more than the piece.
struct Write {
  char* at;
  // Copies `n` bytes from `s`, reading nothing at or past `limit`.
  __attribute__((always_inline)) void bytes(const char* s, std::size_t n, const char* limit) {
    const std::size_t readable = static_cast<std::size_t>(limit - s);
    if (n <= 64 && readable >= 64) {
      std::memcpy(at, s, 64);  // most runs of a diff are this short: one store of fixed size
    } else if (n <= 256 && readable >= n + 32) {
      for (std::size_t i = 0; i < n; i += 32) std::memcpy(at + i, s + i, 32);
    } else {
      copyBytes(at, s, n);
    }
    at += n;
  }
  __attribute__((always_inline)) void put(Piece p) {
    std::memcpy(at, p.data, p.size);
    at += p.size;
  }
  __attribute__((always_inline)) void open(std::size_t kind) {
    std::memcpy(at, kOpenText[kind], sizeof kOpenText[kind]);
    at += kOpenSize[kind];
  }
  __attribute__((always_inline)) void close(std::size_t kind) {
    std::memcpy(at, kCloseText[kind], sizeof kCloseText[kind]);
    at += kCloseSize[kind];
  }
};

// Returns, one after another, the positions of the bytes `a`, `b` and `c` in [begin, end), then
// `end` for good. Finds them with the vectorised bitmap a window at a time, kept in `map` (room for
// kBitmapWords words): outside the object, so that the object never escapes and the compiler can
// keep its state in registers across byte stores.
constexpr std::size_t kBitmapWords = 64;
class BytePositions {
 public:
  BytePositions(const char* begin, const char* end, char a, char b, char c, std::uint64_t* map)
      : window_(begin), end_(end), a_(a), b_(b), c_(c), map_(map) {
    load();
  }

  const char* next() {
    while (bits_ == 0) {
      if (word_ + 1 < words_) {
        bits_ = map_[++word_];
      } else if (static_cast<std::size_t>(end_ - window_) > kWindow) {
        window_ += kWindow;
        load();
      } else {
        return end_;
      }
    }
    const char* at = window_ + 64 * word_ + __builtin_ctzll(bits_);
    bits_ &= bits_ - 1;
    return at;
  }

 private:
  static constexpr std::size_t kWindow = 64 * kBitmapWords;

  void load() {
    const std::size_t left = static_cast<std::size_t>(end_ - window_);
    const std::size_t size = left < kWindow ? left : kWindow;
    words_ = (size + 63) / 64;
    word_ = 0;
    bits_ = 0;
    if (size == 0) return;
    byteBitmap(window_, size, ByteSet{a_, b_, c_}, map_);
    bits_ = map_[0];
  }

  const char* window_;
  const char* const end_;
  const char a_, b_, c_;
  std::uint64_t* const map_;
  std::size_t words_ = 0, word_ = 0;
  std::uint64_t bits_ = 0;
};

// Writes the content [from, to) of an added or removed line, with the marks that lie in it (none
// when `marks` is null) wrapped in diff-changed spans.
template <typename Out>
__attribute__((always_inline)) inline void content(Out& out, const char* from, const char* to, const char* end,
                                                   WordMarks* marks) {
  if (marks != nullptr) {
    for (; marks->next != marks->end && marks->base + marks->next->begin < to; ++marks->next) {
      if (marks->base + marks->next->begin < from) continue;  // never, while chunks come in order
      const char* const begin = marks->base + marks->next->begin;
      const char* const stop = marks->base + marks->next->end;
      out.bytes(from, static_cast<std::size_t>(begin - from), end);
      out.put(kChangedOpen);
      out.bytes(begin, static_cast<std::size_t>(stop - begin), end);
      out.put(kChangedClose);
      from = stop;
    }
  }
  out.bytes(from, static_cast<std::size_t>(to - from), end);
}

// Returns whether [p, contentEnd) holds the missing-newline note.
bool holdsNote(const char* p, const char* contentEnd) {
  while (contentEnd - p >= static_cast<std::ptrdiff_t>(kNote.size)) {
    const void* slash = std::memchr(p, '\\', static_cast<std::size_t>(contentEnd - p) - kNote.size + 1);
    if (slash == nullptr) return false;
    const char* at = static_cast<const char*>(slash);
    if (std::memcmp(at, kNote.data, kNote.size) == 0) return true;
    p = at + 1;
  }
  return false;
}

// Writes a line whose content holds a backslash, or that starts with "@": the general rules. A
// hunk header gains a line feed before and after its div (and any note div), which leaves the
// lines around it empty or starting with a carriage return, so the note pass never matches them.
// Takes and returns the writer by value, so that it stays in registers (see markLines).
template <typename Out>
Out markRareLine(Out out, const char* p, const char* contentEnd, const char* lineEnd, const char* end,
                 bool markAddedRemoved, bool backslash, WordMarks* marks) {
  const bool header = contentEnd - p >= 2 && p[0] == '@' && p[1] == '@';
  const bool added = markAddedRemoved && p < contentEnd && p[0] == '+';
  const bool removed = markAddedRemoved && p < contentEnd && p[0] == '-';
  const bool note = backslash && holdsNote(p, contentEnd);
  if (header) out.put(kLineFeed);
  if (note) out.put(kNoteOpen);
  if (added || removed) {
    out.open(added ? 1 : 2);
    content(out, p + 1, contentEnd, end, marks);
    out.close(added ? 1 : 2);
  } else if (header) {
    out.put(kBreakOpen);
    out.bytes(p, static_cast<std::size_t>(contentEnd - p), end);
    out.put(kHeaderTools);
  } else {
    out.bytes(p, static_cast<std::size_t>(contentEnd - p), end);
  }
  if (note) out.put(kNoteClose);
  if (header) out.put(kLineFeed);
  out.bytes(contentEnd, static_cast<std::size_t>(lineEnd - contentEnd), end);
  return out;
}

// Passes 1 to 4, fused: every line is classified once. A line's "content" runs from its start to
// its first carriage return (what ".*" covers); the rest of the line follows the markup as it is.
// The line feeds, carriage returns and backslashes come from one vectorised scan. A line with no
// backslash in its content and no "@" at its start (nearly every line of a diff) is a plain,
// added or removed line: an added or removed one is written by table, and plain lines, with the
// line feeds and line ends around the markup, go out as they stand in one copy a run.
// The writer is worked on as a local copy, whose position the compiler keeps in a register: the
// caller's could be changed by any byte store, and would be reloaded after each.
template <typename Out>
void markLines(Out& caller, const char* p, const char* const end, bool markAddedRemoved, WordMarks* words) {
  Out out = caller;
  std::uint64_t map[kBitmapWords];
  BytePositions marks(p, end, '\n', '\r', '\\', map);
  const char* copied = p;  // the start of the bytes passed over as they stand, not yet written
  for (;;) {
    const char* lineEnd = marks.next();
    const char* contentEnd = nullptr;
    bool backslash = false;
    for (; lineEnd != end && *lineEnd != '\n'; lineEnd = marks.next()) {
      if (contentEnd != nullptr) continue;
      if (*lineEnd == '\r') {
        contentEnd = lineEnd;
      } else {
        backslash = true;
      }
    }
    if (contentEnd == nullptr) contentEnd = lineEnd;
    const char first = p < contentEnd ? *p : '\0';
    if (backslash || first == '@') {
      out.bytes(copied, static_cast<std::size_t>(p - copied), end);
      out = markRareLine(out, p, contentEnd, lineEnd, end, markAddedRemoved, backslash, words);
      copied = lineEnd;
    } else if (markAddedRemoved && (first == '+' || first == '-')) {
      const std::size_t kind = first == '+' ? 1 : 2;
      out.bytes(copied, static_cast<std::size_t>(p - copied), end);
      out.open(kind);
      content(out, p + 1, contentEnd, end, words);
      out.close(kind);
      copied = contentEnd;
    }
    if (lineEnd == end) break;
    p = lineEnd + 1;
  }
  out.bytes(copied, static_cast<std::size_t>(end - copied), end);
  caller = out;
}

// Returns the number of bits set in `x`, without the library call that a processor lacking a
// population count instruction would get.
inline std::size_t bitCount(std::uint64_t x) {
  x -= (x >> 1) & 0x5555555555555555ull;
  x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
  x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
  return static_cast<std::size_t>((x * 0x0101010101010101ull) >> 56);
}

// Returns the bytes that markLines writes for [begin, end), without walking the lines one by one.
// Every byte of the text is written once, so the size is the text's plus what each line adds: an
// added or removed line a fixed amount, counted for all of them at once from bitmaps of where the
// lines start and of their first bytes; a line that starts with "@" or holds a backslash (a hunk
// header or a missing-newline note can only be such a line) is measured alone by the general rules.
std::size_t measureLines(const char* const begin, const char* const end, bool markAddedRemoved) {
  constexpr std::size_t kAddedExtra = kAddedOpen.size - 1 + kDivClose.size;
  constexpr std::size_t kRemovedExtra = kRemovedOpen.size - 1 + kDivClose.size;
  constexpr std::size_t kWindow = 64 * kBitmapWords;
  const auto extra = [&](const char* p) -> std::size_t {
    if (!markAddedRemoved || p == end) return 0;
    return *p == '+' ? kAddedExtra : *p == '-' ? kRemovedExtra : 0;
  };
  std::size_t total = static_cast<std::size_t>(end - begin);
  std::uint64_t feeds[kBitmapWords], pluses[kBitmapWords], minuses[kBitmapWords], ats[kBitmapWords],
      slashes[kBitmapWords];
  std::uint64_t* const bitmaps[] = {feeds, pluses, minuses, ats, slashes};
  constexpr ByteSet kSets[] = {{'\n', '\n', '\n'}, {'+', '+', '+'}, {'-', '-', '-'}, {'@', '@', '@'}, {'\\', '\\', '\\'}};
  const char* lineStart = begin;  // the start of the line that holds the bytes looked at
  const char* measured = nullptr;  // the start of the last line measured alone
  std::uint64_t carry = 1;         // whether a line starts at the next word's first byte
  for (const char* window = begin; window < end; window += kWindow) {
    const std::size_t size = std::min<std::size_t>(kWindow, static_cast<std::size_t>(end - window));
    byteBitmaps(window, size, kSets, 5, bitmaps);
    for (std::size_t w = 0; w < (size + 63) / 64; ++w) {
      const char* const base = window + 64 * w;
      const std::uint64_t starts = feeds[w] << 1 | carry;
      carry = feeds[w] >> 63;
      if (markAddedRemoved) {
        total += kAddedExtra * bitCount(starts & pluses[w]) + kRemovedExtra * bitCount(starts & minuses[w]);
      }
      for (std::uint64_t rare = (starts & ats[w]) | slashes[w]; rare != 0; rare &= rare - 1) {
        const int bit = __builtin_ctzll(rare);
        // The starts at or before the bit; at bit 63 the shift wraps to zero, which keeps them all.
        const std::uint64_t before = starts & ((std::uint64_t{2} << bit) - 1);
        const char* const p = before != 0 ? base + 63 - __builtin_clzll(before) : lineStart;
        if (p == measured) continue;
        measured = p;
        const void* feed = std::memchr(p, '\n', static_cast<std::size_t>(end - p));
        const char* const lineEnd = feed ? static_cast<const char*>(feed) : end;
        const void* cr = std::memchr(p, '\r', static_cast<std::size_t>(lineEnd - p));
        const char* const contentEnd = cr ? static_cast<const char*>(cr) : lineEnd;
        const Measure line = markRareLine(Measure(), p, contentEnd, lineEnd, end, markAddedRemoved, true, nullptr);
        total += line.size - static_cast<std::size_t>(lineEnd - p) - extra(p);
      }
      if (starts != 0) lineStart = base + 63 - __builtin_clzll(starts);
    }
  }
  return total;
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
// swatch markup can neither start nor extend a code, so one left-to-right scan of the places
// where a "#" or an "r" stands finds both kinds.
template <typename Out>
void addSwatches(Out& caller, const char* const begin, const char* const end) {
  Out out = caller;  // in a register, as in markLines
  std::uint64_t map[kBitmapWords];
  BytePositions starts(begin, end, '#', 'r', 'r', map);
  const char* copied = begin;
  for (const char* p = starts.next(); p != end; p = starts.next()) {
    if (p < copied) continue;
    const std::size_t length = *p == '#' ? hexLength(p, end) : rgbLength(p, end);
    if (length == 0) continue;
    out.bytes(copied, static_cast<std::size_t>(p - copied), end);
    out.put(kSwatchOpen);
    out.bytes(p, length, end);
    out.put(kSwatchClose);
    out.bytes(p, length, end);
    copied = p + length;
  }
  out.bytes(copied, static_cast<std::size_t>(end - copied), end);
  caller = out;
}

// Returns how many marks lie before `end`, the next of `marks` first.
std::size_t marksBefore(const char* end, const WordMarks* marks) {
  if (marks == nullptr) return 0;
  const TextRange* last = marks->next;
  while (last != marks->end && marks->base + last->begin < end) ++last;
  return static_cast<std::size_t>(last - marks->next);
}

// Colours one chunk into `out`, moving `marks` past those it holds. With swatches, the line markup
// goes to `scratch` first, since the colour passes run over it.
void colorLines(Measure& out, const char* begin, const char* end, bool markAddedRemoved, WordMarks* marks) {
  const std::size_t marked = marksBefore(end, marks);
  out.size += measureLines(begin, end, markAddedRemoved) + kChangedExtra * marked;
  if (marks != nullptr) marks->next += marked;
}
void colorLines(Write& out, const char* begin, const char* end, bool markAddedRemoved, WordMarks* marks) {
  markLines(out, begin, end, markAddedRemoved, marks);
}

template <typename Out>
void colorChunk(Out& out, const char* data, std::size_t size, bool showColorPreviews, bool markAddedRemoved,
                std::string& scratch, WordMarks* marks) {
  if (!showColorPreviews) {
    colorLines(out, data, data + size, markAddedRemoved, marks);
    return;
  }
  const std::size_t marked =
      measureLines(data, data + size, markAddedRemoved) + kChangedExtra * marksBefore(data + size, marks);
  scratch.resize(marked + kColorDiffSlack);
  Write lines{&scratch[0]};
  markLines(lines, data, data + size, markAddedRemoved, marks);
  addSwatches(out, scratch.data(), scratch.data() + marked);
}

}  // namespace

std::size_t coloredChunkLength(const char* data, std::size_t size, bool showColorPreviews, bool markAddedRemoved,
                               std::string& scratch, WordMarks* marks) {
  Measure out;
  colorChunk(out, data, size, showColorPreviews, markAddedRemoved, scratch, marks);
  return out.size;
}

char* writeColoredChunk(char* out, const char* data, std::size_t size, bool showColorPreviews, bool markAddedRemoved,
                        std::string& scratch, WordMarks* marks) {
  Write writer{out};
  colorChunk(writer, data, size, showColorPreviews, markAddedRemoved, scratch, marks);
  return writer.at;
}

std::size_t colorCodeLength(const char* p, const char* end) {
  return *p == '#' ? hexLength(p, end) : *p == 'r' ? rgbLength(p, end) : 0;
}

}  // namespace tarnwick
