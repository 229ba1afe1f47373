#ifndef UTILS_TEST_REFERENCE_CHANGED_WORDS_REFERENCE_H
#define UTILS_TEST_REFERENCE_CHANGED_WORDS_REFERENCE_H

#include <string>
#include <vector>

#include "diff/changed_words.h"

namespace reference {

// Returns the ranges of the "#" colour codes of `line` that the diff view gives a swatch.
std::vector<tarnwick::LineRange> colourCodes(const std::string& line);

// Returns the tokens of `line`, the `wholes` (colour codes) one each.
std::vector<tarnwick::LineRange> tokensOf(const std::string& line, const std::vector<tarnwick::LineRange>& wholes);

// Returns what is wrong with the marks that `words` gives each change block of `diff` (a run of
// lines starting with "-" and the run starting with "+" after it, either of them empty), or "":
// the lone side, the block past the bound and the one under the threshold get none; any other
// is marked where a longest common subsequence of the tokens, by a quadratic table, leaves
// them, one range a run of tokens.
std::string checkChangedWords(tarnwick::ChangedWords& words, const std::string& diff);

}  // namespace reference

#endif
