// Checks the commit log parser and the options built from it against their std::regex
// formulation on arbitrary bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "commit_log_reference.h"
#include "mergetool/commit_list.h"
#include "mergetool/commit_log_parser.h"
#include "large_stack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  // The first line, when there is one, is the path passed in and the selected hash after it.
  const std::size_t lineEnd = input.find('\n');
  const std::string head = lineEnd == std::string::npos ? std::string() : input.substr(0, lineEnd);
  const std::string log = lineEnd == std::string::npos ? input : input.substr(lineEnd + 1);
  const std::size_t space = head.find(' ');
  const std::string filePath = head.substr(0, space);
  const std::string selectedHash = space == std::string::npos ? std::string() : head.substr(space + 1);
  bool same = true;
  reference::runOnStack([&] {
    same = tarnwick::parseCommitLog(input) == reference::parseCommitLog(input) &&
           tarnwick::renderCommitOptions(log, filePath, selectedHash) ==
               reference::renderCommitOptions(log, filePath, selectedHash);
  });
  if (!same) std::abort();
  return 0;
}
