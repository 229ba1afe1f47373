// Colour similarity: golden values, and texts that are not six hex digits read as sscanf reads them.
#include "mergetool/color_delta.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <tuple>

#include "blame_reference.h"

namespace {

TEST(GetHexColorDelta, GoldenValues) {
  const std::tuple<const char*, const char*, float> table[] = {
      {"ffffff", "ffffff", 1.0f},       {"2a7fc0", "2a7fc0", 1.0f},       {"000000", "ffffff", 0.0f},
      {"ff0000", "000000", 2.0f / 3},   {"595959", "000000", 0.6509804f}, {"5a5a5a", "000000", 0.6470588f},
      {"3f3f3f", "000000", 0.7529412f}, {"d4d4d4", "ffffff", 0.8313726f}, {"ABCDEF", "abcdef", 1.0f},
      {"ff00ff33", "ff00ff", 1.0f}};
  for (const auto& [first, second, expected] : table) {
    EXPECT_FLOAT_EQ(tarnwick::getHexColorDelta(first, second), expected) << first << " " << second;
  }
}

// Hex digits mixed with the bytes just outside their classes, whitespace, signs, "0x", short
// texts and zero bytes.
TEST(GetHexColorDelta, MatchesSscanfOnAnyText) {
  const std::string digits = "0123456789abcdefABCDEF";
  const char* const others[] = {"/", ":", "`", "g", "@", "G", " ", "\t", "\n", "+", "-", "x", "0x", "#", "\xc3\xa9"};
  std::mt19937 random(5300);
  for (int round = 0; round < 20000; ++round) {
    std::string first, second;
    for (std::string* text : {&first, &second}) {
      for (int i = random() % 10; i > 0; --i) {
        *text += random() % 4 ? std::string(1, digits[random() % digits.size()]) : others[random() % std::size(others)];
      }
    }
    if (random() % 10 == 0) first.insert(random() % (first.size() + 1), 1, '\0');
    if (random() % 10 == 0) first = std::string(random() % 40, ' ') + first;
    ASSERT_EQ(tarnwick::getHexColorDelta(first, second), reference::getHexColorDelta(first, second))
        << "[" << first << "] [" << second << "]";
  }
}

}  // namespace
