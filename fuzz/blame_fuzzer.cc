// Checks the code view, built from the whole text and from the text arriving in pieces with long
// lines trimmed, against its std::regex formulation. The first input byte picks the base colour,
// whether a content text is used, and the size of the pieces and of the lines trimmed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "blame_reference.h"
#include "in_pieces.h"
#include "large_stack.h"
#include "mergetool/code_view.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const char* const bases[] = {"ffffff", "000000", "808080", "ab", " +f-0x"};
  const std::string base = bases[data[0] % 5];
  const std::string content = data[0] & 8 ? "one\ntwo\n\nfour" : "";
  const std::size_t piece = 1 + (data[0] >> 4) * 17, trimFrom = (data[0] >> 4) % 4 * 12;
  const std::string input(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string expected;
  // std::regex recurses once per character of a line.
  reference::runOnStack([&] { expected = reference::renderCodeView(input, base, content); });
  if (reference::fedInPieces(tarnwick::CodeViewRenderer(base, content, SIZE_MAX), input, input.size() + 1) != expected) std::abort();
  if (reference::fedInPieces(tarnwick::CodeViewRenderer(base, content, SIZE_MAX, trimFrom), input, piece) != expected) {
    std::abort();
  }
  return 0;
}
