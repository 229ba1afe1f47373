// Checks the commit list, built from the whole log and from the log arriving in pieces with long
// lines trimmed (their sizes taken from the input's length), against its std::regex formulation
// on arbitrary bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "commit_log_reference.h"
#include "in_pieces.h"
#include "large_stack.h"
#include "mergetool/commit_list.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  // The first line, when there is one, is the path passed in and the selected hash after it.
  const std::size_t lineEnd = input.find('\n');
  const std::string head = lineEnd == std::string::npos ? std::string() : input.substr(0, lineEnd);
  const std::string log = lineEnd == std::string::npos ? input : input.substr(lineEnd + 1);
  const std::size_t space = head.find(' ');
  const std::string filePath = head.substr(0, space);
  const std::string selectedHash = space == std::string::npos ? std::string() : head.substr(space + 1);
  std::string expected;
  reference::runOnStack([&] { expected = reference::renderCommitOptions(log, filePath, selectedHash); });
  if (reference::fedInPieces(tarnwick::CommitOptionsRenderer(filePath, selectedHash, SIZE_MAX), log, log.size() + 1) != expected) std::abort();
  tarnwick::CommitOptionsRenderer view(filePath, selectedHash, SIZE_MAX, size % 4 * 40);
  if (reference::fedInPieces(view, log, 1 + size % 97) != expected) std::abort();
  return 0;
}
