#include "command/exec.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

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

// Returns whether the process start can change the child's folder itself: a call of glibc 2.29 and
// macOS 10.15 (checked when the module runs, since it may run on an older system than it was
// built on), missing from older systems and some C libraries.
bool spawnCanEnterFolder() {
#if defined(__APPLE__) && defined(__MAC_10_15)
  if (__builtin_available(macOS 10.15, *)) return true;
  return false;
#elif defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 29))
  return true;
#else
  return false;
#endif
}

// Adds the change of folder to `actions`; only called where spawnCanEnterFolder() holds.
bool addChangeOfFolder(posix_spawn_file_actions_t* actions, const std::string& folder) {
#if defined(__APPLE__) && defined(__MAC_10_15)
  if (__builtin_available(macOS 10.15, *)) return posix_spawn_file_actions_addchdir_np(actions, folder.c_str()) == 0;
  return false;
#elif defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 29))
  return posix_spawn_file_actions_addchdir_np(actions, folder.c_str()) == 0;
#else
  (void)actions;
  (void)folder;
  return false;
#endif
}

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

  // The child starts with no signal blocked and SIGPIPE at its default, whatever the host (Node
  // ignores SIGPIPE) set for itself.
  bool prepare(const std::string& folder, FolderEntry entry, int output, int errors) {
    sigset_t none;
    sigset_t pipeSignal;
    sigemptyset(&none);
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    return posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0 &&
           posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
           posix_spawnattr_setsigdefault(&attributes_, &pipeSignal) == 0 &&
           (entry == FolderEntry::kShell || addChangeOfFolder(&actions_, folder)) &&
           posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0) == 0 &&
           posix_spawn_file_actions_adddup2(&actions_, output, 1) == 0 &&
           (errors < 0 || posix_spawn_file_actions_adddup2(&actions_, errors, 2) == 0);
  }

  const posix_spawnattr_t* attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  posix_spawnattr_t attributes_;
  posix_spawn_file_actions_t actions_;
};

// Reads what is available on `fd` into `into`; returns false at the end of the stream or on an
// error other than an interruption.
bool readSome(int fd, std::string& into) {
  char buffer[65536];
  for (;;) {
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got > 0) {
      into.append(buffer, static_cast<std::size_t>(got));
      return true;
    }
    if (got < 0 && errno == EINTR) continue;
    return false;
  }
}

// Reads both pipes until each reaches its end, so that neither can fill up and stall the child.
void drain(Descriptor& output, Descriptor& errors, CommandResult& result) {
  while (output.get() >= 0 || errors.get() >= 0) {
    pollfd fds[2] = {{output.get(), POLLIN, 0}, {errors.get(), POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (fds[0].revents != 0 && !readSome(output.get(), result.output)) output.close();
    if (fds[1].revents != 0 && !readSome(errors.get(), result.errors)) errors.close();
  }
}

bool holdsZero(const std::string& text) { return text.find('\0') != std::string::npos; }

// Returns whether `folder` is a folder this process may enter. The child's own change of folder
// remains the check that counts; this one spares starting a process that could only fail (and
// a child that fails there is one that tools like valgrind, which run it as a plain fork, trip on).
bool enterable(const std::string& folder) {
  struct stat status;
  return stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && access(folder.c_str(), X_OK) == 0;
}

}  // namespace

CommandResult exec(const std::string& command, const std::string& folder, bool captureErrors) {
  CommandResult result;
  if (holdsZero(command) || holdsZero(folder) || !enterable(folder)) return result;
  Pipe output;
  Pipe errors;
  if (!output.open() || (captureErrors && !errors.open())) return result;
  const FolderEntry entry = chosenFolderEntry();
  SpawnSetup setup;
  if (!setup.prepare(folder, entry, output.write.get(), captureErrors ? errors.write.get() : -1)) return result;
  char shell[] = "sh";
  char option[] = "-c";
  char enterThenRun[sizeof kEnterThenRun];
  std::memcpy(enterThenRun, kEnterThenRun, sizeof kEnterThenRun);
  char* const direct[] = {shell, option, const_cast<char*>(command.c_str()), nullptr};
  std::string shellFolder = folder[0] == '/' ? folder : "./" + folder;
  char* const throughShell[] = {shell, option, enterThenRun, shell, &shellFolder[0],
                                const_cast<char*>(command.c_str()), nullptr};
  char* const* const argv = entry == FolderEntry::kSpawn ? direct : throughShell;
  pid_t pid = -1;
  if (posix_spawn(&pid, "/bin/sh", setup.actions(), setup.attributes(), argv, environ) != 0) return result;
  output.write.close();
  errors.write.close();
  try {
    drain(output.read, errors.read, result);
  } catch (...) {
    // Closing the pipes first ends a child that is still writing, so the wait cannot hang.
    output.read.close();
    errors.read.close();
    waitFor(pid);
    throw;
  }
  output.read.close();
  errors.read.close();
  result.exitStatus = waitFor(pid);
  result.output = asReadInPieces(std::move(result.output));
  return result;
}

bool forceFolderEntry(FolderEntry entry) {
  if (entry == FolderEntry::kSpawn && !spawnCanEnterFolder()) return false;
  folderEntry.store(static_cast<int>(entry));
  return true;
}

std::string asReadInPieces(std::string raw) {
  if (std::memchr(raw.data(), '\0', raw.size()) == nullptr) return raw;
  constexpr std::size_t kPiece = 127;
  std::string kept;
  const char* p = raw.data();
  const char* const end = p + raw.size();
  while (p < end) {
    const std::size_t room = static_cast<std::size_t>(end - p) < kPiece ? static_cast<std::size_t>(end - p) : kPiece;
    const void* feed = std::memchr(p, '\n', room);
    const std::size_t piece = feed ? static_cast<std::size_t>(static_cast<const char*>(feed) - p) + 1 : room;
    const void* zero = std::memchr(p, '\0', piece);
    kept.append(p, zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - p) : piece);
    p += piece;
  }
  return kept;
}

}  // namespace tarnwick
