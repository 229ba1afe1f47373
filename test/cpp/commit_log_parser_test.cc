#include "mergetool/commit_log_parser.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "commit_log_reference.h"
#include "large_stack.h"

namespace {

// Returns the records as "begin-end:g1|g2|g3|g4|g5|g6;" with line ends and tabs shown as \n \r \t.
std::string describe(const std::string& log, const std::vector<tarnwick::CommitRecord>& records) {
  auto group = [&](tarnwick::TextRange range) {
    std::string out;
    for (std::size_t i = range.begin; i < range.end; ++i) {
      const char c = log[i];
      out += c == '\n' ? "\\n" : c == '\r' ? "\\r" : c == '\t' ? "\\t" : std::string(1, c);
    }
    return out;
  };
  std::string out;
  for (const tarnwick::CommitRecord& r : records) {
    out += std::to_string(r.record.begin) + "-" + std::to_string(r.record.end) + ":" + group(r.abbreviatedHash) +
           "|" + group(r.fullHash) + "|" + group(r.authorTime) + "|" + group(r.subject) + "|" +
           group(r.status) + "|" + group(r.path) + ";";
  }
  return out;
}

// Every row holds its record ranges and groups; the reference must agree with each.
TEST(ParseCommitLog, GoldenTable) {
  struct Golden {
    const char* name;
    std::string log;
    std::string expected;
  };
  const Golden table[] = {
      {"empty", "", ""},
      {"one commit", "a1 a1full 1600000000 Update readme\n\nM\tsrc/a.txt\n",
       "0-48:a1|a1full|1600000000|Update readme|M|src/a.txt;"},
      {"rename line", "h H 5 Move\n\nR100\told name\tnew\n", "0-30:h|H|5|Move|R100|old;"},
      {"path with a space", "h H 5 s\n\nM\tmy file.txt\n", "0-23:h|H|5|s|M|my;"},
      {"merge without name-status line", "m M 1 Merge x\nh H 2 Fix it\n\nM\tf\n",
       "4-32:1|Merge|x|h H 2 Fix it|M|f;"},
      {"empty subject", "e E 1 \n\nM\tf\nh H 2 Next one\n\nM\tf\n", "8-32:M|f|h|H 2 Next one|M|f;"},
      {"carriage returns", "h H 5 Subject\r\n\r\nM\tf\r\n", "0-22:h|H|5|Subject\\r|M|f;"},
      {"no final line feed", "h H 5 s\n\nM\tf\ng G 6 t\n\nM\tf", "0-13:h|H|5|s|M|f;"},
      {"garbage between records", "junk\n\nh H 5 s\n\nM\tf\n--\nmore junk\ng G 6 t\n\nA\tb\n",
       "6-19:h|H|5|s|M|f;19-45:--|more|junk|g G 6 t|A|b;"},
      {"words and gaps across lines", "a\nb\nc\nd\n\nM\n\n\tp q\n", "0-17:a|b|c|d|M|p;"},
      {"a status right under the header", "h H 5 s\nM\tf\n", ""},
      {"two spaces between words", "h  H 5 s\n\nM\tf\n", ""},
      {"a stray word before the header", "x h H 5 s\n\nM\tf\n", "0-15:x|h|H|5 s|M|f;"},
      {"only two words", "h H\n\nM\tf\n", ""},
      {"lone carriage returns around the empty line", "h H 5 s\r\r\n\nM\tf\n", "0-15:h|H|5|s\\r\\r|M|f;"},
      {"a carriage return that is not before a line feed", "h H 5 s\n\r\rM\tf\n", ""},
      {"status and path on one word", "h H 5 s\n\nMf\n", ""},
      {"nothing after the status", "h H 5 s\n\nM \n", ""},
      {"a path ending the line", "h H 5 s\n\nM\tf\n\n", "0-13:h|H|5|s|M|f;"},
  };
  for (const Golden& row : table) {
    EXPECT_EQ(describe(row.log, tarnwick::parseCommitLog(row.log)), row.expected) << row.name;
    EXPECT_EQ(describe(row.log, reference::parseCommitLog(row.log)), row.expected) << row.name;
  }
}

// Runs `count` generated logs through both parsers; `generate` makes one log from the random
// source. Returns how many of the logs held a record, so a generator that never reaches the
// interesting shapes shows.
template <class Generate>
int compareOnGenerated(unsigned seed, int count, Generate generate) {
  int withRecords = 0;
  reference::runOnBigStack([&] {
    std::mt19937 random(seed);
    for (int round = 0; round < count; ++round) {
      const std::string log = generate(random);
      const auto expected = reference::parseCommitLog(log);
      const auto actual = tarnwick::parseCommitLog(log);
      if (!(actual == expected)) {
        ADD_FAILURE() << "seed " << seed << " round " << round << "\nlog: " << testing::PrintToString(log)
                      << "\nexpected:\n" << describe(log, expected) << "actual:\n" << describe(log, actual);
        return;
      }
      if (!expected.empty()) ++withRecords;
    }
  });
  return withRecords;
}

// Returns `text` with each byte replaced, dropped or doubled at a rate picked per call (up to a
// third), replacements drawn from `alphabet`.
std::string mutate(std::mt19937& random, const std::string& text, const std::string& alphabet) {
  const unsigned rate = random() % 34;
  std::string out;
  for (char c : text) {
    const unsigned roll = random() % 100;
    if (roll >= rate) out += c;
    else if (roll % 3 == 0) out += alphabet[random() % alphabet.size()];
    else if (roll % 3 == 1) out += std::string(2, c);
  }
  return out;
}

// Returns up to `count` pieces picked from `pieces`, each mutated over `alphabet`.
std::string mutatedPieces(std::mt19937& random, const std::vector<std::string>& pieces, const std::string& alphabet,
                     unsigned count) {
  std::string log;
  const unsigned n = random() % (count + 1);
  for (unsigned i = 0; i < n; ++i) log += mutate(random, pieces[random() % pieces.size()], alphabet);
  return log;
}

// The smallest record shapes over a five-byte alphabet reach every way of lining up words,
// whitespace and line ends.
TEST(ParseCommitLog, MatchesReferenceOnSmallAlphabets) {
  const std::string alphabet("a \n\r\t");
  const std::vector<std::string> pieces = {"a a a a\n\na a\n", "a a a a\r\n\r\na a\r\n", "a a a a\n", "a\n",
                                           "a a a \n\na a\n", "\n", "a a a a\n\na\ta a\n"};
  EXPECT_GT(compareOnGenerated(1, 60000, [&](std::mt19937& r) { return mutatedPieces(r, pieces, alphabet, 4); }), 10000);
  const std::string wider("ab \n\r\t\v\f");
  EXPECT_GT(compareOnGenerated(2, 30000, [&](std::mt19937& r) { return mutatedPieces(r, pieces, wider, 6); }), 5000);
}

// Lines as git prints them, and as a damaged or unusual log would hold them.
TEST(ParseCommitLog, MatchesReferenceOnGitLikeLines) {
  const std::string zero(1, '\0');
  const std::vector<std::string> pieces = {
      "3f9c2e1 3f9c2e1d8a4b 1600000000 Update readme\n", "\n", "\r\n", "M\tsrc/a.txt\n",
      "R100\told name.txt\tnew name.txt\n", "A\tmy file.txt\r\n", "e1 E1 0x1f \n", "m1 M1 17 Merge branch 'x'\n",
      "h H 1 \xc3\xa9 & <b> \"q\"\r\n", "M\t" + zero + "\n", "garbage line\n", " \t \n", "D\tp\n\n"};
  EXPECT_GT(compareOnGenerated(3, 30000, [&](std::mt19937& r) { return mutatedPieces(r, pieces, " \t\n\rxM", 14); }),
            5000);
}

// Long runs: the parser neither recurses nor rescans, so a 64 KB stack holds it on a huge line.
TEST(ParseCommitLog, HugeInputOnSmallStack) {
  const std::string subject(std::size_t{1} << 20, 's');
  const std::string log = "h H 1 " + subject + "\n\nM\tf\n" + std::string(std::size_t{1} << 20, ' ') + "x";
  std::size_t count = 0, subjectLength = 0;
  auto body = [&] {
    const auto records = tarnwick::parseCommitLog(log);
    count = records.size();
    if (count == 1) subjectLength = records[0].subject.end - records[0].subject.begin;
  };
  struct Call {
    static void* run(void* f) {
      (*static_cast<decltype(body)*>(f))();
      return nullptr;
    }
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 64 * 1024);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, &Call::run, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(subjectLength, subject.size());
}

}  // namespace
