#include "mergetool/html_escape.h"

namespace tarnwick {

void appendEscapedHtml(std::string& out, const char* text, std::size_t length) {
  std::size_t plain = 0;  // start of the bytes not yet copied
  for (std::size_t i = 0; i < length; ++i) {
    const char* entity;
    switch (text[i]) {
      case '&': entity = "&amp;"; break;
      case '<': entity = "&lt;"; break;
      case '>': entity = "&gt;"; break;
      case '\'': entity = "&#39;"; break;
      case '"': entity = "&quot;"; break;
      default: continue;
    }
    out.append(text + plain, i - plain);
    out += entity;
    plain = i + 1;
  }
  out.append(text + plain, length - plain);
}

}  // namespace tarnwick
