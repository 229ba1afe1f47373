// Changed words: golden blocks, and generated ones against the rules and a quadratic table.
#include "diff/changed_words.h"
#include "diff/word_marks.h"

#include <gtest/gtest.h>

#include <random>

#include "changed_words_reference.h"

namespace {

TEST(ChangedWords, GoldenBlocks) {
  tarnwick::ChangedWords words;  // one for every block, as the diff view keeps it
  std::string tail, a31(31, 'a');  // an entity's name has at most 32 bytes
  for (int i = 0; i < 1023; ++i) tail += " y";
  const std::string within(131000, 'w'), past(132000, 'w');  // two of them just within the byte bound, or past it
  // A one-word change just within the bound of tokens and lines, and past it by a line or a token
  // or by its bytes.
  const std::pair<std::string, std::string> rows[] = {
      {"-x" + tail + "\n+z" + tail, "-[x]" + tail + "\n+[z]" + tail},
      {"-x" + tail + "\n+z" + tail + "\n+", "-x" + tail + "\n+z" + tail + "\n+"},
      {"-x" + tail + "\n+z" + tail + ";", "-x" + tail + "\n+z" + tail + ";"},
      {"-" + within + " x\n+" + within + " z", "-" + within + " [x]\n+" + within + " [z]"},
      {"-" + past + " x\n+" + past + " z", "-" + past + " x\n+" + past + " z"},
      {"-&" + a31 + "a; x\n+&" + a31 + "b; x", "-[&" + a31 + "a;] x\n+[&" + a31 + "b;] x"},
      {"-&" + a31 + "aa; x\n+&" + a31 + "ab; x", "-&[" + a31 + "aa]; x\n+&[" + a31 + "ab]; x"},
      {"-int x = 1;\n+int x = 2;", "-int x = [1];\n+int x = [2];"}, {"-a b c d\n+b c d a", "-[a ]b c d\n+b c d[ a]"},
      {"-a_name_of_22_bytes_ = 1;\n+a_name_of_22_bytes_ += 2;", "-a_name_of_22_bytes_ = [1];\n+a_name_of_22_bytes_ [+]= [2];"},
      {"-  color: #aabbcc;\n+  color: #aabbcd;", "-  color: [#aabbcc];\n+  color: [#aabbcd];"},
      {"-if (a) {\n-  run();\n-}\n+if (a) run();\n+else stop();", "-if (a) [{]\n-[  ]run();\n-[}]\n+if (a) run();\n+[else stop();]"},
      {"-na\xc3\xafve caf\xc3\xa9\n+na\xc3\xafve caff\xc3\xa8", "-na\xc3\xafve [caf\xc3\xa9]\n+na\xc3\xafve [caff\xc3\xa8]"},
      {"-a &lt; b &amp;&amp; c\n+a &gt; b && c", "-a [&lt;] b [&amp;&amp;] c\n+a [&gt;] b [&&] c"},
      {"-a b\r\n+a c\r", "-a [b]\r\n+a [c]\r"}, {"-alpha beta gamma\n+one two three", "-alpha beta gamma\n+one two three"},
      {"-a b\n-c", "-a b\n-c"}, {"+a b", "+a b"},
      {"-x\n+y\n-a b c\n+a b d", "-x\n+y\n-a b c\n+a b d"}};
  for (const auto& [block, expected] : rows) EXPECT_EQ(reference::bracketed(words, block), expected) << block;
}

// Blocks of up to three lines a side, made of tokens of every kind (numbers make most of a block's
// tokens differ) and edited apart, lines moved among them; lone sides and blocks under the threshold.
TEST(ChangedWords, GeneratedBlocksKeepTheRules) {
  const char* const tokens[] = {"a", "b", "x_1", " ", "  ", "\t", "(", ")", ";", "&lt;", "&#x1F;", "&", "#aabbcc",
                                "#aabbc", "\xc3\xa9", "\xe2\x82\xac", "\r"};
  std::mt19937 random(3203);
  const auto token = [&] { return random() % 2 ? tokens[random() % std::size(tokens)] : " " + std::to_string(random() % 300); };
  std::string diff;
  for (int block = 0; block < 4000; ++block) {
    std::vector<std::string> lines(random() % 4);
    for (std::string& line : lines) {
      for (int i = random() % 80; i > 0; --i) line += token();
      diff += "-" + line + "\n";
    }
    const std::size_t moved = random() % 3;
    for (std::size_t l = random() % 2; l < lines.size() + random() % 2; ++l) {
      std::string line = l < lines.size() ? lines[(l + moved) % lines.size()] : "";
      for (int edits = random() % 9; edits > 0; --edits) line.insert(random() % (line.size() + 1), token());
      if (!line.empty() && random() % 2) line.erase(random() % line.size(), 1 + random() % 3);
      diff += "+" + line + "\n";
    }
    diff += " \n";
  }
  tarnwick::ChangedWords words;
  EXPECT_EQ(reference::checkChangedWords(words, diff), "");
}

// A block with a line that the diff's chunking may cut, one past 9,000 bytes, gets no marks.
TEST(ChangedWords, NoMarksInABlockWithALineTheChunkingMayCut) {
  tarnwick::ChangedWords words;
  for (const std::size_t size : {9000, 9001}) {
    const std::string diff = "@@ -1 +1 @@\n-" + std::string(size - 2, 'w') + " x\n+" + std::string(size - 2, 'w') + " z\n";
    EXPECT_EQ(tarnwick::findWordMarks(diff.data(), diff.size(), false, words).size(), size == 9000 ? 2u : 0u);
  }
}

}  // namespace
