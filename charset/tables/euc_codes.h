// The byte form of the 94x94 national sets in EUC: a row/cell code (both
// bytes 0x21-0x7E, as the mapping tables store it) plus 0x8080.
#ifndef KELULIB_CHARSET_TABLES_EUC_CODES_H_
#define KELULIB_CHARSET_TABLES_EUC_CODES_H_

#include <cstdint>

namespace kelulib {

constexpr uint16_t kEucOffset = 0x8080;

// The row/cell code of the byte pair b1 b2: their low seven bits each.
inline uint16_t rowCellCode(unsigned char b1, unsigned char b2) {
  return static_cast<uint16_t>((b1 & 0x7F) << 8 | (b2 & 0x7F));
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_EUC_CODES_H_
