// Output of the AVX2 kernels, which build each group of units or bytes in a
// 16-byte register and store it whole: the store also writes the bytes past
// the group, which the next group's store then covers. Only what the
// conversion outputs may change in the caller's buffer, so those bytes must
// not outlive the kernel: before the stores of a block that can leave them
// past its end, the kernel keeps what the buffer held there (KelOverrun),
// and puts it back if it stops before another block covers them. A block
// after which the kernel stops is written exactly, through a scratch buffer.
//
// Only for the x86 kernel files (it needs nothing beyond SSE2 itself).
#ifndef KELULIB_CHARSET_SIMD_BLOCK_STORE_AVX2_H_
#define KELULIB_CHARSET_SIMD_BLOCK_STORE_AVX2_H_

#include <immintrin.h>

#include <cstddef>
#include <cstring>

namespace kelulib {
namespace x86 {

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
