#include "mergetool/line_trim.h"

#include <algorithm>

namespace tarnwick {

namespace {

// The patterns' \s: space, tab, line feed, vertical tab, form feed, carriage return.
bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// A byte that a blame header (hexadecimal id, decimal numbers, blanks) can hold.
bool inHeader(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c != '\n' && isSpace(c)); }

struct Word {
  std::size_t begin;
  std::size_t end;
};

// The subject bytes the commit list shows, and one more to know whether it was cut.
constexpr std::size_t kSubjectSeen = 101;

std::vector<KeptRange> commitLogRanges(std::string_view line) {
  const std::size_t size = line.size();
  Word first[3] = {};
  Word last[4] = {};  // the last four words, the latest at index (count - 1) % 4
  std::size_t count = 0;
  bool found = false;
  KeptRange record = {0, 0};
  for (std::size_t at = 0; at < size;) {
    if (isSpace(line[at])) {
      ++at;
      continue;
    }
    Word word = {at, at};
    while (word.end < size && !isSpace(line[word.end])) ++word.end;
    at = word.end;
    if (count < 3) first[count] = word;
    last[count % 4] = word;
    ++count;
    // The first word that can begin a record within the line: three words one blank apart, a blank
    // and a byte after them. Every later one shares its fate, since what decides it lies past the line.
    if (!found && count >= 3) {
      const Word& a = last[(count - 3) % 4];
      const Word& b = last[(count - 2) % 4];
      if (b.begin == a.end + 1 && word.begin == b.end + 1 && word.end + 1 < size) {
        found = true;
        record = {a.begin, std::min(size, word.end + 1 + kSubjectSeen)};
      }
    }
  }
  if (count < 4) return {{0, size}};
  std::vector<KeptRange> kept = {{0, std::min(size, first[2].end + 1 + kSubjectSeen)}};
  if (found) kept.push_back(record);
  kept.push_back({last[(count - 4) % 4].end, size});
  return kept;
}

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

std::vector<KeptRange> blameRanges(std::string_view line) {
  const std::size_t size = line.size();
  constexpr std::size_t kEdge = 16;
  std::size_t header = size;
  while (header > 0 && inHeader(line[header - 1])) --header;
  std::vector<KeptRange> kept = {{0, std::min(size, kEdge)}, {size - std::min(size, kEdge), size}, {header, size}};
  for (const std::string_view keyword : {std::string_view("author-mail"), std::string_view("author-tz")}) {
    const std::size_t stop = lastValueStop(line, keyword);
    if (stop != std::string_view::npos) kept.push_back({stop, stop + keyword.size() + 2});
  }
  return kept;
}

}  // namespace

std::vector<KeptRange> keptRanges(LineFormat format, std::string_view line) {
  std::vector<KeptRange> kept = format == LineFormat::kCommitLog ? commitLogRanges(line) : blameRanges(line);
  std::sort(kept.begin(), kept.end(), [](const KeptRange& a, const KeptRange& b) { return a.begin < b.begin; });
  std::vector<KeptRange> merged;
  for (const KeptRange& range : kept) {
    if (range.begin >= range.end) continue;
    if (!merged.empty() && range.begin <= merged.back().end) {
      merged.back().end = std::max(merged.back().end, range.end);
    } else {
      merged.push_back(range);
    }
  }
  return merged;
}

std::string_view trimStandIn(LineFormat format) { return format == LineFormat::kCommitLog ? "  " : "x"; }

}  // namespace tarnwick
