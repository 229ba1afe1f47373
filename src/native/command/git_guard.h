#ifndef UTILS_COMMAND_GIT_GUARD_H
#define UTILS_COMMAND_GIT_GUARD_H

// The settings that keep git, and the filters of the user's that git starts, from running a
// program, reading a file or making a transfer that a repository's own configuration chose (a
// repository can come from anyone), decided from one listing of git's configuration; and the
// configuration files that listing was read from, which must not change before git reads them
// again for the command.

#include <string>
#include <vector>

namespace tarnwick {

// Returns the words after "git" that list every configuration entry, each as the record
// "scope\0file:path\0key\nvalue\0" ("key\0" for a key set without a value); run with GIT_DIR set
// to the repository's absolute folder, every path is absolute.
std::vector<std::string> configListingArguments();

// What the guard of one repository is made of.
struct Guard {
  // False when a setting the repository chose cannot be overridden on git's command line (its
  // name holds "="), or a file it includes cannot be located: nothing may run then.
  bool safe = true;
  // The words before a command: "-c" and "name=value", one pair a setting.
  std::vector<std::string> settings;
  // The options after "blame" that give it the user's ignore files only, when the repository
  // names one.
  std::vector<std::string> blameOptions;
  // The repository's own configuration files (its config, its worktree's, the files they
  // include), absolute: git reads them again for the command, so they must be files that only
  // the user can change (see trustedFile).
  std::vector<std::string> repositoryFiles;
  // The user's configuration files that the listing read, for telling whether it is still true.
  std::vector<std::string> userFiles;
  // The folder that holds Git LFS objects.
  std::string lfsObjects;

  // Returns the words after "git" that run `command` (its own words after "git") behind the guard.
  std::vector<std::string> command(std::vector<std::string> words) const;
};

// Returns the guard of the repository whose git folder is `gitDir` (absolute, the worktree's own)
// and whose common folder is `commonDir`, decided from `listing` (the output of the listing
// above). Always: no fsmonitor, no hooks, no signature checks, and no Git LFS transfer. For each
// setting that the repository's own scopes (local, worktree and the files they include) give
// and that names a program, a transfer or a file to read (filter and textconv drivers, Git LFS
// transfer agents, extensions and addresses, the ssh command, the attributes, mailmap, order and
// blame ignore files): the value the user's own scopes (system, global) give it, or one that
// switches it off. `home` expands "~/" in the files included.
Guard decideGuard(const std::string& listing, const std::string& gitDir, const std::string& commonDir,
                  const std::string& home);

}  // namespace tarnwick

#endif
