#include "command/shell_quote.h"

namespace tarnwick {

std::string quoteForShell(const std::string& text) {
  std::string quoted;
  quoted.reserve(text.size() + 2);
  quoted += '"';
  for (char c : text) {
    if (c == '"' || c == '$' || c == '`' || c == '\\') quoted += '\\';
    quoted += c;
  }
  quoted += '"';
  return quoted;
}

}  // namespace tarnwick
