#ifndef UTILS_BENCH_SAMPLE_REPOSITORY_H
#define UTILS_BENCH_SAMPLE_REPOSITORY_H

// Repositories made with git fast-import for the benchmarks: generated source and style-sheet
// histories, and the diffs between their commits.
#include <string>
#include <vector>

namespace bench {

// Makes `folder` a repository of `commits` commits by several authors over `files` files of
// `lines` generated lines, each later commit removing, inserting and replacing some of them:
// source and style sheets (colour codes next to the bytes just outside their classes), CR LF
// lines, a lost last line feed, non-ASCII text and paths with spaces. Returns the files' paths.
std::vector<std::string> makeSampleRepository(const std::string& folder, unsigned seed, int commits, int files,
                                              int lines);

// Returns `git diff` of the two commits of a sample repository (removed again).
std::string makeGitDiff(unsigned seed, int files, int lines);

}  // namespace bench

#endif
