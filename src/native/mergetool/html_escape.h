#ifndef UTILS_MERGETOOL_HTML_ESCAPE_H
#define UTILS_MERGETOOL_HTML_ESCAPE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwick {

// Writes the `length` bytes at `text` to `out` with & < > ' " written as &amp; &lt; &gt; &#39;
// &quot;, so that a browser reads the bytes back unchanged from a quoted attribute value or from
// element text; every other byte is copied as it is. `out` must have room for 6 * `length`
// bytes. Returns the end of what was written.
char* writeEscapedHtml(char* out, const char* text, std::size_t length);

// Appends `text` to `out` with & < > written as &amp; &lt; &gt;, so that a browser shows it as
// text, not markup, between elements.
void appendEscapedText(std::string& out, std::string_view text);

}  // namespace tarnwick

#endif
