// The hunk operation around a stand-in command: the answer it reads from git's output, errors
// and exit status, and the patch that git reads.
#include "hunk/hunk_operation.h"

#include <gtest/gtest.h>

#include <string>

#include "command/shell_quote.h"
#include "git_samples.h"

namespace {

// Returns a command that prints `out` and `errors` and exits with `status`, whatever words follow.
std::string standIn(const std::string& out, const std::string& errors, int status) {
  return "f() { printf %s " + tarnwick::quoteForShell(out) + "; printf %s " + tarnwick::quoteForShell(errors) +
         " >&2; return " + std::to_string(status) + "; }; f";
}

TEST(ExecuteHunkOperation, AnswersFromStatusOutputAndErrors) {
  const std::pair<std::string, bool> texts[] = {
      {"", true}, {"error", false}, {"error\n", true}, {" error: x", true}, {"error: patch failed: file.txt:3\n", false},
      {"Checking patch file.txt...\nerror: while searching for:\n", false}, {"Error: something\n", true},
      {"errors: none\n", true}, {"error:no space\n", true}, {"+error: a line of the patch\n", true}};
  for (const auto& [text, clean] : texts) {
    EXPECT_EQ(tarnwick::showsGitError(text), !clean) << text;
    EXPECT_EQ(tarnwick::_executeHunkOperation(standIn(text, "", 0), "patch", "."), clean) << text;
    EXPECT_EQ(tarnwick::_executeHunkOperation(standIn("", text, 0), "patch", "."), clean) << text;
    EXPECT_FALSE(tarnwick::_executeHunkOperation(standIn(text, "", 1), "patch", ".")) << text;
  }
  EXPECT_FALSE(tarnwick::_executeHunkOperation("kill -9 $$; :", "patch", "."));
}

// Git reads the patch byte for byte on its standard input; a folder that cannot be entered runs
// nothing.
TEST(ExecuteHunkOperation, HandsThePatchToGitsStandardInput) {
  const std::string folder = reference::makeTempFolder();
  const std::string patch = std::string("body \xc3\xa9\r\nwith \"quotes\" and $(x)\n\0after zero\n", 40) + std::string(200000, 'p');
  EXPECT_TRUE(tarnwick::_executeHunkOperation("cat > seen", patch, folder));
  EXPECT_EQ(reference::runShell("cat seen", folder), patch);
  EXPECT_FALSE(tarnwick::_executeHunkOperation("touch ran; :", patch, folder + "/missing"));
  EXPECT_EQ(reference::runShell("ls", folder), "seen\n");
  reference::removeFolder(folder);
}

}  // namespace
