#ifndef UTILS_HUNK_HUNK_OPERATION_H
#define UTILS_HUNK_HUNK_OPERATION_H

#include <string>
#include <string_view>
#include <vector>

#include "command/git_call.h"

namespace tarnwick {

// What a hunk operation does with its patch: apply it to the index, apply it in reverse to the
// index, or apply it in reverse to the working tree.
enum class HunkAction { Stage, Unstage, Discard };

// Returns whether git's standard output `text` shows an error of git's own: it is exactly
// "error", or a line of it begins with "error: " (a line of the patch that git quotes never
// does: it stands after a prefix of git's).
bool showsGitError(const std::string& text);

// The call that applies a one-hunk patch, read by git on its standard input (no file is
// written), as `action` says. Its answer is git's: applied exactly when git apply exited with
// status 0, whatever it warned of about the repository on its standard error, and its standard
// output shows no error. A discard that would restore a Git LFS object that is not here runs
// nothing: Git LFS fetches nothing in these calls, and git would leave the file empty.
class HunkCall final : public GitCall {
 public:
  HunkCall(HunkAction action, std::string patchText, std::string repoPath, const std::vector<std::string>& host);

  // Returns whether git applied the patch; false until the call is decided.
  bool applied() const;

 private:
  std::vector<std::string> commandWords() const override;
  std::string_view commandInput() const override { return patchText_; }
  bool takeCommandOutput(const char* data, std::size_t size) override { return pieces_.take(data, size); }
  CallFailure beforeCommand(const Guard& guard) override;
  CallFailure afterCommand() const override;

  const HunkAction action_;
  const std::string patchText_;
  std::string output_;
  StringSink collected_{output_};
  FgetsPieces pieces_{collected_};
};

// Applies the hunk in `patchText` as `action` says, in `repoPath`, with git's environment made
// from this process's own, and answers whether git applied it; a folder that cannot be entered
// runs nothing and answers false.
bool _executeHunkOperation(HunkAction action, const std::string& patchText, const std::string& repoPath);

// Return whether the hunk in `patchText` was staged, unstaged or discarded by git in `repoPath`.
bool gitRepoStageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoUnstageHunk(const std::string& patchText, const std::string& repoPath);
bool gitRepoDiscardHunk(const std::string& patchText, const std::string& repoPath);

}  // namespace tarnwick

#endif
