#include "blame_reference.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <regex>

#include "command/split.h"


namespace reference {

namespace {

const std::regex& blamePattern() {
  static const std::regex pattern(
      R"(([0-9a-f]+)\s(\d+)\s(\d+)(\s\d+)?\r?\nauthor\s([^\n]+)\r?\n?author-mail\s([^\n]+)\r?\n)"
      R"(author-time\s([^\n]+)\r?\n?author-tz\s([^\n]+)\r?\ncommitter\s([^\n]+)\r?\n)"
      R"(committer-mail\s([^\n]+)\r?\ncommitter-time\s([^\n]+)\r?\ncommitter-tz\s([^\n]+)\r?\n)"
      R"(summary\s([^\n]+)\r?\n(boundary\r?\n)?(previous\s([^\n]+)\r?\n)?filename\s([^\n]+)\r?\n([^\n]+)\r?\n)",
      std::regex::ECMAScript);
  return pattern;
}

}  // namespace

float getHexColorDelta(std::string first, std::string second) {
  unsigned int r1 = 0, g1 = 0, b1 = 0, r2 = 0, g2 = 0, b2 = 0;
  std::sscanf(first.c_str(), "%02x%02x%02x", &r1, &g1, &b1);
  std::sscanf(second.c_str(), "%02x%02x%02x", &r2, &g2, &b2);
  const auto similarity = [](unsigned int a, unsigned int b) {
    return static_cast<float>(255 - std::abs(static_cast<int>(a) - static_cast<int>(b))) / 255.0f;
  };
  return (similarity(r1, r2) + similarity(g1, g2) + similarity(b1, b2)) / 3.0f;
}

std::string renderCodeView(const std::string& blame, const std::string& baseColor, const std::string& contentText) {
  std::vector<std::string_view> lines;
  std::uint8_t width = 35;
  if (!contentText.empty()) {
    lines = tarnwick::split(contentText, '\n');
    width = static_cast<std::uint8_t>(10 * std::to_string(lines.size()).size() + 5);
    if (width <= 35) width = 35;
  }
  std::string result;
  for (std::sregex_iterator it(blame.begin(), blame.end(), blamePattern()), end; it != end; ++it) {
    const std::smatch& match = *it;
    const std::string commitId = match[1].str();
    const unsigned long lineNumber = std::strtoul(match[3].str().c_str(), nullptr, 0);
    std::string color = commitId.substr(0, 6);
    if (static_cast<double>(getHexColorDelta(color, baseColor)) > 0.65) color = color.substr(0, 4) + "ff";
    std::string content;
    if (!contentText.empty()) {
      if (lineNumber >= 1 && lineNumber <= lines.size()) content = std::string(lines[lineNumber - 1]);
    } else {
      // git's own line: the repository's text, shown as text.
      content = std::regex_replace(std::regex_replace(std::regex_replace(match[18].str(), std::regex("&"), "&amp;"),
                                                      std::regex("<"), "&lt;"),
                                   std::regex(">"), "&gt;");
    }
    if (content.empty()) content = "\n";
    result += "<div class='line' data-color='" + color + "' data-dlinenumber='" + std::to_string(lineNumber) +
              "' data-commitid='" + commitId +
              "'><span class='line-number nohighlight' style='border-right: 1px solid #" + color +
              "; background-color: #" + color + "33; width: " + std::to_string(width) + "px;'>" +
              std::to_string(lineNumber) + "</span><span class='line-contents'>" + content + "</span></div>";
  }
  return result;
}

}  // namespace reference
