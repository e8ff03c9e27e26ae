// The x86-64 implementations of the text kernels, one set per instruction
// level; text_kernels.cc picks among them. Each has the contract of the
// kernel of the same name in text_kernels.h, and may only be called on a
// processor that supports its level.
#ifndef KELULIB_CHARSET_SIMD_TEXT_KERNELS_X86_H_
#define KELULIB_CHARSET_SIMD_TEXT_KERNELS_X86_H_

#include <cstddef>
#include <cstdint>

#include "charset/charset_id.h"
#include "charset/simd/text_kernels.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define KELULIB_X86_KERNELS 1

namespace kelulib {
namespace x86 {

size_t widenAsciiSse2(const unsigned char* in, size_t count, wchar16* out, unsigned end);
size_t widenAsciiAvx2(const unsigned char* in, size_t count, wchar16* out, unsigned end);
size_t widenAsciiAvx512(const unsigned char* in, size_t count, wchar16* out, unsigned end);

size_t narrowAsciiSse2(const wchar16* in, size_t count, unsigned char* out, unsigned end);
size_t narrowAsciiAvx2(const wchar16* in, size_t count, unsigned char* out, unsigned end);
size_t narrowAsciiAvx512(const wchar16* in, size_t count, unsigned char* out, unsigned end);

KelKernelRun utf8ToUtf16Avx2(const unsigned char* in, size_t count, wchar16* out);
KelKernelRun utf16ToUtf8UpToZeroAvx2(const wchar16* in, size_t window, unsigned char* out,
                                     size_t room);
KelKernelRun utf8ToUtf16Avx512(const unsigned char* in, size_t count, wchar16* out);
KelKernelRun utf16ToUtf8Avx512(const wchar16* in, size_t count, unsigned char* out, size_t room);

size_t mapBytesToUnitsAvx512(const unsigned char* in, size_t count, const wchar16* table,
                             wchar16* out);
size_t mapLowUnitsToBytesAvx512(const wchar16* in, size_t count, const unsigned char* table,
                                unsigned char* out);
KelKernelRun eucToUtf16Avx512(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                              wchar16* out);
KelKernelRun pairsToUtf16Avx2(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                              const KelPairDecoding& decoding, wchar16* out);
KelKernelRun mapUnitsToCodesAvx512(const wchar16* in, size_t count, const uint16_t* codes,
                                   unsigned asciiEnd, unsigned char* out, size_t room);

KelKernelRun mapBytesToUtf8Sse2(const unsigned char* in, size_t count, const uint32_t* sequences,
                                unsigned char* out, size_t room);
KelKernelRun mapBytesToUtf8Avx2(const unsigned char* in, size_t count, const uint32_t* sequences,
                                unsigned char* out, size_t room);

}  // namespace x86
}  // namespace kelulib

#endif
#endif  // KELULIB_CHARSET_SIMD_TEXT_KERNELS_X86_H_
