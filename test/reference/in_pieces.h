#ifndef UTILS_TEST_REFERENCE_IN_PIECES_H
#define UTILS_TEST_REFERENCE_IN_PIECES_H

// Feeding a view built from git's output as it arrives, as tests and fuzzers do.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

namespace reference {

// Returns what `view` (a StreamedView) finishes with after `text` arrives in pieces of `piece`
// bytes, or "(too long)".
template <class View>
std::string fedInPieces(View&& view, const std::string& text, std::size_t piece) {
  for (std::size_t at = 0; at < text.size(); at += piece) view.take(text.data() + at, std::min(piece, text.size() - at));
  const std::optional<std::string> made = view.finish();
  return made ? *made : "(too long)";
}

}  // namespace reference

#endif
