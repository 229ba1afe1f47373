#include "diff/merge_conflicts.h"

#include <cstring>
#include <utility>

namespace tarnwick {

namespace {

// Returns whether a "<" followed by `c` could open a tag, a closing tag, a comment or a
// processing instruction in a browser.
bool opensTag(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '/' || c == '!' || c == '?';
}

// Counts the bytes it is given in place of a string, so that the escaping can be measured first.
struct Measure {
  std::size_t size = 0;
  void append(const char*, std::size_t length) { size += length; }
  void append(const char* begin, const char* end) { size += static_cast<std::size_t>(end - begin); }
  void append(std::size_t count, char) { size += count; }
};

// Appends a run of `length` copies of `c` ("<" or ">"): whole groups of seven raw, then the rest
// as `entity`. With `escapeLastGroup`, a last group that ends the run is escaped too, so that its
// final "<" cannot open a tag with the text after the run.
template <typename Out>
void appendRun(Out& out, char c, std::size_t length, const char* entity, bool escapeLastGroup) {
  std::size_t raw = length / 7 * 7;
  if (escapeLastGroup && raw == length && raw > 0) raw -= 7;
  out.append(raw, c);
  for (std::size_t i = length - raw; i > 0; --i) out.append(entity, 4);
}

// Writes into memory sized by the measure.
struct Write {
  char* at;
  void append(const char* text, std::size_t length) {
    std::memcpy(at, text, length);
    at += length;
  }
  void append(const char* begin, const char* end) { append(begin, static_cast<std::size_t>(end - begin)); }
  void append(std::size_t count, char c) {
    std::memset(at, c, count);
    at += count;
  }
};

template <typename Out>
void style(const char* p, const char* const end, Out& out) {
  while (p < end) {
    // Copy the longest stretch that needs no escaping in one go.
    const char* plain = p;
    while (plain < end && *plain != '&' && *plain != '<' && *plain != '>') ++plain;
    out.append(p, plain);
    p = plain;
    if (p == end) break;
    const char c = *p;
    if (c == '&') {
      out.append("&amp;", 5);
      ++p;
      continue;
    }
    const char* run = p;
    while (run < end && *run == c) ++run;
    const bool tag = c == '<' && run < end && opensTag(*run);
    appendRun(out, c, static_cast<std::size_t>(run - p), c == '<' ? "&lt;" : "&gt;", tag);
    p = run;
  }
}

}  // namespace

std::size_t styledMergeConflictsLength(const char* text, std::size_t size) {
  Measure measure;
  style(text, text + size, measure);
  return measure.size;
}

void writeStyledMergeConflicts(char* out, const char* text, std::size_t size) {
  Write write{out};
  style(text, text + size, write);
}

ScriptUnits styledMergeConflictUnits(const char* text, std::size_t size, std::size_t textUnits, bool oneByteText,
                                     bool replaceInvalid, std::size_t longestUnits) {
  const std::size_t styled = styledMergeConflictsLength(text, size);
  // Escaping adds ASCII only.
  if (styled - size + textUnits > longestUnits) {
    ScriptUnits none;
    none.tooLong = true;
    return none;
  }
  PageBlock bytes = PageBlock::acquire(styled);
  writeStyledMergeConflicts(bytes.data(), text, size);
  return scriptUnits(std::move(bytes), styled, oneByteText, replaceInvalid, longestUnits);
}

}  // namespace tarnwick
