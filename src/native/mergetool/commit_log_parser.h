#ifndef UTILS_MERGETOOL_COMMIT_LOG_PARSER_H
#define UTILS_MERGETOOL_COMMIT_LOG_PARSER_H

#include <cstddef>
#include <string>
#include <vector>

namespace tarnwick {

// A byte range [begin, end) of the parsed text.
struct TextRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

inline bool operator==(const TextRange& a, const TextRange& b) {
  return a.begin == b.begin && a.end == b.end;
}

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

inline bool operator==(const CommitRecord& a, const CommitRecord& b) {
  return a.record == b.record && a.abbreviatedHash == b.abbreviatedHash && a.fullHash == b.fullHash &&
         a.authorTime == b.authorTime && a.subject == b.subject && a.status == b.status && a.path == b.path;
}

// Returns the records of `log` in order, exactly where the ECMAScript pattern
//   ([^\s]+)\s([^\s]+)\s([^\s]+)\s([^\n]+)\r?\n\r?\n([^\s]+)\s+([^\s]+)([^\n]+)?\n
// matches under leftmost-first backtracking, each search starting where the previous match
// ended; text that does not match is skipped. Linear in the length of `log`, constant stack.
std::vector<CommitRecord> parseCommitLog(const std::string& log);

}  // namespace tarnwick

#endif
