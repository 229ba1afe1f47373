#ifndef UTILS_TEST_REFERENCE_GIT_SAMPLES_H
#define UTILS_TEST_REFERENCE_GIT_SAMPLES_H

#include <cstdint>
#include <string>
#include <vector>

namespace reference {

// Returns the standard output of `command` run by the shell, in `folder` when one is given ("" when
// it cannot run).
std::string runShell(const std::string& command, const std::string& folder = "");

// Returns `text` in single quotes for the shell.
std::string shellQuoted(const std::string& text);

// Returns a new empty folder under /tmp; removeFolder removes it with everything in it.
std::string makeTempFolder();
void removeFolder(const std::string& folder);

// One commit of a sample history: author ("Name <mail>"), time in seconds (UTC), message, and the
// fast-import file changes.
struct Commit {
  std::string author;
  long long time;
  std::string message, changes;
};

// Returns `path` as a fast-import path operand, and the change writing `content` to it.
std::string importPath(const std::string& path);
std::string writeFile(const std::string& path, const std::string& content);

// Makes `folder` a repository whose branch main holds `commits`, in order, and checks it out.
void importHistory(const std::string& folder, const std::vector<Commit>& commits);

// Makes `folder` a repository of `commits` commits by several authors over `files` files of
// `lines` generated lines, each later commit removing, inserting and replacing some of them:
// source and style sheets (colour codes next to the bytes just outside their classes), CR LF
// lines, a lost last line feed, non-ASCII text and paths with spaces. Returns the files' paths.
std::vector<std::string> makeSampleRepository(const std::string& folder, unsigned seed, int commits, int files,
                                              int lines);

// Returns `git diff` of the two commits of a sample repository (removed again).
std::string makeGitDiff(unsigned seed, int files, int lines);

// Returns blame record lines and their near misses, seeded: dropped, repeated and foreign lines,
// CR LF and missing line feeds, empty values and values holding the next keyword, ids and
// numbers next to the bytes just outside their classes.
std::string makeAdversarialBlame(std::uint32_t seed);

}  // namespace reference

#endif
