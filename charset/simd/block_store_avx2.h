// What the AVX2 kernels share: small vector helpers, and their output,
// which builds each group of units or bytes in a
// 16-byte register and store it whole: the store also writes the bytes past
// the group, which the next group's store then covers. Only what the
// conversion outputs may change in the caller's buffer, so those bytes must
// not outlive the kernel: before the stores of a block that can leave them
// past its end, the kernel keeps what the buffer held there (KelOverrun),
// and puts it back if it stops before another block covers them. A block
// after which the kernel stops is written exactly, through a scratch buffer.
//
// Only for the x86 kernel files; the helpers are compiled for AVX2 (their
// callers must be too).
#ifndef KELULIB_CHARSET_SIMD_BLOCK_STORE_AVX2_H_
#define KELULIB_CHARSET_SIMD_BLOCK_STORE_AVX2_H_

// GCC 12 warns about the deliberately undefined vectors inside its own
// AVX intrinsic headers; nothing here reads one.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "charset/charset_id.h"
#include "charset/simd/shuffle_tables.h"

#define KELULIB_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt")))

namespace kelulib {
namespace x86 {

inline uint32_t lowBits32(unsigned count) {
  return count >= 32 ? 0xFFFFFFFFu : (uint32_t{1} << count) - 1;
}

KELULIB_TARGET_AVX2 inline __m128i loadShuffle(const KelShuffleTable& table, unsigned mask) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(table.entry[mask]));
}

// Two table entries as the two lanes of one 256-bit shuffle.
KELULIB_TARGET_AVX2 inline __m256i loadShuffles(const KelShuffleTable& table, unsigned low,
                                                unsigned high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(loadShuffle(table, low)),
                                 loadShuffle(table, high), 1);
}

KELULIB_TARGET_AVX2 inline void store16(void* at, __m128i bytes) {
  _mm_storeu_si128(static_cast<__m128i*>(at), bytes);
}

// A constant built once before a loop: the empty asm hides its value, so
// that the compiler keeps it (in a register, or on the stack) instead of
// building it again inside the loop.
KELULIB_TARGET_AVX2 inline __m256i held(__m256i value) {
  __asm__("" : "+x"(value));
  return value;
}

// Stores the units of `values` (16 positions) at the positions `starts`
// marks, together, with two 16-byte stores; returns how many.
KELULIB_TARGET_AVX2 inline unsigned storeStartedUnits(__m256i values, uint32_t starts,
                                                      wchar16* out) {
  const unsigned low = starts & 0xFF;
  const unsigned high = starts >> 8 & 0xFF;
  const __m256i packed = _mm256_shuffle_epi8(values, loadShuffles(kUnitCompress, low, high));
  const auto lowCount = static_cast<unsigned>(__builtin_popcount(low));
  store16(out, _mm256_castsi256_si128(packed));
  store16(out + lowCount, _mm256_extracti128_si256(packed, 1));
  return lowCount + static_cast<unsigned>(__builtin_popcount(high));
}

KELULIB_TARGET_AVX2 inline void widen32(const unsigned char* in, wchar16* out) {
  const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                      _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 16),
                      _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
}


// The bytes that whole-register stores may have overwritten past the output
// (at most 16, from `at` on), and what the buffer held there before.
class KelOverrun {
 public:
  static constexpr size_t kBytes = 16;

  // Before stores that may write up to kBytes past `end`: keeps what the
  // buffer holds at end[0, kBytes), which nothing has written yet. From then
  // on those bytes are the ones to put back.
  void keepBefore(unsigned char* end) {
    m_saved = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end));
    m_at = end;
    m_pending = true;
  }

  // An exact store has covered the bytes past the output.
  void covered() { m_pending = false; }

  // The output ends at `end` (at or after the place kept): puts back the
  // kept bytes from `end` on.
  void restoreFrom(unsigned char* end) {
    if (!m_pending) return;
    m_pending = false;
    const size_t skip = static_cast<size_t>(end - m_at);
    if (skip >= kBytes) return;
    alignas(16) unsigned char kept[kBytes];
    _mm_store_si128(reinterpret_cast<__m128i*>(kept), m_saved);
    std::memcpy(end, kept + skip, kBytes - skip);
  }

 private:
  __m128i m_saved = _mm_setzero_si128();
  unsigned char* m_at = nullptr;
  bool m_pending = false;
};

}  // namespace x86
}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_BLOCK_STORE_AVX2_H_
