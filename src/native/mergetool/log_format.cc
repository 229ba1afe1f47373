#include "mergetool/log_format.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tarnwick {

namespace {

bool isWordByte(char c) { return !isSpace(c); }

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;

// Returns whether any of the eight bytes at `text` is whitespace: a space, or a byte from tab to
// carriage return (9 to 13). Each byte is compared on its low seven bits, so no carry crosses
// into its neighbour, and bytes from 128 up are left out.
bool hasSpaceByte(const char* text) {
  std::uint64_t word;
  std::memcpy(&word, text, sizeof word);
  const std::uint64_t low = word & (kOnes * 127);
  const std::uint64_t inTabToReturn = (kOnes * (127 + 14) - low) & ~word & (low + kOnes * (127 - 8));
  const std::uint64_t space = word ^ (kOnes * ' ');
  const std::uint64_t isSpaceByte = (space - kOnes) & ~space;
  return ((inTabToReturn | isSpaceByte) & (kOnes * 128)) != 0;
}
bool isNotLineFeed(char c) { return c != '\n'; }

// Returns where the run of bytes satisfying `Member` that starts at a position ends (the first
// position at or after it whose byte is not a member, or the text's size). Remembers its last
// answer: every position between the last query and that answer has the same answer, so queries
// at non-decreasing positions read each byte at most once in all.
template <bool (*Member)(char)>
class RunEnd {
 public:
  explicit RunEnd(std::string_view text) : text_(text) {}

  std::size_t operator()(std::size_t from) {
    if (from < from_ || from > end_) {
      std::size_t end = from;
      if constexpr (Member == isNotLineFeed) {
        // Lines are the long runs: memchr finds their ends many bytes at a time.
        const void* lineFeed = std::memchr(text_.data() + from, '\n', text_.size() - from);
        end = lineFeed != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lineFeed) - text_.data())
                                  : text_.size();
      }
      if constexpr (Member == isWordByte) {
        // Hashes are long words: skip eight bytes at a time while none is whitespace.
        while (text_.size() - end >= 8 && !hasSpaceByte(text_.data() + end)) end += 8;
      }
      while (end < text_.size() && Member(text_[end])) ++end;
      from_ = from;
      end_ = end;
    }
    return end_;
  }

 private:
  const std::string_view text_;
  std::size_t from_ = 1;  // an empty cache: no position lies in [1, 0]
  std::size_t end_ = 0;
};

}  // namespace

// Decides for one start position whether a record begins there. Every step of the pattern is
// forced once it succeeds: each [^\s]+ must end at a whitespace byte, so it takes its whole
// word; ([^\n]+) ends at the line feed whichever way \r? is read, since a shorter subject leaves
// the same text after that line feed; \s+ must be followed by a word byte; and the closing \n is
// the first line feed after the path, with group 7 holding whatever lies between. So the first
// success of the backtracking is the only way through, and each piece is found by one run end.
// Each group start is a non-decreasing function of the start position, so each piece keeps its
// own RunEnd and the whole parse stays linear.
class CommitLogScanner::Matcher {
 public:
  explicit Matcher(std::string_view text)
      : text_(text),
        firstWord_(text),
        secondWord_(text),
        thirdWord_(text),
        subjectLine_(text),
        status_(text),
        gap_(text),
        path_(text),
        restOfLine_(text) {}

  // Returns whether a record starts at `start` (a word byte) and fills `record` if so.
  bool matchAt(std::size_t start, CommitRecord& record) {
    const std::size_t size = text_.size();
    const std::size_t firstEnd = firstWord_(start);
    const std::size_t second = firstEnd + 1;
    if (second >= size || isSpace(text_[second])) return false;
    const std::size_t secondEnd = secondWord_(second);
    const std::size_t third = secondEnd + 1;
    if (third >= size || isSpace(text_[third])) return false;
    const std::size_t thirdEnd = thirdWord_(third);
    const std::size_t subject = thirdEnd + 1;
    if (subject >= size || text_[subject] == '\n') return false;
    const std::size_t lineEnd = subjectLine_(subject);
    if (lineEnd >= size) return false;
    std::size_t status = lineEnd + 1;
    if (status < size && text_[status] == '\r') ++status;
    if (status >= size || text_[status] != '\n') return false;
    ++status;
    if (status >= size || isSpace(text_[status])) return false;
    const std::size_t statusEnd = status_(status);
    if (statusEnd >= size) return false;
    const std::size_t path = gap_(statusEnd);
    if (path >= size) return false;
    const std::size_t pathEnd = path_(path);
    const std::size_t recordEnd = restOfLine_(pathEnd);
    if (recordEnd >= size) return false;
    record.record = {start, recordEnd + 1};
    record.abbreviatedHash = {start, firstEnd};
    record.fullHash = {second, secondEnd};
    record.authorTime = {third, thirdEnd};
    record.subject = {subject, lineEnd};
    record.status = {status, statusEnd};
    record.path = {path, pathEnd};
    return true;
  }

  // Returns the end of the word at `start`: a start inside that word leaves the same text after
  // the word, so it fails exactly as the word's first byte did.
  std::size_t wordEnd(std::size_t start) { return firstWord_(start); }

 private:
  const std::string_view text_;
  RunEnd<isWordByte> firstWord_;
  RunEnd<isWordByte> secondWord_;
  RunEnd<isWordByte> thirdWord_;
  RunEnd<isNotLineFeed> subjectLine_;
  RunEnd<isWordByte> status_;
  RunEnd<isSpace> gap_;
  RunEnd<isWordByte> path_;
  RunEnd<isNotLineFeed> restOfLine_;
};

CommitLogScanner::CommitLogScanner(const char* log, std::size_t size, std::size_t limit)
    : log_(log, size), limit_(limit), matcher_(new Matcher(log_)) {}

CommitLogScanner::~CommitLogScanner() = default;

// A search starts at 0 or just after a record's closing line feed, so every start tried below is
// a word's first byte.
bool CommitLogScanner::next(CommitRecord& record) {
  while (position_ < log_.size()) {
    if (isSpace(log_[position_])) {
      ++position_;
      continue;
    }
    if (position_ >= limit_) return false;
    if (matcher_->matchAt(position_, record)) {
      position_ = record.record.end;
      return true;
    }
    position_ = matcher_->wordEnd(position_);
  }
  return false;
}

bool LogLines::counts(std::string_view line) const {
  return !std::all_of(line.begin(), line.end(), isSpace);
}

std::vector<TextRange> LogLines::keptRanges(std::string_view line) const {
  // What the list shows of a subject, and one byte more to know whether it was cut.
  constexpr std::size_t kSubjectSeen = kSubjectShown + 1;
  const std::size_t size = line.size();
  TextRange first[3] = {};
  TextRange last[4] = {};  // the last four words, the latest at index (count - 1) % 4
  std::size_t count = 0;
  bool found = false;
  TextRange record = {0, 0};
  for (std::size_t at = 0; at < size;) {
    if (isSpace(line[at])) {
      ++at;
      continue;
    }
    TextRange word = {at, at};
    while (word.end < size && !isSpace(line[word.end])) ++word.end;
    at = word.end;
    if (count < 3) first[count] = word;
    last[count % 4] = word;
    ++count;
    // The first word that can begin a record within the line: three words one blank apart, a blank
    // and a byte after them. Every later one shares its fate, since what decides it lies past the line.
    if (!found && count >= 3) {
      const TextRange& a = last[(count - 3) % 4];
      const TextRange& b = last[(count - 2) % 4];
      if (b.begin == a.end + 1 && word.begin == b.end + 1 && word.end + 1 < size) {
        found = true;
        record = {a.begin, std::min(size, word.end + 1 + kSubjectSeen)};
      }
    }
  }
  if (count < 4) return {{0, size}};
  std::vector<TextRange> kept = {{0, std::min(size, first[2].end + 1 + kSubjectSeen)}};
  if (found) kept.push_back(record);
  kept.push_back({last[(count - 4) % 4].end, size});
  return kept;
}

}  // namespace tarnwick
