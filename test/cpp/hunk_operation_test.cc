// The hunk operation's answer, read from git's exit status and standard output.
#include "hunk/hunk_operation.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "git_samples.h"

namespace {

namespace fs = std::filesystem;

// Runs `call` by hand to its command, in a repository whose git folder is `git` (which must
// exist), and returns the command's standard input, or "(nothing)" when the call never got to it.
std::string toCommand(tarnwick::HunkCall& call, const std::string& git) {
  const std::string located = git + "\n" + git + "\n";
  const std::string listing = std::string("local\0file:", 11) + git + std::string("/config\0core.bare\nfalse\0", 24);
  call.next();
  call.take(located.data(), located.size());
  call.ended(0, false);
  call.next();
  call.take(listing.data(), listing.size());
  call.ended(0, false);
  const tarnwick::GitRun* run = call.next();
  return run == nullptr ? "(nothing)" : std::string(run->input);
}

// git's answer is its exit status, whatever it warns of on its standard error (a stale alternate
// object store): only an error of git's own on its standard output, where the patch is never
// quoted, refuses an exit status of 0.
TEST(HunkCall, AnswersWhatGitDid) {
  const std::string folder = fs::canonical(reference::makeTempFolder()).string();
  const std::pair<std::string, bool> texts[] = {
      {"", true}, {"error", false}, {"error\n", true}, {" error: x", true}, {"error: patch failed: file.txt:3\n", false},
      {"Checking patch file.txt...\nerror: while searching for:\n", false}, {"Error: something\n", true},
      {"errors: none\n", true}, {"error:no space\n", true}, {"+error: a line of the patch\n", true}};
  for (const auto& [text, clean] : texts) {
    EXPECT_EQ(tarnwick::showsGitError(text), !clean) << text;
    for (int status : {0, 1, -1}) {
      tarnwick::HunkCall call(tarnwick::HunkAction::Stage, "the patch", folder, {});
      EXPECT_EQ(toCommand(call, folder), "the patch");
      call.take(text.data(), text.size());
      call.ended(status, false);
      EXPECT_EQ(call.applied(), clean && status == 0) << text << status;
      EXPECT_EQ(call.failure() == tarnwick::CallFailure::kNone, call.applied()) << text << status;
    }
  }
  reference::removeFolder(folder);
}

// A discard restores what the patch's old side holds; a Git LFS pointer there (lines ending in
// CR LF too) needs its object here, since nothing is fetched and git would leave the file empty.
TEST(HunkCall, DiscardsALfsPointerOnlyWithItsObjectHere) {
  const std::string folder = fs::canonical(reference::makeTempFolder()).string();
  std::string oid;  // every hexadecimal digit
  for (int i = 0; i < 4; ++i) oid += "0123456789abcdef";
  const std::string pointer = " version https://git-lfs.github.com/spec/v1\n-oid sha256:" + oid + "\n+oid sha256:" +
                              std::string(64, 'b') + "\n size 5\n";
  const auto runs = [&](tarnwick::HunkAction action, const std::string& patch) {
    tarnwick::HunkCall call(action, patch, folder, {});
    const bool ran = toCommand(call, folder) == patch;
    EXPECT_EQ(call.failure(), ran ? tarnwick::CallFailure::kNone : tarnwick::CallFailure::kLfsMissing);
    return ran;
  };
  for (const std::string& lines : {pointer, reference::runShell("printf %s '" + pointer + "' | sed 's/$/\r/'")}) {
    const std::string patch = "--- a/f\n+++ b/f\n@@ -1,3 +1,3 @@\n" + lines;
    EXPECT_FALSE(runs(tarnwick::HunkAction::Discard, patch));
    EXPECT_TRUE(runs(tarnwick::HunkAction::Stage, patch));
  }
  fs::create_directories(folder + "/lfs/objects/01/23");
  std::ofstream(folder + "/lfs/objects/01/23/" + oid) << "here\n";
  // Only a line of "oid sha256:" and 64 hexadecimal digits names the object, not any line of its length.
  const std::string notOids = " " + std::string(75, 'x') + "\n oid sha256:" + std::string(63, '0') + ":\n oid sha256:g";
  EXPECT_TRUE(runs(tarnwick::HunkAction::Discard, "@@ -1,3 +1,3 @@\n" + pointer + notOids + std::string(63, '0') + "\n"));
  reference::removeFolder(folder);
}

}  // namespace
