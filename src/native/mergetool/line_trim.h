#ifndef UTILS_MERGETOOL_LINE_TRIM_H
#define UTILS_MERGETOOL_LINE_TRIM_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace tarnwick {

// The output whose lines are trimmed: `git log` records (commit_log_parser.h), or `git blame
// --line-porcelain` records (blame_parser.h).
enum class LineFormat { kCommitLog, kBlame };

// A range [begin, end) of a line.
struct KeptRange {
  std::size_t begin;
  std::size_t end;
};

// Returns, in order and apart, the ranges of `line` (a line of `format` output without its line
// feed, or what has arrived of it so far, trimmed alike) that its parser may still read, the last
// reaching the line's end: a gap between two of them can be replaced by trimStandIn(format) and
// every record the parser finds, and every value the view takes from it, stays the same. For
// the log: the first three words and the 101 bytes after them, the same for the first word that
// can begin a record within the line, and the last three words with what follows; the words in
// between can only begin records that fail as that first one does. For blame: the first 16 bytes (a keyword and
// the start of its value), the last 16, the last "author-mail" and "author-tz" a value could
// stop at, and the run of hexadecimal digits and blanks that ends the line (where a record's
// header could begin). A word of the log, or a run ending a blame line, is kept whole however
// long: it may be shown.
std::vector<KeptRange> keptRanges(LineFormat format, std::string_view line);

// Returns the text that stands in for a trimmed gap: whitespace that no single separator
// matches for the log, a byte that no header or keyword holds for blame.
std::string_view trimStandIn(LineFormat format);

}  // namespace tarnwick

#endif
