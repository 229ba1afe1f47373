// The commit list: the log parser and the options built from it, against the std::regex
// formulation on golden shapes and generated logs, whole and arriving in pieces. Runs with TZ=UTC.
#include "mergetool/commit_list.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "commit_log_reference.h"
#include "git_samples.h"
#include "in_pieces.h"
#include "large_stack.h"
#include "mergetool/html_escape.h"

namespace {

// Returns the options of a whole log.
std::string optionsOf(const std::string& log, const std::string& filePath, const std::string& selected) {
  return reference::fedInPieces(tarnwick::CommitOptionsRenderer(filePath, selected, SIZE_MAX), log, log.size() + 1);
}

const std::string kFull = "3f9c2e1d8a4b7c6e5f0a1b2c3d4e5f6a7b8c9d0e";

std::string option(const std::string& path, const std::string& label, const std::string& value = "3f9c2e1",
                   const std::string& dlcid = kFull, bool selected = false) {
  return "<option data-dfp='" + path + "' data-dlcid='" + dlcid + "' value='" + value + "' " +
         (selected ? " selected " : "") + ">" + value + " " + label + "</option>";
}

TEST(RenderCommitOptions, GoldenTable) {
  struct Golden {
    const char* name;
    std::string log, selected, expected;
  };
  const std::string head = "3f9c2e1 " + kFull + " 1600000000 ", sep = "13 Sep 2020 ", s100(100, 's');
  const std::string quotes(40, '"'), q6 = reference::escapeHtml(quotes);
  const std::string euroAt99 = std::string(99, 's') + "\xe2\x82\xac";  // 102 bytes, cut inside the euro sign
  const Golden table[] = {
      {"nothing printed", "", "", ""},
      {"one commit", head + "Update readme\n\nM\tsrc/a.txt\n", "", option("src/a.txt", sep + "Update readme")},
      {"selected, every equal hash", head + "a\n\nM\tf\n" + head + "b\n\nM\tf\n", "3f9c2e1",
       option("f", sep + "a", "3f9c2e1", kFull, true) + option("f", sep + "b", "3f9c2e1", kFull, true)},
      {"a prefix selects nothing", head + "u\n\nM\tf\n", "3f9c2e", option("f", sep + "u")},
      {"a longer hash selects nothing", head + "u\n\nM\tf\n", "3f9c2e1 ", option("f", sep + "u")},
      {"subject of 100 bytes", head + s100 + "\n\nM\tf\n", "", option("f", sep + s100)},
      {"subject of 101 bytes", head + s100 + "t\n\nM\tf\n", "", option("f", sep + s100 + "...")},
      {"cut through a character", head + euroAt99 + "\n\nM\tf\n", "",
       option("f", sep + euroAt99.substr(0, 100) + "...")},
      {"rename takes the path as passed", head + "mv\n\nR100\told\tnew\n", "", option("&lt;in&gt;", sep + "mv")},
      {"path up to its first space", head + "s\n\nM\tmy file.txt\n", "", option("my", sep + "s")},
      {"carriage returns", head + "s\r\n\r\nM\tf\r\n", "", option("f", sep + "s\r")},
      {"no final line feed", head + "s\n\nM\tf\n" + head + "t\n\nM\tf", "", option("f", sep + "s")},
      {"merge without a name-status line", "m " + kFull + " 17 Merge x\n" + head + "fix\n\nM\tf\n", "",
       option("f", "01 Jan 1970 " + head + "fix", "17", "Merge")},
      {"empty subject", "e E 1600000000 \n\nM\tf\nh H 5 next\n\nA\tg\n", "",
       option("g", "01 Jan 1970 H 5 next", "M", "f")},
      {"the same day of another year", "a b 1111111888 s\n\nM\tf\nc d 984881488 t\n\nM\tf\n", "",
       option("f", "18 Mar 2005 s", "a", "b") + option("f", "18 Mar 2001 t", "c", "d")},
      {"every decimal digit", "a b 123456789 s\n\nM\tf\n", "", option("f", "29 Nov 1973 s", "a", "b")},
      {"hexadecimal, octal and dateless times",
       "a b 0x10 s\n\nM\tf\nc d 010 t\n\nM\tf\ne f 0x7fffffffffffffff u\n\nM\tf\ng h 99999999999999999999 v\n\nM\tf\n",
       "", option("f", "01 Jan 1970 s", "a", "b") + option("f", "01 Jan 1970 t", "c", "d") + option("f", " u", "e", "f") +
               option("f", "31 Dec 1969 v", "g", "h")},
      {"escaped values", "<a> \"b\" 0 it's & <i>\n\nM\t&'.txt\n", "<a>",
       option("&amp;&#39;.txt", "01 Jan 1970 it&#39;s &amp; &lt;i&gt;", "&lt;a&gt;", "&quot;b&quot;", true)},
      {"escaping after the cut", head + std::string(99, 's') + "&more\n\nM\tf\n", "",
       option("f", sep + std::string(99, 's') + "&amp;...")},
      // Every value at its longest escaped form: the most an option can take.
      {"quotes everywhere", quotes + " " + quotes + " 1600000000 " + std::string(101, '"') + "\n\nM\t" + quotes + "\n",
       quotes, option(q6, sep + q6 + q6 + q6.substr(0, 120) + "...", q6, q6, true)},
  };
  for (const Golden& row : table) {
    EXPECT_EQ(optionsOf(row.log, "<in>", row.selected), row.expected) << row.name;
    EXPECT_EQ(reference::renderCommitOptions(row.log, "<in>", row.selected), row.expected) << row.name;
  }
}

// Every length around the eight-byte steps, with the special bytes at every place.
TEST(WriteEscapedHtml, MatchesPlainReplacement) {
  std::mt19937 random(11);
  const std::string alphabet = "a&<>'\"\xc3";
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % 40, 'a');
    for (char& c : text) c = alphabet[random() % (random() % 2 ? 1 : alphabet.size())];
    std::string out(6 * text.size(), '\0');
    out.resize(static_cast<std::size_t>(tarnwick::writeEscapedHtml(&out[0], text.data(), text.size()) - out.data()));
    ASSERT_EQ(out, reference::escapeHtml(text)) << text;
  }
}

// Returns `pieces` picked at random, each with bytes replaced (from `alphabet`), dropped or doubled
// at a rate picked per log, up to a third.
std::string generatedLog(std::mt19937& random, const std::vector<std::string>& pieces, const std::string& alphabet,
                         unsigned count) {
  const unsigned rate = random() % 34;
  std::string log;
  for (unsigned n = random() % (count + 1); n > 0; --n) {
    for (char c : pieces[random() % pieces.size()]) {
      const unsigned roll = random() % 100;
      if (roll >= rate) log += c;
      else if (roll % 3 == 0) log += alphabet[random() % alphabet.size()];
      else if (roll % 3 == 1) log += std::string(2, c);
    }
  }
  return log;
}

// The smallest record shapes over tiny alphabets reach every way of lining up words, whitespace
// and line ends; git-like lines reach the dates, renames and escaping.
TEST(RenderCommitOptions, MatchesReferenceOnGeneratedLogs) {
  const std::vector<std::string> tiny = {
      "a a a a\n\na a\n", "a a a a\r\n\r\na a\r\n", "a a a a\n", "a\n", "a a a \n\na a\n", "\n", "a a a a\n\na\ta a\n"};
  const std::vector<std::string> gitLike = {
      "3f9c2e1 3f9c2e1d8a4b 1600000000 Update readme\n", "\n", "\r\n", "M\tsrc/a.txt\n",
      "R100\told name.txt\tnew name.txt\n", "A\tmy file.txt\r\n", "e1 E1 0x1f \n", "m1 M1 17 Merge branch 'x'\n",
      "h H 1 \xc3\xa9 & <b> \"q\"\r\n", std::string("M\t\0\n", 4), "garbage line\n", " \t \n", "D\tp\n\n"};
  // Lines longer than the subject shown, for the trimming of long lines.
  const std::string words = std::string("a a a\tab  a b a ").append(150, 'a') + " a b a a a  b a b a";
  const std::vector<std::string> longLines = {"a a a " + words + "\n\na a\n", "a a\n" + words + "\n\na " + words + "\n",
                                              "a a a a\n\n" + words + "\n", words + "\n\na a\n", "a\n"};
  reference::runOnStack([&] {
    std::mt19937 random(1);
    for (const auto& [pieces, alphabet, count, rounds, least] :
         {std::tuple(&tiny, "a \n\r\t", 4u, 40000, 6000), std::tuple(&tiny, "ab \n\r\t\v\f", 6u, 20000, 3000),
          std::tuple(&gitLike, " \t\n\rxM", 14u, 20000, 3000), std::tuple(&longLines, "a \n\r\t", 4u, 6000, 600)}) {
      int withRecords = 0;
      for (int round = 0; round < rounds; ++round) {
        const std::string log = generatedLog(random, *pieces, alphabet, count);
        const std::string expected = reference::renderCommitOptions(log, "p", "a");
        ASSERT_EQ(optionsOf(log, "p", "a"), expected) << testing::PrintToString(log);
        const std::size_t piece = 1 + round % 23, trimFrom = round % 4 * 20;
        ASSERT_EQ(reference::fedInPieces(tarnwick::CommitOptionsRenderer("p", "a", SIZE_MAX, trimFrom), log, piece), expected)
            << testing::PrintToString(log) << " piece " << piece << " trim " << trimFrom;
        withRecords += !expected.empty();
      }
      EXPECT_GT(withRecords, least) << "the generator misses the record shapes";
    }
  });
}

// The parser neither recurses nor rescans: a 64 KB stack holds it on megabyte lines.
TEST(RenderCommitOptions, HugeLinesOnASmallStack) {
  const std::string subject(std::size_t{1} << 20, 's');
  const std::string log = "h H 1 " + subject + "\n\nM\tf\n" + std::string(std::size_t{1} << 20, ' ') + "x";
  std::string options;
  reference::runOnStack([&] { options = optionsOf(log, "p", ""); }, 64 * 1024);
  EXPECT_EQ(options, option("f", "01 Jan 1970 " + subject.substr(0, 100) + "...", "h", "H"));
}

}  // namespace
