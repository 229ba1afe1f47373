#ifndef UTILS_TEST_REFERENCE_COMMIT_LOG_REFERENCE_H
#define UTILS_TEST_REFERENCE_COMMIT_LOG_REFERENCE_H

#include <string>
#include <vector>

#include "mergetool/commit_log_parser.h"

namespace reference {

// Returns `text` with & < > ' " replaced by their entities, one character at a time.
std::string escapeHtml(const std::string& text);

// Returns the matches of the commit log pattern found by std::sregex_iterator, the formulation
// that tarnwick::parseCommitLog must equal. Recurses deeply on long lines: see runOnStack.
std::vector<tarnwick::CommitRecord> parseCommitLog(const std::string& log);

// Returns the dropdown options built from reference::parseCommitLog, each value escaped.
std::string renderCommitOptions(const std::string& log, const std::string& filePath, const std::string& selectedHash);

}  // namespace reference

#endif
