#ifndef UTILS_DIFF_COLOR_DIFF_CHUNK_H
#define UTILS_DIFF_COLOR_DIFF_CHUNK_H

#include <cstddef>
#include <string>

namespace tarnwick {

// Returns the diff view's HTML for one piece of unified-diff text: added and removed lines
// (when `markAddedRemoved`), hunk headers with their action links, missing-newline notes, and a
// swatch in front of every colour code (when `showColorPreviews`). "Line start" means the start
// of `text` or the byte after a line feed; nothing is escaped.
std::string colorDiffChunk(std::string text, bool showColorPreviews, bool markAddedRemoved);

// Appends the HTML of `size` bytes at `data` to `out`, as colorDiffChunk would return it.
// `scratch` is working space the caller may reuse across calls; its content is unspecified.
void appendColoredDiffChunk(std::string& out, std::string& scratch, const char* data, std::size_t size,
                            bool showColorPreviews, bool markAddedRemoved);

}  // namespace tarnwick

#endif
