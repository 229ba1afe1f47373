#ifndef UTILS_DIFF_WORD_MARKS_H
#define UTILS_DIFF_WORD_MARKS_H

#include <cstddef>
#include <vector>

#include "diff/changed_words.h"

namespace tarnwick {

// Returns the changed words of a whole diff: for every change block inside a hunk (a run of
// removed lines followed directly by a run of added lines, after a hunk header and before any
// line that is neither context, added, removed nor a note), the byte ranges of the text that
// ChangedWords marks in its lines' content (up to a line's first carriage return), in order. With
// `swatches`, each colour code that will get a swatch is one token, so that no mark cuts it. A
// block with a line that the diff's chunking may cut (one near the slice's length) gets none.
// `words` is the matcher, kept by the caller so that its memory serves the next call.
std::vector<TextRange> findWordMarks(const char* text, std::size_t length, bool swatches, ChangedWords& words);

}  // namespace tarnwick

#endif
