#ifndef UTILS_MERGETOOL_COMMIT_LOG_PARSER_H
#define UTILS_MERGETOOL_COMMIT_LOG_PARSER_H

#include <cstddef>
#include <memory>
#include <string_view>

namespace tarnwick {

// A byte range [begin, end) of the parsed text.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// One commit of `git log --follow --pretty="%h %H %at %s" --name-status`: the whole record and
// the parts the dropdown uses, all as ranges of the log text.
struct CommitRecord {
  TextRange record;
  TextRange abbreviatedHash;  // first word of the header line
  TextRange fullHash;         // second word
  TextRange authorTime;       // third word, seconds since the epoch
  TextRange subject;          // the rest of the header line, a trailing carriage return included
  TextRange status;           // first word of the name-status line ("M", "R100", ...)
  TextRange path;             // the word after the status, up to the next whitespace
};

// Finds the records of a log one after the other, exactly where the ECMAScript pattern
//   ([^\s]+)\s([^\s]+)\s([^\s]+)\s([^\n]+)\r?\n\r?\n([^\s]+)\s+([^\s]+)([^\n]+)?\n
// matches under leftmost-first backtracking, each search starting where the previous match
// ended; text that does not match is skipped. Linear in the length of the log, constant stack.
class CommitLogScanner {
 public:
  // Scans the `size` bytes at `log`, trying only records that start before `limit` (what lies from
  // there on may not have arrived in full): see resumeAt.
  CommitLogScanner(const char* log, std::size_t size, std::size_t limit);
  ~CommitLogScanner();
  CommitLogScanner(const CommitLogScanner&) = delete;
  CommitLogScanner& operator=(const CommitLogScanner&) = delete;

  // Returns the next record in `record`, or false when there is none before the limit.
  bool next(CommitRecord& record);

  // Returns where the search for the next record goes on once next() has returned false.
  std::size_t resumeAt() const { return position_; }

 private:
  std::string_view log_;
  std::size_t limit_;
  std::size_t position_ = 0;
  class Matcher;
  std::unique_ptr<Matcher> matcher_;
};

}  // namespace tarnwick

#endif
