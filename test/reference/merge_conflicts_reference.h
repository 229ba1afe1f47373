#ifndef UTILS_TEST_REFERENCE_MERGE_CONFLICTS_REFERENCE_H
#define UTILS_TEST_REFERENCE_MERGE_CONFLICTS_REFERENCE_H

#include <string>

namespace reference {

// Returns the conflict escaping as five std::regex_replace passes, the formulation that
// production output must equal byte for byte.
std::string styleMergeConflicts(const std::string& text);

}  // namespace reference

#endif
