#ifndef UTILS_DIFF_MERGE_CONFLICTS_H
#define UTILS_DIFF_MERGE_CONFLICTS_H

#include <cstddef>
#include <string>

#include "convert/script_units.h"

namespace tarnwick {

// The `size` bytes at `text` styled: "&", "<" and ">" escaped as entities, except that in every
// run of "<" (or of ">") each whole group of seven, counted from the run's left end, stays raw:
// conflict markers survive, the remainder of a run is escaped. A last group of "<" that ends its
// run before an ASCII letter, "/", "!" or "?" is escaped as well: raw, its final "<" would open a
// tag. Returns their length without making them.
std::size_t styledMergeConflictsLength(const char* text, std::size_t size);
// Writes them, styledMergeConflictsLength bytes, at `out`.
void writeStyledMergeConflicts(char* out, const char* text, std::size_t size);

// Returns them for the `size` bytes at `text`, a script string of
// `textUnits` characters (each of one byte when `oneByteText`), as the characters of a script
// string (see scriptUnits, which `replaceInvalid` goes to), measured first and written once into
// page memory; nothing made (tooLong) past `longestUnits` characters.
ScriptUnits styledMergeConflictUnits(const char* text, std::size_t size, std::size_t textUnits, bool oneByteText,
                                     bool replaceInvalid, std::size_t longestUnits);

}  // namespace tarnwick

#endif
