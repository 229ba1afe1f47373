// Checks the diff colouring against its std::regex formulation on arbitrary bytes. The first byte
// holds the two flags (bits 0 and 1), the byte scan to use (bits 2 and 3, where this processor
// runs it) and whether the text counts as one byte a character (bit 4) for the result made as
// the characters of a script string; the rest is the diff text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "color_diff_reference.h"
#include "diff/byte_bitmap.h"
#include "diff/color_diff.h"
#include "diff/color_diff_units.h"
#include "large_stack.h"
#include "units.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const bool show = data[0] & 1, mark = data[0] & 2, oneByte = data[0] & 16;
  tarnwick::forceScanLevel(static_cast<tarnwick::ScanLevel>((data[0] >> 2) & 3));
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string expected;
  // The reference recurses once per byte of a line; short texts fit the fuzzer's own stack.
  const auto runReference = [&] { expected = reference::colorDiff(text, show, mark); };
  text.size() <= 2048 ? runReference() : reference::runOnStack(runReference);
  if (tarnwick::colorDiff(text, show, mark) != expected) std::abort();

  // As characters: those the reference's bytes make.
  const tarnwick::ScriptUnits units =
      tarnwick::colorDiffUnits(text.data(), text.size(), text.size(), oneByte, show, mark, false, true, SIZE_MAX);
  const tarnwick::ScriptUnits bytes = tarnwick::scriptUnits(expected.data(), expected.size(), oneByte, true, SIZE_MAX);
  if (reference::unitsText(units) != reference::unitsText(bytes)) std::abort();
  return 0;
}
