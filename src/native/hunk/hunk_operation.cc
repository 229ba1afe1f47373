#include "hunk/hunk_operation.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "command/git_invocation.h"

namespace tarnwick {

namespace {

// Returns the Git LFS object id of the pointer that the patch's old side holds (what a discard
// restores), or "" when it holds none.
std::string restoredLfsObject(const std::string& patch) {
  bool inHunk = false;
  bool pointer = false;
  std::string object;
  for (std::size_t at = 0; at < patch.size();) {
    std::size_t end = patch.find('\n', at);
    if (end == std::string::npos) end = patch.size();
    std::string_view line(patch.data() + at, end - at);
    at = end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.compare(0, 2, "@@") == 0) inHunk = true;
    if (!inHunk || line.empty() || (line[0] != ' ' && line[0] != '-')) continue;
    line.remove_prefix(1);
    if (line == "version https://git-lfs.github.com/spec/v1") pointer = true;
    constexpr std::string_view kOid = "oid sha256:";
    if (line.size() == kOid.size() + 64 && line.compare(0, kOid.size(), kOid) == 0 &&
        std::all_of(line.begin() + kOid.size(), line.end(),
                    [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); })) {
      object = std::string(line.substr(kOid.size()));
    }
  }
  return pointer ? object : std::string();
}

}  // namespace

bool showsGitError(const std::string& text) {
  if (text == "error") return true;
  for (std::size_t line = 0; line < text.size();) {
    if (text.compare(line, 7, "error: ") == 0) return true;
    const std::size_t feed = text.find('\n', line);
    if (feed == std::string::npos) break;
    line = feed + 1;
  }
  return false;
}

HunkCall::HunkCall(HunkAction action, std::string patchText, std::string repoPath,
                   const std::vector<std::string>& host)
    : GitCall(std::move(repoPath), host), action_(action), patchText_(std::move(patchText)) {}

std::vector<std::string> HunkCall::commandWords() const {
  std::vector<std::string> words = {"apply"};
  if (action_ != HunkAction::Stage) words.emplace_back("-R");
  // nowarn: the index or work tree receives exactly the hunk's lines (fix would rewrite them by the
  // whitespace rules in force, and every rule git applies echoes the line it concerns).
  for (const char* option : {"--ignore-space-change", "--ignore-whitespace", "--whitespace=nowarn"}) {
    words.emplace_back(option);
  }
  if (action_ != HunkAction::Discard) words.emplace_back("--cached");
  return words;
}

CallFailure HunkCall::beforeCommand(const Guard& guard) {
  if (action_ != HunkAction::Discard) return CallFailure::kNone;
  const std::string object = restoredLfsObject(patchText_);
  if (object.empty()) return CallFailure::kNone;
  const std::string file = guard.lfsObjects + "/" + object.substr(0, 2) + "/" + object.substr(2, 2) + "/" + object;
  struct stat status;
  return stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? CallFailure::kNone : CallFailure::kLfsMissing;
}

CallFailure HunkCall::afterCommand() const {
  return showsGitError(output_) ? CallFailure::kGitFailed : CallFailure::kNone;
}

bool HunkCall::applied() const { return decided() && failure() == CallFailure::kNone; }

bool _executeHunkOperation(HunkAction action, const std::string& patchText, const std::string& repoPath) {
  HunkCall call(action, patchText, repoPath, hostEnvironment());
  runGitCall(call, repoPath);
  return call.applied();
}

bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(HunkAction::Stage, patchText, repoPath);
}

bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(HunkAction::Unstage, patchText, repoPath);
}

bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath) {
  return _executeHunkOperation(HunkAction::Discard, patchText, repoPath);
}

}  // namespace tarnwick
