#ifndef UTILS_MERGETOOL_BLAME_PARSER_H
#define UTILS_MERGETOOL_BLAME_PARSER_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick {

// A range of byte offsets [begin, end) into the blame text.
struct TextSpan {
  std::size_t begin = 0;
  std::size_t end = 0;
};

// One record of `git blame --line-porcelain` output: the header line of one line of the file,
// the commit's author, committer, summary, optional boundary and previous lines, the file name
// and the line itself, with the fields the code view needs.
struct BlameRecord {
  std::size_t begin = 0;  // where the record starts
  std::size_t end = 0;    // just past the line feed that ends the line itself
  TextSpan commitId;      // the commit id at the start of the header line
  TextSpan finalLine;     // the line's number in the final file (the header's second number)
  TextSpan author;        // the author name
  TextSpan authorTime;    // the author time
  TextSpan line;          // the line as git writes it: a tab and the text (a CR stays at its end)
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
  explicit BlameScanner(const std::string& blame) : BlameScanner(blame.data(), blame.size(), blame.size()) {}

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
  bool matchLooseField(std::size_t at, std::string_view keyword, std::string_view next, TextSpan& value, Rest rest);
  std::size_t matchField(std::size_t at, std::string_view keyword, TextSpan* value);
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


}  // namespace tarnwick

#endif
