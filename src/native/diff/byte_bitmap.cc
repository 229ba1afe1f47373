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

using BitmapFunction = void (*)(const char*, std::size_t, char, char, char, std::uint64_t*);

// Returns the bits of the bytes at [data, data + size) equal to `a`, `b` or `c`, size at most 64.
inline std::uint64_t tailBits(const char* data, std::size_t size, char a, char b, char c) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == a || data[i] == b || data[i] == c) bits |= std::uint64_t{1} << i;
  }
  return bits;
}

// Returns the high bit of every zero byte of `v`, exactly (no borrow between bytes).
inline std::uint64_t zeroBytes(std::uint64_t v) {
  constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7Full;
  return ~(((v & kLow7) + kLow7) | v | kLow7);
}

void bitmapScalar(const char* data, std::size_t size, char a, char b, char c, std::uint64_t* bits) {
  const std::uint64_t repeatA = 0x0101010101010101ull * static_cast<unsigned char>(a);
  const std::uint64_t repeatB = 0x0101010101010101ull * static_cast<unsigned char>(b);
  const std::uint64_t repeatC = 0x0101010101010101ull * static_cast<unsigned char>(c);
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    std::uint64_t word = 0;
    for (int k = 0; k < 8; ++k) {
      std::uint64_t v;
      std::memcpy(&v, data + i + 8 * k, 8);
      const std::uint64_t high = zeroBytes(v ^ repeatA) | zeroBytes(v ^ repeatB) | zeroBytes(v ^ repeatC);
      // Gathers the eight high bits, byte k's into bit k, with one multiplication. Written for
      // little-endian words, which every target of this module has.
      word |= (((high >> 7) * 0x0102040810204080ull) >> 56) << (8 * k);
    }
    *bits++ = word;
  }
  if (i < size) *bits = tailBits(data + i, size - i, a, b, c);
}

#if defined(UTILS_SCAN_X86)
void bitmapSse2(const char* data, std::size_t size, char a, char b, char c, std::uint64_t* bits) {
  const __m128i va = _mm_set1_epi8(a);
  const __m128i vb = _mm_set1_epi8(b);
  const __m128i vc = _mm_set1_epi8(c);
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    std::uint64_t word = 0;
    for (int k = 0; k < 4; ++k) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + i + 16 * k));
      const __m128i hit =
          _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb)), _mm_cmpeq_epi8(v, vc));
      word |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(hit))) << (16 * k);
    }
    *bits++ = word;
  }
  if (i < size) *bits = tailBits(data + i, size - i, a, b, c);
}

__attribute__((target("avx2"))) void bitmapAvx2(const char* data, std::size_t size, char a, char b, char c,
                                                 std::uint64_t* bits) {
  const __m256i va = _mm256_set1_epi8(a);
  const __m256i vb = _mm256_set1_epi8(b);
  const __m256i vc = _mm256_set1_epi8(c);
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    const __m256i lo = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data + i));
    const __m256i hi = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data + i + 32));
    const __m256i hitLo = _mm256_or_si256(_mm256_or_si256(_mm256_cmpeq_epi8(lo, va), _mm256_cmpeq_epi8(lo, vb)),
                                          _mm256_cmpeq_epi8(lo, vc));
    const __m256i hitHi = _mm256_or_si256(_mm256_or_si256(_mm256_cmpeq_epi8(hi, va), _mm256_cmpeq_epi8(hi, vb)),
                                          _mm256_cmpeq_epi8(hi, vc));
    *bits++ = static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(hitLo))) |
              static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(hitHi))) << 32;
  }
  if (i < size) *bits = tailBits(data + i, size - i, a, b, c);
}

bool hasAvx2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}
#endif

#if defined(UTILS_SCAN_NEON)
void bitmapNeon(const char* data, std::size_t size, char a, char b, char c, std::uint64_t* bits) {
  const uint8x16_t va = vdupq_n_u8(static_cast<std::uint8_t>(a));
  const uint8x16_t vb = vdupq_n_u8(static_cast<std::uint8_t>(b));
  const uint8x16_t vc = vdupq_n_u8(static_cast<std::uint8_t>(c));
  // Each lane keeps its own bit of a byte; three pairwise additions then pack 64 lanes into 64 bits.
  const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  std::size_t i = 0;
  for (; i + 64 <= size; i += 64) {
    uint8x16_t hit[4];
    for (int k = 0; k < 4; ++k) {
      const uint8x16_t v = vld1q_u8(reinterpret_cast<const std::uint8_t*>(data + i + 16 * k));
      hit[k] = vandq_u8(vorrq_u8(vorrq_u8(vceqq_u8(v, va), vceqq_u8(v, vb)), vceqq_u8(v, vc)), weights);
    }
    uint8x16_t sum = vpaddq_u8(vpaddq_u8(hit[0], hit[1]), vpaddq_u8(hit[2], hit[3]));
    sum = vpaddq_u8(sum, sum);
    *bits++ = vgetq_lane_u64(vreinterpretq_u64_u8(sum), 0);
  }
  if (i < size) *bits = tailBits(data + i, size - i, a, b, c);
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
std::atomic<ScanLevel> chosenLevel{ScanLevel::kScalar};
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

void byteBitmap(const char* data, std::size_t size, char a, char b, char c, std::uint64_t* bits) {
  chosenFunction()(data, size, a, b, c, bits);
}

ScanLevel scanLevel() {
  chosenFunction();
  return chosenLevel.load();
}

bool forceScanLevel(ScanLevel level) {
  const BitmapFunction function = implementation(level);
  if (function == nullptr) return false;
  chosenLevel.store(level);
  chosen.store(function);
  return true;
}

}  // namespace tarnwick
