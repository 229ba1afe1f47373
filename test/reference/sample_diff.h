#ifndef UTILS_TEST_REFERENCE_SAMPLE_DIFF_H
#define UTILS_TEST_REFERENCE_SAMPLE_DIFF_H

#include <cstddef>
#include <string>

namespace reference {

// Returns the standard output of `command` run through the shell ("" when it cannot run).
std::string runCommand(const std::string& command);

// Returns a real diff made by git in a temporary repository (removed again): two commits of
// generated source, style sheets (colour codes), a CR LF file, a file losing its last line feed
// and non-ASCII text, with about `files` files of about `linesPerFile` lines. The same seed gives
// the same diff.
std::string makeGitDiff(unsigned seed, int files, int linesPerFile);

}  // namespace reference

#endif
