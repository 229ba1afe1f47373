// The hunk operation around a stand-in command: the answer it reads from git's output, errors
// and exit status, and the private copy of the patch that git is given.
#include "hunk/hunk_operation.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
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
      {"", true}, {"error", false}, {"error\n", true}, {" error", true}, {"error: patch failed: file.txt:3\n", false},
      {"Checking patch file.txt...\nerror: while searching for:\n", false}, {"Error: something\n", true},
      {"errors: none\n", true}, {"error:no space\n", true}};
  for (const auto& [text, clean] : texts) {
    EXPECT_EQ(tarnwick::showsGitError(text), !clean) << text;
    EXPECT_EQ(tarnwick::_executeHunkOperation(standIn(text, "", 0), "patch", "."), clean) << text;
    EXPECT_EQ(tarnwick::_executeHunkOperation(standIn("", text, 0), "patch", "."), clean) << text;
    EXPECT_FALSE(tarnwick::_executeHunkOperation(standIn(text, "", 1), "patch", ".")) << text;
  }
  EXPECT_FALSE(tarnwick::_executeHunkOperation("kill -9 $$; :", "patch", "."));
}

// Git gets the full path of a file that only the owner can read, holding the patch byte for
// byte, in the system's temporary folder; the file is gone after the call. A folder that cannot
// be entered runs nothing.
TEST(ExecuteHunkOperation, GivesGitAPrivateCopyOfThePatch) {
  const std::string folder = reference::makeTempFolder();
  const std::string patch("body \xc3\xa9\r\nwith \"quotes\" and $(x)\n\0after zero\n", 40);
  const std::string copyIt = "f() { cp \"$1\" seen; stat -c %a \"$1\" > mode; echo \"$1\" > name; }; f";
  EXPECT_TRUE(tarnwick::_executeHunkOperation(copyIt, patch, folder));
  const auto read = [&](const std::string& name) {
    std::ifstream in(folder + "/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  };
  EXPECT_EQ(read("seen"), patch);
  EXPECT_EQ(read("mode"), "600\n");
  const std::filesystem::path name = read("name").substr(0, read("name").size() - 1);
  EXPECT_TRUE(std::filesystem::equivalent(name.parent_path(), std::filesystem::temp_directory_path())) << name;
  EXPECT_EQ(name.filename().string().rfind("tarnwick-hunk-", 0), 0u) << name;
  EXPECT_FALSE(std::filesystem::exists(name));
  EXPECT_FALSE(tarnwick::_executeHunkOperation("touch ran; :", patch, folder + "/missing"));
  // Nor does a patch that cannot be written: the temporary folder is missing.
  const bool hadFolder = std::getenv("TMPDIR") != nullptr;
  const std::string temporary = hadFolder ? std::getenv("TMPDIR") : "";
  setenv("TMPDIR", (folder + "/missing").c_str(), 1);
  EXPECT_FALSE(tarnwick::_executeHunkOperation("touch ran; :", patch, folder));
  hadFolder ? setenv("TMPDIR", temporary.c_str(), 1) : unsetenv("TMPDIR");
  EXPECT_FALSE(std::filesystem::exists(folder + "/ran"));
  reference::removeFolder(folder);
}

}  // namespace
