#include "diff/changed_words.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tarnwick {

namespace {

// Byte classes; kNone stands before a line and after an entity or a whole range, so that the
// next byte starts a token whatever it is.
enum : std::uint8_t { kOther, kWord, kBlank, kNone };

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

inline bool isEntityByte(char c) {
  return c == '#' || (classOf(c) == kWord && static_cast<unsigned char>(c) < 0x80 && c != '_');
}

// Returns the end of the entity that starts with the "&" at `at`, or 0, reading nothing at or
// past `limit`.
std::size_t entityEnd(const char* text, std::size_t at, std::size_t limit) {
  std::size_t end = at + 1;
  while (end < limit && end - at <= kLongestEntityName && isEntityByte(text[end])) ++end;
  return end > at + 1 && end < limit && text[end] == ';' ? end + 1 : 0;
}

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ull;
constexpr unsigned kSlotBits = 13;  // twice the most kinds a block has, so that probes stay short
static_assert(std::size_t{1} << kSlotBits >= 2 * kChangedWordsBound, "the slots hold every kind of a block");
constexpr std::uint32_t kNoBits = UINT32_MAX;
constexpr std::size_t kPadding = 16;  // zero bytes after the copied lines: a token's head is two whole loads

inline std::uint64_t load8(const char* p) {
  std::uint64_t x;
  std::memcpy(&x, p, 8);
  return x;
}

// The bytes of a head word that a token of `size` bytes fills, by size up to 16.
constexpr std::array<std::uint64_t, 17> makeMasks(int word) {
  std::array<std::uint64_t, 17> masks{};
  for (int size = 0; size <= 16; ++size) {
    const int bytes = std::min(8, std::max(0, size - 8 * word));
    masks[size] = bytes == 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * bytes)) - 1;
  }
  return masks;
}
constexpr std::array<std::uint64_t, 17> kHeadMasks[2] = {makeMasks(0), makeMasks(1)};

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
  lines_.clear();
  lineMarks_.clear();
  marks_.clear();
  tokens_ = removedTokens_ = removedLines_ = bytes_ = 0;
  past_ = done_ = false;
}

// Appends the start of every token that begins in [from, to) of `text` to starts_, which has room
// for them, and returns where the scan stopped: `to`, or past it the end of an entity that began
// before it. `last` is the class of the byte before `from`, and becomes that of the last byte.
// Branch-free but for entities: a start is written at every byte and kept where one begins, so
// that short tokens cost no mispredicted branch.
std::size_t ChangedWords::scan(const char* text, std::size_t from, std::size_t to, std::size_t limit,
                               std::uint8_t& last) {
  std::uint32_t* out = &starts_[tokens_];
  std::uint8_t before = last;  // a local: a store through `out` could change what `last` refers to
  std::size_t at = from;
  for (; at < to; ++at) {
    const std::uint8_t kind = classOf(text[at]);
    *out = static_cast<std::uint32_t>(at);
    out += (kind != before) | (kind == kOther);
    before = kind;
    if (text[at] == '&') {
      const std::size_t end = entityEnd(text, at, limit);
      if (end != 0) {
        at = end - 1;
        before = kNone;
      }
    }
  }
  last = before;
  tokens_ = static_cast<std::size_t>(out - starts_.data());
  return at;
}

void ChangedWords::addLine(bool added, const char* text, std::size_t size, const TextRange* wholes,
                           std::size_t wholeCount) {
  if (!added && lines_.size() > removedLines_) past_ = true;
  bytes_ += size;
  if (past_ || lines_.size() + tokens_ >= kChangedWordsBound || bytes_ > kChangedWordsBytes) {
    past_ = true;
    return;
  }
  if (size > 0 && text[size - 1] == '\r') --size;
  lines_.push_back(Line{text, static_cast<std::uint32_t>(size), static_cast<std::uint32_t>(tokens_), 0});
  if (!added) ++removedLines_;
  // Every byte makes at most one token: a piece of the line no longer than the units left to the
  // bound is scanned at a time, into room for as many starts.
  const std::size_t room = kChangedWordsBound + 1;
  if (starts_.size() < tokens_ + room) starts_.resize(tokens_ + room);
  const TextRange* whole = wholes;
  const TextRange* const lastWhole = wholes + wholeCount;
  std::uint8_t last = kNone;
  for (std::size_t at = 0; at < size;) {
    while (whole != lastWhole && (whole->begin < at || whole->end <= whole->begin || whole->end > size)) ++whole;
    if (whole != lastWhole && whole->begin == at) {
      starts_[tokens_++] = static_cast<std::uint32_t>(at);
      at = whole++->end;
      last = kNone;
    } else {
      const std::size_t limit = whole != lastWhole ? whole->begin : size;
      at = scan(text, at, std::min(limit, at + kChangedWordsBound + 1 - lines_.size() - tokens_), limit, last);
    }
    if (lines_.size() + tokens_ > kChangedWordsBound) {
      past_ = true;
      return;
    }
  }
  if (!added) removedTokens_ = tokens_;
}

namespace {

// Returns the two head words of the `size` bytes at `data`: their first 16 bytes, zero past them.
inline void headOf(const char* data, std::size_t size, std::uint64_t head[2]) {
  const std::size_t small = std::min<std::size_t>(size, 16);
  head[0] = load8(data) & kHeadMasks[0][small];
  head[1] = load8(data + 8) & kHeadMasks[1][small];
}

// Returns a hash of the `size` bytes at `data`, which has 16 readable bytes past them.
inline std::uint64_t hashOf(const char* data, std::size_t size) {
  std::uint64_t head[2];
  headOf(data, size, head);
  std::uint64_t hash = (head[0] * kMultiplier) ^ head[1] ^ size;
  std::size_t i = 16;
  for (; i + 8 <= size; i += 8) hash = (hash ^ load8(data + i)) * kMultiplier;
  if (i < size) hash = (hash ^ (load8(data + i) & kHeadMasks[0][size - i])) * kMultiplier;
  return hash * kMultiplier;
}

}  // namespace

inline std::uint32_t ChangedWords::kindOf(std::uint32_t at, std::uint32_t size, std::uint64_t hash, bool added) {
  const char* const data = &text_[at];
  std::uint64_t head[2];
  headOf(data, size, head);
  for (std::size_t slot = hash >> (64 - kSlotBits);; slot = (slot + 1) & (slots_.size() - 1)) {
    std::uint32_t& entry = slots_[slot];
    if (entry == 0) {
      kinds_.push_back(Kind{{head[0], head[1]}, size, at, static_cast<std::uint32_t>(slot), 0, 0, kNoBits});
      entry = static_cast<std::uint32_t>(kinds_.size());
    }
    Kind& kind = kinds_[entry - 1];
    if (kind.head[0] == head[0] && kind.head[1] == head[1] && kind.size == size &&
        (size <= 16 || std::memcmp(&text_[kind.at], data, size) == 0)) {
      ++(added ? kind.added : kind.removed);
      return entry - 1;
    }
  }
}

// Copies the block's lines into text_ and hashes every token. Returns an upper bound of the
// subsequence from the hashes alone: each hash bucket matches at most as often as the side
// holding it less often, which rules out most unlike blocks before their tokens are told apart.
std::size_t ChangedWords::hashTokens() {
  std::size_t size = kPadding;
  for (Line& line : lines_) {
    line.at = static_cast<std::uint32_t>(size - kPadding);
    size += line.size;
  }
  if (text_.size() < size) text_.resize(size);
  for (const Line& line : lines_) std::memcpy(&text_[line.at], line.text, line.size);
  std::memset(&text_[size - kPadding], 0, kPadding);
  hashes_.resize(tokens_);
  places_.resize(tokens_);
  for (std::size_t l = 0; l < lines_.size(); ++l) {
    const Line& line = lines_[l];
    const std::size_t next = l + 1 < lines_.size() ? lines_[l + 1].firstToken : tokens_;
    for (std::size_t t = line.firstToken; t < next; ++t) {
      const std::uint32_t end = t + 1 < next ? starts_[t + 1] : line.size;
      places_[t] = Place{line.at + starts_[t], end - starts_[t]};
      hashes_[t] = hashOf(&text_[places_[t].at], places_[t].size);
    }
  }
  if (buckets_.empty()) buckets_.assign(std::size_t{1} << kSlotBits, 0);
  for (std::size_t t = 0; t < removedTokens_; ++t) ++buckets_[hashes_[t] >> (64 - kSlotBits)];
  std::size_t shared = 0;
  for (std::size_t t = removedTokens_; t < tokens_; ++t) {
    std::uint16_t& bucket = buckets_[hashes_[t] >> (64 - kSlotBits)];
    const bool left = bucket != 0;
    bucket -= left;
    shared += left;
  }
  for (std::size_t t = 0; t < removedTokens_; ++t) buckets_[hashes_[t] >> (64 - kSlotBits)] = 0;
  return shared;
}

// Returns whether tokens `a` and `b` have the same bytes.
bool ChangedWords::same(std::size_t a, std::size_t b) const {
  const Place p = places_[a], q = places_[b];
  return hashes_[a] == hashes_[b] && p.size == q.size && std::memcmp(&text_[p.at], &text_[q.at], p.size) == 0;
}

// Gives each token in [from, to) its kind, counted on its side.
void ChangedWords::countKinds(std::size_t from, std::size_t to) {
  for (std::size_t t = from; t < to; ++t) {
    kindOfToken_[t] = kindOf(places_[t].at, places_[t].size, hashes_[t], t >= removedTokens_);
  }
}

bool ChangedWords::match() {
  done_ = false;
  const std::size_t removed = removedTokens_, added = tokens_ - removed;
  const std::size_t needed = (std::max(removed, added) + 1) / 2;
  if (past_ || removedLines_ == 0 || removedLines_ == lines_.size() || needed == 0 ||
      std::min(removed, added) < needed) {
    return false;
  }
  if (hashTokens() < needed) return false;

  matched_.assign(tokens_, 0);
  // Tokens that both sides begin or end with belong to a longest common subsequence: only those
  // between them are told apart and searched.
  std::size_t head = 0, tail = 0;
  while (head < removed && head < added && same(head, removed + head)) {
    matched_[head] = matched_[removed + head] = 1;
    ++head;
  }
  while (tail < removed - head && tail < added - head && same(removed - 1 - tail, tokens_ - 1 - tail)) {
    matched_[removed - 1 - tail] = matched_[tokens_ - 1 - tail] = 1;
    ++tail;
  }
  if (slots_.empty()) slots_.assign(std::size_t{1} << kSlotBits, 0);
  for (const Kind& kind : kinds_) slots_[kind.slot] = 0;
  kinds_.clear();
  kindOfToken_.resize(tokens_);
  countKinds(head, removed - tail);
  countKinds(removed + head, tokens_ - tail);
  // Each kind matches at most as often as the side holding it less often: a closer bound.
  std::size_t shared = head + tail;
  for (const Kind& kind : kinds_) shared += std::min(kind.removed, kind.added);
  if (shared < needed) return false;
  if (head + tail + longestCommon(head, tail, needed - std::min(needed, head + tail)) < needed) return false;
  collectMarks();
  done_ = true;
  return !marks_.empty();
}

// Marks a longest common subsequence of the removed and the added tokens between the `head` and
// the `tail` both sides share, and returns its length, or returns less than `needed` once it
// cannot reach that. Tokens the other side lacks are left out first. The subsequence is found
// with the bit-parallel rows of Crochemore et al. (2001): one bit for each added token, a row for
// each removed one made from the last with a few word operations, and a bit of row i that is 0
// where the subsequence of the first i removed tokens grows with that added token. The rows are
// kept for the way back.
std::size_t ChangedWords::longestCommon(std::size_t head, std::size_t tail, std::size_t needed) {
  // Both sides are taken from their ends back, so that the way back below runs from their starts
  // and keeps the earlier of two equal tokens: changes read as made after what stayed.
  columnTokens_.clear();
  for (std::size_t t = tokens_ - tail; t-- > removedTokens_ + head;) {
    if (kinds_[kindOfToken_[t]].removed != 0) columnTokens_.push_back(static_cast<std::uint32_t>(t));
  }
  const std::size_t m = columnTokens_.size(), words = (m + 63) / 64;
  if (m == 0) return 0;
  // The match bits of every kind that both sides hold, over the added tokens.
  std::uint32_t kindsWithBits = 0;
  for (std::size_t j = 0; j < m; ++j) {
    Kind& kind = kinds_[kindOfToken_[columnTokens_[j]]];
    if (kind.bits == kNoBits) kind.bits = kindsWithBits++;
  }
  bits_.assign(kindsWithBits * words, 0);
  for (std::size_t j = 0; j < m; ++j) {
    bits_[kinds_[kindOfToken_[columnTokens_[j]]].bits * words + j / 64] |= std::uint64_t{1} << (j % 64);
  }
  rowTokens_.clear();
  for (std::size_t t = removedTokens_ - tail; t-- > head;) {
    if (kinds_[kindOfToken_[t]].bits != kNoBits) rowTokens_.push_back(static_cast<std::uint32_t>(t));
  }
  const std::size_t n = rowTokens_.size();
  if (rows_.size() < (n + 1) * words) rows_.resize((n + 1) * words);
  std::fill_n(rows_.begin(), words, ~std::uint64_t{0});
  const std::uint64_t lastWord = m % 64 == 0 ? ~std::uint64_t{0} : (std::uint64_t{1} << (m % 64)) - 1;
  const auto common = [&](const std::uint64_t* row) {
    std::size_t ones = bitCount(row[words - 1] & lastWord);
    for (std::size_t w = 0; w + 1 < words; ++w) ones += bitCount(row[w]);
    return m - ones;
  };
  std::size_t length = 0, i = 0;
  while (i < n) {
    const std::uint64_t* const last = &rows_[i * words];
    std::uint64_t* const row = &rows_[(i + 1) * words];
    const std::uint64_t* const match = &bits_[kinds_[kindOfToken_[rowTokens_[i]]].bits * words];
    std::uint64_t carry = 0;
    for (std::size_t w = 0; w < words; ++w) {
      const std::uint64_t v = last[w], u = v & match[w];
      std::uint64_t sum = v + u;
      const std::uint64_t over = sum < v;
      sum += carry;
      carry = over | (sum < carry);
      row[w] = sum | (v & ~match[w]);
    }
    // Each row adds at most one: stop once the rows left cannot make up what is missing.
    if (++i % 32 == 0 || i == n) {
      length = common(row);
      if (length + (n - i) < needed) break;
    }
  }
  for (std::size_t j = 0; j < m; ++j) kinds_[kindOfToken_[columnTokens_[j]]].bits = kNoBits;
  if (i < n || length < needed) return length;

  // The way back from the last row: a pair of equal tokens always extends a longest subsequence
  // of what precedes them; otherwise a 1 bit says the added token is not needed, a 0 bit that the
  // removed one is not. What it finds is what counts, so that marks and answer always agree.
  length = 0;
  for (std::size_t j = m; i > 0 && j > 0;) {
    const std::uint32_t a = rowTokens_[i - 1], b = columnTokens_[j - 1];
    if (kindOfToken_[a] == kindOfToken_[b]) {
      matched_[a] = matched_[b] = 1;
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
  for (std::size_t l = 0; l < lines_.size(); ++l) {
    lineMarks_.push_back(static_cast<std::uint32_t>(marks_.size()));
    const std::size_t last = l + 1 < lines_.size() ? lines_[l + 1].firstToken : tokens_;
    bool open = false;
    for (std::size_t t = lines_[l].firstToken; t < last; ++t) {
      const std::size_t end = t + 1 < last ? starts_[t + 1] : lines_[l].size;
      if (matched_[t]) {
        open = false;
      } else if (open) {
        marks_.back().end = end;
      } else {
        marks_.push_back(TextRange{starts_[t], end});
        open = true;
      }
    }
  }
  lineMarks_.push_back(static_cast<std::uint32_t>(marks_.size()));
}

ChangedWords::Marks ChangedWords::marks(std::size_t line) const {
  if (!done_ || line + 1 >= lineMarks_.size()) return Marks{nullptr, nullptr};
  return Marks{marks_.data() + lineMarks_[line], marks_.data() + lineMarks_[line + 1]};
}

}  // namespace tarnwick
