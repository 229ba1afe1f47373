#include "diff/color_diff_chunk.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "color_diff_reference.h"

namespace {

const std::string kAdded = "<div class='diff-added'><span class='diff-action'>+</span>";
const std::string kRemoved = "<div class='diff-removed'><span class='diff-action'>-</span>";
const std::string kBreak = "\n<div class='diff-break'>";
const std::string kTools =
    "<div class='tools'><span class='discard-hunk link'>discard hunk</span><span class='stage-hunk link'>stage "
    "hunk</span><span class='unstage-hunk link'>unstage hunk</span><span class='revert-hunk link'>revert "
    "hunk</span></div></div>\n";
const std::string kNote = "\\ No newline at end of file";

std::string swatch(const std::string& code) {
  return "<span class='color-preview' style='background-color: " + code + "'></span>" + code;
}

struct Golden {
  std::string input;
  bool showColorPreviews;
  bool markAddedRemoved;
  std::string expected;
};

TEST(ColorDiffChunk, GoldenTable) {
  const Golden table[] = {
      {"", true, true, ""},
      {"", false, false, ""},
      {"+a", false, true, kAdded + "a</div>"},
      {"+a\n+b", false, true, kAdded + "a</div>\n" + kAdded + "b</div>"},
      {"x+a", true, true, "x+a"},
      {"+++ b/f", false, true, kAdded + "++ b/f</div>"},
      {"--- a/f", false, true, kRemoved + "-- a/f</div>"},
      {"+a\r\n+b", false, true, kAdded + "a</div>\r\n" + kAdded + "b</div>"},
      {"+a\rb\n", false, true, kAdded + "a</div>\rb\n"},
      {"+a\n-b", false, false, "+a\n-b"},
      {"@@ -1 +1 @@", false, false, kBreak + "@@ -1 +1 @@" + kTools},
      {"x\n@@ -1 +1 @@\r\ny", false, false, "x\n" + kBreak + "@@ -1 +1 @@" + kTools + "\r\ny"},
      {"-@@ x", false, true, kRemoved + "@@ x</div>"},
      {" @@ x", false, true, " @@ x"},
      {"+@@ x", false, false, "+@@ x"},
      {kNote, false, false, kBreak + kNote + "</div>\n"},
      {"a\n" + kNote + "\r\nb", false, false, "a\n" + kBreak + kNote + "</div>\n\r\nb"},
      {"a\r" + kNote, false, false, "a\r" + kNote},
      {"+x " + kNote, false, true, kBreak + kAdded + "x " + kNote + "</div></div>\n"},
      {"-" + kNote + " " + kNote, false, true, kBreak + kRemoved + kNote + " " + kNote + "</div></div>\n"},
      {"@@ " + kNote, false, false,
       "\n" + kBreak + "<div class='diff-break'>@@ " + kNote + kTools.substr(0, kTools.size() - 1) + "</div>\n\n"},
      {"#12345", true, false, "#12345"},
      {"#123456", true, false, swatch("#123456")},
      {"#ABCDEF", true, false, swatch("#ABCDEF")},
      {"#aBc12F9", true, false, swatch("#aBc12F9")},
      {"#1234567890", true, false, swatch("#12345678") + "90"},
      {"##123456", true, false, "#" + swatch("#123456")},
      {"rgb(1,2,3)", true, false, swatch("rgb(1,2,3)")},
      {"rgba(1, 2, 3, 0.5)", true, false, swatch("rgba(1, 2, 3, 0.5)")},
      {"rgba(0,0,0,.5)", true, false, swatch("rgba(0,0,0,.5)")},
      {"rgb(1,2,3,)", true, false, swatch("rgb(1,2,3,)")},
      {"rgb(1,2,3,  )", true, false, swatch("rgb(1,2,3,  )")},
      {"rgb(1,2,3,   )", true, false, "rgb(1,2,3,   )"},
      {"rgb(1,2,3,.)", true, false, "rgb(1,2,3,.)"},
      {"rgb(1,2,3 )", true, false, swatch("rgb(1,2,3 )")},
      {"rgbaaa \n\t(1 ,2, 3 , 4.5 )", true, false, swatch("rgbaaa \n\t(1 ,2, 3 , 4.5 )")},
      {"rgb( 1,2,3)", true, false, "rgb( 1,2,3)"},
      {"RGB(1,2,3)", true, false, "RGB(1,2,3)"},
      {"rrgb(1,2,3)x", true, false, "r" + swatch("rgb(1,2,3)") + "x"},
      {"#123456 rgb(1,2,3)", false, true, "#123456 rgb(1,2,3)"},
      {"@@ -1 +1 @@ a { color: #aabbcc; }", true, false,
       kBreak + "@@ -1 +1 @@ a { color: " + swatch("#aabbcc") + "; }" + kTools},
      {"+rgb\n-(1,2,3)", true, true, kAdded + "rgb</div>\n" + kRemoved + "(1,2,3)</div>"},
      {"+\xc3\xa9 #c0ffee \xe2\x82\xac", true, true, kAdded + "\xc3\xa9 " + swatch("#c0ffee") + " \xe2\x82\xac</div>"},
      {std::string("+a\0b\n", 5), false, true, kAdded + std::string("a\0b</div>\n", 10)},
  };
  for (const Golden& row : table) {
    EXPECT_EQ(tarnwick::colorDiffChunk(row.input, row.showColorPreviews, row.markAddedRemoved), row.expected)
        << "input: " << row.input;
    EXPECT_EQ(reference::colorDiffChunk(row.input, row.showColorPreviews, row.markAddedRemoved), row.expected)
        << "input: " << row.input;
  }
}

// Generated text of the pieces the six passes react to, every flag combination, seeded.
TEST(ColorDiffChunk, MatchesReferenceOnGeneratedText) {
  const char* const tokens[] = {
      "+", "-", "@@", "@", " ", "\t", "\v", "\f", "\r", "\n", "\n", "\n", "\r\n", "x", "\\", kNote.c_str(),
      " No newline at end of file", "\\ No newline", "#", "#", "123", "abc", "DEF", "0a9", "fF", "#fff", "#12345",
      "#123456", "#ABCdef0", "#12345678", "#123456789a", "rgb", "rgba", "rgbaa", "r", "g", "b", "a", "(", ")", ",",
      ", ", " ,", ".", ".5", "0", "12", "255", "rgb(1,2,3)", "rgba(1, 2, 3, 0.5)", "rgb (1 ,2 ,3 , .5 )", "rgb\n(",
      "rgba(0,0,0,)", "(1,2,3)", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "+++ b/f", "--- a/f",
      "@@ -1,2 +1,3 @@", "diff --git a/f b/f"};
  const std::size_t count = sizeof tokens / sizeof *tokens;
  std::mt19937 random(7041);
  for (int round = 0; round < 4000; ++round) {
    std::string input;
    const int length = static_cast<int>(random() % 48);
    for (int i = 0; i < length; ++i) input += tokens[random() % count];
    if (random() % 16 == 0) input.insert(random() % (input.size() + 1), 1, '\0');
    for (int flags = 0; flags < 4; ++flags) {
      const bool show = flags & 1, mark = flags & 2;
      ASSERT_EQ(tarnwick::colorDiffChunk(input, show, mark), reference::colorDiffChunk(input, show, mark))
          << "round " << round << " flags " << flags << " input: " << input;
    }
  }
}

// Every way of writing the functional colour code from its parts, so each optional space, digit
// run and the fourth component are tried in every combination.
TEST(ColorDiffChunk, MatchesReferenceOnEveryRgbShape) {
  const char* const keywords[] = {"rgb", "rgba", "rgbaa", "rgbb"};
  const char* const gaps[] = {"", " ", "\n", "  \r\n"};
  const char* const separators[] = {",", " ,", ", ", " , ", "  ,", ",\t\t"};
  const char* const numbers[] = {"", "1", "255"};
  const char* const fourths[] = {"", ",", ",5", ", .5", ",0.25 ", ", 1. ", ",.", ",  ", ",   ", ", 2 "};
  const char* const closings[] = {")", " )", "", "x)"};
  for (const char* keyword : keywords)
    for (const char* gap : gaps)
      for (const char* separator : separators)
        for (const char* number : numbers)
          for (const char* fourth : fourths)
            for (const char* closing : closings) {
              const std::string input = std::string("a ") + keyword + gap + "(1" + separator + number + separator +
                                        "3" + fourth + closing + " z";
              ASSERT_EQ(tarnwick::colorDiffChunk(input, true, false), reference::colorDiffChunk(input, true, false))
                  << "input: " << input;
            }
}

TEST(ColorDiffChunk, MatchesReferenceOnEveryHexLength) {
  for (int digits = 0; digits <= 10; ++digits) {
    for (const char* after : {"", " ", "g", "#", "\n"}) {
      std::string upper = "x#", lower = "x#";
      for (int i = 0; i < digits; ++i) {
        upper += "0123456789ABCDEF"[(i * 7) % 16];
        lower += "0123456789abcdef"[(i * 5) % 16];
      }
      for (const std::string& input : {upper + after, lower + after}) {
        ASSERT_EQ(tarnwick::colorDiffChunk(input, true, true), reference::colorDiffChunk(input, true, true))
            << "input: " << input;
      }
    }
  }
}

}  // namespace
