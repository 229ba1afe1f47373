#ifndef UTILS_COMMAND_GIT_INVOCATION_H
#define UTILS_COMMAND_GIT_INVOCATION_H

// What every git run of the module is given beside the guard (see git_guard.h), decided here for
// both faces: git acts on the repository the call names, and on the paths it names.

#include <string>
#include <string_view>
#include <vector>


namespace tarnwick {

// Returns the environment for git made from the host's entries ("NAME=value"): without the
// variables that point git at another repository, index, object store or configuration (all that
// `git rev-parse --local-env-vars` lists), or that change what a pathspec matches or which helper
// programs run; with GIT_TERMINAL_PROMPT=0 (no call waits for a password), GIT_ALLOW_PROTOCOL set
// to none and GIT_NO_LAZY_FETCH=1, so that a partial clone fetches no missing object (the fetch
// would run what the repository's config names) and fails instead, and GIT_LITERAL_PATHSPECS=1,
// so that a path names the file of that name and no other ("a[1].txt" is no pattern).
std::vector<std::string> gitEnvironment(const std::vector<std::string>& host);

// Returns `words` as the command line of "git" followed by them, each quoted for the shell where
// it needs it, so that git receives exactly those words.
std::string gitCommandLine(const std::vector<std::string>& words);

// Returns this process's own environment entries.
std::vector<std::string> hostEnvironment();

// Returns whether the environment entry `entry` ("NAME=value") sets variable `name`.
bool setsVariable(const std::string& entry, std::string_view name);

}  // namespace tarnwick

#endif
