#include "command/path_operand.h"

namespace tarnwick {

namespace {

bool looksLikeOption(const std::string& path) { return !path.empty() && path[0] == '-'; }

}  // namespace

void appendPathOperand(std::vector<std::string>& words, const std::string& path) {
  if (looksLikeOption(path)) words.emplace_back("--");
  words.push_back(path);
}

}  // namespace tarnwick
