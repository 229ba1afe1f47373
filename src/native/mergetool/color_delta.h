#ifndef UTILS_MERGETOOL_COLOR_DELTA_H
#define UTILS_MERGETOOL_COLOR_DELTA_H

#include <string>
#include <string_view>

namespace tarnwick {

// The three channels of a colour text, as sscanf "%02x%02x%02x" reads them.
struct HexColor {
  int red = 0;
  int green = 0;
  int blue = 0;
};

// Returns the channels that sscanf with "%02x%02x%02x" reads from `text` (up to its first zero
// byte), so whitespace before a channel is skipped and a sign or "0x" counts toward a channel's
// two characters. A channel the scan cannot read is 0. Reads a bounded prefix of `text` beyond
// its leading whitespace runs, however long `text` is.
HexColor readHexColor(std::string_view text);

// Returns the similarity of two colours, 1 for equal and 0 for black against white: the mean of
// (255 - |difference|) / 255 over the channels, in single precision in a fixed order.
float hexColorDelta(const HexColor& first, const HexColor& second);

// Returns hexColorDelta of the colours that the two texts hold (six hexadecimal digits, red,
// green, blue, without "#"). Symmetric in its arguments.
float getHexColorDelta(std::string first, std::string second);

}  // namespace tarnwick

#endif
