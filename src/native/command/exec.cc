#include "command/exec.h"


#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>

#if defined(__APPLE__)
#include <Availability.h>
#endif

extern char** environ;

namespace tarnwick {

namespace {

// Closes a descriptor when it goes out of scope, also when reading throws.
class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  int* address() { return &fd_; }
  void close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

// A pipe whose ends are closed on exec, so that no other child started meanwhile inherits them.
struct Pipe {
  Descriptor read;
  Descriptor write;
  bool open() {
    int ends[2];
#if defined(__linux__)
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    *read.address() = ends[0];
    *write.address() = ends[1];
    return true;
#else
    if (pipe(ends) != 0) return false;
    *read.address() = ends[0];
    *write.address() = ends[1];
    return fcntl(ends[0], F_SETFD, FD_CLOEXEC) == 0 && fcntl(ends[1], F_SETFD, FD_CLOEXEC) == 0;
#endif
  }
};

// Waits for the child and returns its exit code, or -1 when a signal ended it.
int waitFor(pid_t pid) {
  int status = 0;
  pid_t done;
  do {
    done = waitpid(pid, &status, 0);
  } while (done < 0 && errno == EINTR);
  return done > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#if defined(__linux__)
// Returns the C library's posix_spawn_file_actions_addchdir_np (glibc 2.29, musl 1.1.24), or null
// where the running library has none: looked up when the module runs, not named at link time, so
// that one binary loads on older systems too and takes the shell's way in there.
using AddChdir = int (*)(posix_spawn_file_actions_t*, const char*);
AddChdir runningAddChdir() {
  static const AddChdir found =
      reinterpret_cast<AddChdir>(dlsym(RTLD_DEFAULT, "posix_spawn_file_actions_addchdir_np"));
  return found;
}
#endif

// Returns whether the process start can change the child's folder itself: a call of glibc 2.29 and
// macOS 10.15 (checked when the module runs, since it may run on an older system than it was
// built on), missing from older systems and some C libraries.
bool spawnCanEnterFolder() {
#if defined(__APPLE__) && defined(__MAC_10_15)
  if (__builtin_available(macOS 10.15, *)) return true;
  return false;
#elif defined(__linux__)
  return runningAddChdir() != nullptr;
#else
  return false;
#endif
}

// Adds the change of folder to `actions`; only called where spawnCanEnterFolder() holds.
bool addChangeOfFolder(posix_spawn_file_actions_t* actions, const std::string& folder) {
#if defined(__APPLE__) && defined(__MAC_10_15)
  if (__builtin_available(macOS 10.15, *)) return posix_spawn_file_actions_addchdir_np(actions, folder.c_str()) == 0;
  return false;
#elif defined(__linux__)
  const AddChdir addChdir = runningAddChdir();
  return addChdir != nullptr && addChdir(actions, folder.c_str()) == 0;
#else
  (void)actions;
  (void)folder;
  return false;
#endif
}

#if defined(POSIX_SPAWN_SETSID)
constexpr short kOwnGroup = POSIX_SPAWN_SETSID;
#else
constexpr short kOwnGroup = POSIX_SPAWN_SETPGROUP;
#endif

// The way chosen on first use, or forced by a test.
std::atomic<int> folderEntry{-1};

FolderEntry chosenFolderEntry() {
  const int chosen = folderEntry.load();
  if (chosen >= 0) return static_cast<FolderEntry>(chosen);
  return spawnCanEnterFolder() ? FolderEntry::kSpawn : FolderEntry::kShell;
}

// The shell's own way in: it enters the folder given as $1 as chdir would (no CDPATH, no logical
// ".."; a relative name is given as "./name" so that neither CDPATH nor a name "-" can redirect
// it), ends as if by a signal with nothing printed when it cannot, which is what the spawn's own
// change of folder gives, and then becomes the shell that runs the command line $2, started
// exactly as it is otherwise.
constexpr char kEnterThenRun[] = "cd -P -- \"$1\" 2>/dev/null || kill -9 $$; exec /bin/sh -c \"$2\" sh";

// The spawn attributes and file actions, released on every way out.
class SpawnSetup {
 public:
  SpawnSetup() {
    posix_spawnattr_init(&attributes_);
    posix_spawn_file_actions_init(&actions_);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  // The child starts in a process group of its own (so that a stop ends git with the shell), in a
  // session of its own where the system offers one (so that nothing it opens, such as /dev/tty,
  // can stop it waiting on the host's terminal), with no signal blocked and SIGPIPE at its
  // default, whatever the host (Node ignores SIGPIPE) set for itself; `input` < 0 gives it
  // /dev/null to read, its errors go to /dev/null, and `caller` becomes its descriptor 3.
  bool prepare(const std::string& folder, FolderEntry entry, int input, int output, int caller) {
    sigset_t none;
    sigset_t pipeSignal;
    sigemptyset(&none);
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    // The descriptors go in place last, so that none of them is overwritten while it may still be
    // the source of another (`caller` is never 3 itself: see exec).
    return posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | kOwnGroup) == 0 &&
           posix_spawnattr_setpgroup(&attributes_, 0) == 0 &&
           posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
           posix_spawnattr_setsigdefault(&attributes_, &pipeSignal) == 0 &&
           (entry == FolderEntry::kShell || addChangeOfFolder(&actions_, folder)) &&
           (input >= 0 ? posix_spawn_file_actions_adddup2(&actions_, input, 0) == 0
                       : posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0) == 0) &&
           posix_spawn_file_actions_adddup2(&actions_, output, 1) == 0 &&
           posix_spawn_file_actions_addopen(&actions_, 2, "/dev/null", O_WRONLY, 0) == 0 &&
           posix_spawn_file_actions_adddup2(&actions_, caller, 3) == 0;
  }

  const posix_spawnattr_t* attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  posix_spawnattr_t attributes_;
  posix_spawn_file_actions_t actions_;
};

// Reads what is available on `fd` into `buffer`; returns the byte count, or 0 at the end of the
// stream or on an error other than an interruption.
std::size_t readSome(int fd, char* buffer, std::size_t size) {
  for (;;) {
    const ssize_t got = read(fd, buffer, size);
    if (got > 0) return static_cast<std::size_t>(got);
    if (got < 0 && errno == EINTR) continue;
    return 0;
  }
}

// SIGPIPE held back from this thread while it writes to a child that may have stopped reading,
// and one raised meanwhile taken back, so that a host that has not ignored it (Node does) is not
// ended by it.
class PipeSignalHeld {
 public:
  PipeSignalHeld() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  ~PipeSignalHeld() {
    sigset_t pending;
    sigpending(&pending);
    int taken;
    if (!wasPending_ && sigismember(&pending, SIGPIPE) == 1) sigwait(&pipe_, &taken);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  PipeSignalHeld(const PipeSignalHeld&) = delete;
  PipeSignalHeld& operator=(const PipeSignalHeld&) = delete;

 private:
  sigset_t pipe_;
  sigset_t before_;
  bool wasPending_;
};

// Returns the milliseconds from now to `deadline`, at least 0.
int millisecondsTo(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return left.count() < 0 ? 0 : static_cast<int>(std::min<long long>(left.count(), INT_MAX));
}

// How a drain ended.
enum class Drained { kAll, kStopped, kOutOfTime };

// Writes `input` to the child and reads its output until the pipe reaches its end, so that
// neither can fill up and stall the child, or until `out` stops it or the time limit passes.
Drained drain(Descriptor& input, std::string_view pending, Descriptor& output, OutputSink* out, unsigned timeLimitMs) {
  std::unique_ptr<char[]> buffer(new char[65536]);
  const PipeSignalHeld held;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeLimitMs);
  if (input.get() >= 0) fcntl(input.get(), F_SETFL, fcntl(input.get(), F_GETFL) | O_NONBLOCK);
  while (output.get() >= 0 || input.get() >= 0) {
    pollfd fds[2] = {{output.get(), POLLIN, 0}, {input.get(), POLLOUT, 0}};
    const int ready = poll(fds, 2, timeLimitMs == 0 ? -1 : millisecondsTo(deadline));
    if (ready < 0) {
      if (errno == EINTR) continue;
      return Drained::kAll;
    }
    if (ready == 0) return Drained::kOutOfTime;
    if (fds[0].revents != 0) {
      const std::size_t got = readSome(output.get(), buffer.get(), 65536);
      if (got == 0) output.close();
      if (got > 0 && out != nullptr && !out->take(buffer.get(), got)) return Drained::kStopped;
    }
    if (fds[1].revents != 0) {
      const ssize_t written = write(input.get(), pending.data(), pending.size());
      if (written > 0) pending.remove_prefix(static_cast<std::size_t>(written));
      if (pending.empty() || (written < 0 && errno != EINTR && errno != EAGAIN)) input.close();
    }
  }
  return Drained::kAll;
}

bool holdsZero(std::string_view text) { return text.find('\0') != std::string_view::npos; }

// Returns whether `folder` is a folder this process may enter. The child's own change of folder
// remains the check that counts; this one spares starting a process that could only fail (and
// a child that fails there is one that tools like valgrind, which run it as a plain fork, trip on).
bool enterable(const std::string& folder) {
  struct stat status;
  return stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && access(folder.c_str(), X_OK) == 0;
}

// The "NAME=value" entries of `environment` in the form the process start takes.
std::vector<char*> environmentBlock(const std::vector<std::string>& environment) {
  std::vector<char*> block;
  block.reserve(environment.size() + 1);
  for (const std::string& entry : environment) block.push_back(const_cast<char*>(entry.c_str()));
  block.push_back(nullptr);
  return block;
}

}  // namespace

CommandResult exec(const std::string& command, const std::string& folder, const ExecOptions& options) {
  CommandResult result;
  if (holdsZero(command) || holdsZero(folder) || !enterable(folder)) return result;
  if (options.environment != nullptr) {
    for (const std::string& entry : *options.environment) {
      if (holdsZero(entry)) return result;
    }
  }
  Pipe input;
  Pipe output;
  Pipe caller;
  if (!output.open() || !caller.open() || (!options.input.empty() && !input.open())) return result;
  // Put in place as descriptor 3, a descriptor that already is 3 would keep its close-on-exec.
  if (caller.read.get() == 3) {
    const int moved = fcntl(3, F_DUPFD_CLOEXEC, 4);
    if (moved < 0) return result;
    caller.read.close();
    *caller.read.address() = moved;
  }
  const FolderEntry entry = chosenFolderEntry();
  SpawnSetup setup;
  if (!setup.prepare(folder, entry, options.input.empty() ? -1 : input.read.get(), output.write.get(),
                     caller.read.get())) {
    return result;
  }
  char shell[] = "sh";
  char option[] = "-c";
  char enterThenRun[sizeof kEnterThenRun];
  std::memcpy(enterThenRun, kEnterThenRun, sizeof kEnterThenRun);
  char* const direct[] = {shell, option, const_cast<char*>(command.c_str()), nullptr};
  std::string shellFolder = folder[0] == '/' ? folder : "./" + folder;
  char* const throughShell[] = {shell, option, enterThenRun, shell, &shellFolder[0],
                                const_cast<char*>(command.c_str()), nullptr};
  char* const* const argv = entry == FolderEntry::kSpawn ? direct : throughShell;
  const std::vector<char*> block =
      options.environment != nullptr ? environmentBlock(*options.environment) : std::vector<char*>();
  char* const* const envp = options.environment != nullptr ? block.data() : environ;
  pid_t pid = -1;
  if (posix_spawn(&pid, "/bin/sh", setup.actions(), setup.attributes(), argv, envp) != 0) return result;
  input.read.close();
  output.write.close();
  caller.read.close();
  Drained drained = Drained::kAll;
  try {
    drained = drain(input.write, options.input, output.read, options.output, options.timeLimitMs);
  } catch (...) {
    // The child and whatever it started are ended first, so the wait cannot hang.
    kill(-pid, SIGKILL);
    waitFor(pid);
    throw;
  }
  if (drained != Drained::kAll) kill(-pid, SIGKILL);
  input.write.close();
  output.read.close();
  result.exitStatus = waitFor(pid);
  result.outOfTime = drained == Drained::kOutOfTime;
  // The command has ended: its watcher ends whatever of its group is left (see endingWithCaller).
  const PipeSignalHeld held;
  if (write(caller.write.get(), "\n", 1) < 0) { /* the watcher is gone already */ }
  return result;
}

std::string endingWithCaller(const std::string& command) {
  return "(trap '' TERM; if read -r line <&3; then kill -KILL 0; else kill -TERM 0; sleep 1; kill -KILL 0; fi) "
         "</dev/null >/dev/null 2>&1 & exec 3<&-; exec " + command;
}

bool forceFolderEntry(FolderEntry entry) {
  if (entry == FolderEntry::kSpawn && !spawnCanEnterFolder()) return false;
  folderEntry.store(static_cast<int>(entry));
  return true;
}

}  // namespace tarnwick
