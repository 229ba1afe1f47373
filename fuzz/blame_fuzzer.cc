// Checks the blame record scanner and the code view against their std::regex formulation. The
// first input byte picks the base colour and whether a content text is used.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "blame_reference.h"
#include "mergetool/blame_parser.h"
#include "mergetool/code_view.h"
#include "large_stack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const char* const bases[] = {"ffffff", "000000", "808080", "ab", " +f-0x"};
  const std::string base = bases[data[0] % 5];
  const std::string content = data[0] & 8 ? "one\ntwo\n\nfour" : "";
  const std::string input(reinterpret_cast<const char*>(data + 1), size - 1);
  std::vector<tarnwick::BlameRecord> expected;
  std::string expectedView;
  // std::regex recurses once per character of a line.
  reference::runOnStack([&] {
    expected = reference::parseBlame(input);
    expectedView = reference::renderCodeView(input, base, content);
  });
  if (!(tarnwick::parseBlame(input) == expected)) std::abort();
  if (tarnwick::renderCodeView(input, base, content) != expectedView) std::abort();
  return 0;
}
