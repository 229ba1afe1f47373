#ifndef UTILS_DIFF_MERGE_CONFLICTS_H
#define UTILS_DIFF_MERGE_CONFLICTS_H

#include <cstddef>
#include <string>

namespace tarnwick {

// Returns `text` with "&", "<" and ">" escaped as entities, except that in every run of "<" (or
// of ">") each whole group of seven, counted from the run's left end, stays raw: conflict markers
// survive, the remainder of a run is escaped. A last group of "<" that ends its run before an
// ASCII letter, "/", "!" or "?" is escaped as well: raw, its final "<" would open a tag.
std::string styleMergeConflicts(const std::string& text);

// Returns the byte length of styleMergeConflicts(text) without making it: every byte it adds is
// ASCII, so a caller can tell before anything is built whether the result fits a string.
std::size_t styledMergeConflictsLength(const std::string& text);

}  // namespace tarnwick

#endif
