#include "color_diff_reference.h"

#include <regex>

namespace reference {

std::string colorDiffChunk(std::string text, bool showColorPreviews, bool markAddedRemoved) {
  const auto flags = std::regex::ECMAScript | std::regex::optimize;
  static const std::regex added("(^|\n)\\+{1}(.*)", flags);
  static const std::regex removed("(^|\n)\\-{1}(.*)", flags);
  static const std::regex header("(^|\n)(@@.*)", flags);
  static const std::regex note("(^|\n)(.*\\\\ No newline at end of file.*)", flags);
  static const std::regex hex("(#[a-fA-F0-9]{6,8})", flags);
  static const std::regex rgb("(rgb[a]*\\s*\\(\\d+\\s?,\\s?\\d+\\s?,\\s?\\d+\\s?(,\\s?\\d*(\\.\\d+)?\\s?)?\\))", flags);
  const std::string swatch = "<span class='color-preview' style='background-color: $1'></span>$1";
  if (markAddedRemoved) {
    text = std::regex_replace(text, added, "$1<div class='diff-added'><span class='diff-action'>+</span>$2</div>");
    text = std::regex_replace(text, removed, "$1<div class='diff-removed'><span class='diff-action'>-</span>$2</div>");
  }
  text = std::regex_replace(text, header,
                            "$1\n<div class='diff-break'>$2<div class='tools'>"
                            "<span class='discard-hunk link'>discard hunk</span>"
                            "<span class='stage-hunk link'>stage hunk</span>"
                            "<span class='unstage-hunk link'>unstage hunk</span>"
                            "<span class='revert-hunk link'>revert hunk</span></div></div>\n");
  text = std::regex_replace(text, note, "$1\n<div class='diff-break'>$2</div>\n");
  if (showColorPreviews) {
    text = std::regex_replace(text, hex, swatch);
    text = std::regex_replace(text, rgb, swatch);
  }
  return text;
}

std::string colorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved) {
  if (text.size() > 150000) showColorPreviews = false;
  if (text.size() <= 10000) return colorDiffChunk(text, showColorPreviews, markAddedRemoved);
  std::string out;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::string slice = text.substr(start, 10000);
    const std::size_t feed = slice.rfind('\n');
    const std::size_t chunkLength = feed != std::string::npos && feed >= 10 ? feed : 10000;
    out += colorDiffChunk(text.substr(start, chunkLength), showColorPreviews, markAddedRemoved);
    start += chunkLength;
  }
  return out;
}

}  // namespace reference
