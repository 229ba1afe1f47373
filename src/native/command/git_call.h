#ifndef UTILS_COMMAND_GIT_CALL_H
#define UTILS_COMMAND_GIT_CALL_H

// The git runs of one method call, decided here once for both faces: each face starts the runs
// this object asks for (the synchronous one with exec, the promise face with Node's child
// processes) and hands it their output and ends. A call first locates the repository and lists
// its configuration, unless what it listed last time still holds; then, when the configuration
// files are ones that only the user can change, it runs the method's command behind the guard
// decided from them (see decideGuard).

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "command/git_guard.h"
#include "command/output_pieces.h"

namespace tarnwick {

// One git run: /bin/sh -c `script` inside the repository folder, with `environment` and `input`.
struct GitRun {
  // The words after "git", for messages.
  std::vector<std::string> words;
  // git with those words, quoted, ending with the caller (see endingWithCaller): the child reads
  // a pipe of the caller's as its descriptor 3.
  std::string script;
  std::vector<std::string> environment;
  // Standard input; empty: /dev/null.
  std::string_view input;
  // Milliseconds after which the run is ended; 0: none.
  unsigned timeLimitMs = 0;
};

// Why a call did not run its command to a result.
enum class CallFailure {
  kNone,
  kGitFailed,   // a run exited with a status other than 0, or was ended by a signal
  kNoGit,       // git could not be started (the shell found no git)
  kUnsafe,      // the configuration could not be guarded or may change before git reads it again
  kLfsMissing,  // a discard would restore a Git LFS object that is not here
};

class GitCall : public OutputSink {
 public:
  ~GitCall() override = default;
  GitCall(const GitCall&) = delete;
  GitCall& operator=(const GitCall&) = delete;

  // Returns the next run, or nullptr once the call is decided.
  const GitRun* next();
  // Takes the standard output of the current run as it arrives; false stops it.
  bool take(const char* data, std::size_t size) final;
  // The current run has ended with `exitStatus` (-1: by a signal, or it never ran); `outOfTime`:
  // its time limit ended it.
  void ended(int exitStatus, bool outOfTime);

  // Whether the call is decided: its command ran to the end, or it failed before.
  bool decided() const { return step_ == Step::kDone; }
  CallFailure failure() const { return failure_; }
  // The words of the run that failed.
  const std::vector<std::string>& failedWords() const { return run_.words; }

 protected:
  // `host`: the host's environment entries ("NAME=value"), from which git's is made.
  GitCall(std::string repoPath, const std::vector<std::string>& host);

  // The method's command (the words after the guard), its standard input and its output.
  virtual std::vector<std::string> commandWords() const = 0;
  virtual std::string_view commandInput() const { return {}; }
  virtual bool takeCommandOutput(const char* data, std::size_t size) = 0;
  // Returns kNone, or why the command must not run after all.
  virtual CallFailure beforeCommand(const Guard&) { return CallFailure::kNone; }
  // Returns kNone, or why a command that exited with status 0 failed all the same.
  virtual CallFailure afterCommand() const { return CallFailure::kNone; }

 private:
  enum class Step { kStart, kLocate, kList, kCommand, kDone };

  void locate();
  void list();
  void decide();
  void startCommand(const Guard& guard);
  void prepare(std::vector<std::string> words, std::vector<std::string> environment, std::string_view input,
               unsigned timeLimitMs);
  void fail(CallFailure failure);

  const std::string repoPath_;
  const std::vector<std::string> environment_;
  std::string folder_;  // repoPath_, absolute and with links resolved
  Step step_ = Step::kStart;
  GitRun run_;
  bool pending_ = false;  // run_ is prepared and not yet handed out
  std::string output_;  // of the locating and listing runs
  std::string gitDir_;
  std::string commonDir_;
  bool top_ = false;  // the folder is the top of its worktree
  CallFailure failure_ = CallFailure::kNone;
};

// Runs every run of `call` in `repoPath` with exec.
void runGitCall(GitCall& call, const std::string& repoPath);

}  // namespace tarnwick

#endif
