#ifndef UTILS_MERGETOOL_LOG_FORMAT_H
#define UTILS_MERGETOOL_LOG_FORMAT_H

// The output of `git log --follow --pretty="%h %H %at %s" --name-status`: its records, and its
// lines as they are held while they arrive.

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "convert/text_range.h"
#include "mergetool/record_window.h"

namespace tarnwick {

// The subject bytes the commit list shows; a longer one is cut there.
constexpr std::size_t kSubjectShown = 100;

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

// Log output's lines as the record window holds them: a record attempt reads at most eight lines
// holding more than whitespace (three words, the subject, the status and the path each on a line
// of their own, with margin; its name-status gap may span blank lines); of a long line a record
// can still need the first three words and the subject bytes shown after them, the same for the
// first word that can begin a record within the line, and the last three words with what follows
// (the words in between can only begin records that fail as that first one does). A word is kept
// whole however long: it may be shown.
class LogLines final : public RecordFormat {
 public:
  std::size_t linesPerAttempt() const override { return 8; }
  bool counts(std::string_view line) const override;
  std::vector<TextRange> keptRanges(std::string_view line) const override;
  std::string_view standIn() const override { return "  "; }  // whitespace that no single separator matches
  bool ended(std::string_view) override { return false; }
};

}  // namespace tarnwick

#endif
