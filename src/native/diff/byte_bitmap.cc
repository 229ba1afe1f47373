#include "diff/byte_bitmap.h"

#include <atomic>
#include <cstring>

#if defined(__x86_64__) || defined(_M_X64)
#define UTILS_SCAN_X86 1
#include <immintrin.h>
#elif defined(__aarch64__) || defined(_M_ARM64)
#define UTILS_SCAN_NEON 1
#include <arm_neon.h>
#endif

namespace tarnwick {

namespace {

using BitmapFunction = void (*)(const char*, std::size_t, const ByteSet*, std::size_t, std::uint64_t* const*);

// Returns the bits of the bytes at [data, data + size) that are in `set`, size at most 64.
inline std::uint64_t tailBits(const char* data, std::size_t size, ByteSet set) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == set.a || data[i] == set.b || data[i] == set.c) bits |= std::uint64_t{1} << i;
  }
  return bits;
}

inline void tails(const char* data, std::size_t size, const ByteSet* sets, std::size_t count,
                  std::uint64_t* const* bits, std::size_t word) {
  for (std::size_t k = 0; k < count; ++k) bits[k][word] = tailBits(data, size, sets[k]);
}

// Returns the high bit of every zero byte of `v`, exactly (no borrow between bytes).
inline std::uint64_t zeroBytes(std::uint64_t v) {
  constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
  return ~(((v & kLow7) + kLow7) | v | kLow7);
}

void bitmapScalar(const char* data, std::size_t size, const ByteSet* sets, std::size_t count,
                  std::uint64_t* const* bits) {
  constexpr std::uint64_t kOnes = 0x0101010101010101ull;
  std::uint64_t repeated[kMostByteSets][3];
  for (std::size_t k = 0; k < count; ++k) {
    repeated[k][0] = kOnes * static_cast<unsigned char>(sets[k].a);
    repeated[k][1] = kOnes * static_cast<unsigned char>(sets[k].b);
    repeated[k][2] = kOnes * static_cast<unsigned char>(sets[k].c);
  }
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    std::uint64_t words[8];
    std::memcpy(words, data + i, 64);
    for (std::size_t k = 0; k < count; ++k) {
      std::uint64_t word = 0;
      for (int j = 0; j < 8; ++j) {
        const std::uint64_t v = words[j];
        const std::uint64_t high =
            zeroBytes(v ^ repeated[k][0]) | zeroBytes(v ^ repeated[k][1]) | zeroBytes(v ^ repeated[k][2]);
        // Gathers the eight high bits, byte j's into bit j, with one multiplication. Written for
        // little-endian words, which every target of this module has.
        word |= (((high >> 7) * 0x0102040810204080ull) >> 56) << (8 * j);
      }
      bits[k][i / 64] = word;
    }
  }
  if (i < size) tails(data + i, size - i, sets, count, bits, i / 64);
}

#if defined(UTILS_SCAN_X86)
// Returns whether the set is one byte repeated, which takes one comparison instead of three.
inline bool oneByte(ByteSet set) { return set.a == set.b && set.b == set.c; }

void bitmapSse2(const char* data, std::size_t size, const ByteSet* sets, std::size_t count,
                std::uint64_t* const* bits) {
  __m128i va[kMostByteSets], vb[kMostByteSets], vc[kMostByteSets];
  bool single[kMostByteSets];
  for (std::size_t k = 0; k < count; ++k) {
    single[k] = oneByte(sets[k]);
    va[k] = _mm_set1_epi8(sets[k].a);
    vb[k] = _mm_set1_epi8(sets[k].b);
    vc[k] = _mm_set1_epi8(sets[k].c);
  }
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    __m128i v[4];
    for (int j = 0; j < 4; ++j) v[j] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i + 16 * j));
    for (std::size_t k = 0; k < count; ++k) {
      std::uint64_t word = 0;
      for (int j = 0; j < 4; ++j) {
        __m128i hit = _mm_cmpeq_epi8(v[j], va[k]);
        if (!single[k]) hit = _mm_or_si128(hit, _mm_or_si128(_mm_cmpeq_epi8(v[j], vb[k]), _mm_cmpeq_epi8(v[j], vc[k])));
        word |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(hit))) << (16 * j);
      }
      bits[k][i / 64] = word;
    }
  }
  if (i < size) tails(data + i, size - i, sets, count, bits, i / 64);
}

__attribute__((target("avx2"))) void bitmapAvx2(const char* data, std::size_t size, const ByteSet* sets,
                                                 std::size_t count, std::uint64_t* const* bits) {
  __m256i va[kMostByteSets], vb[kMostByteSets], vc[kMostByteSets];
  bool single[kMostByteSets];
  for (std::size_t k = 0; k < count; ++k) {
    single[k] = oneByte(sets[k]);
    va[k] = _mm256_set1_epi8(sets[k].a);
    vb[k] = _mm256_set1_epi8(sets[k].b);
    vc[k] = _mm256_set1_epi8(sets[k].c);
  }
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    const __m256i lo = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data + i));
    const __m256i hi = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data + i + 32));
    for (std::size_t k = 0; k < count; ++k) {
      __m256i hitLo = _mm256_cmpeq_epi8(lo, va[k]);
      __m256i hitHi = _mm256_cmpeq_epi8(hi, va[k]);
      if (!single[k]) {
        hitLo = _mm256_or_si256(hitLo, _mm256_or_si256(_mm256_cmpeq_epi8(lo, vb[k]), _mm256_cmpeq_epi8(lo, vc[k])));
        hitHi = _mm256_or_si256(hitHi, _mm256_or_si256(_mm256_cmpeq_epi8(hi, vb[k]), _mm256_cmpeq_epi8(hi, vc[k])));
      }
      bits[k][i / 64] = static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(hitLo))) |
                        static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(hitHi))) << 32;
    }
  }
  if (i < size) tails(data + i, size - i, sets, count, bits, i / 64);
}

bool hasAvx2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}
#endif

#if defined(UTILS_SCAN_NEON)
void bitmapNeon(const char* data, std::size_t size, const ByteSet* sets, std::size_t count,
                std::uint64_t* const* bits) {
  uint8x16_t va[kMostByteSets], vb[kMostByteSets], vc[kMostByteSets];
  for (std::size_t k = 0; k < count; ++k) {
    va[k] = vdupq_n_u8(static_cast<std::uint8_t>(sets[k].a));
    vb[k] = vdupq_n_u8(static_cast<std::uint8_t>(sets[k].b));
    vc[k] = vdupq_n_u8(static_cast<std::uint8_t>(sets[k].c));
  }
  // Each lane keeps its own bit of a byte; three pairwise additions then pack 64 lanes into 64 bits.
  const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    uint8x16_t v[4];
    for (int j = 0; j < 4; ++j) v[j] = vld1q_u8(reinterpret_cast<const std::uint8_t*>(data + i + 16 * j));
    for (std::size_t k = 0; k < count; ++k) {
      uint8x16_t hit[4];
      for (int j = 0; j < 4; ++j) {
        hit[j] = vandq_u8(vorrq_u8(vorrq_u8(vceqq_u8(v[j], va[k]), vceqq_u8(v[j], vb[k])), vceqq_u8(v[j], vc[k])),
                          weights);
      }
      uint8x16_t sum = vpaddq_u8(vpaddq_u8(hit[0], hit[1]), vpaddq_u8(hit[2], hit[3]));
      sum = vpaddq_u8(sum, sum);
      bits[k][i / 64] = vgetq_lane_u64(vreinterpretq_u64_u8(sum), 0);
    }
  }
  if (i < size) tails(data + i, size - i, sets, count, bits, i / 64);
}
#endif

ScanLevel bestLevel() {
#if defined(UTILS_SCAN_X86)
  return hasAvx2() ? ScanLevel::kAvx2 : ScanLevel::kSse2;
#elif defined(UTILS_SCAN_NEON)
  return ScanLevel::kNeon;
#else
  return ScanLevel::kScalar;
#endif
}

// Returns the implementation of `level`, or nullptr when this processor cannot run it.
BitmapFunction implementation(ScanLevel level) {
  switch (level) {
    case ScanLevel::kScalar: return bitmapScalar;
#if defined(UTILS_SCAN_X86)
    case ScanLevel::kSse2: return bitmapSse2;
    case ScanLevel::kAvx2: return hasAvx2() ? bitmapAvx2 : nullptr;
#endif
#if defined(UTILS_SCAN_NEON)
    case ScanLevel::kNeon: return bitmapNeon;
#endif
    default: return nullptr;
  }
}

// Chosen on first use rather than at load time, so that nothing runs before the module is called.
std::atomic<BitmapFunction> chosen{nullptr};

BitmapFunction chosenFunction() {
  BitmapFunction function = chosen.load(std::memory_order_relaxed);
  if (function == nullptr) {
    forceScanLevel(bestLevel());
    function = chosen.load();
  }
  return function;
}

}  // namespace

void byteBitmaps(const char* data, std::size_t size, const ByteSet* sets, std::size_t count,
                 std::uint64_t* const* bits) {
  chosenFunction()(data, size, sets, count, bits);
}

bool forceScanLevel(ScanLevel level) {
  const BitmapFunction function = implementation(level);
  if (function == nullptr) return false;
  chosen.store(function);
  return true;
}

}  // namespace tarnwick
