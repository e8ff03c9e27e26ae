#include "charset/simd/text_kernels.h"

#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels_x86.h"

namespace kelulib {

// Levels without a kernel of their own fall back to the next lower level
// that has one; kScalar always does nothing.

size_t widenAscii(const unsigned char* in, size_t count, wchar16* out, unsigned end) {
#ifdef KELULIB_X86_KERNELS
  switch (activeSimdLevel()) {
    case KelSimdLevel::kAvx512:
      return x86::widenAsciiAvx512(in, count, out, end);
    case KelSimdLevel::kAvx2:
      return x86::widenAsciiAvx2(in, count, out, end);
    case KelSimdLevel::kSse2:
      return x86::widenAsciiSse2(in, count, out, end);
    case KelSimdLevel::kScalar:
      break;
  }
#else
  (void)in, (void)count, (void)out, (void)end;
#endif
  return 0;
}

size_t narrowAscii(const wchar16* in, size_t count, unsigned char* out, unsigned end) {
#ifdef KELULIB_X86_KERNELS
  switch (activeSimdLevel()) {
    case KelSimdLevel::kAvx512:
      return x86::narrowAsciiAvx512(in, count, out, end);
    case KelSimdLevel::kAvx2:
      return x86::narrowAsciiAvx2(in, count, out, end);
    case KelSimdLevel::kSse2:
      return x86::narrowAsciiSse2(in, count, out, end);
    case KelSimdLevel::kScalar:
      break;
  }
#else
  (void)in, (void)count, (void)out, (void)end;
#endif
  return 0;
}

KelKernelRun utf8ToUtf16(const unsigned char* in, size_t count, wchar16* out) {
#ifdef KELULIB_X86_KERNELS
  if (activeSimdLevel() == KelSimdLevel::kAvx512) return x86::utf8ToUtf16Avx512(in, count, out);
#endif
  const size_t ascii = widenAscii(in, count, out);
  return {ascii, ascii};
}

KelKernelRun utf16ToUtf8(const wchar16* in, size_t count, unsigned char* out, size_t room) {
#ifdef KELULIB_X86_KERNELS
  if (activeSimdLevel() == KelSimdLevel::kAvx512) {
    return x86::utf16ToUtf8Avx512(in, count, out, room);
  }
#endif
  const size_t ascii = narrowAscii(in, count < room ? count : room, out);
  return {ascii, ascii};
}

size_t mapBytesToUnits(const unsigned char* in, size_t count, const wchar16* table, wchar16* out) {
#ifdef KELULIB_X86_KERNELS
  if (activeSimdLevel() == KelSimdLevel::kAvx512) {
    return x86::mapBytesToUnitsAvx512(in, count, table, out);
  }
#else
  (void)in, (void)count, (void)table, (void)out;
#endif
  return 0;
}

size_t mapLowUnitsToBytes(const wchar16* in, size_t count, const unsigned char* table,
                          unsigned char* out) {
#ifdef KELULIB_X86_KERNELS
  if (activeSimdLevel() == KelSimdLevel::kAvx512) {
    return x86::mapLowUnitsToBytesAvx512(in, count, table, out);
  }
#else
  (void)in, (void)count, (void)table, (void)out;
#endif
  return 0;
}

KelKernelRun mapUnitsToCodes(const wchar16* in, size_t count, const uint16_t* codes,
                             unsigned asciiEnd, unsigned char* out, size_t room) {
#ifdef KELULIB_X86_KERNELS
  if (activeSimdLevel() == KelSimdLevel::kAvx512) {
    return x86::mapUnitsToCodesAvx512(in, count, codes, asciiEnd, out, room);
  }
#else
  (void)in, (void)count, (void)codes, (void)asciiEnd, (void)out, (void)room;
#endif
  return {0, 0};
}

KelKernelRun eucToUtf16(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                        wchar16* out) {
#ifdef KELULIB_X86_KERNELS
  if (activeSimdLevel() == KelSimdLevel::kAvx512) {
    return x86::eucToUtf16Avx512(in, count, unitsOfCodes, out);
  }
#else
  (void)in, (void)count, (void)unitsOfCodes, (void)out;
#endif
  return {0, 0};
}

bool tableKernelsOn() {
#ifdef KELULIB_X86_KERNELS
  return activeSimdLevel() == KelSimdLevel::kAvx512;
#else
  return false;
#endif
}

}  // namespace kelulib
