#include "diff/color_diff_units.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "convert/utf8_codec.h"
#include "diff/color_diff.h"

namespace tarnwick {

namespace {

// Decodes the rendered pieces into the result's block.
template <typename Unit>
class DecodingSink final : public OutputSink {
 public:
  explicit DecodingSink(Unit* out) : decoder_(out) {}
  bool take(const char* data, std::size_t size) override { return decoder_.add(data, size); }
  std::ptrdiff_t finish() const { return decoder_.finish(); }

 private:
  Utf8PieceDecoder<Unit> decoder_;
};

template <typename Unit>
std::ptrdiff_t decodeInto(PageBlock& block, const char* text, std::size_t length, bool showColorPreviews,
                          bool markAddedRemoved, std::size_t largestChunk, const std::vector<TextRange>& marks) {
  DecodingSink<Unit> sink(reinterpret_cast<Unit*>(block.data()));
  if (!streamColorDiff(text, length, showColorPreviews, markAddedRemoved, largestChunk, sink, &marks)) return -1;
  return sink.finish();
}

}  // namespace

ScriptUnits colorDiffUnits(const char* text, std::size_t length, std::size_t textUnits, bool oneByteText,
                           bool showColorPreviews, bool markAddedRemoved, bool words, bool replaceInvalid,
                           std::size_t longestUnits) {
  const auto fromBytes = [&] {
    const std::string bytes = colorDiff(std::string(text, length), showColorPreviews, markAddedRemoved, words);
    return scriptUnits(bytes.data(), bytes.size(), oneByteText, replaceInvalid, longestUnits);
  };
  ScriptUnits result;
  // The markup holds no zero byte, so the result has one exactly when the text has.
  if (length > 0 && std::memchr(text, 0, length) != nullptr) return fromBytes();
  const std::vector<TextRange> marks = wordMarksOf(text, length, showColorPreviews, markAddedRemoved, words);
  const ColorDiffSize size = measureColorDiff(text, length, showColorPreviews, markAddedRemoved, &marks);
  if (colorDiffTooLong(size.total, length, textUnits, longestUnits)) {
    result.tooLong = true;
    return result;
  }
  result.twoByte = !oneByteText;
  if (oneByteText && asciiPrefixLength(text, length) == length) {
    result.block = PageBlock::acquire(size.total + kColorDiffSlack);
    writeColorDiff(result.block.data(), text, length, showColorPreviews, markAddedRemoved, &marks);
    result.length = size.total;
    result.made = true;
    return result;
  }
  // A character takes at least one byte of UTF-8, so as many units as bytes are always room enough.
  result.block = PageBlock::acquire(oneByteText ? size.total : 2 * size.total);
  const std::ptrdiff_t units =
      oneByteText ? decodeInto<std::uint8_t>(result.block, text, length, showColorPreviews, markAddedRemoved,
                                             size.largestChunk, marks)
                  : decodeInto<std::uint16_t>(result.block, text, length, showColorPreviews, markAddedRemoved,
                                              size.largestChunk, marks);
  if (units < 0) return fromBytes();
  result.length = static_cast<std::size_t>(units);
  result.made = true;
  return result;
}

}  // namespace tarnwick
