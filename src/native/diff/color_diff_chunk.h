#ifndef UTILS_DIFF_COLOR_DIFF_CHUNK_H
#define UTILS_DIFF_COLOR_DIFF_CHUNK_H

#include <cstddef>
#include <string>

#include "diff/changed_words.h"

namespace tarnwick {

// The room past the end of a result that the writers below need: they store whole blocks that may
// reach this far beyond what they keep.
constexpr std::size_t kColorDiffSlack = 64;

// The changed words to mark as the chunks of a text are coloured in order (see findWordMarks):
// byte ranges of the text at `base`, in order and each within an added or removed line's
// content; `next` moves past those of each chunk written.
struct WordMarks {
  const char* base;
  const TextRange* next;
  const TextRange* end;
};

// Returns the byte length of the diff view's HTML for one piece of unified-diff text, the `size`
// bytes at `data`: added and removed lines (when `markAddedRemoved`), hunk headers with their
// action links, missing-newline notes, and a swatch in front of every colour code (when
// `showColorPreviews`); "line start" means the start of the piece or the byte after a line feed;
// nothing is escaped. Each range of `marks` (when given) is wrapped in a diff-changed span, and
// `marks` moves past them.
// `scratch` is working space the caller may reuse across calls; its content is unspecified.
std::size_t coloredChunkLength(const char* data, std::size_t size, bool showColorPreviews, bool markAddedRemoved,
                               std::string& scratch, WordMarks* marks = nullptr);

// Writes that HTML for `size` bytes at `data` to `out`, which has room for
// coloredChunkLength + kColorDiffSlack bytes, and returns the end of the result.
char* writeColoredChunk(char* out, const char* data, std::size_t size, bool showColorPreviews, bool markAddedRemoved,
                        std::string& scratch, WordMarks* marks = nullptr);

// Returns the length of the colour code (hexadecimal or functional) that starts at `p`, as the
// swatch passes read it, or 0; reads nothing at or past `end`.
std::size_t colorCodeLength(const char* p, const char* end);

}  // namespace tarnwick

#endif
