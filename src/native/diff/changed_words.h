#ifndef UTILS_DIFF_CHANGED_WORDS_H
#define UTILS_DIFF_CHANGED_WORDS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "convert/text_range.h"

namespace tarnwick {


// The most tokens and lines, counted together, of a change block that gets marks. Past it a block
// gets none, read no further than the bound, so that no block costs more than one at it: at most
// 2048 * 2048 / 64 word steps (about 0.14 ms, 70 MB/s for a block of distinct words whose blanks
// alone reach the threshold) and about 1 MB of working memory. In real `git log -p` nearly every
// block is far below it: none of this project's history (the largest has 3223 units, 0.4% of
// the blocks pass 2048) and 0.2% of the blocks of the benchmarks' sample log, huge ones of
// unrelated lines (changed_words_bench.cc measures both).
constexpr std::size_t kChangedWordsBound = 4096;

// The most bytes of a change block's lines that get marks, past which it is past the bound too:
// far more than its tokens can need, it bounds the copy of a block and the reading of long tokens.
constexpr std::size_t kChangedWordsBytes = 64 * kChangedWordsBound;

// Decides which words changed inside one change block of a diff: a run of removed lines followed
// directly by a run of added lines. Each side's text, taken across its lines, is cut into tokens:
// runs of word bytes (ASCII letters, digits, "_" and every byte of a multi-byte character), runs
// of blanks (space and tab), an HTML entity ("&" and 1 to 32 letters, digits or "#" and ";"),
// a range the caller keeps whole (a colour code that gets a swatch), and every other byte alone;
// a line end, and a carriage return ending a line, belong to no token. Where a longest common
// subsequence of the two sides' tokens holds at least half of the tokens of the longer side, the
// tokens outside it are the changed words, marked as one range for each run of them within a line.
// A block less alike than that, with one side empty, or past kChangedWordsBound gets no marks.
//
// The work is linear in the block for real text and bounded for any, since most blocks of a real
// diff are unlike: tokens are found as lines are added, by a scan without branches, and their
// counts alone rule out sides of unequal length; hashes of the tokens, counted in buckets, rule
// out most other unlike blocks before any token is told apart from another; tokens that both
// sides begin or end with are matched without a search; only those between them are told apart,
// and those of them that both sides hold go through a bit-parallel longest common subsequence that
// stops once the threshold is out of reach. An object is kept across blocks and calls: its memory
// is reused, so that a block in the steady state allocates nothing.
class ChangedWords {
 public:
  // The marks of one line: in order, disjoint, non-empty and within the line.
  struct Marks {
    const TextRange* first;
    const TextRange* last;
    const TextRange* begin() const { return first; }
    const TextRange* end() const { return last; }
    std::size_t size() const { return static_cast<std::size_t>(last - first); }
  };

  // Starts a new block, forgetting the lines and marks of the last one.
  void clear();

  // Adds the next line of the block, every removed line before every added one (a removed line
  // after an added one leaves the block without marks): the `size` bytes at `text` after the
  // line's sign and before its line feed, which stay readable until match() returns, and the
  // `wholeCount` ranges at `wholes` that are one token each (in order, apart and within the line;
  // one that is not is ignored).
  void addLine(bool added, const char* text, std::size_t size, const TextRange* wholes = nullptr,
               std::size_t wholeCount = 0);

  // Matches the lines added since clear(). Returns whether any of them has a mark.
  bool match();

  // Returns the marks of the line added `line`-th (from 0) since clear(), as match() found them;
  // none before match().
  Marks marks(std::size_t line) const;

 private:
  struct Line {
    const char* text;
    std::uint32_t size;        // without a carriage return that ends it
    std::uint32_t firstToken;  // its first token's index
    std::uint32_t at;          // where its copy starts in text_
  };
  struct Place {
    std::uint32_t at, size;  // a token's, in text_
  };
  // One distinct token text of the block: its first 16 bytes (zero past its end), where a longer
  // one stands, how often each side holds it, and its row of match bits.
  struct Kind {
    std::uint64_t head[2];
    std::uint32_t size, at, slot, removed, added, bits;
  };

  std::size_t scan(const char* text, std::size_t from, std::size_t to, std::size_t limit, std::uint8_t& last);
  std::size_t hashTokens();
  bool same(std::size_t a, std::size_t b) const;
  void countKinds(std::size_t from, std::size_t to);
  std::uint32_t kindOf(std::uint32_t at, std::uint32_t size, std::uint64_t hash, bool added);
  std::size_t longestCommon(std::size_t head, std::size_t tail, std::size_t needed);
  void collectMarks();

  std::vector<Line> lines_;
  std::vector<std::uint32_t> starts_;  // each token's first byte in its line; its size is room
  std::vector<std::uint32_t> kindOfToken_, rowTokens_, columnTokens_;
  std::vector<std::uint8_t> matched_;
  std::vector<char> text_;  // the block's lines one after another, zero-padded for whole loads
  std::vector<Kind> kinds_;
  std::vector<std::uint32_t> slots_;  // open addressing: a kind's index + 1, or 0
  std::vector<Place> places_;          // each token's
  std::vector<std::uint64_t> hashes_;  // each token's
  std::vector<std::uint16_t> buckets_;  // tokens of the removed side by hash, zero between blocks
  std::vector<std::uint32_t> lineMarks_;  // each line's first mark, then the end of the last
  std::vector<TextRange> marks_;
  std::vector<std::uint64_t> bits_, rows_;
  std::size_t tokens_ = 0, removedTokens_ = 0, removedLines_ = 0, bytes_ = 0;
  bool past_ = false, done_ = false;
};

}  // namespace tarnwick

#endif
