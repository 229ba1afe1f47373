#ifndef UTILS_DIFF_BYTE_BITMAP_H
#define UTILS_DIFF_BYTE_BITMAP_H

#include <cstddef>
#include <cstdint>

namespace tarnwick {

// The instruction sets the byte scan can use. Scalar works everywhere; SSE2 is part of every
// x86-64 processor, AVX2 is chosen at run time when the processor has it; NEON is part of every
// arm64 processor.
enum class ScanLevel { kScalar, kSse2, kAvx2, kNeon };

// Up to three bytes looked for together (repeat one to look for fewer).
struct ByteSet {
  char a, b, c;
};

// The most sets one pass of byteBitmaps looks for.
constexpr std::size_t kMostByteSets = 5;

// For each of the `count` sets (at most kMostByteSets), sets bit i of bits[k][i / 64] (bit i % 64)
// when data[i] is one of the bytes of sets[k], for every i below `size`, in one pass over the
// data; the bits of the last word past `size` are zero. Each bits[k] has room for
// (size + 63) / 64 words.
void byteBitmaps(const char* data, std::size_t size, const ByteSet* sets, std::size_t count,
                 std::uint64_t* const* bits);

// byteBitmaps for one set.
inline void byteBitmap(const char* data, std::size_t size, ByteSet set, std::uint64_t* bits) {
  byteBitmaps(data, size, &set, 1, &bits);
}

// Makes byteBitmaps use `level` from now on instead of the best this processor offers, so that
// tests can run every implementation this processor can run on the same inputs. Returns false,
// changing nothing, when it cannot run here.
bool forceScanLevel(ScanLevel level);

}  // namespace tarnwick

#endif
