// The command and file helpers: the shell runner, the working-folder switch, split, the file
// writer and shell quoting, each against the real shell and file system.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "command/exec.h"
#include "command/save_string_to_file.h"
#include "command/shell_quote.h"
#include "command/split.h"
#include "command/working_folder.h"

namespace {

namespace fs = std::filesystem;

// A new empty folder, removed with everything in it at the end of the test.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "utils-command-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
    path_ = fs::canonical(path_).string();
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

std::string currentFolder() {
  char buffer[4096];
  return getcwd(buffer, sizeof buffer) != nullptr ? buffer : "";
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Returns the output of printf printing `text` through the shell, quoted.
std::string echoed(const std::string& text) {
  return tarnwick::exec(("printf %s " + tarnwick::quoteForShell(text)).c_str());
}

TEST(Exec, ReassemblesOutputReadInPieces) {
  for (std::size_t length : {0u, 1u, 126u, 127u, 128u, 254u, 255u, 1000u, 50000u}) {
    const std::string line(length, 'x');
    EXPECT_EQ(echoed(line + "\n" + line), line + "\n" + line) << "length " << length;
    EXPECT_EQ(echoed(line + "\n"), line + "\n") << "length " << length;
  }
  EXPECT_EQ(tarnwick::exec("printf 'a\\r\\nb\\n\\n'"), "a\r\nb\n\n");
}

TEST(Exec, ReadsStandardOutputOnly) {
  EXPECT_EQ(tarnwick::exec("true"), "");
  EXPECT_EQ(tarnwick::exec("echo to-error >&2"), "");
  EXPECT_EQ(tarnwick::exec("echo out; echo to-error >&2; echo more"), "out\nmore\n");
  EXPECT_EQ(tarnwick::exec("echo partial; exit 3"), "partial\n");
  EXPECT_EQ(tarnwick::exec("tarnwick-no-such-command --version"), "");
}

// A zero byte ends the piece it stands in: the rest of that line, or of that 127-byte piece, is lost.
TEST(Exec, ZeroByteEndsItsPiece) {
  EXPECT_EQ(tarnwick::exec("printf 'ab\\000cd\\nef'"), "abef");
  EXPECT_EQ(tarnwick::exec("printf '\\000\\nx\\n'"), "x\n");
  const std::string command = "printf '%s\\000%s\\n' " + std::string(100, 'a') + " " + std::string(100, 'b');
  EXPECT_EQ(tarnwick::exec(command.c_str()), std::string(100, 'a') + std::string(74, 'b') + "\n");
}

TEST(WorkingFolderSwitch, EntersAndReturns) {
  const std::string start = currentFolder();
  TempFolder repo;
  {
    tarnwick::WorkingFolderSwitch folder(repo.path());
    EXPECT_EQ(currentFolder(), repo.path());
    EXPECT_EQ(tarnwick::exec("pwd -P"), repo.path() + "\n");
    folder.restore();
    EXPECT_EQ(currentFolder(), start);
    ASSERT_EQ(chdir(repo.path().c_str()), 0);
  }
  // restore() returned once; leaving the scope does not switch again.
  EXPECT_EQ(currentFolder(), repo.path());
  ASSERT_EQ(chdir(start.c_str()), 0);
  {
    tarnwick::WorkingFolderSwitch folder(repo.path() + "/missing");
    EXPECT_EQ(currentFolder(), start);
  }
  {
    tarnwick::WorkingFolderSwitch folder(repo.path());
  }
  EXPECT_EQ(currentFolder(), start);
}

TEST(WorkingFolderSwitch, RestoresNothingWhenTheCurrentFolderIsGone) {
  const std::string start = currentFolder();
  TempFolder outer;
  const std::string gone = outer.path() + "/gone";
  ASSERT_TRUE(fs::create_directory(gone));
  ASSERT_EQ(chdir(gone.c_str()), 0);
  ASSERT_TRUE(fs::remove(gone));
  {
    tarnwick::WorkingFolderSwitch folder(outer.path());
    folder.restore();
    EXPECT_EQ(currentFolder(), outer.path());
  }
  EXPECT_EQ(currentFolder(), outer.path());
  ASSERT_EQ(chdir(start.c_str()), 0);
}

TEST(Split, GoldenTable) {
  struct Row {
    std::string text;
    char delimiter;
    std::vector<std::string> pieces;
  };
  const Row table[] = {
      {"", '\n', {""}},
      {"abc", '\n', {"abc"}},
      {"a\nb", '\n', {"a", "b"}},
      {"a\n\nb", '\n', {"a", "", "b"}},
      {"\na", '\n', {"", "a"}},
      {"a\n", '\n', {"a", ""}},
      {"\n", '\n', {"", ""}},
      {"\n\n\n", '\n', {"", "", "", ""}},
      {"a\r\nb\r\n", '\n', {"a\r", "b\r", ""}},
      {std::string("a\0b\nc", 5), '\n', {std::string("a\0b", 3), "c"}},
      {std::string("a\0b\0", 4), '\0', {"a", "b", ""}},
      {"caf\xc3\xa9\xff;x", '\xff', {"caf\xc3\xa9", ";x"}},
      {"a,b", ';', {"a,b"}},
  };
  for (const Row& row : table) EXPECT_EQ(tarnwick::split(row.text, row.delimiter), row.pieces) << row.text;
}

TEST(SaveStringToFile, WritesEveryByteAndReplaces) {
  TempFolder folder;
  const std::string path = folder.path() + "/file";
  const std::string bytes("a\0b\r\n\xff\0", 7);
  tarnwick::saveStringToFile(bytes, path);
  EXPECT_EQ(readFile(path), bytes);
  tarnwick::saveStringToFile("xy", path);
  EXPECT_EQ(readFile(path), "xy");
  tarnwick::saveStringToFile("", path);
  EXPECT_TRUE(fs::exists(path));
  EXPECT_EQ(readFile(path), "");
  tarnwick::saveStringToFile("", folder.path() + "/new");
  EXPECT_TRUE(fs::exists(folder.path() + "/new"));
  EXPECT_EQ(fs::file_size(folder.path() + "/new"), 0u);
  tarnwick::saveStringToFile("text", folder.path() + "/missing/file");
  EXPECT_FALSE(fs::exists(folder.path() + "/missing"));
}

TEST(QuoteForShell, GoldenTable) {
  const std::pair<std::string, std::string> table[] = {
      {"", "\"\""},
      {"/Users/me/my repo", "\"/Users/me/my repo\""},
      {"it's", "\"it's\""},
      {"a\"b", "\"a\\\"b\""},
      {"$HOME", "\"\\$HOME\""},
      {"`id`", "\"\\`id\\`\""},
      {"a\\b", "\"a\\\\b\""},
      {"line\nnext", "\"line\nnext\""},
      {"!*?~;&|<>(){}#%", "\"!*?~;&|<>(){}#%\""},
      {"\xc3\xa9t\xc3\xa9", "\"\xc3\xa9t\xc3\xa9\""},
  };
  for (const auto& [text, quoted] : table) EXPECT_EQ(tarnwick::quoteForShell(text), quoted) << text;
}

// Hostile texts reach the command unchanged, and nothing in them runs.
TEST(QuoteForShell, ShellPassesTextUnchanged) {
  TempFolder folder;
  tarnwick::WorkingFolderSwitch inside(folder.path());
  const std::string texts[] = {
      "\"; touch x; \"",
      "$(touch x)",
      "`touch x`",
      "${IFS}touch x",
      "\\\"; touch x; \\\"",
      "a\\",
      "\\",
      "\\\\$",
      "'; touch x; '",
      "line one\nline two\n\n",
      "-n",
      "%s %d \\n",
      "  spaces  \t tab ",
      "*",
      "~",
      "!!",
      "caf\xc3\xa9 \xe2\x82\xac \xff\xfe",
  };
  for (const std::string& text : texts) EXPECT_EQ(echoed(text), text) << text;
  EXPECT_TRUE(fs::is_empty(folder.path()));
  inside.restore();
}

}  // namespace
