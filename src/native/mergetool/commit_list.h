#ifndef UTILS_MERGETOOL_COMMIT_LIST_H
#define UTILS_MERGETOOL_COMMIT_LIST_H

#include <string>
#include <vector>

namespace tarnwick {

// Returns one <option> per commit record of `log` (see parseCommitLog), in order: data-dfp holds
// the record's path, or `filePath` for a rename; data-dlcid the full hash; value the abbreviated
// hash; the label the abbreviated hash, the author date ("%d %b %Y" in local time, empty when
// the time has no calendar date) and the subject, cut to 100 bytes plus "..." when longer. An
// option whose abbreviated hash equals `selectedHash` is marked selected. Every value is
// HTML-escaped, so a browser reads back exactly what git printed.
std::string renderCommitOptions(const std::string& log, const std::string& filePath,
                                const std::string& selectedHash);

// Returns the words after "git" of the command that lists the commits of `filePath`, followed
// across renames, in the form renderCommitOptions reads (it reads no file through a driver).
std::vector<std::string> commitLogArguments(const std::string& filePath);

// Returns the options for the commits that touched `filePath`, followed across renames, as
// `git log` run inside `repoPath` lists them, newest first. Any path reaches git unchanged, and as
// a path; a folder that cannot be entered runs nothing and gives the empty string.
std::string mergeToolGetCommitsListDropdown(const std::string& filePath, const std::string& repoPath,
                                            const std::string& selectedHash);

}  // namespace tarnwick

#endif
