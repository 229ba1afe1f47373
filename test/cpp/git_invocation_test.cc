// What git is given: each command's words, the guard made of a repository's driver settings, the
// environment made of the host's, and the command line the shell reads back into the words.
#include "command/git_invocation.h"

#include <gtest/gtest.h>

#include "hunk/hunk_operation.h"
#include "mergetool/code_view.h"
#include "mergetool/commit_list.h"

namespace {

using tarnwick::HunkAction;

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) out += "[" + word + "]";
  return out;
}

const std::string kGuard = "[-c][core.fsmonitor=false][-c][core.hooksPath=/dev/null][-c][log.showSignature=false]";

TEST(GitInvocation, EachCommandsWords) {
  const std::pair<std::vector<std::string>, std::string> table[] = {
      {tarnwick::commitLogArguments("-n"),
       "[-c][core.quotePath=false][log][--no-ext-diff][--no-color][--follow][--pretty=%h %H %at %s][--name-status][--][-n]"},
      {tarnwick::blameArguments("a b.txt", ""), "[blame][--line-porcelain][HEAD][--][a b.txt]"},
      {tarnwick::hunkApplyArguments(HunkAction::Stage, ""),
       "[apply][--ignore-space-change][--ignore-whitespace][--whitespace=nowarn][--cached]"},
      {tarnwick::hunkApplyArguments(HunkAction::Unstage, ""),
       "[apply][-R][--ignore-space-change][--ignore-whitespace][--whitespace=nowarn][--cached]"},
      {tarnwick::hunkApplyArguments(HunkAction::Discard, ""),
       "[apply][-R][--ignore-space-change][--ignore-whitespace][--whitespace=nowarn]"}};
  for (const auto& [words, expected] : table) EXPECT_EQ(joined(words), kGuard + expected);
}

// A driver setting of the repository's own scopes takes the user's value, or the one that
// switches it off; the user's own settings and other keys are left to git.
TEST(GitInvocation, GuardsTheRepositorysDriverSettings) {
  using namespace std::string_literals;
  const std::pair<std::string, std::string> table[] = {
      {""s, ""},
      {"global\0filter.lfs.clean\ngit-lfs clean -- %f\0local\0filter.lfs.clean\nevil\0"s,
       "[-c][filter.lfs.clean=git-lfs clean -- %f]"},
      {"local\0filter.x.smudge\nevil\0worktree\0filter.x.process\nevil\0local\0filter.x.required\0"s,
       "[-c][filter.x.smudge=][-c][filter.x.process=][-c][filter.x.required=false]"},
      {"local\0diff.A.b.textconv\nevil\0global\0diff.A.b.textconv\nmine\0global\0diff.A.b.textconv\nlast\0"s,
       "[-c][diff.A.b.textconv=last]"},
      {"local\0diff.x.textconv\nevil\0global\0filter.y.required\0local\0filter.y.required\nfalse\0"s,
       "[-c][diff.x.textconv=cat][-c][filter.y.required=true]"},
      {"global\0filter.lfs.smudge\ngit-lfs smudge\0local\0core.editor\nevil\0"s, ""}};
  for (const auto& [listing, expected] : table) {
    EXPECT_EQ(joined(tarnwick::guardedGitArguments(listing, {"blame"})), kGuard + expected + "[blame]") << listing;
  }
  EXPECT_TRUE(tarnwick::guardedGitArguments("local\0filter.a=b.clean\nevil\0"s, {"blame"}).empty());
}

TEST(GitInvocation, EnvironmentKeepsNothingThatRedirectsGit) {
  const std::vector<std::string> host = {
      "HOME=/home/u", "PATH=/bin", "GIT_DIR=/other/.git", "GIT_WORK_TREE=/other", "GIT_INDEX_FILE=/i",
      "GIT_CONFIG_PARAMETERS='core.x=y'", "GIT_CONFIG_COUNT=1", "GIT_CONFIG_KEY_0=a", "GIT_CONFIG_VALUE_0=b",
      "GIT_EXEC_PATH=/x", "GIT_EXTERNAL_DIFF=x", "GIT_LITERAL_PATHSPECS=1", "GIT_ICASE_PATHSPECS=1",
      "GIT_COMMON_DIR=/c", "GIT_CONFIG_GLOBAL=/g", "GIT_CONFIG_SYSTEM=/s", "GIT_TERMINAL_PROMPT=1",
      "GIT_DIRECTORY=kept", "NOEQUALS", "GIT_SSH_COMMAND=ssh -v"};
  EXPECT_EQ(joined(tarnwick::gitEnvironment(host)),
            "[HOME=/home/u][PATH=/bin][GIT_CONFIG_GLOBAL=/g][GIT_CONFIG_SYSTEM=/s][GIT_DIRECTORY=kept]"
            "[GIT_SSH_COMMAND=ssh -v][GIT_TERMINAL_PROMPT=0][GIT_ALLOW_PROTOCOL=][GIT_NO_LAZY_FETCH=1]");
}

// The synchronous face's command line reaches git as exactly the words the asynchronous face
// hands to git without a shell.
TEST(GitInvocation, ShellReadsTheCommandLineIntoTheWords) {
  for (const std::string path : {"src/a b.txt", "--output=x", "$(touch x) \"`'\\", "", "a=b,c%d"}) {
    for (const std::vector<std::string>& words :
         {tarnwick::commitLogArguments(path), tarnwick::blameArguments(path, "")}) {
      const std::string line = tarnwick::gitCommandLine(words);
      ASSERT_EQ(line.substr(0, 4), "git ");
      EXPECT_EQ(tarnwick::exec("printf '[%s]' " + line.substr(4), ".").output, joined(words)) << path;
    }
  }
  EXPECT_EQ(tarnwick::gitCommandLine({"log", "--pretty=%h %H", "a.txt"}), "git log \"--pretty=%h %H\" a.txt");
}

}  // namespace
