#include "charset/simd/nonzero_run.h"

#include <cstdint>

#include "charset/simd/simd_level.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
#define KELULIB_ALIGNED_BLOCK_SCAN 1
#endif

namespace kelulib {

#ifdef KELULIB_ALIGNED_BLOCK_SCAN

namespace {

size_t nonZeroPrefixOneByOne(const wchar16* text, size_t limit) {
  size_t count = 0;
  while (count < limit && text[count] != 0) ++count;
  return count;
}

// The bytes of a block outside the text (before its start, after its
// terminator) are deliberately read, so the sanitizers are told not to
// check this function's loads.
__attribute__((no_sanitize("address", "thread"))) size_t nonZeroPrefixByBlocks(const wchar16* text,
                                                                               size_t limit) {
  constexpr uintptr_t kBlock = 16;
  const auto start = reinterpret_cast<uintptr_t>(text);
  const auto* block = reinterpret_cast<const __m128i*>(start & ~(kBlock - 1));
  const __m128i zero = _mm_setzero_si128();
  auto zeros =
      static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_load_si128(block), zero)));
  zeros &= ~0u << (start & (kBlock - 1));
  while (zeros == 0) {
    ++block;
    const auto scanned = (reinterpret_cast<uintptr_t>(block) - start) / sizeof(wchar16);
    if (scanned >= limit) return limit;
    zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_load_si128(block), zero)));
  }
  const size_t found =
      (reinterpret_cast<uintptr_t>(block) - start + __builtin_ctz(zeros)) / sizeof(wchar16);
  return found < limit ? found : limit;
}

#define KELULIB_SCAN_AVX2 __attribute__((no_sanitize("address", "thread"), target("avx2,bmi")))

// Byte mask of the zero units of an aligned 32-byte block.
KELULIB_SCAN_AVX2 inline uint32_t zeroUnitsOf(const __m256i* block) {
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpeq_epi16(_mm256_load_si256(block), _mm256_setzero_si256())));
}

// The same with AVX2: aligned 32-byte blocks (which never cross a page
// boundary either); a block is read only when the ones before it hold no
// zero unit and it starts before the limit.
KELULIB_SCAN_AVX2 size_t nonZeroPrefixByBlocksAvx2(const wchar16* text, size_t limit) {
  constexpr uintptr_t kBlock = 32;
  const auto start = reinterpret_cast<uintptr_t>(text);
  // The address the limit ends at (the highest address for no limit).
  const uintptr_t end = limit < (UINTPTR_MAX - start) / sizeof(wchar16)
                            ? start + limit * sizeof(wchar16)
                            : UINTPTR_MAX;
  auto address = [](const __m256i* block) { return reinterpret_cast<uintptr_t>(block); };
  const auto* block = reinterpret_cast<const __m256i*>(start & ~(kBlock - 1));
  uint32_t zeros = zeroUnitsOf(block) & ~0u << (start & (kBlock - 1));
  while (zeros == 0) {
    ++block;
    if (address(block) >= end) return limit;
    zeros = zeroUnitsOf(block);
    if (zeros != 0) break;
    ++block;
    if (address(block) >= end) return limit;
    zeros = zeroUnitsOf(block);
  }
  const size_t found = (address(block) - start + __builtin_ctz(zeros)) / sizeof(wchar16);
  return found < limit ? found : limit;
}

}  // namespace

size_t nonZeroPrefix(const wchar16* text, size_t limit) {
  // Blocks compare whole units only when the text starts on a unit boundary.
  if (reinterpret_cast<uintptr_t>(text) % sizeof(wchar16) != 0 || limit < 8) {
    return nonZeroPrefixOneByOne(text, limit);
  }
  if (static_cast<int>(activeSimdLevel()) >= static_cast<int>(KelSimdLevel::kAvx2)) {
    return nonZeroPrefixByBlocksAvx2(text, limit);
  }
  return nonZeroPrefixByBlocks(text, limit);
}

#else

size_t nonZeroPrefix(const wchar16* text, size_t limit) {
  size_t count = 0;
  while (count < limit && text[count] != 0) ++count;
  return count;
}

#endif

}  // namespace kelulib
