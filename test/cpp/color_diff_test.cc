// The diff view against its std::regex formulation: golden edge cases, generated text, every
// colour shape, chunk cuts, every byte scan and both widths of script string.
#include "diff/color_diff.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>

#include "color_diff_reference.h"
#include "convert/utf8_codec.h"
#include "diff/byte_bitmap.h"
#include "diff/color_diff_units.h"
#include "large_stack.h"
#include "units.h"

namespace {

const std::string kAdded = "<div class='diff-added'><span class='diff-action'>+</span>";
const std::string kRemoved = "<div class='diff-removed'><span class='diff-action'>-</span>";
const std::string kBreak = "\n<div class='diff-break'>", kNote = "\\ No newline at end of file";
const std::string kTools =
    "<div class='tools'><span class='discard-hunk link'>discard hunk</span><span class='stage-hunk link'>stage "
    "hunk</span><span class='unstage-hunk link'>unstage hunk</span><span class='revert-hunk link'>revert "
    "hunk</span></div></div>\n";

// Every byte scan; each test runs those this processor can.
const tarnwick::ScanLevel kLevels[] = {tarnwick::ScanLevel::kScalar, tarnwick::ScanLevel::kSse2,
                                       tarnwick::ScanLevel::kNeon, tarnwick::ScanLevel::kAvx2};

std::string swatch(const std::string& code) {
  return "<span class='color-preview' style='background-color: " + code + "'></span>" + code;
}

// Checks production's and the reference's chunk colouring on each row: input, expected.
void expectGolden(bool show, bool mark, const std::vector<std::pair<std::string, std::string>>& rows) {
  for (const auto& [input, expected] : rows) {
    EXPECT_EQ(tarnwick::colorDiff(input, show, mark), expected) << input;
    EXPECT_EQ(reference::colorDiffChunk(input, show, mark), expected) << input;
  }
}

TEST(ColorDiffChunk, GoldenTable) {
  expectGolden(false, true, {
      {"", ""}, {"x+a", "x+a"}, {"+a", kAdded + "a</div>"}, {"+a\n+b", kAdded + "a</div>\n" + kAdded + "b</div>"},
      {"+++ b/f", kAdded + "++ b/f</div>"}, {"--- a/f", kRemoved + "-- a/f</div>"}, {" @@ x", " @@ x"},
      {"+a\r\n+b", kAdded + "a</div>\r\n" + kAdded + "b</div>"}, {"-@@ x", kRemoved + "@@ x</div>"},
      {"+x " + kNote, kBreak + kAdded + "x " + kNote + "</div></div>\n"}, {"#123456 rgb(1,2,3)", "#123456 rgb(1,2,3)"},
      {std::string("+\xc3\xa9\0#c0ffee", 11), kAdded + std::string("\xc3\xa9\0#c0ffee</div>", 16)}});
  expectGolden(false, false, {
      {"", ""}, {"+a\n-b", "+a\n-b"}, {"@@ -1 +1 @@", kBreak + "@@ -1 +1 @@" + kTools},
      {"x\n@@ -1 +1 @@\r\ny", "x\n" + kBreak + "@@ -1 +1 @@" + kTools + "\r\ny"}, {kNote, kBreak + kNote + "</div>\n"},
      {"a\n" + kNote + "\r\nb", "a\n" + kBreak + kNote + "</div>\n\r\nb"},
      {"@@ " + kNote, "\n" + kBreak + "<div class='diff-break'>@@ " + kNote + kTools.substr(0, kTools.size() - 1) +
                          "</div>\n\n"}});
  expectGolden(true, false, {
      {"#12345", "#12345"}, {"#123456", swatch("#123456")}, {"#ABCDEF", swatch("#ABCDEF")},
      {"#1234567890", swatch("#12345678") + "90"}, {"rgb(1,2,3)", swatch("rgb(1,2,3)")},
      {"rgba(1, 2, 3, 0.5)", swatch("rgba(1, 2, 3, 0.5)")}, {"rgba(0,0,0,.5)", swatch("rgba(0,0,0,.5)")},
      {"rgb(1,2,3,)", swatch("rgb(1,2,3,)")}, {"rgbaaa \n\t(1 ,2, 3 , 4.5 )", swatch("rgbaaa \n\t(1 ,2, 3 , 4.5 )")},
      {"rgb( 1,2,3)", "rgb( 1,2,3)"}, {"RGB(1,2,3)", "RGB(1,2,3)"}, {"sgb(1,2,3)", "sgb(1,2,3)"},
      {"rgb[1,2,3)", "rgb[1,2,3)"},
      {"@@ -1 +1 @@ a { color: #aabbcc; }", kBreak + "@@ -1 +1 @@ a { color: " + swatch("#aabbcc") + "; }" + kTools}});
  expectGolden(true, true, {{"+\xc3\xa9 #c0ffee", kAdded + "\xc3\xa9 " + swatch("#c0ffee") + "</div>"}});
}

void expectChunkAsReference(const std::string& input) {
  for (int flags = 0; flags < 4; ++flags) {
    const bool show = flags & 1, mark = flags & 2;
    ASSERT_EQ(tarnwick::colorDiff(input, show, mark), reference::colorDiffChunk(input, show, mark))
        << "flags " << flags << " input: " << testing::PrintToString(input);
  }
}

// Generated text of the pieces the six passes react to and of the bytes just outside their
// classes, seeded; then every functional colour written from its parts.
TEST(ColorDiffChunk, MatchesReferenceOnGeneratedText) {
  const char* const tokens[] = {
      "+", "-", "@@", "@", " ", "\t", "\v", "\f", "\r", "\n", "\n", "\n", "\r\n", "x", "\\", kNote.c_str(),
      " No newline at end of file", "\\ No newline", "#", "#", "123", "abc", "DEF", "0a9", "fF", "#fff", "#12345",
      "#123456", "#ABCdef0", "#12345678", "#123456789a", "rgb", "rgba", "rgbaa", "r", "g", "b", "a", "(", ")", ",",
      ", ", " ,", ".", ".5", "0", "12", "255", "rgb(1,2,3)", "rgba(1, 2, 3, 0.5)", "rgb (1 ,2 ,3 , .5 )", "rgb\n(",
      "rgba(0,0,0,)", "(1,2,3)", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "+++ b/f", "--- a/f",
      "@@ -1,2 +1,3 @@", "diff --git a/f b/f", "g", "G", ":", "/", "`", "9:", "f0g"};
  std::mt19937 random(7041);
  for (int round = 0; round < 4000; ++round) {
    std::string input;
    for (int i = random() % 48; i > 0; --i) input += tokens[random() % std::size(tokens)];
    if (random() % 16 == 0) input.insert(random() % (input.size() + 1), 1, '\0');
    expectChunkAsReference(input);
  }
  for (const char* keyword : {"rgb", "rgba", "rgbaa", "rgbb"})
    for (const char* gap : {"", " ", "\n", "  \r\n"})
      for (const char* separator : {",", " ,", ", ", " , ", "  ,", ",\t\t"})
        for (const char* number : {"", "1", "255", "9:", "0/"})
          for (const char* fourth : {"", ",", ",5", ", .5", ",0.25 ", ", 1. ", ",.", ",  ", ",   ", ", 2 ", ",9:"})
            for (const char* closing : {")", " )", "", "x)"}) {
              const std::string input = std::string("a ") + keyword + gap + "(1" + separator + number + separator +
                                        "3" + fourth + closing + " z";
              ASSERT_EQ(tarnwick::colorDiff(input, true, false), reference::colorDiffChunk(input, true, false))
                  << input;
            }
}


// Checks colorDiff against the reference for every flag combination and every byte scan this
// processor runs, as bytes and as the characters of a one- or two-byte script string.
void expectSameForEveryFlag(const std::string& text, const std::string& what) {
  for (int flags = 0; flags < 4; ++flags) {
    std::string expected;
    reference::runOnStack([&] { expected = reference::colorDiff(text, flags & 1, flags & 2); });
    for (auto level : kLevels) {
      if (!tarnwick::forceScanLevel(level)) continue;
      const std::string where = what + ", flags " + std::to_string(flags) + ", scan " +
                                std::to_string(static_cast<int>(level)) + ", " + std::to_string(text.size()) + " bytes";
      ASSERT_EQ(tarnwick::colorDiff(text, flags & 1, flags & 2), expected) << where;
      for (int as = 0; as < 4; ++as) {  // a one-byte text, and replacement characters for bytes that are not UTF-8
        const auto units = tarnwick::colorDiffUnits(text.data(), text.size(), text.size(), as & 1, flags & 1, flags & 2,
                                                    false, as & 2, SIZE_MAX);
        ASSERT_EQ(reference::unitsText(units),
                  reference::unitsText(tarnwick::scriptUnits(expected.data(), expected.size(), as & 1, as & 2, SIZE_MAX)))
            << where << ", as " << as;
      }
    }
  }
}

// A result past the longest string is known before it is made, to the unit.
TEST(ColorDiffUnits, NothingMadePastTheLongestString) {
  const std::string text = "+\xc3\xa9 #aabbcc\n-\xf0\x9f\x98\x80 rgb(1,2,3)";
  const std::size_t textUnits = reference::decode(text)->size(), units = reference::decode(tarnwick::colorDiff(text, true, true))->size();
  for (std::size_t longest : {units, units - 1}) {
    const auto made = tarnwick::colorDiffUnits(text.data(), text.size(), textUnits, false, true, true, false, true, longest);
    EXPECT_EQ(std::to_string(made.made) + std::to_string(made.tooLong), longest == units ? "10" : "01") << longest;
  }
}

// Returns `length` bytes of short diff lines, seeded.
std::string shortLines(std::size_t length, unsigned seed) {
  const char* const lines[] = {"+added #aabbcc", "-removed rgb(1,2,3)", " context", "@@ -1,3 +1,4 @@ f()",
                               "\\ No newline at end of file", "+\xc3\xa9\xe2\x82\xac", ""};
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < length) text += std::string(lines[random() % 7]) + "\n";
  return text.substr(0, length);
}

// Short lines at the slice limits (10000 bytes are one chunk, 10001 are cut) and the swatch limit
// (150000 bytes have swatches, 150001 have none); lines cut inside: at a line feed among the first
// ten bytes, in a character, in a colour code.
TEST(ColorDiff, MatchesReferenceAtEveryCut) {
  const std::string longAdded = "+" + std::string(14999, 'x'), lines = shortLines(25000, 3);
  EXPECT_EQ(tarnwick::colorDiff(longAdded, false, true),
            kAdded + std::string(9999, 'x') + "</div>" + std::string(5000, 'x'));
  std::string whole;
  reference::runOnStack([&] { whole = reference::colorDiffChunk(lines, false, true); });
  EXPECT_EQ(tarnwick::colorDiff(lines, false, true), whole);
  for (std::size_t length : {150000u, 150001u}) {
    const std::string out = tarnwick::colorDiff("#aabbcc\n" + shortLines(length - 8, 9), true, true);
    EXPECT_EQ(out.find("color-preview") != std::string::npos, length == 150000u);
  }
  for (std::size_t length : {9999u, 10000u, 10001u, 20000u, 20001u, 25000u}) {
    expectSameForEveryFlag(shortLines(length, length), "short lines");
  }
  for (const std::string& text : {
           longAdded, std::string(10000, 'y') + "+rest\n-x", std::string(10000, 'y') + "@@ -1 +1 @@\nz",
           std::string(10000, 'y') + "-" + std::string(12000, 'z'), std::string(9998, 'r') + "rgb(1,2,3) #abcdef",
           "abc\n" + std::string(12000, '+') + "\n+x", std::string(9, 'a') + "\n" + std::string(30000, '-'),
           std::string(10, 'a') + "\n" + std::string(30000, '-'), std::string(20000, 'q'),
           std::string(9999, 'q') + "\n" + std::string(10000, 'q'),
           "+" + std::string(9998, 'x') + "\xc3\xa9 x\n-\xc3\xbf",
           std::string(9999, 'y') + "\xc3\xa9\n+\xc3\xa9 \xc3\xbf",
           std::string(9998, 'y') + "\xe2\x82\xac" + std::string(9997, 'y') + "\xf0\x9f\x98\x80",
           // A note whose line starts a 64-byte word and whose backslash ends it.
           std::string(63, 'a') + "\n" + std::string(63, 'b') + kNote + "\n"}) {
    expectSameForEveryFlag(text, "long line");
  }
}

// The scans read nothing past the text: texts of every short length, and one over a chunk, end
// where an inaccessible page begins.
TEST(ColorDiff, ReadsNothingPastTheText) {
  const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), size = 8 * page;
  char* const pages = static_cast<char*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_TRUE(pages != MAP_FAILED && mprotect(pages + size - page, page, PROT_NONE) == 0);
  std::string out;
  for (std::size_t length = 0; length <= 6 * page; length += length < 300 ? 1 : 5000) {
    const std::string text = shortLines(length, 5);
    char* const start = static_cast<char*>(std::memcpy(pages + size - page - length, text.data(), length));
    for (auto level : kLevels) {
      if (!tarnwick::forceScanLevel(level)) continue;
      out.assign(tarnwick::measureColorDiff(start, length, true, true).total + tarnwick::kColorDiffSlack, '\0');
      tarnwick::writeColorDiff(&out[0], start, length, true, true);
      tarnwick::colorDiffUnits(start, length, length, false, true, true, false, true, SIZE_MAX);
    }
  }
  munmap(pages, size);
}

// A one-megabyte single line leaves the stack alone: 64 KB are enough.
TEST(ColorDiff, RunsOnASmallStack) {
  const std::string text = "+" + std::string(1 << 20, 'x') + " #abcdef rgb(1,2,3)";
  std::string out;
  reference::runOnStack([&] { out = tarnwick::colorDiff(text, true, true); }, 64 * 1024);
  // Only the first chunk starts with a plus sign; swatches are off at this size.
  EXPECT_EQ(out.size(), text.size() + 63);
  EXPECT_EQ(out.compare(0, 4, "<div"), 0);
}

}  // namespace
