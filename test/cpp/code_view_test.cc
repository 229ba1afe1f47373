// The blame code view: the record scanner and the markup built from it, against the std::regex
// formulation on golden shapes and generated text, whole and as it arrives.
#include "mergetool/code_view.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "blame_reference.h"
#include "git_samples.h"
#include "in_pieces.h"
#include "large_stack.h"
#include "mergetool/blame_format.h"
#include "mergetool/log_format.h"

namespace {

// Returns the code view of a whole blame output.
std::string rendered(const std::string& blame, const std::string& base, const std::string& content) {
  return reference::fedInPieces(tarnwick::CodeViewRenderer(base, content, SIZE_MAX), blame, blame.size() + 1);
}

std::string record(const std::string& id, const std::string& numbers, const std::string& line) {
  return id + " " + numbers + "\nauthor A\nauthor-mail <a@b.c>\nauthor-time 1600000000\nauthor-tz +0000\n" +
         "committer C\ncommitter-mail <c@b.c>\ncommitter-time 1600000000\ncommitter-tz +0000\nsummary s\n" +
         "filename f.txt\n" + line + "\n";
}

std::string element(const std::string& color, const std::string& n, const std::string& id, const std::string& content,
                    const std::string& width = "35") {
  return "<div class='line' data-color='" + color + "' data-dlinenumber='" + n + "' data-commitid='" + id +
         "'><span class='line-number nohighlight' style='border-right: 1px solid #" + color + "; background-color: #" +
         color + "33; width: " + width + "px;'>" + n + "</span><span class='line-contents'>" + content +
         "</span></div>";
}

TEST(RenderCodeView, GoldenTable) {
  const std::string id = "1a2b3c";
  std::string nines, unfinished = record(id, "1 1", "\ta");
  for (int i = 0; i < 999; ++i) nines += "l\n";
  unfinished.pop_back();
  struct Row {
    const char* name;
    std::string blame, base, content, expected;
  } const table[] = {
      {"git's lines, tab kept", record("e0e4f0aaaa", "1 1 2", "\tfirst") + record(id, "2 2", "\t"), "ffffff", "",
       element("e0e4ff", "1", "e0e4f0aaaa", "\tfirst") + element(id, "2", id, "\t")},
      {"threshold", record("595959", "1 1", "\ta") + record("5a5a5a", "2 2", "\tb"), "000000", "",
       element("5959ff", "1", "595959", "\ta") + element("5a5a5a", "2", "5a5a5a", "\tb")},
      {"changed colour not tested again", record("f0f0f0", "1 1", "\ta") + record("000000", "1 1", "\tb"), "ffffff", "",
       element("f0f0ff", "1", "f0f0f0", "\ta") + element("000000", "1", "000000", "\tb")},
      {"content lines, empty and out of range",
       record(id, "1 2", "\tx") + record(id, "1 1", "\tx") + record(id, "1 9", "\tx") + record(id, "1 0", "\tx"),
       "ffffff", "a<&b\n\n",
       element(id, "2", id, "\n") + element(id, "1", id, "a<&b") + element(id, "9", id, "\n") +
           element(id, "0", id, "\n")},
      {"1000 pieces", record(id, "1 1", "\tx"), "ffffff", nines, element(id, "1", id, "l", "45")},
      {"999 pieces", record(id, "1 1", "\tx"), "ffffff", nines.substr(0, nines.size() - 1), element(id, "1", id, "l")},
      {"octal line number, short id", record("ab", "1 010", "\tx"), "ffffff", "", element("ab", "8", "ab", "\tx")},
      {"empty author dropped", record(id, "1 1", "\ta") + "abc 2 2\nauthor \n" + record(id, "3 3", "\tc"), "ffffff", "",
       element(id, "1", id, "\ta") + element(id, "3", id, "\tc")},
      {"empty author before its mail on one line", "abc 2 2\nauthor author-mail <m>\n" + record(id, "3 3", "\tc").substr(40),
       "ffffff", "", ""},
      {"nothing", "", "ffffff", "x", ""},
      {"no final line feed", unfinished, "ffffff", "", ""},
  };
  for (const Row& row : table) {
    EXPECT_EQ(rendered(row.blame, row.base, row.content), row.expected) << row.name;
    EXPECT_EQ(reference::renderCodeView(row.blame, row.base, row.content), row.expected) << row.name;
  }
}

// Whole, and arriving in pieces of every size with lines trimmed from every length.
TEST(RenderCodeView, MatchesReferenceOnGeneratedText) {
  const char* const bases[] = {"ffffff", "000000", "808080", "abc", " +f-0x1", "", "C0FFEE", "9:G0gA"};
  const char* const contents[] = {"", "one\ntwo\n\nfour", "\n", "x"};
  for (std::uint32_t seed = 1; seed <= 8000; ++seed) {
    const std::string text = reference::makeAdversarialBlame(seed);
    const std::string base = bases[seed % 8], content = contents[(seed / 8) % 4];
    const std::string expected = reference::renderCodeView(text, base, content);
    ASSERT_EQ(rendered(text, base, content), expected) << "seed " << seed;
    const std::size_t piece = 1 + seed % 29, trimFrom = seed % 5 * 9;
    ASSERT_EQ(reference::fedInPieces(tarnwick::CodeViewRenderer(base, content, SIZE_MAX, trimFrom), text, piece), expected)
        << "seed " << seed << " piece " << piece << " trim " << trimFrom;
  }
}

// A view longer than the longest string stops as soon as it is: the fewest units its bytes can
// decode to count, so a view of multi-byte characters is not stopped early.
TEST(RenderCodeView, StopsPastTheLongestString) {
  std::string blame;
  for (int i = 1; i <= 40; ++i) blame += record("abc", "1 " + std::to_string(i), "\t\xe2\x82\xac");
  const std::string view = rendered(blame, "ffffff", "");
  const std::size_t units = view.size() - 2 * 40;
  EXPECT_EQ(reference::fedInPieces(tarnwick::CodeViewRenderer("ffffff", "", units), blame, 7), view);
  EXPECT_EQ(reference::fedInPieces(tarnwick::CodeViewRenderer("ffffff", "", units - 1), blame, 7), "(too long)");
  tarnwick::CodeViewRenderer small("ffffff", "", 100);
  std::size_t fed = 0;
  while (fed < blame.size() && small.take(blame.data() + fed, 50)) fed += 50;
  EXPECT_LT(fed, blame.size() / 2);
  // A content line it would show stops it once the line alone is past, before the line ends.
  const std::string start = record("abc", "1 1", "\t").substr(0, record("abc", "1 1", "\t").size() - 1);
  tarnwick::CodeViewRenderer oneLine("ffffff", "", 1000);
  EXPECT_TRUE(oneLine.take(start.data(), start.size()) && oneLine.take(std::string(999, 'x').data(), 999));
  EXPECT_FALSE(oneLine.take("x", 1));
}

// Of a long line that no record can show, what is held stays small however long it grows or
// however it arrives, also where content lines are kept whole (this one follows a content line as
// long as "filename").
TEST(RecordWindow, HoldsLongLinesTrimmed) {
  std::string words;
  for (int i = 0; i < 100000; ++i) words += "word ";
  const std::pair<std::function<std::unique_ptr<tarnwick::RecordFormat>()>, std::string> cases[] = {
      {[] { return std::make_unique<tarnwick::BlameLines>(false); }, "summary "},
      {[] { return std::make_unique<tarnwick::BlameLines>(true); }, "\tcontent\nh 1 1\nsummary "},
      {[] { return std::make_unique<tarnwick::LogLines>(); }, "h H 1 "}};
  for (const auto& [format, before] : cases) {
    tarnwick::RecordWindow window(format(), 4096);
    const std::string line = before + words;
    for (std::size_t at = 0; at < line.size(); at += 1000) {
      window.append(line.data() + at, std::min<std::size_t>(1000, line.size() - at));
      ASSERT_LT(window.size(), 8192u) << at;
    }
    tarnwick::RecordWindow whole(format(), 4096);  // the line arriving with its line feed
    whole.append((line + "\n").data(), line.size() + 1);
    EXPECT_LT(whole.size(), 8192u);
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
    reference::runOnStack([&] { actual = rendered(text, "ffffff", ""); }, 64 * 1024);
    reference::runOnStack([&] { expected = reference::renderCodeView(text, "ffffff", ""); });
    EXPECT_EQ(actual, expected);
  }
}

}  // namespace
