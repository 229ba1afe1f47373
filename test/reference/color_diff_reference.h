#ifndef UTILS_TEST_REFERENCE_COLOR_DIFF_REFERENCE_H
#define UTILS_TEST_REFERENCE_COLOR_DIFF_REFERENCE_H

#include <string>

namespace reference {

// Returns the diff chunk colouring as six std::regex_replace passes, the formulation that
// production output must equal byte for byte. Its recursion grows with the line length: run long
// texts through runOnStack.
std::string colorDiffChunk(std::string text, bool showColorPreviews, bool markAddedRemoved);

// Returns the whole-diff colouring: the same swatch limit and chunking around colorDiffChunk above.
std::string colorDiff(const std::string& text, bool showColorPreviews, bool markAddedRemoved);

}  // namespace reference

#endif
