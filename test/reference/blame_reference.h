#ifndef UTILS_TEST_REFERENCE_BLAME_REFERENCE_H
#define UTILS_TEST_REFERENCE_BLAME_REFERENCE_H

#include <string>

namespace reference {

// Returns the colour similarity with sscanf "%02x%02x%02x" on each text (unread channels 0).
float getHexColorDelta(std::string first, std::string second);

// Returns the code view built from the matches of the blame record pattern (visited with
// std::sregex_iterator), split and strtoul; git's own lines with & < > replaced by entities. Recurses per character of a line: run it on a big
// stack (runOnStack) for long lines.
std::string renderCodeView(const std::string& blame, const std::string& baseColor, const std::string& contentText);

}  // namespace reference

#endif
