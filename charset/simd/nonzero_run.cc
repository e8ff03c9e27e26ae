#include "charset/simd/nonzero_run.h"

#include <cstdint>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <emmintrin.h>
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

}  // namespace

size_t nonZeroPrefix(const wchar16* text, size_t limit) {
  // Blocks compare whole units only when the text starts on a unit boundary.
  if (reinterpret_cast<uintptr_t>(text) % sizeof(wchar16) != 0 || limit < 8) {
    return nonZeroPrefixOneByOne(text, limit);
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
