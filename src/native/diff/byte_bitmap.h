#ifndef UTILS_DIFF_BYTE_BITMAP_H
#define UTILS_DIFF_BYTE_BITMAP_H

#include <cstddef>
#include <cstdint>

namespace tarnwick {

// The instruction sets the byte scan can use. Scalar works everywhere; SSE2 is part of every
// x86-64 processor, AVX2 is chosen at run time when the processor has it; NEON is part of every
// arm64 processor.
enum class ScanLevel { kScalar, kSse2, kAvx2, kNeon };

// Sets bit i of bits[i / 64] (bit i % 64) when data[i] is `a`, `b` or `c`, for every i below
// `size`; the bits of the last word past `size` are zero. `bits` has room for (size + 63) / 64
// words.
void byteBitmap(const char* data, std::size_t size, char a, char b, char c, std::uint64_t* bits);

// Returns the level byteBitmap uses: the best this processor offers, unless forced below.
ScanLevel scanLevel();

// Makes byteBitmap use `level` from now on, so that tests can run every implementation this
// processor can run on the same inputs. Returns false, changing nothing, when it cannot run here.
bool forceScanLevel(ScanLevel level);

}  // namespace tarnwick

#endif
