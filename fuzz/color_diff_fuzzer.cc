// Checks the diff colouring against its std::regex formulation on arbitrary bytes. The first byte
// holds the two flags; the rest is the diff text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "color_diff_reference.h"
#include "diff/color_diff.h"
#include "large_stack.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const bool showColorPreviews = data[0] & 1;
  const bool markAddedRemoved = data[0] & 2;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string produced = tarnwick::colorDiff(text, showColorPreviews, markAddedRemoved);
  std::string expected;
  // The reference recurses once per byte of a line; short texts fit the fuzzer's own stack.
  const auto runReference = [&] { expected = reference::colorDiff(text, showColorPreviews, markAddedRemoved); };
  if (text.size() <= 2048) {
    runReference();
  } else {
    reference::runOnLargeStack(runReference);
  }
  if (produced != expected) std::abort();
  return 0;
}
