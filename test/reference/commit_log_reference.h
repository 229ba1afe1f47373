#ifndef UTILS_TEST_REFERENCE_COMMIT_LOG_REFERENCE_H
#define UTILS_TEST_REFERENCE_COMMIT_LOG_REFERENCE_H

#include <string>

namespace reference {

// Returns `text` with & < > ' " replaced by their entities, one character at a time.
std::string escapeHtml(const std::string& text);

// Returns the dropdown options built from the matches of the commit log pattern found by
// std::sregex_iterator, each value escaped. Recurses deeply on long lines: see runOnStack.
std::string renderCommitOptions(const std::string& log, const std::string& filePath, const std::string& selectedHash);

}  // namespace reference

#endif
