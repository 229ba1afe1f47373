#ifndef UTILS_TEST_REFERENCE_MERGE_CONFLICTS_REFERENCE_H
#define UTILS_TEST_REFERENCE_MERGE_CONFLICTS_REFERENCE_H

#include <string>

#include "diff/merge_conflicts.h"

namespace reference {

// Returns the core's styled bytes of `text`, measured and then written.
inline std::string styledByCore(const std::string& text) {
  std::string out(tarnwick::styledMergeConflictsLength(text.data(), text.size()), '\0');
  tarnwick::writeStyledMergeConflicts(&out[0], text.data(), text.size());
  return out;
}

// Returns the conflict escaping as five std::regex_replace passes, the formulation that
// production output must equal byte for byte.
std::string styleMergeConflicts(const std::string& text);

}  // namespace reference

#endif
