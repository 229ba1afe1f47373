#include "mergetool/color_delta.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "blame_reference.h"

namespace {

TEST(GetHexColorDelta, GoldenTable) {
  struct Row {
    const char* first;
    const char* second;
    float expected;
  };
  const Row table[] = {
      {"ffffff", "ffffff", 1.0f},        {"2a7fc0", "2a7fc0", 1.0f},      {"000000", "ffffff", 0.0f},
      {"ff0000", "000000", 2.0f / 3.0f}, {"595959", "000000", 0.6509804f}, {"5a5a5a", "000000", 0.6470588f},
      {"3f3f3f", "000000", 0.7529412f},  {"d4d4d4", "ffffff", 0.8313726f}, {"ABCDEF", "abcdef", 1.0f},
      {"ff00ff33", "ff00ff", 1.0f},
  };
  for (const Row& row : table) {
    EXPECT_FLOAT_EQ(tarnwick::getHexColorDelta(row.first, row.second), row.expected) << row.first << " " << row.second;
    EXPECT_EQ(tarnwick::getHexColorDelta(row.first, row.second), tarnwick::getHexColorDelta(row.second, row.first));
  }
  // The code view's threshold: a sum of channel differences of 267 passes, 268 and 270 do not.
  EXPECT_GT(static_cast<double>(tarnwick::getHexColorDelta("595959", "000000")), 0.65);
  EXPECT_FALSE(static_cast<double>(tarnwick::getHexColorDelta("5a5959", "000000")) > 0.65);
  EXPECT_FALSE(static_cast<double>(tarnwick::getHexColorDelta("5a5a5a", "000000")) > 0.65);
  EXPECT_GT(static_cast<double>(tarnwick::getHexColorDelta("ff0000", "000000")), 0.65);
}

// Every split of every channel-difference sum decides the threshold by the sum alone.
TEST(GetHexColorDelta, ThresholdDependsOnTheSumOnly) {
  for (int red = 0; red <= 255; red += 3) {
    for (int green = 0; green <= 255; green += 5) {
      for (int blue = 0; blue <= 255; blue += 1) {
        char text[8];
        std::snprintf(text, sizeof text, "%02x%02x%02x", red, green, blue);
        const bool passes = static_cast<double>(tarnwick::getHexColorDelta(text, "000000")) > 0.65;
        ASSERT_EQ(passes, red + green + blue <= 267) << text;
      }
    }
  }
}

// Texts that are not six hex digits read as sscanf reads them: whitespace skipped, signs, "0x",
// short and empty texts, zero bytes.
TEST(GetHexColorDelta, MatchesSscanfOnAnyText) {
  const char* const pieces[] = {"f", "0", "a", "F", "9", " ", "\t", "\n", "+", "-", "x", "0x", "#", "g", "\xc3\xa9",
                                std::string("\0", 1).c_str()};
  std::mt19937 random(5300);
  for (int round = 0; round < 20000; ++round) {
    std::string first, second;
    for (int i = static_cast<int>(random() % 10); i > 0; --i) first += pieces[random() % 15];
    for (int i = static_cast<int>(random() % 10); i > 0; --i) second += pieces[random() % 15];
    if (random() % 10 == 0) first.insert(random() % (first.size() + 1), 1, '\0');
    if (random() % 10 == 0) first = std::string(random() % 40, ' ') + first;
    ASSERT_EQ(tarnwick::getHexColorDelta(first, second), reference::getHexColorDelta(first, second))
        << "[" << first << "] [" << second << "]";
  }
}

}  // namespace
