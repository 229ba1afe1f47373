#include "command/path_operand.h"

#include "command/shell_quote.h"

namespace tarnwick {

namespace {

bool looksLikeOption(const std::string& path) { return !path.empty() && path[0] == '-'; }

}  // namespace

std::string pathOperand(const std::string& path) {
  return (looksLikeOption(path) ? "-- " : "") + quoteForShell(path);
}

void appendPathOperand(std::vector<std::string>& words, const std::string& path) {
  if (looksLikeOption(path)) words.emplace_back("--");
  words.push_back(path);
}

}  // namespace tarnwick
