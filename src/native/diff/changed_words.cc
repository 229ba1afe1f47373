#include "diff/changed_words.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tarnwick {

namespace {

enum : std::uint8_t { kOther, kWord, kBlank };

constexpr std::array<std::uint8_t, 256> makeClasses() {
  std::array<std::uint8_t, 256> classes{};
  for (int c = 0; c < 256; ++c) {
    const bool word = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c >= 0x80;
    classes[c] = word ? kWord : c == ' ' || c == '\t' ? kBlank : kOther;
  }
  return classes;
}
constexpr std::array<std::uint8_t, 256> kClasses = makeClasses();

inline std::uint8_t classOf(char c) { return kClasses[static_cast<unsigned char>(c)]; }

// The longest entity name: HTML's longest named one has 31 letters.
constexpr std::size_t kLongestEntityName = 32;

inline bool isEntityByte(char c) { return c == '#' || (classOf(c) == kWord && static_cast<unsigned char>(c) < 0x80 && c != '_'); }

// Returns the end of the token that starts at `at`, reading nothing at or past `limit`.
std::size_t tokenEnd(const char* text, std::size_t at, std::size_t limit) {
  const std::uint8_t kind = classOf(text[at]);
  std::size_t end = at + 1;
  if (kind != kOther) {
    while (end < limit && classOf(text[end]) == kind) ++end;
  } else if (text[at] == '&') {
    while (end < limit && end - at <= kLongestEntityName && isEntityByte(text[end])) ++end;
    if (end > at + 1 && end < limit && text[end] == ';') return end + 1;
    end = at + 1;
  }
  return end;
}

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ull;
constexpr unsigned kSlotBits = 13;  // twice the most kinds a block has, so that probes stay short
static_assert(std::size_t{1} << kSlotBits >= 2 * kChangedWordsBound, "the slots hold every kind of a block");
constexpr std::uint32_t kNoBits = UINT32_MAX;

inline std::uint64_t load(const char* p, std::size_t n) {
  std::uint64_t x = 0;
  std::memcpy(&x, p, n);
  return x;
}

// Returns a hash of the `n` bytes at `p`, reading none outside them. Short texts, nearly every
// token, are read in at most two loads.
std::uint64_t hashBytes(const char* p, std::size_t n) {
  std::uint64_t h = n * kMultiplier;
  if (n >= 8) {
    for (std::size_t i = 0; i + 8 < n; i += 8) h = ((h ^ load(p + i, 8)) * kMultiplier) ^ (h >> 32);
    h ^= load(p + n - 8, 8);
  } else if (n >= 4) {
    h ^= load(p, 4) << 32 | load(p + n - 4, 4);
  } else {
    h ^= static_cast<std::uint64_t>(static_cast<unsigned char>(p[0])) << 16 |
         static_cast<std::uint64_t>(static_cast<unsigned char>(p[n / 2])) << 8 | static_cast<unsigned char>(p[n - 1]);
  }
  h *= kMultiplier;
  return h ^ (h >> 31);
}

// Returns the number of bits set in `x`, without the library call that a processor lacking a
// population count instruction would get.
inline std::size_t bitCount(std::uint64_t x) {
  x -= (x >> 1) & 0x5555555555555555ull;
  x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
  x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
  return static_cast<std::size_t>((x * 0x0101010101010101ull) >> 56);
}

}  // namespace

void ChangedWords::clear() {
  for (const Kind& kind : kinds_) slots_[kind.slot] = 0;
  tokens_.clear();
  kinds_.clear();
  lineTokens_.clear();
  lineMarks_.clear();
  marks_.clear();
  removedTokens_ = removedLines_ = 0;
  past_ = matched_ = false;
}

void ChangedWords::addLine(bool added, const char* text, std::size_t size, const LineRange* wholes,
                           std::size_t wholeCount) {
  if (!added && lineTokens_.size() > removedLines_) past_ = true;
  if (past_ || lineTokens_.size() + tokens_.size() >= kChangedWordsBound) {
    past_ = true;
    return;
  }
  lineTokens_.push_back(static_cast<std::uint32_t>(tokens_.size()));
  if (!added) ++removedLines_;
  if (size > 0 && text[size - 1] == '\r') --size;
  const LineRange* whole = wholes;
  const LineRange* const lastWhole = wholes + wholeCount;
  for (std::size_t at = 0; at < size;) {
    if (lineTokens_.size() + tokens_.size() >= kChangedWordsBound) {
      past_ = true;
      return;
    }
    while (whole != lastWhole && (whole->begin < at || whole->end <= whole->begin || whole->end > size)) ++whole;
    std::size_t end;
    if (whole != lastWhole && whole->begin == at) {
      end = whole++->end;
    } else {
      end = tokenEnd(text, at, whole != lastWhole ? whole->begin : size);
    }
    tokens_.push_back(Token{at, end, kindOf(text + at, end - at, added), false});
    at = end;
  }
  if (!added) removedTokens_ = tokens_.size();
}

std::uint32_t ChangedWords::kindOf(const char* data, std::size_t size, bool added) {
  if (slots_.empty()) slots_.assign(std::size_t{1} << kSlotBits, 0);
  const std::uint64_t hash = hashBytes(data, size);
  for (std::size_t slot = hash >> (64 - kSlotBits);; slot = (slot + 1) & (slots_.size() - 1)) {
    std::uint32_t& entry = slots_[slot];
    if (entry == 0) {
      kinds_.push_back(Kind{hash, data, size, slot, 0, 0, kNoBits});
      entry = static_cast<std::uint32_t>(kinds_.size());
    }
    Kind& kind = kinds_[entry - 1];
    if (kind.hash == hash && kind.size == size && std::memcmp(kind.data, data, size) == 0) {
      ++(added ? kind.added : kind.removed);
      return entry - 1;
    }
  }
}

bool ChangedWords::match() {
  matched_ = false;
  const std::size_t removed = removedTokens_, total = tokens_.size(), added = total - removed;
  const std::size_t needed = (std::max(removed, added) + 1) / 2;
  if (past_ || removedLines_ == 0 || removedLines_ == lineTokens_.size() || needed == 0 ||
      std::min(removed, added) < needed) {
    return false;
  }
  // Each kind matches at most as often as the side holding it less often: an upper bound of the
  // subsequence, which rules out most unlike blocks before any search.
  std::size_t shared = 0;
  for (const Kind& kind : kinds_) shared += std::min(kind.removed, kind.added);
  if (shared < needed) return false;

  for (Token& token : tokens_) token.matched = false;
  // Tokens that both sides begin or end with belong to a longest common subsequence.
  std::size_t head = 0, tail = 0;
  while (head < removed && head < added && tokens_[head].kind == tokens_[removed + head].kind) {
    tokens_[head].matched = tokens_[removed + head].matched = true;
    ++head;
  }
  while (tail < removed - head && tail < added - head &&
         tokens_[removed - 1 - tail].kind == tokens_[total - 1 - tail].kind) {
    tokens_[removed - 1 - tail].matched = tokens_[total - 1 - tail].matched = true;
    ++tail;
  }
  const std::size_t found = head + tail;
  if (found + longestCommon(head, removed - tail, removed + head, total - tail, needed - std::min(needed, found)) <
      needed) {
    return false;
  }
  collectMarks();
  matched_ = true;
  return !marks_.empty();
}

// Marks a longest common subsequence of the removed tokens [from, removedEnd) and the added ones
// [addedFrom, addedEnd) and returns its length, or returns less than `needed` (marking what it
// may) once it cannot reach that. The subsequence is found with the bit-parallel rows of
// Crochemore et al. (2001): one bit for each added token, a row for each removed one made from
// the last with a few word operations, and a bit of row i that is 0 where the subsequence of the
// first i removed tokens grows with that added token. The rows are kept for the way back.
std::size_t ChangedWords::longestCommon(std::size_t from, std::size_t removedEnd, std::size_t addedFrom,
                                        std::size_t addedEnd, std::size_t needed) {
  const std::size_t n = removedEnd - from, m = addedEnd - addedFrom, words = (m + 63) / 64;
  if (n == 0 || m == 0) return 0;
  // The match bits of every kind that both sides hold, over the added tokens.
  std::uint32_t rows = 0;
  bits_.clear();
  for (std::size_t j = 0; j < m; ++j) {
    Kind& kind = kinds_[tokens_[addedFrom + j].kind];
    if (kind.removed == 0) continue;
    if (kind.bits == kNoBits) {
      kind.bits = rows++;
      bits_.resize(rows * words, 0);
    }
    bits_[kind.bits * words + j / 64] |= std::uint64_t{1} << (j % 64);
  }
  std::size_t hopeful = 0;  // the removed tokens left that can still match
  for (std::size_t i = from; i < removedEnd; ++i) hopeful += kinds_[tokens_[i].kind].bits != kNoBits;

  rows_.assign(words, ~std::uint64_t{0});
  rows_.resize((n + 1) * words);
  const std::uint64_t lastWord = m % 64 == 0 ? ~std::uint64_t{0} : (std::uint64_t{1} << (m % 64)) - 1;
  const auto common = [&](const std::uint64_t* row) {
    std::size_t ones = bitCount(row[words - 1] & lastWord);
    for (std::size_t w = 0; w + 1 < words; ++w) ones += bitCount(row[w]);
    return m - ones;
  };
  std::size_t length = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint64_t* const last = &rows_[i * words];
    std::uint64_t* const row = &rows_[(i + 1) * words];
    const std::uint32_t bits = kinds_[tokens_[from + i].kind].bits;
    if (bits == kNoBits) {
      std::memcpy(row, last, words * sizeof *row);
      continue;
    }
    --hopeful;
    const std::uint64_t* const match = &bits_[bits * words];
    std::uint64_t carry = 0;
    for (std::size_t w = 0; w < words; ++w) {
      const std::uint64_t v = last[w], u = v & match[w];
      std::uint64_t sum = v + u;
      const std::uint64_t over = sum < v;
      sum += carry;
      carry = over | (sum < carry);
      row[w] = sum | (v & ~match[w]);
    }
    if (i % 64 == 63 || hopeful == 0) {
      length = common(row);
      if (length + hopeful < needed) break;
    }
  }
  for (std::size_t j = 0; j < m; ++j) kinds_[tokens_[addedFrom + j].kind].bits = kNoBits;
  if (hopeful > 0 || length < needed) return length;

  // The way back from the last row: a pair of equal tokens always extends a longest subsequence
  // of what precedes them; otherwise a 1 bit says the added token is not needed, a 0 bit that the
  // removed one is not. What it finds is what counts, so that marks and answer always agree.
  length = 0;
  for (std::size_t i = n, j = m; i > 0 && j > 0;) {
    Token& a = tokens_[from + i - 1];
    Token& b = tokens_[addedFrom + j - 1];
    if (a.kind == b.kind) {
      a.matched = b.matched = true;
      ++length;
      --i;
      --j;
    } else if (rows_[i * words + (j - 1) / 64] >> ((j - 1) % 64) & 1) {
      --j;
    } else {
      --i;
    }
  }
  return length;
}

void ChangedWords::collectMarks() {
  lineMarks_.clear();
  marks_.clear();
  for (std::size_t line = 0; line < lineTokens_.size(); ++line) {
    lineMarks_.push_back(static_cast<std::uint32_t>(marks_.size()));
    const std::size_t last = line + 1 < lineTokens_.size() ? lineTokens_[line + 1] : tokens_.size();
    bool open = false;
    for (std::size_t t = lineTokens_[line]; t < last; ++t) {
      const Token& token = tokens_[t];
      if (token.matched) {
        open = false;
      } else if (open) {
        marks_.back().end = token.end;
      } else {
        marks_.push_back(LineRange{token.begin, token.end});
        open = true;
      }
    }
  }
  lineMarks_.push_back(static_cast<std::uint32_t>(marks_.size()));
}

ChangedWords::Marks ChangedWords::marks(std::size_t line) const {
  if (!matched_ || line + 1 >= lineMarks_.size()) return Marks{nullptr, nullptr};
  return Marks{marks_.data() + lineMarks_[line], marks_.data() + lineMarks_[line + 1]};
}

}  // namespace tarnwick
