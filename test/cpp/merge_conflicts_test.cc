// Conflict escaping and its limit (measured): golden table, and every run length between every
// pair of neighbours against the std::regex formulation.
#include "diff/merge_conflicts.h"

#include <gtest/gtest.h>


#include "merge_conflicts_reference.h"

namespace {

TEST(StyleMergeConflicts, GoldenTable) {
  const std::string block = "<<<<<<< HEAD\nx\n=======\ny\n>>>>>>> branch", lt7 = "&lt;&lt;&lt;&lt;&lt;&lt;&lt;";
  const std::pair<std::string, std::string> table[] = {
      {"", ""}, {"a < b && c > d", "a &lt; b &amp;&amp; c &gt; d"}, {block, block}, {"<<<<<<<<", "<<<<<<<&lt;"},
      {"<<<<<<<<<<", "<<<<<<<&lt;&lt;&lt;"}, {"<<<<<<<<<<<<<<", "<<<<<<<<<<<<<<"}, {">>>>>>>>", ">>>>>>>&gt;"},
      {"<<<<<<", "&lt;&lt;&lt;&lt;&lt;&lt;"}, {"x <<<<<<< y", "x <<<<<<< y"}, {"&lt;", "&amp;lt;"},
      {lt7, "&amp;lt;&amp;lt;&amp;lt;&amp;lt;&amp;lt;&amp;lt;&amp;lt;"}, {"<<<<<<<>>>>>>>", "<<<<<<<>>>>>>>"},
      {"'\"=======", "'\"======="}, {std::string("\xc3\xa9<\0>", 5), std::string("\xc3\xa9&lt;\0&gt;", 11)},
      // A last group of seven that would open a tag stays escaped; git's markers stay raw.
      {"<<<<<<<img src=x>", lt7 + "img src=x&gt;"}, {"<<<<<<<<<<<<<</b", "<<<<<<<" + lt7 + "/b"},
      {"<<<<<<<<img", "<<<<<<<&lt;img"}, {"<<<<<<<!--", lt7 + "!--"}, {"<<<<<<<?x", lt7 + "?x"},
      {"<<<<<<<@<<<<<<<[<<<<<<<0", "<<<<<<<@<<<<<<<[<<<<<<<0"}, {">>>>>>>a", ">>>>>>>a"}};
  for (const auto& [input, expected] : table) {
    EXPECT_EQ(reference::styledByCore(input), expected) << input;
    EXPECT_EQ(reference::styleMergeConflicts(input), expected) << input;
    // Made within the longest string, and nothing made one unit past it (a byte a unit here).
    const auto units = [&](std::size_t textUnits) {
      return tarnwick::styledMergeConflictUnits(input.data(), input.size(), textUnits, false, true, expected.size());
    };
    EXPECT_TRUE(units(input.size()).made && units(input.size() + 1).tooLong) << input;
  }
}

// Every run length up to 15 of each special character between every pair of neighbours (the
// bytes at and just outside the letters and the other bytes that open a tag).
TEST(StyleMergeConflicts, MatchesReferenceOnRuns) {
  const char* const neighbours[] = {"", "a", "z", "A", "Z", "@", "[", "`", "{", "/", "0", "!", "\"", "?", "&", "<",
                                    ">", "\n", "&lt;", "\xc3\xa9", "=======", " HEAD"};
  for (char c : {'<', '>', '&'}) {
    for (int length = 0; length <= 15; ++length) {
      for (const char* before : neighbours) {
        for (const char* after : neighbours) {
          const std::string input = before + std::string(length, c) + after;
          ASSERT_EQ(reference::styledByCore(input), reference::styleMergeConflicts(input)) << input;
        }
      }
    }
  }
}

}  // namespace
