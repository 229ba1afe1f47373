#ifndef UTILS_COMMAND_EXEC_H
#define UTILS_COMMAND_EXEC_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "command/output_pieces.h"

namespace tarnwick {


// How `exec` runs a command, beyond its command line and folder.
struct ExecOptions {
  // The command's environment, "NAME=value" each; null: this process's own.
  const std::vector<std::string>* environment = nullptr;
  // What the command reads on its standard input; /dev/null when empty, so that a command can
  // never wait for the host's input.
  std::string_view input;
  // Receives standard output, byte for byte, as it arrives; null: it is read and dropped.
  OutputSink* output = nullptr;
  // Milliseconds after which the command and all it started are ended; 0: no limit.
  unsigned timeLimitMs = 0;
};

// How a command run by `exec` ended.
struct CommandResult {
  // The command's exit code; -1 when it was killed by a signal or did not run at all.
  int exitStatus = -1;
  // Whether the time limit ended it.
  bool outOfTime = false;
};

// Runs `command` with the system shell (/bin/sh -c) inside `folder` and waits for it to end, or
// for the output sink to stop it (it is then ended, with all it started). The child enters the
// folder itself, so this process's current folder never changes, not even for other threads
// while the command runs. It starts in a session of its own (no terminal to wait on), its
// standard error on /dev/null (the exit status says whether it failed), and holds, as descriptor
// 3, the read end of a pipe whose other end only this call holds: it reads a line feed once the
// command has ended, and the end of the pipe if this process dies first (see endingWithCaller).
// Nothing runs (exit status -1) when the folder cannot be entered, the command line is too long
// for the kernel, no descriptor or process is left, or the command, the folder or an environment
// entry holds a zero byte, which the kernel would read as their end.
CommandResult exec(const std::string& command, const std::string& folder, const ExecOptions& options = {});

// Returns a command line that runs the simple command `command` (which the shell then becomes) so
// that it and all it starts end with the caller: a watcher in its process group reads descriptor
// 3 (see exec) and ends the group at once when it reads a line feed (the command has ended), or,
// at the pipe's end (the caller died: a host killed, a worker ended), sends the group SIGTERM, so
// that git removes its lock files, and SIGKILL a second later.
std::string endingWithCaller(const std::string& command);

// How the child enters its folder: by a change of folder that the process start itself makes,
// where the system has one (glibc 2.29 and later, macOS 10.15 and later), or else by the shell,
// which enters the folder before it runs the command. Both give the same result.
enum class FolderEntry { kSpawn, kShell };

// Makes exec enter folders by `entry` from now on instead of the best this system offers, so that
// tests can run both ways here. Returns false, changing nothing, when `entry` cannot run here.
bool forceFolderEntry(FolderEntry entry);

}  // namespace tarnwick

#endif
