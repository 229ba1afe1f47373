#ifndef UTILS_DIFF_MERGE_CONFLICTS_H
#define UTILS_DIFF_MERGE_CONFLICTS_H

#include <cstddef>
#include <optional>
#include <string>

namespace tarnwick {

// Returns `text` with "&", "<" and ">" escaped as entities, except that in every run of "<" (or
// of ">") each whole group of seven, counted from the run's left end, stays raw: conflict markers
// survive, the remainder of a run is escaped. A last group of "<" that ends its run before an
// ASCII letter, "/", "!" or "?" is escaped as well: raw, its final "<" would open a tag.
std::string styleMergeConflicts(const std::string& text);

// Returns styleMergeConflicts(text), or nothing (and nothing made) when it takes more than
// `longestUnits` UTF-16 units, for a text of `textUnits` units.
std::optional<std::string> styleMergeConflictsWithin(const std::string& text, std::size_t textUnits,
                                                     std::size_t longestUnits);

}  // namespace tarnwick

#endif
