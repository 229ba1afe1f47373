// Checks the changed-word marks of every change block of arbitrary diff text against the rules and
// a quadratic table; one matcher serves every block and input, as the diff view keeps it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "changed_words_reference.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static tarnwick::ChangedWords words;
  const std::string wrong = reference::checkChangedWords(words, std::string(reinterpret_cast<const char*>(data), size));
  if (!wrong.empty()) std::fprintf(stderr, "%s\n", wrong.c_str()), std::abort();
  return 0;
}
