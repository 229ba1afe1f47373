#ifndef UTILS_TEST_REFERENCE_CHANGED_WORDS_REFERENCE_H
#define UTILS_TEST_REFERENCE_CHANGED_WORDS_REFERENCE_H

#include <string>
#include <vector>

#include "diff/changed_words.h"

namespace reference {

// Returns the ranges of the "#" colour codes of `line` that get a swatch, and the tokens of
// `line` by the rules, written out plainly, each of `wholes` one.
std::vector<tarnwick::TextRange> colourCodes(const std::string& line);
std::vector<tarnwick::TextRange> tokensOf(const std::string& line, const std::vector<tarnwick::TextRange>& wholes);

// Returns `block` ("-" and "+" lines, given to `words` in this order) with its marks in brackets.
std::string bracketed(tarnwick::ChangedWords& words, const std::string& block);

// Returns what is wrong with the marks of each change block of `diff` by `words`, or "": none for
// a lone side, a block past the bound or under the threshold; else the tokens a longest common
// subsequence (by the quadratic table) leaves out, one mark a run of them in a line.
std::string checkChangedWords(tarnwick::ChangedWords& words, const std::string& diff);

}  // namespace reference

#endif
