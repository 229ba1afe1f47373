// The command helpers against the real shell and file system: the runner, split and shell quoting.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <filesystem>

#include "command/exec.h"
#include "command/shell_quote.h"
#include "command/split.h"
#include "git_samples.h"

namespace {

namespace fs = std::filesystem;

// A new empty folder, removed with everything in it at the end of the test.
struct TempFolder {
  const std::string path = fs::canonical(reference::makeTempFolder()).string();
  ~TempFolder() { reference::removeFolder(path); }
};

// Runs `command` in `folder` and returns its exit status and output; a time limit when given.
std::pair<int, std::string> runFully(const std::string& command, const std::string& folder = ".", unsigned limitMs = 0) {
  std::string out;
  tarnwick::StringSink sink(out);
  tarnwick::ExecOptions options;
  options.output = &sink;
  options.timeLimitMs = limitMs;
  return {tarnwick::exec(command, folder, options).exitStatus, out};
}

std::string run(const std::string& command, const std::string& folder = ".") { return runFully(command, folder).second; }

// The runner's tests run with the child entering its folder each way this system can.
class Exec : public ::testing::TestWithParam<tarnwick::FolderEntry> {
 protected:
  void SetUp() override {
    if (!tarnwick::forceFolderEntry(GetParam())) GTEST_SKIP() << "not on this system";
  }
  void TearDown() override {
    if (!tarnwick::forceFolderEntry(tarnwick::FolderEntry::kSpawn)) tarnwick::forceFolderEntry(tarnwick::FolderEntry::kShell);
  }
};
INSTANTIATE_TEST_SUITE_P(FolderEntries, Exec,
                         ::testing::Values(tarnwick::FolderEntry::kSpawn, tarnwick::FolderEntry::kShell),
                         [](const auto& entry) { return entry.param == tarnwick::FolderEntry::kSpawn ? "Spawn" : "Shell"; });

TEST_P(Exec, ReturnsOutputByteForByteAndExitStatus) {
  const std::string line(60000, 'x');  // past a pipe's buffer, the last line unfinished
  EXPECT_EQ(run("printf %s " + tarnwick::quoteForShell(line + "\n" + line)), line + "\n" + line);
  EXPECT_EQ(run("printf 'a\\r\\nb\\000\\n\\n'"), std::string("a\r\nb\0\n\n", 7));
  EXPECT_EQ(runFully("echo out; echo to-error >&2; echo more; exit 3"), std::make_pair(3, std::string("out\nmore\n")));
  EXPECT_EQ(tarnwick::exec("kill -9 $$", ".").exitStatus, -1);
  EXPECT_EQ(tarnwick::exec("tarnwick-no-such-command", ".").exitStatus, 127);
  EXPECT_EQ(tarnwick::exec("exec >&-; sleep 0.1; exit 3", ".").exitStatus, 3);  // its status, not a kill's, once its output closed
  EXPECT_EQ(run("cat; echo done"), "done\n");  // standard input is empty
  // Standard error goes nowhere: a command filling it does not stall.
  EXPECT_EQ(run("head -c 1000000 /dev/zero >&2; echo out"), "out\n");
}

// A command that stops reading its input raises no SIGPIPE here, and this thread's signal mask
// stays as it was.
TEST_P(Exec, FeedsInputWithoutTouchingThisThreadsSignals) {
  sigset_t before, after, pending;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  std::string out;
  tarnwick::StringSink sink(out);
  tarnwick::ExecOptions options;
  options.output = &sink;
  const std::string input(4 * 1024 * 1024, 'x');
  options.input = input;
  EXPECT_EQ(tarnwick::exec("head -c 3", ".", options).exitStatus, 0);
  EXPECT_EQ(out, "xxx");
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  sigpending(&pending);
  EXPECT_EQ(sigismember(&after, SIGPIPE), sigismember(&before, SIGPIPE));
  EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

// A signal caught while the command's end is awaited, by a handler that does not restart calls,
// loses nothing of its exit status.
TEST_P(Exec, ASignalCaughtWhileWaitingKeepsTheExitStatus) {
  struct sigaction caught = {}, before;
  caught.sa_handler = [](int) {};
  sigaction(SIGALRM, &caught, &before);
  const itimerval soon = {{0, 0}, {0, 100000}};
  setitimer(ITIMER_REAL, &soon, nullptr);
  EXPECT_EQ(tarnwick::exec("exec >&-; sleep 0.3; exit 3", ".").exitStatus, 3);
  sigaction(SIGALRM, &before, nullptr);
}

// The child enters the folder; this process stays where it was, and a relative folder is read
// from it. Nothing runs for a folder that cannot be entered or is named "", a zero byte, or a
// command line over the kernel's per-argument limit.
TEST_P(Exec, RunsInTheFolderWithoutMovingTheProcess) {
  TempFolder folder;
  const fs::path start = fs::current_path();
  EXPECT_EQ(run("pwd -P; cd /", folder.path), folder.path + "\n");
  EXPECT_EQ(fs::current_path(), start);
  fs::create_directory(folder.path + "/-");
  fs::current_path(folder.path);
  EXPECT_EQ(run("pwd -P; echo \"$0\"", "-"), folder.path + "/-\nsh\n");
  fs::current_path(start);
  fs::remove(folder.path + "/-");
  const std::string marker = "touch " + tarnwick::quoteForShell(folder.path + "/ran");
  const std::pair<std::string, std::string> refused[] = {{marker, folder.path + "/missing"}, {marker, ""},
                                                         {marker, folder.path + std::string("\0/elsewhere", 11)},
                                                         {marker + std::string("\0; echo", 7), folder.path},
                                                         {marker + " #" + std::string(200000, 'x'), folder.path}};
  for (const auto& [command, where] : refused) {
    EXPECT_EQ(runFully(command, where), std::make_pair(-1, std::string()));
  }
  EXPECT_TRUE(fs::is_empty(folder.path));
}

// Returns whether process `pid` has ended within two seconds (one not yet reaped has ended).
bool gone(const std::string& pid) {
  return reference::runShell("for i in $(seq 200); do grep -qv ') Z' /proc/" + pid +
                             "/stat 2>/dev/null || exit 0; sleep 0.01; done; echo runs").empty();
}

// Nothing a command started outlives it once it ends with the caller, and a time limit ends it
// with all it started.
TEST_P(Exec, NothingOutlivesTheCommand) {
  const std::string started = run(tarnwick::endingWithCaller("sh -c 'sleep 30 >/dev/null 2>&1 & echo $!'"));
  EXPECT_TRUE(gone(started.substr(0, started.size() - 1))) << started;
  std::string pid;
  tarnwick::StringSink sink(pid);
  tarnwick::ExecOptions limited;
  limited.output = &sink;
  limited.timeLimitMs = 200;
  const tarnwick::CommandResult slow = tarnwick::exec("sleep 30 & echo $!; wait", ".", limited);
  EXPECT_TRUE(slow.outOfTime);
  EXPECT_EQ(slow.exitStatus, -1);
  EXPECT_TRUE(gone(pid.substr(0, pid.size() - 1))) << pid;
}

TEST(FgetsPieces, ZeroByteEndsItsPiece) {
  const std::string a(100, 'a'), b(100, 'b');
  const std::pair<std::string, std::string> table[] = {
      {"plain\ntext", "plain\ntext"}, {std::string("ab\0cd\nef", 8), "abef"}, {std::string("\0\nx\n", 4), "x\n"},
      {a + std::string(1, '\0') + b + "\n", a + std::string(74, 'b') + "\n"},  // the first piece ends after 127 bytes
      {std::string(127, 'c') + std::string("\0d", 2), std::string(127, 'c')},
      {"\n" + std::string(120, 'a') + std::string(1, '\0') + "bbbbbbbbbb\n", "\n" + std::string(120, 'a') + "bbbb\n"}};
  for (const auto& [raw, kept] : table) {
    for (std::size_t cut = 0; cut <= raw.size(); ++cut) {  // as it arrives: cut anywhere, the place in the piece kept
      std::string got;
      tarnwick::StringSink sink(got);
      tarnwick::FgetsPieces pieces(sink);
      pieces.take(raw.data(), cut);
      pieces.take(raw.data() + cut, raw.size() - cut);
      EXPECT_EQ(got, kept) << cut;
    }
  }
}

TEST(Split, GoldenTable) {
  struct Row {
    std::string text;
    char delimiter;
    std::vector<std::string> pieces;
  } const table[] = {
      {"", '\n', {""}}, {"\na\n\nb\r\n", '\n', {"", "a", "", "b\r", ""}},
      {std::string("a\0b\nc", 5), '\n', {std::string("a\0b", 3), "c"}}, {"caf\xc3\xa9\xff;x", '\xff', {"caf\xc3\xa9", ";x"}}};
  for (const Row& row : table) {
    const std::vector<std::string_view> pieces = tarnwick::split(row.text, row.delimiter);
    EXPECT_EQ(std::vector<std::string>(pieces.begin(), pieces.end()), row.pieces) << row.text;
  }
}

// Hostile texts reach the command unchanged and nothing in them runs; a text without the four
// characters the shell reads inside double quotes is only wrapped in them.
TEST(QuoteForShell, ShellPassesTextUnchanged) {
  TempFolder folder;
  EXPECT_EQ(tarnwick::quoteForShell("/Users/me/my repo's !*?~;&|<>(){}#%"), "\"/Users/me/my repo's !*?~;&|<>(){}#%\"");
  EXPECT_EQ(tarnwick::quoteForShell("a\"$`\\b"), "\"a\\\"\\$\\`\\\\b\"");
  for (const std::string text : {"\"; touch x; \"", "$(touch x)", "`touch x`", "${IFS}touch x", "\\\"; touch x; \\\"",
                                 "a\\", "\\\\$", "'; touch x; '", "line one\nline two\n\n", "-n", "%s %d \\n", "  \t ",
                                 "*", "~", "!!", "caf\xc3\xa9 \xff\xfe", ""}) {
    EXPECT_EQ(run("printf %s " + tarnwick::quoteForShell(text), folder.path), text) << text;
  }
  EXPECT_TRUE(fs::is_empty(folder.path));
}

}  // namespace
