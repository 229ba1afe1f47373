// The diff view against its std::regex formulation: golden edge cases, generated text, every
// colour shape, chunk cuts, real git diffs, every byte scan and both widths of script string.
#include "diff/color_diff.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "color_diff_reference.h"
#include "convert/utf8_codec.h"
#include "diff/byte_bitmap.h"
#include "diff/color_diff_chunk.h"
#include "diff/color_diff_units.h"
#include "large_stack.h"
#include "sample_diff.h"

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
      "@@ -1,2 +1,3 @@", "diff --git a/f b/f", "g", "G", ":", "/", "9:", "f0g"};
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

// Every way of writing the functional colour code from its parts, and hexadecimal codes of every
// length, each next to the characters just outside its classes.
TEST(ColorDiffChunk, MatchesReferenceOnEveryColourShape) {
  for (const char* keyword : {"rgb", "rgba", "rgbaa", "rgbb"})
    for (const char* gap : {"", " ", "\n", "  \r\n"})
      for (const char* separator : {",", " ,", ", ", " , ", "  ,", ",\t\t"})
        for (const char* number : {"", "1", "255", "9:", "0/"})
          for (const char* fourth : {"", ",", ",5", ", .5", ",0.25 ", ", 1. ", ",.", ",  ", ",   ", ", 2 ", ",9:"})
            for (const char* closing : {")", " )", "", "x)"}) {
              const std::string input = std::string("a ") + keyword + gap + "(1" + separator + number + separator + "3" +
                                        fourth + closing + " z";
              ASSERT_EQ(tarnwick::colorDiffChunk(input, true, false), reference::colorDiffChunk(input, true, false)) << input;
            }
  for (int digits = 0; digits <= 10; ++digits) {
    for (const char* after : {"", " ", "g", "G", ":", "/", "@", "`", "#", "\n"}) {
      std::string upper = "x#", lower = "x#";
      for (int i = 0; i < digits; ++i) {
        upper += "0123456789ABCDEF"[(i * 7) % 16];
        lower += "0123456789abcdef"[(i * 5) % 16];
      }
      for (const std::string& input : {upper + after, lower + after}) {
        ASSERT_EQ(tarnwick::colorDiffChunk(input, true, true), reference::colorDiffChunk(input, true, true)) << input;
      }
    }
  }
}

std::string referenceColorDiff(const std::string& text, bool show, bool mark) {
  std::string out;
  reference::runOnLargeStack([&] { out = reference::colorDiff(text, show, mark); });
  return out;
}

// Returns the reference's result as the characters colorDiffUnits makes of it (UTF-16 units, or
// bytes when `oneByte`), or "" when it would leave the result to the host's decoder.
std::u16string referenceUnits(const std::string& html, bool oneByte) {
  std::u16string units(html.size(), u'\0');
  const std::ptrdiff_t n =
      tarnwick::decodeUtf8(html.data(), html.size(), reinterpret_cast<std::uint16_t*>(&units[0]));
  units.resize(n < 0 || html.find('\0') != std::string::npos ? 0 : static_cast<std::size_t>(n));
  for (char16_t unit : units) {
    if (oneByte && unit > 0xFF) return u"";
  }
  return units;
}

// Checks production against the reference for every flag combination and every byte scan this
// processor runs, both as bytes and as the characters of a one- or two-byte script string.
void expectSameForEveryFlag(const std::string& text, const std::string& what) {
  for (int flags = 0; flags < 4; ++flags) {
    const bool show = flags & 1, mark = flags & 2;
    const std::string expected = referenceColorDiff(text, show, mark);
    for (auto level : {tarnwick::ScanLevel::kScalar, tarnwick::ScanLevel::kSse2, tarnwick::ScanLevel::kNeon,
                       tarnwick::ScanLevel::kAvx2}) {
      if (!tarnwick::forceScanLevel(level)) continue;
      const std::string where = what + ", flags " + std::to_string(flags) + ", scan " +
                                std::to_string(static_cast<int>(level)) + ", " + std::to_string(text.size()) + " bytes";
      ASSERT_EQ(tarnwick::colorDiff(text, show, mark), expected) << where;
      for (bool oneByte : {false, true}) {
        const tarnwick::ColorDiffUnits units = tarnwick::colorDiffUnits(text.data(), text.size(), oneByte, show, mark);
        std::u16string made(units.length, u'\0');
        for (std::size_t i = 0; i < units.length; ++i) {
          made[i] = units.twoByte ? reinterpret_cast<const char16_t*>(units.block.data())[i]
                                  : static_cast<unsigned char>(units.block.data()[i]);
        }
        ASSERT_EQ(units.made ? made : u"", referenceUnits(expected, oneByte)) << where << (oneByte ? ", one byte" : "");
      }
    }
  }
}

std::string shortLines(std::size_t length, unsigned seed) {
  const char* const lines[] = {"+added #aabbcc", "-removed rgb(1,2,3)", " context", "@@ -1,3 +1,4 @@ f()",
                               "\\ No newline at end of file", "+\xc3\xa9\xe2\x82\xac", ""};
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < length) text += std::string(lines[random() % 7]) + "\n";
  text.resize(length);
  return text;
}

TEST(ColorDiff, CutsAtTheSliceLimits) {
  // 10000 bytes go through in one piece, 10001 are cut at the last line feed.
  for (std::size_t length : {9999u, 10000u, 10001u, 20000u, 20001u, 25000u}) {
    expectSameForEveryFlag(shortLines(length, length), "short lines");
  }
  // A diff of short lines comes out as one pass over the whole text would make it.
  const std::string lines = shortLines(25000, 3);
  EXPECT_EQ(tarnwick::colorDiff(lines, false, true), tarnwick::colorDiffChunk(lines, false, true));
}

TEST(ColorDiff, SwitchesSwatchesOffAboveTheLimit) {
  for (std::size_t length : {150000u, 150001u}) {
    const std::string text = "#aabbcc\n" + shortLines(length - 8, 9);
    ASSERT_EQ(text.size(), length);
    const std::string out = tarnwick::colorDiff(text, true, true);
    EXPECT_EQ(out.find("color-preview") != std::string::npos, length == 150000u);
    EXPECT_EQ(out, referenceColorDiff(text, true, true));
  }
}

TEST(ColorDiff, CutsInsideLongLines) {
  const std::string longAdded = "+" + std::string(14999, 'x');
  const std::string out = tarnwick::colorDiff(longAdded, false, true);
  EXPECT_EQ(out, "<div class='diff-added'><span class='diff-action'>+</span>" + std::string(9999, 'x') + "</div>" +
                     std::string(5000, 'x'));
  const std::string cases[] = {
      longAdded,
      std::string(10000, 'y') + "+rest\n-x",
      std::string(10000, 'y') + "@@ -1 +1 @@\nz",
      std::string(10000, 'y') + "-" + std::string(12000, 'z'),
      std::string(9998, 'r') + "rgb(1,2,3) #abcdef",
      "abc\n" + std::string(12000, '+') + "\n+x",           // line feed among the first ten bytes
      std::string(9, 'a') + "\n" + std::string(30000, '-'),  // ... at index 9
      std::string(10, 'a') + "\n" + std::string(30000, '-'),  // ... at index 10
      std::string(20000, 'q'),                                // the loop's last, empty chunk
      std::string(9999, 'q') + "\n" + std::string(10000, 'q'),
      "+" + std::string(9998, 'x') + "\xc3\xa9 x\n-\xc3\xbf",                  // markup between the halves of a character
      std::string(9999, 'y') + "\xc3\xa9\n+\xc3\xa9 \xc3\xbf",               // nothing between them
      std::string(9998, 'y') + "\xe2\x82\xac" + std::string(9997, 'y') + "\xf0\x9f\x98\x80",  // three- and four-byte ones
  };
  for (const std::string& text : cases) expectSameForEveryFlag(text, "long line");
}

// Long generated texts with lines of every length around the slice size, seeded.
TEST(ColorDiff, MatchesReferenceOnGeneratedLongText) {
  const char* const pieces[] = {"+", "-", "@@", "\n", "\r\n", " #aBcDeF1", " rgba(1, 2, 3, .5)", "rgb\n(1,2,3)",
                                "\\ No newline at end of file", "\xf0\x9f\x98\x80", "text "};
  std::mt19937 random(99);
  for (int round = 0; round < 12; ++round) {
    std::string text;
    const std::size_t target = 10000 + random() % 30000;
    while (text.size() < target) {
      const unsigned roll = random() % 20;
      if (roll == 0) {
        text += std::string(random() % 12000, 'w');
      } else {
        text += pieces[random() % (sizeof pieces / sizeof *pieces)];
      }
    }
    expectSameForEveryFlag(text, "generated round " + std::to_string(round));
  }
}

TEST(ColorDiff, MatchesReferenceOnGitDiffs) {
  for (unsigned seed : {1u, 2u}) {
    const std::string diff = reference::makeGitDiff(seed, 8, 150);
    ASSERT_GT(diff.size(), 10000u) << "git made no diff";
    expectSameForEveryFlag(diff, "generated repository " + std::to_string(seed));
    expectSameForEveryFlag(diff.substr(0, 9000), "start of generated repository diff");
  }
}

// A one-megabyte single line leaves the stack alone: 64 KB are enough.
TEST(ColorDiff, RunsOnASmallStack) {
  const std::string text = "+" + std::string(1 << 20, 'x') + " #abcdef rgb(1,2,3)";
  std::string out;
  reference::runOnStackOf(64 * 1024, [&] { out = tarnwick::colorDiff(text, true, true); });
  // Only the first chunk starts with a plus sign; swatches are off at this size.
  EXPECT_EQ(out.size(), text.size() + 63);
  EXPECT_EQ(out.compare(0, 4, "<div"), 0);
}

}  // namespace
