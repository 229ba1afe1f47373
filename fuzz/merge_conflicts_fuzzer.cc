// Checks the conflict escaping against its std::regex formulation on arbitrary bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "diff/merge_conflicts.h"
#include "merge_conflicts_reference.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  if (reference::styledByCore(input) != reference::styleMergeConflicts(input)) std::abort();
  return 0;
}
