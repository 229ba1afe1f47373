#ifndef UTILS_MERGETOOL_HTML_ESCAPE_H
#define UTILS_MERGETOOL_HTML_ESCAPE_H

#include <cstddef>
#include <string>

namespace tarnwick {

// Appends the `length` bytes at `text` to `out` with & < > ' " written as &amp; &lt; &gt; &#39;
// &quot;, so that a browser reads the bytes back unchanged from a quoted attribute value or from
// element text. Every other byte is copied as it is.
void appendEscapedHtml(std::string& out, const char* text, std::size_t length);

}  // namespace tarnwick

#endif
