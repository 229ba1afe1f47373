#include "mergetool/blame_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "blame_reference.h"
#include "blame_samples.h"
#include "large_stack.h"

namespace {

std::string describe(const std::vector<tarnwick::BlameRecord>& records) {
  std::string out;
  for (const auto& r : records) {
    out += "[" + std::to_string(r.begin) + "," + std::to_string(r.end) + ") id " + std::to_string(r.commitId.end) +
           " author " + std::to_string(r.author.end) + " time " + std::to_string(r.authorTime.end) + " line " +
           std::to_string(r.line.begin) + "\n";
  }
  return out;
}

std::string record(const std::string& id, const std::string& numbers, const std::string& author) {
  return id + " " + numbers + "\nauthor " + author + "\nauthor-mail <a@b.c>\nauthor-time 1600000000\n" +
         "author-tz +0000\ncommitter C\ncommitter-mail <c@b.c>\ncommitter-time 1600000000\n" +
         "committer-tz +0000\nsummary s\nfilename f.txt\n\tline\n";
}

// Shapes whose reading is decided by backtracking, with the records each must give.
TEST(BlameParser, MalformedShapes) {
  const std::string good = record("abc123", "1 1 1", "Ann");
  struct Case {
    const char* name;
    std::string text;
    std::size_t records;
  };
  const Case cases[] = {
      {"plain", good, 1},
      {"empty author skipped, neighbours kept", good + record("def456", "2 2", "") + good, 2},
      {"CR LF everywhere", [&] {
         std::string t;
         for (char c : good) t += c == '\n' ? std::string("\r\n") : std::string(1, c);
         return t;
       }(), 1},
      {"author-mail on the author line", "abc 1 1\nauthor Ann author-mail <a>\nauthor-time 1 author-tz +0\n"
                                         "committer C\ncommitter-mail m\ncommitter-time 1\ncommitter-tz +0\n"
                                         "summary s\nfilename f\n\tx\n", 1},
      {"author name holding author-mail", "abc 1 1\nauthor author-mail x\nauthor-mail <a>\nauthor-time 1\n"
                                          "author-tz +0\ncommitter C\ncommitter-mail m\ncommitter-time 1\n"
                                          "committer-tz +0\nsummary s\nfilename f\n\tx\n", 1},
      {"garbage before and between", "zz\nq " + good + "xyz\n\n" + good, 2},
      {"boundary and previous", "abc 1 1\nauthor A\nauthor-mail m\nauthor-time 1\nauthor-tz +0\ncommitter C\n"
                                "committer-mail m\ncommitter-time 1\ncommitter-tz +0\nsummary s\nboundary\n"
                                "previous abc f\nfilename f\n\tx\n", 1},
      {"no final line feed", good.substr(0, good.size() - 1), 0},
      {"header split over lines", "abc\n1\n2\n3\nauthor A\nauthor-mail m\nauthor-time 1\nauthor-tz +0\n"
                                  "committer C\ncommitter-mail m\ncommitter-time 1\ncommitter-tz +0\nsummary s\n"
                                  "filename f\n\tx\n", 1},
  };
  for (const Case& c : cases) {
    const auto expected = reference::parseBlame(c.text);
    const auto actual = tarnwick::parseBlame(c.text);
    EXPECT_EQ(describe(actual), describe(expected)) << c.name;
    EXPECT_EQ(actual.size(), c.records) << c.name;
  }
}

TEST(BlameParser, MatchesReferenceOnGeneratedText) {
  for (std::uint32_t seed = 1; seed <= 30000; ++seed) {
    const std::string text = reference::makeAdversarialBlame(seed);
    const auto expected = reference::parseBlame(text);
    const auto actual = tarnwick::parseBlame(text);
    ASSERT_TRUE(actual == expected) << "seed " << seed << "\nexpected\n"
                                    << describe(expected) << "actual\n"
                                    << describe(actual) << "text\n"
                                    << text;
  }
}

// Many copies of the next keyword on one author line, and a megabyte line, stay within a 64 KB
// stack and give what the reference gives.
TEST(BlameParser, LongLinesOnASmallStack) {
  std::string crowded;
  for (int i = 0; i < 500; ++i) crowded += "author-mail x ";  // the reference is quadratic here
  std::string longLine(1 << 20, 'y');
  const std::string texts[] = {
      record("abc", "1 1", crowded), record("abc", "1 1", crowded) + "abc 1 1\nauthor " + crowded + "\n",
      record("abc", "1 1", longLine), "abc 1 1\nauthor " + longLine + "author-mail\n" + longLine + "\n"};
  for (const std::string& text : texts) {
    std::vector<tarnwick::BlameRecord> actual, expected;
    reference::runOnStackOf(64 * 1024, [&] { actual = tarnwick::parseBlame(text); });
    reference::runOnBigStack([&] { expected = reference::parseBlame(text); });
    EXPECT_TRUE(actual == expected) << describe(actual) << describe(expected);
  }
  // Too slow for the reference: the longest author wins, the whole crowded line.
  std::string crowdedMore;
  for (int i = 0; i < 50000; ++i) crowdedMore += "author-mail x ";
  const std::string text = record("abc", "1 1", crowdedMore);
  std::vector<tarnwick::BlameRecord> actual;
  reference::runOnStackOf(64 * 1024, [&] { actual = tarnwick::parseBlame(text); });
  ASSERT_EQ(actual.size(), 1u);
  EXPECT_EQ(text.substr(actual[0].author.begin, actual[0].author.end - actual[0].author.begin), crowdedMore);
}

}  // namespace
