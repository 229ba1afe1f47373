#include "mergetool/color_delta.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace tarnwick {

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool isScanSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

}  // namespace

HexColor readHexColor(std::string_view text) {
  HexColor color;
  // Six hexadecimal digits, the form git ids and colour texts take: read directly.
  if (text.size() >= 6) {
    int digits[6];
    bool plain = true;
    for (int i = 0; i < 6 && plain; ++i) plain = (digits[i] = hexValue(text[i])) >= 0;
    if (plain) {
      color.red = digits[0] * 16 + digits[1];
      color.green = digits[2] * 16 + digits[3];
      color.blue = digits[4] * 16 + digits[5];
      return color;
    }
  }
  // Anything else goes to sscanf itself, on a copy in which each whitespace run is one space: the
  // scan skips a run whatever its length and then reads at most two characters per channel (and
  // looks at one more), so 16 characters of the copy decide the result.
  char bounded[17];
  std::size_t used = 0;
  for (std::size_t i = 0; i < text.size() && text[i] != '\0' && used < 16; ++i) {
    if (isScanSpace(text[i])) {
      if (used == 0 || bounded[used - 1] != ' ') bounded[used++] = ' ';
    } else {
      bounded[used++] = text[i];
    }
  }
  bounded[used] = '\0';
  unsigned int red = 0, green = 0, blue = 0;
  std::sscanf(bounded, "%02x%02x%02x", &red, &green, &blue);
  color.red = static_cast<int>(red);
  color.green = static_cast<int>(green);
  color.blue = static_cast<int>(blue);
  return color;
}

float hexColorDelta(const HexColor& first, const HexColor& second) {
  const float red = static_cast<float>(255 - std::abs(first.red - second.red)) / 255.0f;
  const float green = static_cast<float>(255 - std::abs(first.green - second.green)) / 255.0f;
  const float blue = static_cast<float>(255 - std::abs(first.blue - second.blue)) / 255.0f;
  float sum = red + green;
  sum = sum + blue;
  return sum / 3.0f;
}

float getHexColorDelta(std::string first, std::string second) {
  return hexColorDelta(readHexColor(first), readHexColor(second));
}

}  // namespace tarnwick
