// Reading the records of a UNICODEMAP table: a flat array of little-endian
// records without header, ended by a record whose fields are all zero.
//   16/16 form: 4 bytes, code (uint16) then UTF-16 unit (uint16).
//   16/32 form: 6 bytes, packed: code (uint16) then scalar (uint32).
// Records may come in any order. When two records of a table share a
// Unicode value (BIG5 has four such values), every loader makes the higher
// code the one that value converts to, whatever the order of the records;
// both codes convert to the value.
#ifndef KELULIB_CHARSET_TABLES_MAPPING_RECORDS_H_
#define KELULIB_CHARSET_TABLES_MAPPING_RECORDS_H_

#include <cstddef>
#include <cstdint>

namespace kelulib {

// The little-endian unsigned integer of type Unsigned stored at `at`.
template <typename Unsigned>
Unsigned readLittleEndian(const unsigned char* at) {
  Unsigned value = 0;
  for (size_t i = sizeof(Unsigned); i > 0; --i) {
    value = static_cast<Unsigned>(value << 8 | at[i - 1]);
  }
  return value;
}

// A record: the code (uint16), then the Unicode value, an unsigned integer
// of type UnicodeValue (uint16 for the 16/16 form, uint32 for 16/32).
template <typename UnicodeValue>
struct MappingRecord {
  using Unicode = UnicodeValue;
  static constexpr size_t kSize = sizeof(uint16_t) + sizeof(Unicode);

  // Record `index` of a table (the caller keeps index below size / kSize).
  static MappingRecord at(const unsigned char* table, size_t index) {
    const unsigned char* record = table + index * kSize;
    const unsigned char* value = record + sizeof(uint16_t);
    return {readLittleEndian<uint16_t>(record), readLittleEndian<Unicode>(value)};
  }

  uint16_t code;
  Unicode unicode;
};

using MappingRecord16 = MappingRecord<uint16_t>;
using MappingRecord32 = MappingRecord<uint32_t>;

// Calls visit(record) for each whole record of `table` (`size` bytes), in
// order, until visit returns false. Stray bytes after the last whole record
// are ignored.
template <typename Record, typename Visit>
void forEachRecord(const unsigned char* table, size_t size, Visit visit) {
  const size_t count = size / Record::kSize;
  for (size_t index = 0; index < count; ++index) {
    if (!visit(Record::at(table, index))) return;
  }
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_MAPPING_RECORDS_H_
