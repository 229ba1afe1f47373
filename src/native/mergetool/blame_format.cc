#include "mergetool/blame_format.h"

#include <algorithm>
#include <cstring>

using namespace std::string_view_literals;

namespace tarnwick {

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

bool isIdChar(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A byte that a blame header (hexadecimal id, decimal numbers, blanks) can hold.
bool inHeader(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c != '\n' && isSpace(c)); }

// Returns the start of the last "keyword", a blank and a byte of value in `line`, or npos.
std::size_t lastValueStop(std::string_view line, std::string_view keyword) {
  std::size_t at = line.rfind(keyword);
  while (at != std::string_view::npos) {
    if (at + keyword.size() + 1 < line.size() && isSpace(line[at + keyword.size()])) return at;
    if (at == 0) break;
    at = line.rfind(keyword, at - 1);
  }
  return std::string_view::npos;
}

}  // namespace

BlameScanner::BlameScanner(const char* blame, std::size_t size, std::size_t limit)
    : text_(blame), size_(size), limit_(limit), failedAuthor_(kNone) {}

bool BlameScanner::startsWith(std::size_t at, std::string_view literal) const {
  return at <= size_ && size_ - at >= literal.size() && std::memcmp(text_ + at, literal.data(), literal.size()) == 0;
}

// Returns the offset of the first line feed at or after `at`, or the text's size.
std::size_t BlameScanner::lineEnd(std::size_t at) {
  if (at >= lineFrom_ && at <= lineTo_) return lineTo_;
  const void* found = std::memchr(text_ + at, '\n', size_ - at);
  lineFrom_ = at;
  lineTo_ = found != nullptr ? static_cast<std::size_t>(static_cast<const char*>(found) - text_) : size_;
  return lineTo_;
}

// Returns the offset after "\n" or "\r\n" at `at`, or kNone.
std::size_t BlameScanner::lineBreakAt(std::size_t at) const {
  if (at < size_ && text_[at] == '\n') return at + 1;
  if (at + 1 < size_ && text_[at] == '\r' && text_[at + 1] == '\n') return at + 2;
  return kNone;
}

// Returns where the value of `keyword` at `at` begins: after the keyword and one whitespace
// character, where a value can stand (not at a line feed); else kNone.
std::size_t BlameScanner::valueStart(std::size_t at, std::string_view keyword) const {
  if (!startsWith(at, keyword)) return kNone;
  const std::size_t blank = at + keyword.size();
  if (blank >= size_ || !isSpace(text_[blank])) return kNone;
  const std::size_t begin = blank + 1;
  return begin >= size_ || text_[begin] == '\n' ? kNone : begin;
}

// Matches `keyword`, one whitespace character, a non-empty value and a line break at `at`;
// returns the offset after the line break, or kNone. The value runs to the end of its line (a
// CR before the line feed belongs to it); when the whitespace is a line feed the value is the
// whole next line.
std::size_t BlameScanner::matchField(std::size_t at, std::string_view keyword) {
  const std::size_t begin = valueStart(at, keyword);
  if (begin == kNone) return kNone;
  const std::size_t end = lineEnd(begin);
  if (end >= size_) return kNone;
  return end + 1;
}

// Matches `keyword`, whitespace and a value whose line break may be missing, followed by the
// field `next` and then by `rest` (called with the offset after the field `next`). The value is
// the longest for which all of that matches: it may stop before a `next` inside its own line.
// Every candidate end costs constant time: the values of `next` found in the same line all end
// where that line ends, so `rest` runs for at most three distinct offsets.
template <class Rest>
bool BlameScanner::matchLooseField(std::size_t at, std::string_view keyword, std::string_view next, Rest rest) {
  const std::size_t begin = valueStart(at, keyword);
  if (begin == kNone) return false;
  const std::size_t end = lineEnd(begin);
  std::size_t failed[4];
  std::size_t failedCount = 0;
  for (std::size_t stop = end; stop > begin; --stop) {
    std::size_t nextAt = stop;
    if (nextAt < size_ && text_[nextAt] == '\r') ++nextAt;
    if (nextAt < size_ && text_[nextAt] == '\n') ++nextAt;
    if (nextAt >= size_ || text_[nextAt] != next[0]) continue;
    // `rest` may have looked at other lines since; this one still ends at `end`.
    lineFrom_ = begin;
    lineTo_ = end;
    const std::size_t after = matchField(nextAt, next);
    if (after == kNone) continue;
    bool known = false;
    for (std::size_t i = 0; i < failedCount && !known; ++i) known = failed[i] == after;
    if (known) continue;
    if (rest(after)) return true;
    failed[failedCount++ % 4] = after;
    if (failedCount > 4) failedCount = 4;
  }
  return false;
}

// Matches the committer fields, the summary, the optional boundary and previous lines, the file
// name and the line itself at `at`.
bool BlameScanner::matchFromCommitter(std::size_t at, BlameRecord& record) {
  at = matchField(at, "committer"sv);
  if (at == kNone) return false;
  at = matchField(at, "committer-mail"sv);
  if (at == kNone) return false;
  at = matchField(at, "committer-time"sv);
  if (at == kNone) return false;
  at = matchField(at, "committer-tz"sv);
  if (at == kNone) return false;
  at = matchField(at, "summary"sv);
  if (at == kNone) return false;
  // Leaving out a boundary or previous line that is there cannot help: "filename" must follow.
  if (startsWith(at, "boundary"sv)) {
    at = lineBreakAt(at + 8);
    if (at == kNone) return false;
  }
  if (startsWith(at, "previous"sv)) {
    at = matchField(at, "previous"sv);
    if (at == kNone) return false;
  }
  at = matchField(at, "filename"sv);
  if (at == kNone || at >= size_ || text_[at] == '\n') return false;
  const std::size_t end = lineEnd(at);
  if (end >= size_) return false;
  record.line = {at, end};
  record.end = end + 1;
  return true;
}

bool BlameScanner::matchFromAuthor(std::size_t at, BlameRecord& record) {
  if (at == failedAuthor_) return false;
  const bool matched = matchLooseField(
      at, "author"sv, "author-mail"sv, [&](std::size_t time) {
        return matchLooseField(time, "author-time"sv, "author-tz"sv,
                               [&](std::size_t committer) { return matchFromCommitter(committer, record); });
      });
  if (!matched) failedAuthor_ = at;
  return matched;
}

// Matches a record whose commit id is [start, idEnd): the id runs as far as id characters go,
// since only whitespace may follow it.
bool BlameScanner::matchAt(std::size_t start, std::size_t idEnd, BlameRecord& record) {
  std::size_t at = idEnd;
  if (at >= size_ || !isSpace(text_[at])) return false;
  const std::size_t sourceLine = ++at;
  while (at < size_ && isDigit(text_[at])) ++at;
  if (at == sourceLine || at >= size_ || !isSpace(text_[at])) return false;
  const std::size_t finalLine = ++at;
  while (at < size_ && isDigit(text_[at])) ++at;
  if (at == finalLine) return false;
  const std::size_t finalEnd = at;
  // The rest of the record, from a line break at `end`.
  const auto restFrom = [&](std::size_t end) {
    const std::size_t author = lineBreakAt(end);
    if (author == kNone || !matchFromAuthor(author, record)) return false;
    record.begin = start;
    record.commitId = {start, idEnd};
    record.finalLine = {finalLine, finalEnd};
    return true;
  };
  // With the line count first, then without it.
  if (finalEnd + 1 < size_ && isSpace(text_[finalEnd]) && isDigit(text_[finalEnd + 1])) {
    std::size_t countEnd = finalEnd + 1;
    while (countEnd < size_ && isDigit(text_[countEnd])) ++countEnd;
    if (restFrom(countEnd)) return true;
  }
  return restFrom(finalEnd);
}

bool BlameScanner::next(BlameRecord& record) {
  while (position_ < size_) {
    std::size_t start = position_;
    while (start < size_ && !isIdChar(text_[start])) ++start;
    if (start >= size_) break;
    if (start >= limit_) {
      position_ = start;
      return false;
    }
    std::size_t idEnd = start;
    while (idEnd < size_ && isIdChar(text_[idEnd])) ++idEnd;
    // A match starting inside this run of id characters would see the same text after it.
    if (matchAt(start, idEnd, record)) {
      position_ = record.end;
      return true;
    }
    position_ = idEnd;
  }
  position_ = size_;
  return false;
}

// A header whose blanks are all line feeds takes four lines, each of the twelve fields two (a
// keyword whose blank is a line feed has its value on the next line), and the boundary and
// content lines one each.
std::size_t BlameLines::linesPerAttempt() const { return 32; }

std::vector<TextRange> BlameLines::keptRanges(std::string_view line) const {
  const std::size_t size = line.size();
  constexpr std::size_t kEdge = 16;
  std::size_t header = size;
  while (header > 0 && inHeader(line[header - 1])) --header;
  std::vector<TextRange> kept = {{0, std::min(size, kEdge)}, {size - std::min(size, kEdge), size}, {header, size}};
  for (const std::string_view keyword : {"author-mail"sv, "author-tz"sv}) {
    const std::size_t stop = lastValueStop(line, keyword);
    if (stop != std::string_view::npos) kept.push_back({stop, stop + keyword.size() + 2});
  }
  return kept;
}

bool BlameLines::ended(std::string_view line) {
  // "filename" and a blank: the next line may be the content; "filename" alone: its value is on
  // the next line, and the content the line after.
  const bool filename = line.size() >= 8 && line.compare(0, 8, "filename") == 0;
  const bool twoAfterFilename = previousIsFilename_;
  previousIsFilename_ = filename && line.size() == 8;
  return keepContentLines_ && ((filename && line.size() > 8 && isSpace(line[8])) || twoAfterFilename);
}

}  // namespace tarnwick
