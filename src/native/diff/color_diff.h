#ifndef UTILS_DIFF_COLOR_DIFF_H
#define UTILS_DIFF_COLOR_DIFF_H

#include <string>

namespace tarnwick {

// Returns the diff view's HTML for a whole diff. Swatches are off for a text over 150000 bytes;
// a text over 10000 bytes is coloured in chunks cut at the slice's last line feed (at index 10 or
// more of a 10000-byte slice, else after 10000 bytes), the line feed starting the next chunk.
std::string colorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved);

}  // namespace tarnwick

#endif
