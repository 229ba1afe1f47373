#include "diff/merge_conflicts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "merge_conflicts_reference.h"

namespace {

struct Golden {
  const char* input;
  const char* expected;
};

TEST(StyleMergeConflicts, GoldenTable) {
  const std::string eight(8, '<'), ten(10, '<'), fourteen(14, '<'), six(6, '<');
  const Golden table[] = {
      {"", ""},
      {"a < b && c > d", "a &lt; b &amp;&amp; c &gt; d"},
      {"<<<<<<< HEAD\nx\n=======\ny\n>>>>>>> branch", "<<<<<<< HEAD\nx\n=======\ny\n>>>>>>> branch"},
      {"<<<<<<<<", "<<<<<<<&lt;"},
      {"<<<<<<<<<<", "<<<<<<<&lt;&lt;&lt;"},
      {"<<<<<<<<<<<<<<", "<<<<<<<<<<<<<<"},
      {"<<<<<<", "&lt;&lt;&lt;&lt;&lt;&lt;"},
      {">>>>>>>>", ">>>>>>>&gt;"},
      {"x <<<<<<< y", "x <<<<<<< y"},
      {"&lt;", "&amp;lt;"},
      {"&lt;&lt;&lt;&lt;&lt;&lt;&lt;", "&amp;lt;&amp;lt;&amp;lt;&amp;lt;&amp;lt;&amp;lt;&amp;lt;"},
      {"<<<<<<<>>>>>>>", "<<<<<<<>>>>>>>"},
      {"<<<<<<&<", "&lt;&lt;&lt;&lt;&lt;&lt;&amp;&lt;"},
      {"'\"=======", "'\"======="},
      {"\xc3\xa9<\xe2\x82\xac>", "\xc3\xa9&lt;\xe2\x82\xac&gt;"},
      // A last group of seven that would open a tag stays escaped; git's markers stay raw.
      {"<<<<<<<img src=x>", "&lt;&lt;&lt;&lt;&lt;&lt;&lt;img src=x&gt;"},
      {"<<<<<<<<<<<<<</b", "<<<<<<<&lt;&lt;&lt;&lt;&lt;&lt;&lt;/b"},
      {"<<<<<<<<img", "<<<<<<<&lt;img"},
      {"<<<<<<<!--", "&lt;&lt;&lt;&lt;&lt;&lt;&lt;!--"},
      {"<<<<<<<?x", "&lt;&lt;&lt;&lt;&lt;&lt;&lt;?x"},
      {"<<<<<<<@<<<<<<<[<<<<<<<0", "<<<<<<<@<<<<<<<[<<<<<<<0"},
      {"<<<<<<<\n<<<<<<<", "<<<<<<<\n<<<<<<<"},
      {">>>>>>>a", ">>>>>>>a"},
  };
  for (const Golden& row : table) {
    EXPECT_EQ(tarnwick::styleMergeConflicts(row.input), row.expected) << "input: " << row.input;
    EXPECT_EQ(reference::styleMergeConflicts(row.input), row.expected) << "input: " << row.input;
  }
}

TEST(StyleMergeConflicts, KeepsZeroBytes) {
  const std::string input("a\0<b", 4);
  EXPECT_EQ(tarnwick::styleMergeConflicts(input), std::string("a\0&lt;b", 7));
}

// Every run length from 0 to 20 of each special character, between every pair of neighbours.
TEST(StyleMergeConflicts, MatchesReferenceOnEveryRunLength) {
  const char* const neighbours[] = {"", "x", "&", "<", ">", "\n", "&lt;", "\xc3\xa9", "=======", "&gt;",
                                    "/", "!", "?", "@", "[", "`", "{", "Z", " HEAD"};
  for (char c : {'<', '>', '&'}) {
    for (int length = 0; length <= 20; ++length) {
      for (const char* before : neighbours) {
        for (const char* after : neighbours) {
          const std::string input = std::string(before) + std::string(length, c) + after;
          ASSERT_EQ(tarnwick::styleMergeConflicts(input), reference::styleMergeConflicts(input))
              << "input: " << input;
        }
      }
    }
  }
}

// Generated text made of the tokens that matter, seeded so a failure reproduces.
TEST(StyleMergeConflicts, MatchesReferenceOnGeneratedText) {
  const char* const tokens[] = {"<", ">", "&", "<<<<<<<", ">>>>>>>", "=======", "&lt;", "&gt;", "&amp;",
                                "\n", "\r\n", " HEAD", "x", "/", "!", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80"};
  std::mt19937 random(20261123);
  for (int round = 0; round < 3000; ++round) {
    std::string input;
    const int count = static_cast<int>(random() % 40);
    for (int i = 0; i < count; ++i) input += tokens[random() % (sizeof tokens / sizeof *tokens)];
    ASSERT_EQ(tarnwick::styleMergeConflicts(input), reference::styleMergeConflicts(input))
        << "round " << round << " input: " << input;
  }
}

}  // namespace
