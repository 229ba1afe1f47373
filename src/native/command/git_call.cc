#include "command/git_call.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

#include "command/exec.h"
#include "command/git_invocation.h"
#include "command/trusted_file.h"

namespace tarnwick {

namespace {

// Reading a configuration takes milliseconds; one that takes this long is waiting on a file that
// never ends or never opens (a FIFO), and nothing is run.
constexpr unsigned kConfigTimeLimitMs = 10000;
// A listing larger than this is not a configuration anyone wrote by hand.
constexpr std::size_t kLongestListing = 16 * 1024 * 1024;
// Repositories whose listing is kept.
constexpr std::size_t kKeptGuards = 16;

std::vector<std::string> locateArguments() { return {"rev-parse", "--absolute-git-dir", "--git-common-dir", "--show-cdup"}; }

// Returns the value of `name` in `environment`, or "".
std::string valueOf(const std::vector<std::string>& environment, std::string_view name) {
  for (const std::string& entry : environment) {
    if (setsVariable(entry, name)) return entry.substr(name.size() + 1);
  }
  return std::string();
}

std::string absoluteFolder(const std::string& folder) {
  std::unique_ptr<char, decltype(&std::free)> resolved(realpath(folder.c_str(), nullptr), &std::free);
  return resolved ? std::string(resolved.get()) : std::string();
}

// The user's configuration files that may exist or come to exist, beside those the listing read.
std::vector<std::string> userFiles(const Guard& guard, const std::vector<std::string>& environment) {
  std::vector<std::string> files = guard.userFiles;
  const std::string home = valueOf(environment, "HOME");
  const std::string xdg = valueOf(environment, "XDG_CONFIG_HOME");
  for (const std::string& file : {valueOf(environment, "GIT_CONFIG_GLOBAL"), valueOf(environment, "GIT_CONFIG_SYSTEM"),
                                  home.empty() ? std::string() : home + "/.gitconfig",
                                  xdg.empty() ? (home.empty() ? std::string() : home + "/.config/git/config")
                                              : xdg + "/git/config",
                                  std::string("/etc/gitconfig")}) {
    if (!file.empty()) files.push_back(file);
  }
  return files;
}

// A guard kept for the repository whose worktree top is a folder, with what it was decided from.
struct Kept {
  std::string key;
  Guard guard;
  FileSignature top;  // the folder's .git
  std::vector<FileSignature> repository;
  std::vector<std::string> userFiles;
  std::vector<FileSignature> user;
};

std::mutex keptMutex;
std::vector<Kept> kept;  // the most recently used last

bool sameTop(const FileSignature& then, const FileSignature& now) {
  // A .git folder changes whenever git takes a lock in it; only another folder counts.
  if (then.folder && now.folder) return then.device == now.device && then.inode == now.inode;
  return then == now;
}

// Returns the repository's configuration file signatures now, or false when one is not trusted.
bool trustedSignatures(const std::vector<std::string>& files, std::vector<FileSignature>* signatures) {
  signatures->clear();
  for (const std::string& file : files) {
    FileSignature signature;
    if (!trustedFile(file, &signature)) return false;
    signatures->push_back(signature);
  }
  return true;
}

// Returns in `guard` the guard kept under `key` when everything it was decided from is unchanged.
bool keptGuard(const std::string& key, const std::string& top, Guard* guard) {
  Kept found;
  {
    const std::lock_guard<std::mutex> lock(keptMutex);
    auto at = kept.begin();
    while (at != kept.end() && at->key != key) ++at;
    if (at == kept.end()) return false;
    found = *at;
  }
  std::vector<FileSignature> now;
  if (!sameTop(found.top, signatureOf(top)) || !trustedSignatures(found.guard.repositoryFiles, &now) ||
      now != found.repository) {
    return false;
  }
  for (std::size_t i = 0; i < found.userFiles.size(); ++i) {
    if (signatureOf(found.userFiles[i]) != found.user[i]) return false;
  }
  const std::lock_guard<std::mutex> lock(keptMutex);
  for (auto at = kept.begin(); at != kept.end(); ++at) {
    if (at->key == key) {
      std::rotate(at, at + 1, kept.end());
      break;
    }
  }
  *guard = std::move(found.guard);
  return true;
}

void keepGuard(Kept entry) {
  const std::lock_guard<std::mutex> lock(keptMutex);
  for (auto at = kept.begin(); at != kept.end(); ++at) {
    if (at->key == entry.key) {
      kept.erase(at);
      break;
    }
  }
  if (kept.size() == kKeptGuards) kept.erase(kept.begin());
  kept.push_back(std::move(entry));
}

std::string keyOf(const std::string& folder, const std::vector<std::string>& environment) {
  std::string key = folder;
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "GIT_CONFIG_GLOBAL", "GIT_CONFIG_SYSTEM", "GIT_CONFIG_NOSYSTEM"}) {
    key += '\0';
    key += valueOf(environment, name);
  }
  return key;
}

}  // namespace

GitCall::GitCall(std::string repoPath, const std::vector<std::string>& host)
    : repoPath_(std::move(repoPath)), environment_(gitEnvironment(host)) {}

const GitRun* GitCall::next() {
  if (step_ == Step::kStart) locate();
  if (!pending_) return nullptr;
  pending_ = false;
  return &run_;
}

bool GitCall::take(const char* data, std::size_t size) {
  if (step_ == Step::kCommand) return takeCommandOutput(data, size);
  output_.append(data, size);
  return output_.size() <= kLongestListing;
}

void GitCall::ended(int exitStatus, bool outOfTime) {
  if (step_ == Step::kCommand) {
    step_ = Step::kDone;
    if (exitStatus == 127) failure_ = CallFailure::kNoGit;
    else if (exitStatus != 0) failure_ = CallFailure::kGitFailed;
    else failure_ = afterCommand();
    return;
  }
  if (step_ != Step::kLocate && step_ != Step::kList) return;
  if (outOfTime || output_.size() > kLongestListing) return fail(CallFailure::kUnsafe);
  if (exitStatus == 127) return fail(CallFailure::kNoGit);
  if (exitStatus != 0) return fail(CallFailure::kGitFailed);
  if (step_ == Step::kLocate) {
    list();
  } else {
    decide();
  }
}

void GitCall::prepare(std::vector<std::string> words, std::vector<std::string> environment, std::string_view input,
                      unsigned timeLimitMs) {
  run_.script = endingWithCaller(gitCommandLine(words));
  run_.words = std::move(words);
  run_.environment = std::move(environment);
  run_.input = input;
  run_.timeLimitMs = timeLimitMs;
  pending_ = true;
}

void GitCall::fail(CallFailure failure) {
  failure_ = failure;
  step_ = Step::kDone;
  pending_ = false;
}

void GitCall::locate() {
  folder_ = absoluteFolder(repoPath_);
  if (!folder_.empty()) {
    Guard guard;
    if (keptGuard(keyOf(folder_, environment_), folder_ + "/.git", &guard)) return startCommand(guard);
  }
  step_ = Step::kLocate;
  prepare(locateArguments(), environment_, {}, kConfigTimeLimitMs);
}

void GitCall::list() {
  // Lines: the git folder (absolute), the common folder (relative to the folder git ran in), and,
  // in a worktree, the way up to its top (an empty line at the top).
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < output_.size();) {
    const std::size_t feed = output_.find('\n', at);
    if (feed == std::string::npos) break;
    lines.push_back(output_.substr(at, feed - at));
    at = feed + 1;
  }
  if (lines.size() < 2 || lines[0].empty() || lines[0][0] != '/' || lines[1].empty() || folder_.empty()) {
    return fail(CallFailure::kUnsafe);
  }
  gitDir_ = lines[0];
  commonDir_ = lines[1][0] == '/' ? lines[1] : folder_ + "/" + lines[1];
  top_ = lines.size() == 3 && lines[2].empty();
  output_.clear();
  step_ = Step::kList;
  std::vector<std::string> environment = environment_;
  environment.push_back("GIT_DIR=" + gitDir_);  // so that the listing names every file by its absolute path
  prepare(configListingArguments(), std::move(environment), {}, kConfigTimeLimitMs);
}

void GitCall::decide() {
  Guard guard = decideGuard(output_, gitDir_, commonDir_, valueOf(environment_, "HOME"));
  std::string().swap(output_);
  Kept entry;
  if (!guard.safe || !trustedSignatures(guard.repositoryFiles, &entry.repository)) return fail(CallFailure::kUnsafe);
  if (top_) {
    entry.key = keyOf(folder_, environment_);
    entry.top = signatureOf(folder_ + "/.git");
    entry.userFiles = userFiles(guard, environment_);
    for (const std::string& file : entry.userFiles) entry.user.push_back(signatureOf(file));
    entry.guard = guard;
    if (entry.top.exists) keepGuard(std::move(entry));
  }
  startCommand(guard);
}

void GitCall::startCommand(const Guard& guard) {
  const CallFailure refused = beforeCommand(guard);
  if (refused != CallFailure::kNone) return fail(refused);
  step_ = Step::kCommand;
  prepare(guard.command(commandWords()), environment_, commandInput(), 0);
}

void runGitCall(GitCall& call, const std::string& repoPath) {
  while (const GitRun* run = call.next()) {
    ExecOptions options;
    options.environment = &run->environment;
    options.input = run->input;
    options.output = &call;
    options.timeLimitMs = run->timeLimitMs;
    const CommandResult result = exec(run->script, repoPath, options);
    call.ended(result.exitStatus, result.outOfTime);
  }
}

}  // namespace tarnwick
