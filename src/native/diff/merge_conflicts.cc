#include "diff/merge_conflicts.h"

#include <cstring>

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

template <typename Out>
void style(const std::string& text, Out& out) {
  const char* p = text.data();
  const char* const end = p + text.size();
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

// Returns the byte length of styleMergeConflicts(text) without making it.
std::size_t styledLength(const std::string& text) {
  Measure measure;
  style(text, measure);
  return measure.size;
}

}  // namespace

std::string styleMergeConflicts(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8 + 16);
  style(text, out);
  return out;
}

std::optional<std::string> styleMergeConflictsWithin(const std::string& text, std::size_t textUnits,
                                                     std::size_t longestUnits) {
  // An escape adds at most four bytes, all ASCII, so only a text near the limit is measured.
  if (textUnits + 4 * text.size() > longestUnits &&
      styledLength(text) - text.size() + textUnits > longestUnits) {
    return std::nullopt;
  }
  return styleMergeConflicts(text);
}

}  // namespace tarnwick
