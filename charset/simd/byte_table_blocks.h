// The single-byte sets' table look-ups, eight characters a block, for the
// levels that have no vector look-up (SSE2, AVX2): the blocks are plain
// loads, but a run is taken whole, instead of a call to the converter's
// plain step per character. Same contracts as mapBytesToUnits and
// mapLowUnitsToBytes (text_kernels.h).
#ifndef KELULIB_CHARSET_SIMD_BYTE_TABLE_BLOCKS_H_
#define KELULIB_CHARSET_SIMD_BYTE_TABLE_BLOCKS_H_

#include <cstddef>

#include "charset/charset_id.h"

namespace kelulib {

size_t mapBytesToUnitsInBlocks(const unsigned char* in, size_t count, const wchar16* table,
                               wchar16* out);

size_t mapLowUnitsToBytesInBlocks(const wchar16* in, size_t count, const unsigned char* table,
                                  unsigned char* out);

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_BYTE_TABLE_BLOCKS_H_
