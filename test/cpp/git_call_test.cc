// A method call's git runs, driven by hand as either face drives them: where the repository is,
// its configuration, then the command behind the guard; the listing kept while its files stay as
// they were; nothing run when they cannot be trusted; and each way a run can fail.
#include "command/git_call.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "git_samples.h"
#include "hunk/hunk_operation.h"
#include "mergetool/code_view.h"
#include "mergetool/commit_list.h"

namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) out += "[" + word + "]";
  return out;
}

// A repository folder (a .git folder with a config), removed at the end of the test.
struct Repository {
  const std::string top = fs::canonical(reference::makeTempFolder()).string();
  const std::string git = top + "/.git";
  Repository() {
    fs::create_directories(git);
    std::ofstream(git + "/config") << "[core]\n";
  }
  ~Repository() { reference::removeFolder(top); }
  std::string listing(const std::string& records = "") const { return "local\0file:"s + git + "/config\0core.bare\nfalse\0"s + records; }
};

// Ends the current run of `call` with `output` and `exitStatus`, and returns the next run, or
// nullptr once the call is decided.
const tarnwick::GitRun* step(tarnwick::GitCall& call, const std::string& output, int exitStatus = 0,
                             bool outOfTime = false) {
  call.take(output.data(), output.size());
  call.ended(exitStatus, outOfTime);
  return call.next();
}

std::string wordsOf(const tarnwick::GitRun* run) { return run == nullptr ? "" : joined(run->words); }

const std::string kGuard = "[-c][core.fsmonitor=false][-c][core.hooksPath=/dev/null][-c][log.showSignature=false]"
                           "[-c][lfs.url=file:///dev/null/no-transfers]";

TEST(GitCall, LocatesListsThenRunsTheCommandBehindTheGuard) {
  Repository repo;
  const std::unique_ptr<tarnwick::ViewCall> log =
      tarnwick::commitListCall("-n", repo.top, "", SIZE_MAX, {"HOME=/nowhere", "GIT_DIR=/elsewhere"});
  const tarnwick::GitRun* run = log->next();
  EXPECT_EQ(wordsOf(run), "[rev-parse][--absolute-git-dir][--git-common-dir][--show-cdup]");
  EXPECT_EQ(run->timeLimitMs, 10000u);
  run = step(*log, repo.git + "\n.git\n\n");
  EXPECT_EQ(wordsOf(run), "[config][--show-origin][--show-scope][-z][--list]");
  EXPECT_EQ(run->environment.back(), "GIT_DIR=" + repo.git);  // every file named by its absolute path
  EXPECT_EQ(log->next(), nullptr);  // a run is handed out once
  run = step(*log, repo.listing());
  EXPECT_EQ(wordsOf(run), kGuard + "[-c][core.quotePath=false][log][--no-ext-diff][--no-color][--follow]"
                                   "[--pretty=%h %H %at %s][--name-status][--][-n]");
  EXPECT_EQ(run->timeLimitMs, 0u);
  EXPECT_EQ(run->environment.front() + run->environment.back(), "HOME=/nowhereGIT_LITERAL_PATHSPECS=1");
  EXPECT_EQ(step(*log, ""), nullptr);
  EXPECT_EQ(log->failure(), tarnwick::CallFailure::kNone);
  EXPECT_EQ(*log->finish(), "");
}

// The listing is kept for the repository while its files stay as they were: the next call runs
// its command at once; a changed configuration, or one that someone else could change, lists
// again or runs nothing.
TEST(GitCall, KeepsTheListingWhileItsFilesStay) {
  Repository repo;
  const std::vector<std::string> host = {"HOME=" + repo.top};
  const auto blame = [&] { return tarnwick::codeViewCall("a.txt", repo.top, "ffffff", "", SIZE_MAX, host); };
  const std::string command = kGuard + "[-c][filter.x.clean=][blame][--line-porcelain][HEAD][--][a.txt]";
  std::unique_ptr<tarnwick::ViewCall> first = blame();
  first->next();
  step(*first, repo.git + "\n.git\n\n");
  EXPECT_EQ(wordsOf(step(*first, repo.listing("local\0file:"s + repo.git + "/config\0filter.x.clean\nevil\0"s))), command);
  EXPECT_EQ(wordsOf(blame()->next()), command);
  std::ofstream(repo.top + "/.gitconfig") << "[x]\n";  // a file of the user's that comes to be
  EXPECT_EQ(blame()->next()->words[0], "rev-parse");
  std::ofstream(repo.git + "/config", std::ios::app) << "[x]\n";
  EXPECT_EQ(blame()->next()->words[0], "rev-parse");
  chmod((repo.git + "/config").c_str(), 0666);
  std::unique_ptr<tarnwick::ViewCall> open = blame();
  open->next();
  step(*open, repo.git + "\n.git\n\n");
  EXPECT_EQ(step(*open, repo.listing()), nullptr);
  EXPECT_EQ(open->failure(), tarnwick::CallFailure::kUnsafe);
}

// How a call ends when a run fails: git's own failure, no git at all, a configuration that takes
// too long to read or cannot be guarded.
TEST(GitCall, EachWayARunFails) {
  using tarnwick::CallFailure;
  Repository repo;
  const struct {
    std::vector<std::pair<int, bool>> ends;  // exit status and time limit of each run in turn
    CallFailure failure;
  } table[] = {{{{128, false}}, CallFailure::kGitFailed}, {{{127, false}}, CallFailure::kNoGit},
                {{{-1, true}}, CallFailure::kUnsafe}, {{{0, false}, {-1, true}}, CallFailure::kUnsafe},
                {{{0, false}, {0, false}, {1, false}}, CallFailure::kGitFailed}};
  // A git folder that is no absolute path, or no common folder: where the configuration is
  // cannot be known.
  for (const std::string& located :
       {std::string("relative\n.git\n\n"), std::string("\n.git\n\n"), repo.git + "\n\n\n", repo.git + "\n"}) {
    tarnwick::HunkCall unlocated(tarnwick::HunkAction::Stage, "patch", repo.top, {});
    unlocated.next();
    step(unlocated, located);
    EXPECT_EQ(unlocated.failure(), CallFailure::kUnsafe) << located;
  }
  for (const auto& row : table) {
    tarnwick::HunkCall call(tarnwick::HunkAction::Stage, "patch", repo.top, {});
    call.next();
    const std::string outputs[] = {repo.git + "\n.git\n", repo.listing(), ""};  // no top line: nothing kept
    for (std::size_t i = 0; i < row.ends.size(); ++i) step(call, outputs[i], row.ends[i].first, row.ends[i].second);
    EXPECT_EQ(call.failure(), row.failure) << row.ends.size();
    EXPECT_FALSE(call.applied());
  }
}

}  // namespace
