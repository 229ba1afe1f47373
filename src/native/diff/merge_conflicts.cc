#include "diff/merge_conflicts.h"

#include <cstring>

namespace tarnwick {

namespace {

// Appends a run of `length` copies of `c` ("<" or ">"): whole groups of seven raw, then the rest
// as `entity`.
void appendRun(std::string& out, char c, std::size_t length, const char* entity) {
  out.append(length / 7 * 7, c);
  for (std::size_t i = length % 7; i > 0; --i) out.append(entity, 4);
}

}  // namespace

std::string styleMergeConflicts(const std::string& text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8 + 16);
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
    appendRun(out, c, static_cast<std::size_t>(run - p), c == '<' ? "&lt;" : "&gt;");
    p = run;
  }
  return out;
}

}  // namespace tarnwick
