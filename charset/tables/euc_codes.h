// The byte form of the 94x94 national sets in EUC: a row/cell code (both
// bytes 0x21-0x7E, as the mapping tables store it) plus 0x8080.
#ifndef KELULIB_CHARSET_TABLES_EUC_CODES_H_
#define KELULIB_CHARSET_TABLES_EUC_CODES_H_

#include <cstdint>

#include "charset/simd/pair_decoding.h"

namespace kelulib {

constexpr uint16_t kEucOffset = 0x8080;

// The pairs of the 94x94 sets for the block kernel: two bytes 0xA1-0xFE,
// looked up by their row/cell code; bytes below 0x7F are their own units,
// and any other byte (0x7F-0xA0, 0xFF, and in EUC-JP the single shifts
// 0x8E and 0x8F) ends the run.
inline constexpr KelPairDecoding kEucPairs = {
    makeByteSet([](unsigned b) { return b >= 0xA1 && b <= 0xFE; }),
    makeByteSet([](unsigned b) { return b >= 0xA1 && b <= 0xFE; }), 0x7F7F, 0x7F, false};

// The row/cell code of the byte pair b1 b2: their low seven bits each.
inline uint16_t rowCellCode(unsigned char b1, unsigned char b2) {
  return static_cast<uint16_t>((b1 & 0x7F) << 8 | (b2 & 0x7F));
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_EUC_CODES_H_
