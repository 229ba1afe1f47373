#ifndef UTILS_TEST_REFERENCE_BLAME_REFERENCE_H
#define UTILS_TEST_REFERENCE_BLAME_REFERENCE_H

#include <string>
#include <vector>

#include "mergetool/blame_parser.h"

namespace reference {

// Returns the matches of the blame record pattern, visited with std::sregex_iterator. Recurses
// per character of a line: run it on a big stack (runOnStack) for long lines.
std::vector<tarnwick::BlameRecord> parseBlame(const std::string& blame);

// Returns the colour similarity with sscanf "%02x%02x%02x" on each text (unread channels 0).
float getHexColorDelta(std::string first, std::string second);

// Returns the code view built from the std::regex matches, split and strtoul.
std::string renderCodeView(const std::string& blame, const std::string& baseColor, const std::string& contentText);

}  // namespace reference

#endif
