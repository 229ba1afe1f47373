// What git is given beside the guard: the environment made of the host's, and the command line
// the shell reads back into the words.
#include "command/git_invocation.h"

#include <gtest/gtest.h>

#include "git_samples.h"

namespace {

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) out += "[" + word + "]";
  return out;
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
            "[GIT_SSH_COMMAND=ssh -v][GIT_TERMINAL_PROMPT=0][GIT_ALLOW_PROTOCOL=][GIT_NO_LAZY_FETCH=1]"
            "[GIT_LITERAL_PATHSPECS=1]");
}

// The synchronous face's command line reaches git as exactly the words the asynchronous face
// hands to git without a shell.
TEST(GitInvocation, ShellReadsTheCommandLineIntoTheWords) {
  for (const std::string path : {"src/a b.txt", "--output=x", "$(touch x) \"`'\\", "", "a=b,c%d"}) {
    const std::vector<std::string> words = {"-c", "filter." + path + ".clean=", "log", "--pretty=%h %H", "--", path};
    const std::string line = tarnwick::gitCommandLine(words);
    ASSERT_EQ(line.substr(0, 4), "git ");
    EXPECT_EQ(reference::runShell("printf '[%s]' " + line.substr(4)), joined(words)) << path;
  }
  EXPECT_EQ(tarnwick::gitCommandLine({"log", "--pretty=%h %H", "a.txt"}), "git log \"--pretty=%h %H\" a.txt");
}

}  // namespace
