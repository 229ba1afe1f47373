#ifndef UTILS_MERGETOOL_BLAME_FORMAT_H
#define UTILS_MERGETOOL_BLAME_FORMAT_H

// The output of `git blame --line-porcelain`: its records, and its lines as they are held while
// they arrive.

#include <cstddef>
#include <string_view>
#include <vector>

#include "convert/text_range.h"
#include "mergetool/record_window.h"

namespace tarnwick {

// One record of `git blame --line-porcelain` output: the header line of one line of the file,
// the commit's author, committer, summary, optional boundary and previous lines, the file name
// and the line itself, with the fields the code view needs.
struct BlameRecord {
  std::size_t begin = 0;  // where the record starts
  std::size_t end = 0;    // just past the line feed that ends the line itself
  TextRange commitId;      // the commit id at the start of the header line
  TextRange finalLine;     // the line's number in the final file (the header's second number)
  TextRange line;          // the line as git writes it: a tab and the text (a CR stays at its end)
};

// Finds the blame records of a text one after the other, each search starting where the
// previous record ended; text that does not form a record is passed over. Every record needs a
// non-empty value in each field; CR LF line ends are accepted, and the line feeds after the
// author and after the author time may be missing. Where a record can be read in several ways
// (a value holding the next keyword), the longest author and then the longest author time that
// let the whole record end win. Runs in time linear in the text and in constant stack.
class BlameScanner {
 public:
  // Scans the `size` bytes at `blame`, trying only records that start before `limit` (what lies
  // from there on may not have arrived in full): see resumeAt.
  BlameScanner(const char* blame, std::size_t size, std::size_t limit);

  // Returns the next record in `record`, or false when there is none before the limit.
  bool next(BlameRecord& record);

  // Returns where the search for the next record goes on once next() has returned false: the
  // limit's side of everything tried.
  std::size_t resumeAt() const { return position_; }

 private:
  bool matchAt(std::size_t start, std::size_t idEnd, BlameRecord& record);
  bool matchFromAuthor(std::size_t at, BlameRecord& record);
  bool matchFromCommitter(std::size_t at, BlameRecord& record);
  template <class Rest>
  bool matchLooseField(std::size_t at, std::string_view keyword, std::string_view next, Rest rest);
  std::size_t matchField(std::size_t at, std::string_view keyword);
  std::size_t valueStart(std::size_t at, std::string_view keyword) const;
  std::size_t lineBreakAt(std::size_t at) const;
  std::size_t lineEnd(std::size_t at);
  bool startsWith(std::size_t at, std::string_view literal) const;

  const char* text_;
  std::size_t size_;
  std::size_t limit_;
  std::size_t position_ = 0;
  // The line end found last, valid for every offset in [lineFrom_, lineTo_].
  std::size_t lineFrom_ = 1;
  std::size_t lineTo_ = 0;
  // The author position whose record failed last (two header lines can lead to the same one).
  std::size_t failedAuthor_;
};

// Blame output's lines as the record window holds them: a record attempt reads at most 32 lines;
// of a long line a record can still need its first and last 16 bytes (a keyword and the start of
// its value), the last "author-mail" and "author-tz" a value could stop at, and the run of
// hexadecimal digits and blanks that ends the line, where a record's header could begin; a run
// ending a line is kept whole however long. With `keepContentLines`, a line that may be a
// record's content line (one after "filename" and its value) is never trimmed: the view shows it.
class BlameLines final : public RecordFormat {
 public:
  explicit BlameLines(bool keepContentLines) : keepContentLines_(keepContentLines) {}
  std::size_t linesPerAttempt() const override;
  bool counts(std::string_view) const override { return true; }
  std::vector<TextRange> keptRanges(std::string_view line) const override;
  std::string_view standIn() const override { return "x"; }  // a byte that no header or keyword holds
  bool ended(std::string_view line) override;

 private:
  const bool keepContentLines_;
  bool previousIsFilename_ = false;  // the last line was "filename" alone
};

}  // namespace tarnwick

#endif
