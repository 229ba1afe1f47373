#ifndef UTILS_TEST_REFERENCE_BLAME_SAMPLES_H
#define UTILS_TEST_REFERENCE_BLAME_SAMPLES_H

#include <cstdint>
#include <string>

namespace reference {

// Returns text made of blame record lines and their near misses, seeded: dropped, repeated and
// foreign lines, CR LF and missing line feeds, empty values, values holding the next keyword,
// ids with non-hex characters, odd numbers.
std::string makeAdversarialBlame(std::uint32_t seed);

// Returns the standard output of `command` run by the shell.
std::string runShell(const std::string& command);

// Returns a new empty temporary folder (left for the caller to remove with removeFolder).
std::string makeTempFolder();
void removeFolder(const std::string& folder);

// Makes a repository in `folder` with git fast-import: the file `path` gets `lines` lines and
// then `commits` - 1 further commits by several authors that each rewrite some lines (`crlf`
// ends them in CR LF). Returns `git blame --line-porcelain HEAD -- path` of the result.
std::string makeHistoryBlame(const std::string& folder, const std::string& path, int lines, int commits,
                             bool crlf, std::uint32_t seed);

}  // namespace reference

#endif
