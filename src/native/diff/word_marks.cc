#include "diff/word_marks.h"

#include <cstring>

#include "diff/color_diff_chunk.h"

namespace tarnwick {

namespace {

// A line longer than this may be cut by the diff's chunking, and its pieces coloured apart.
constexpr std::size_t kLongestMarkedLine = 9000;

// The content of a line of the block: where it starts (after the sign) and its length.
struct BlockLine {
  std::size_t begin;
  std::size_t size;
  bool added;
};

class Blocks {
 public:
  Blocks(const char* text, bool swatches, ChangedWords& words, std::vector<TextRange>& marks)
      : text_(text), swatches_(swatches), words_(words), marks_(marks) {}

  // Takes the next line of a hunk that is added or removed.
  void line(std::size_t begin, std::size_t size, bool added) {
    if (!added && added_) finish();
    added_ = added_ || added;
    removed_ = removed_ || !added;
    tooLong_ = tooLong_ || size > kLongestMarkedLine;
    lines_.push_back(BlockLine{begin, size, added});
  }

  // Ends the block at the line before; marks it when it has both sides.
  void finish() {
    if (removed_ && added_ && !tooLong_) mark();
    lines_.clear();
    added_ = removed_ = tooLong_ = false;
  }

 private:
  void mark() {
    words_.clear();
    for (const BlockLine& line : lines_) {
      wholes_.clear();
      const char* const content = text_ + line.begin;
      for (std::size_t at = 0; swatches_ && at < line.size; ++at) {
        const std::size_t code = colorCodeLength(content + at, content + line.size);
        if (code == 0) continue;
        wholes_.push_back(TextRange{at, at + code});
        at += code - 1;
      }
      words_.addLine(line.added, content, line.size, wholes_.data(), wholes_.size());
    }
    if (!words_.match()) return;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      for (const TextRange& range : words_.marks(i)) {
        marks_.push_back(TextRange{lines_[i].begin + range.begin, lines_[i].begin + range.end});
      }
    }
  }

  const char* const text_;
  const bool swatches_;
  ChangedWords& words_;
  std::vector<TextRange>& marks_;
  std::vector<BlockLine> lines_;
  std::vector<TextRange> wholes_;
  bool added_ = false, removed_ = false, tooLong_ = false;
};

}  // namespace

std::vector<TextRange> findWordMarks(const char* text, std::size_t length, bool swatches, ChangedWords& words) {
  std::vector<TextRange> marks;
  Blocks blocks(text, swatches, words, marks);
  bool inHunk = false;
  for (std::size_t begin = 0; begin <= length;) {
    const void* feed = std::memchr(text + begin, '\n', length - begin);
    const std::size_t lineEnd = feed ? static_cast<std::size_t>(static_cast<const char*>(feed) - text) : length;
    const void* cr = std::memchr(text + begin, '\r', lineEnd - begin);
    const std::size_t contentEnd = cr ? static_cast<std::size_t>(static_cast<const char*>(cr) - text) : lineEnd;
    const char first = begin < contentEnd ? text[begin] : '\0';
    if (inHunk && (first == '-' || first == '+')) {
      blocks.line(begin + 1, contentEnd - begin - 1, first == '+');
    } else {
      blocks.finish();
      const bool header = contentEnd - begin >= 2 && first == '@' && text[begin + 1] == '@';
      // Context (an empty line too, where a tool dropped a context line's blank) and notes go on.
      inHunk = header || (inHunk && (first == ' ' || first == '\\' || begin == contentEnd));
    }
    if (feed == nullptr) break;
    begin = lineEnd + 1;
  }
  blocks.finish();
  return marks;
}

}  // namespace tarnwick
