#ifndef UTILS_TEST_REFERENCE_IN_PIECES_H
#define UTILS_TEST_REFERENCE_IN_PIECES_H

// Feeding a view built from git's output as it arrives, as tests and fuzzers do, and git's output
// as the view reads it.
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "command/output_pieces.h"

namespace reference {

// Returns what `view` (a StreamedView) finishes with after `text` arrives in pieces of `piece`
// bytes, or "(too long)".
template <class View>
std::string fedInPieces(View&& view, const std::string& text, std::size_t piece) {
  for (std::size_t at = 0; at < text.size(); at += piece) view.take(text.data() + at, std::min(piece, text.size() - at));
  const std::optional<std::string> made = view.finish();
  return made ? *made : "(too long)";
}

// Returns `raw` as FgetsPieces hands it on.
inline std::string asReadInPieces(const std::string& raw) {
  std::string kept;
  tarnwick::StringSink collected(kept);
  tarnwick::FgetsPieces(collected).take(raw.data(), raw.size());
  return kept;
}

}  // namespace reference

#endif
