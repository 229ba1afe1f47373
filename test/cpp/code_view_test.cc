// The blame code view: the record scanner and the markup built from it, against the std::regex
// formulation on golden shapes, generated text and real blame output.
#include "mergetool/code_view.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "blame_reference.h"
#include "git_samples.h"
#include "large_stack.h"
#include "mergetool/blame_parser.h"

namespace {

std::string record(const std::string& id, const std::string& numbers, const std::string& line) {
  return id + " " + numbers + "\nauthor A\nauthor-mail <a@b.c>\nauthor-time 1600000000\nauthor-tz +0000\n" +
         "committer C\ncommitter-mail <c@b.c>\ncommitter-time 1600000000\ncommitter-tz +0000\nsummary s\n" +
         "filename f.txt\n" + line + "\n";
}

std::string element(const std::string& color, const std::string& n, const std::string& id, const std::string& width,
                    const std::string& content) {
  return "<div class='line' data-color='" + color + "' data-dlinenumber='" + n + "' data-commitid='" + id +
         "'><span class='line-number nohighlight' style='border-right: 1px solid #" + color +
         "; background-color: #" + color + "33; width: " + width + "px;'>" + n +
         "</span><span class='line-contents'>" + content + "</span></div>";
}

TEST(RenderCodeView, GoldenTable) {
  const std::string id1 = "e0e4f0aaaa", id2 = "1a2b3c", id3 = "595959", id4 = "5a5a5a";
  struct Row {
    const char* name;
    std::string blame, base, content, expected;
  };
  std::string nines, unfinished = record(id2, "1 1", "\ta");
  for (int i = 0; i < 999; ++i) nines += "l\n";
  unfinished.pop_back();
  const Row table[] = {
      {"git's lines, tab kept", record(id1, "1 1 2", "\tfirst") + record(id2, "2 2", "\t"), "ffffff", "",
       element("e0e4ff", "1", id1, "35", "\tfirst") + element("1a2b3c", "2", id2, "35", "\t")},
      {"threshold", record(id3, "1 1", "\ta") + record(id4, "2 2", "\tb"), "000000", "",
       element("5959ff", "1", id3, "35", "\ta") + element("5a5a5a", "2", id4, "35", "\tb")},
      {"changed colour not tested again", record("f0f0f0", "1 1", "\ta") + record("000000", "1 1", "\tb"), "ffffff",
       "", element("f0f0ff", "1", "f0f0f0", "35", "\ta") + element("000000", "1", "000000", "35", "\tb")},
      {"content lines, empty and out of range", record(id2, "1 2", "\tx") + record(id2, "1 1", "\tx") +
       record(id2, "1 9", "\tx") + record(id2, "1 0", "\tx"), "ffffff", "a<&b\n\n",
       element("1a2b3c", "2", id2, "35", "\n") + element("1a2b3c", "1", id2, "35", "a<&b") +
       element("1a2b3c", "9", id2, "35", "\n") + element("1a2b3c", "0", id2, "35", "\n")},
      {"1000 pieces", record(id2, "1 1", "\tx"), "ffffff", nines, element("1a2b3c", "1", id2, "45", "l")},
      {"999 pieces", record(id2, "1 1", "\tx"), "ffffff", nines.substr(0, nines.size() - 1),
       element("1a2b3c", "1", id2, "35", "l")},
      {"octal line number, short id", record("ab", "1 010", "\tx"), "ffffff", "",
       element("ab", "8", "ab", "35", "\tx")},
      {"empty author dropped", record(id2, "1 1", "\ta") + "abc 2 2\nauthor \n" + record(id2, "3 3", "\tc"), "ffffff",
       "", element("1a2b3c", "1", id2, "35", "\ta") + element("1a2b3c", "3", id2, "35", "\tc")},
      {"nothing", "", "ffffff", "x", ""},
      {"no final line feed", unfinished, "ffffff", "", ""},
      // Shapes whose reading is decided by backtracking.
      {"keywords on one line, header over lines", "abc\n1\n2\n3\nauthor Ann author-mail <a>\nauthor-time 1 author-tz +0\n"
       "committer C\ncommitter-mail m\ncommitter-time 1\ncommitter-tz +0\nsummary s\nboundary\nprevious abc f\n"
       "filename f\n\tx\n", "ffffff", "", element("abc", "2", "abc", "35", "\tx")},
      {"an author name holding author-mail, CR LF", "abc 1 1\r\nauthor author-mail x\r\nauthor-mail <a>\r\nauthor-time 1\r\n"
       "author-tz +0\r\ncommitter C\r\ncommitter-mail m\r\ncommitter-time 1\r\ncommitter-tz +0\r\nsummary s\r\n"
       "filename f\r\n\tx\r\n", "ffffff", "", element("abc", "1", "abc", "35", "\tx\r")},
  };
  for (const Row& row : table) {
    EXPECT_EQ(tarnwick::renderCodeView(row.blame, row.base, row.content), row.expected) << row.name;
    EXPECT_EQ(reference::renderCodeView(row.blame, row.base, row.content), row.expected) << row.name;
  }
}

TEST(RenderCodeView, MatchesReferenceOnGeneratedText) {
  const char* const bases[] = {"ffffff", "000000", "808080", "abc", " +f-0x1", ""};
  const char* const contents[] = {"", "one\ntwo\n\nfour", "\n", "x"};
  for (std::uint32_t seed = 1; seed <= 12000; ++seed) {
    const std::string text = reference::makeAdversarialBlame(seed);
    ASSERT_TRUE(tarnwick::parseBlame(text) == reference::parseBlame(text)) << "seed " << seed << "\n" << text;
    if (seed % 3 != 0) continue;
    const std::string base = bases[seed % 6], content = contents[(seed / 6) % 4];
    ASSERT_EQ(tarnwick::renderCodeView(text, base, content), reference::renderCodeView(text, base, content))
        << "seed " << seed;
  }
}

// Real output: boundary and previous lines, several authors, CR LF, a path with a space and
// non-ASCII characters, a file of one line; with and without content, several base colours.
TEST(RenderCodeView, MatchesReferenceOnRealBlame) {
  for (const auto& [commits, files, lines] : {std::array{12, 3, 120}, std::array{1, 1, 1}}) {
    const std::string folder = reference::makeTempFolder();
    for (const std::string& path : reference::makeSampleRepository(folder, 77, commits, files, lines)) {
      const std::string blame = reference::runShell("git blame --line-porcelain HEAD -- " + reference::shellQuoted(path), folder);
      const auto count = [&](const std::string& what) {
        std::size_t n = 0;
        for (auto at = blame.find(what); at != std::string::npos; at = blame.find(what, at + 1)) ++n;
        return n;
      };
      EXPECT_GT(count("\nboundary"), 0u) << path;
      EXPECT_EQ(count("\nprevious ") > 0, commits > 1) << path;
      EXPECT_EQ(tarnwick::parseBlame(blame).size(), count("\nfilename ")) << path;
      std::string content;
      for (int i = 0; i < lines; ++i) content += "shown " + std::to_string(i) + "\n";
      for (const char* base : {"ffffff", "000000", "3c7ab0"}) {
        for (const std::string& text : {std::string(), content}) {
          ASSERT_EQ(tarnwick::renderCodeView(blame, base, text), reference::renderCodeView(blame, base, text)) << path;
        }
      }
    }
    reference::removeFolder(folder);
  }
}

// Megabyte lines and an author line crowded with the next keyword stay within a 64 KB stack.
TEST(RenderCodeView, LongLinesOnASmallStack) {
  std::string crowded;
  for (int i = 0; i < 500; ++i) crowded += "author-mail x ";  // the reference is quadratic here
  const std::string longLine(1 << 20, 'y');
  const std::string texts[] = {record("abc", "1 1", "\t" + longLine),
                               "abc 1 1\nauthor " + crowded + "\n" + record("abc", "1 1", "\tx").substr(14),
                               "abc 1 1\nauthor " + longLine + "author-mail\n" + longLine + "\n"};
  for (const std::string& text : texts) {
    std::string actual, expected;
    reference::runOnStack([&] { actual = tarnwick::renderCodeView(text, "ffffff", ""); }, 64 * 1024);
    reference::runOnStack([&] { expected = reference::renderCodeView(text, "ffffff", ""); });
    EXPECT_EQ(actual, expected);
  }
}

}  // namespace
