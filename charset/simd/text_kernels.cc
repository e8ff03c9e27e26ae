#include "charset/simd/text_kernels.h"

#include <cstdint>

#include "charset/simd/byte_table_blocks.h"
#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels_x86.h"

namespace kelulib {

#ifdef KELULIB_X86_KERNELS

namespace {

// The kernel of the active level among one per level; levels without a
// kernel of their own fall back to the next lower one, and kScalar does
// nothing.
template <typename Result, typename... Args>
Result atActiveLevel(Result (*avx512)(Args...), Result (*avx2)(Args...), Result (*sse2)(Args...),
                     Args... args) {
  switch (activeSimdLevel()) {
    case KelSimdLevel::kAvx512:
      return avx512(args...);
    case KelSimdLevel::kAvx2:
      return avx2(args...);
    case KelSimdLevel::kSse2:
      return sse2(args...);
    case KelSimdLevel::kScalar:
      break;
  }
  return Result{};
}

bool avx512Active() { return activeSimdLevel() == KelSimdLevel::kAvx512; }

}  // namespace

size_t widenAscii(const unsigned char* in, size_t count, wchar16* out, unsigned end) {
  return atActiveLevel(x86::widenAsciiAvx512, x86::widenAsciiAvx2, x86::widenAsciiSse2, in, count,
                       out, end);
}

size_t narrowAscii(const wchar16* in, size_t count, unsigned char* out, unsigned end) {
  return atActiveLevel(x86::narrowAsciiAvx512, x86::narrowAsciiAvx2, x86::narrowAsciiSse2, in,
                       count, out, end);
}

KelKernelRun utf8ToUtf16(const unsigned char* in, size_t count, wchar16* out) {
  switch (activeSimdLevel()) {
    case KelSimdLevel::kAvx512:
      return x86::utf8ToUtf16Avx512(in, count, out);
    case KelSimdLevel::kAvx2:
      return x86::utf8ToUtf16Avx2(in, count, out);
    default:
      break;
  }
  const size_t ascii = widenAscii(in, count, out);
  return {ascii, ascii};
}

KelKernelRun utf16ToUtf8(const wchar16* in, size_t count, unsigned char* out, size_t room) {
  switch (activeSimdLevel()) {
    case KelSimdLevel::kAvx512:
      return x86::utf16ToUtf8Avx512(in, count, out, room);
    default:
      break;
  }
  const size_t ascii = narrowAscii(in, count < room ? count : room, out);
  return {ascii, ascii};
}

bool utf16ToUtf8FindsZero(const wchar16* in) {
  return activeSimdLevel() == KelSimdLevel::kAvx2 && reinterpret_cast<uintptr_t>(in) % 2 == 0;
}

KelKernelRun utf16ToUtf8UpToZero(const wchar16* in, size_t window, unsigned char* out,
                                 size_t room) {
  if (!utf16ToUtf8FindsZero(in)) return {0, 0};
  return x86::utf16ToUtf8UpToZeroAvx2(in, window, out, room);
}

size_t mapBytesToUnits(const unsigned char* in, size_t count, const wchar16* table, wchar16* out) {
  if (avx512Active()) return x86::mapBytesToUnitsAvx512(in, count, table, out);
  return fastPathsOn() ? mapBytesToUnitsInBlocks(in, count, table, out) : 0;
}

size_t mapLowUnitsToBytes(const wchar16* in, size_t count, const unsigned char* table,
                          unsigned char* out) {
  if (avx512Active()) return x86::mapLowUnitsToBytesAvx512(in, count, table, out);
  return fastPathsOn() ? mapLowUnitsToBytesInBlocks(in, count, table, out) : 0;
}

KelKernelRun mapUnitsToCodes(const wchar16* in, size_t count, const uint16_t* codes,
                             unsigned asciiEnd, unsigned char* out, size_t room) {
  if (!avx512Active()) return {0, 0};
  return x86::mapUnitsToCodesAvx512(in, count, codes, asciiEnd, out, room);
}

KelKernelRun eucToUtf16(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                        wchar16* out) {
  if (!avx512Active()) return {0, 0};
  return x86::eucToUtf16Avx512(in, count, unitsOfCodes, out);
}

KelKernelRun mapBytesToUtf8(const unsigned char* in, size_t count, const uint32_t* sequences,
                            unsigned char* out, size_t room) {
  // 32-byte blocks are as fast as any wider ones for runs this short.
  return atActiveLevel(x86::mapBytesToUtf8Avx2, x86::mapBytesToUtf8Avx2, x86::mapBytesToUtf8Sse2,
                       in, count, sequences, out, room);
}

bool pairKernelsOn() {
  return static_cast<int>(activeSimdLevel()) >= static_cast<int>(KelSimdLevel::kAvx2);
}

KelKernelRun pairsToUtf16(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                          const KelPairDecoding& decoding, wchar16* out) {
  if (!pairKernelsOn()) return {0, 0};
  return x86::pairsToUtf16Avx2(in, count, unitsOfCodes, decoding, out);
}

bool tableKernelsOn() { return avx512Active(); }

#else  // No kernels: every conversion runs its plain code.

size_t widenAscii(const unsigned char*, size_t, wchar16*, unsigned) { return 0; }
size_t narrowAscii(const wchar16*, size_t, unsigned char*, unsigned) { return 0; }
KelKernelRun utf8ToUtf16(const unsigned char*, size_t, wchar16*) { return {0, 0}; }
KelKernelRun utf16ToUtf8(const wchar16*, size_t, unsigned char*, size_t) { return {0, 0}; }
bool utf16ToUtf8FindsZero(const wchar16*) { return false; }
KelKernelRun utf16ToUtf8UpToZero(const wchar16*, size_t, unsigned char*, size_t) { return {0, 0}; }
size_t mapBytesToUnits(const unsigned char*, size_t, const wchar16*, wchar16*) { return 0; }
size_t mapLowUnitsToBytes(const wchar16*, size_t, const unsigned char*, unsigned char*) {
  return 0;
}
KelKernelRun mapUnitsToCodes(const wchar16*, size_t, const uint16_t*, unsigned, unsigned char*,
                             size_t) {
  return {0, 0};
}
KelKernelRun eucToUtf16(const unsigned char*, size_t, const uint16_t*, wchar16*) { return {0, 0}; }
KelKernelRun mapBytesToUtf8(const unsigned char*, size_t, const uint32_t*, unsigned char*, size_t) {
  return {0, 0};
}
KelKernelRun pairsToUtf16(const unsigned char*, size_t, const uint16_t*, const KelPairDecoding&,
                          wchar16*) {
  return {0, 0};
}
bool pairKernelsOn() { return false; }
bool tableKernelsOn() { return false; }

#endif

}  // namespace kelulib
