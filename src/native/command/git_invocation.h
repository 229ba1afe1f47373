#ifndef UTILS_COMMAND_GIT_INVOCATION_H
#define UTILS_COMMAND_GIT_INVOCATION_H

// What every git run of the module is given, decided here for both faces: git acts on the
// repository the call names and runs no program that the repository's own .git chose (a
// repository can come from anyone), while what the user configured for themselves keeps working.

#include <string>
#include <vector>

#include "command/exec.h"

namespace tarnwick {

// Returns the words after "git" that list the settings of filter and textconv drivers in every
// configuration scope, as records "scope\0name\nvalue\0" (a name set without a value has no "\n").
std::vector<std::string> driverSettingsArguments();

// Returns the words after "git" that run `command` (its own words after "git"), preceded by the
// settings that keep git from running what the repository chose: no fsmonitor, no hooks, no
// signature checks, and for each driver setting that the repository's own scopes (its config, its
// worktree config, files they include) give in `driverSettings` (the listing's output, or "" for
// a command that reads no file through drivers), the value the user's own scopes (system, global)
// give it, or one that switches it off. Returns an empty list, for running nothing, when a
// driver's name cannot be handed to git as a setting (it holds "=").
std::vector<std::string> guardedGitArguments(const std::string& driverSettings,
                                             const std::vector<std::string>& command);

// Returns the environment for git made from the host's entries ("NAME=value"): without the
// variables that point git at another repository, index, object store or configuration (all that
// `git rev-parse --local-env-vars` lists), or that change what a pathspec matches or which helper
// programs run; with GIT_TERMINAL_PROMPT=0 (no call waits for a password), GIT_ALLOW_PROTOCOL set
// to none and GIT_NO_LAZY_FETCH=1, so that a partial clone fetches no missing object (the fetch
// would run what the repository's config names) and fails instead.
std::vector<std::string> gitEnvironment(const std::vector<std::string>& host);

// Returns `words` as the command line of "git" followed by them, each quoted for the shell where
// it needs it, so that git receives exactly those words.
std::string gitCommandLine(const std::vector<std::string>& words);

// Returns this process's own environment entries.
std::vector<std::string> hostEnvironment();

// Runs `commandLine` (a git command line) inside `folder` through exec with `options` and the
// environment gitEnvironment makes of this process's own.
CommandResult runGit(const std::string& commandLine, const std::string& folder, ExecOptions options);

// Lists the driver settings for a repository inside `folder` into `listing`; returns false when
// git could not list them (no git, a repository it refuses), in which case nothing should run.
bool listDriverSettings(const std::string& folder, std::string& listing);

}  // namespace tarnwick

#endif
