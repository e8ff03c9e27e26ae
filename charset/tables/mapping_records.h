// Reading the records of a UNICODEMAP table: a flat array of little-endian
// records without header, ended by a record whose fields are all zero.
//   16/16 form: 4 bytes, code (uint16) then UTF-16 unit (uint16).
//   16/32 form: 6 bytes, packed: code (uint16) then scalar (uint32).
#ifndef KELULIB_CHARSET_TABLES_MAPPING_RECORDS_H_
#define KELULIB_CHARSET_TABLES_MAPPING_RECORDS_H_

#include <cstddef>
#include <cstdint>

namespace kelulib {

constexpr size_t kRecord16Size = 4;

inline uint16_t readLittleEndian16(const unsigned char* at) {
  return static_cast<uint16_t>(at[0] | at[1] << 8);
}

struct MappingRecord16 {
  uint16_t code;
  uint16_t unicode;
};

// Record `index` of a 16/16 table (the caller keeps index below
// size / kRecord16Size).
inline MappingRecord16 record16At(const unsigned char* table, size_t index) {
  const unsigned char* at = table + index * kRecord16Size;
  return {readLittleEndian16(at), readLittleEndian16(at + 2)};
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_MAPPING_RECORDS_H_
