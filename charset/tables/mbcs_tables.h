// KelMbcsTables and KelMbcsExTables: both directions of a multi-byte
// character set's mapping, filled from a UNICODEMAP table.
//
// - KelMbcsTables (16/16 tables): code -> UTF-16 unit through 256 pages of
//   256 uint16 units, unit -> code through 256 pages of 256 uint16 codes.
// - KelMbcsExTables (16/32 tables): code -> Unicode scalar through 256 pages
//   of 256 uint32 scalars, scalar -> code through 17 x 256 pages (planes 0
//   to 16, indexed by scalar >> 8) of 256 uint16 codes. A scalar beyond
//   plane 16 is kept in the code -> scalar direction only.
//
// Creating the object allocates both directories, every page absent (a
// lookup reads 0, "no mapping"); pages are allocated on their first store.
//
// Records that share a value: of two records of one table with the same
// Unicode value, the reverse map keeps the higher code, whatever the order
// of the records, so that a table that is not one-to-one (BIG5) converts to
// the same code however it is stored. Of two records with the same code,
// the later one's value wins (no shipped table has such records). A table
// merged into loaded ones (EUC-JP's JIS X 0201, merge()) replaces their
// reverse entries for the values it maps.
// The object does no locking: a converter creates and loads it under its
// own lock, once, and only reads it afterwards.
#ifndef KELULIB_CHARSET_TABLES_MBCS_TABLES_H_
#define KELULIB_CHARSET_TABLES_MBCS_TABLES_H_

#include <cstddef>
#include <cstdint>

#include "charset/tables/mapping_records.h"
#include "charset/tables/two_level_table.h"

namespace kelulib {

template <typename Record, size_t kReversePageCount>
class KelMultiByteTables {
 public:
  using MappingRecord = Record;
  using Unicode = typename Record::Unicode;
  using ForwardTable = KelTwoLevelTable<Unicode>;
  using ReverseTable = KelTwoLevelTable<uint16_t, kReversePageCount>;

  // Unicode values below this limit have a reverse entry.
  static constexpr uint32_t kReverseLimit = ReverseTable::kKeyLimit;

  // The Unicode value of `code`; 0 when it has none.
  Unicode toUnicode(uint16_t code) const { return m_toUnicode.get(code); }

  // The code of `unicode` (below kReverseLimit); 0 when it has none.
  uint16_t fromUnicode(uint32_t unicode) const { return m_fromUnicode.get(unicode); }

  // Stores code -> unicode, then unicode -> code when unicode is below
  // kReverseLimit, each replacing an earlier value. A page that cannot be
  // allocated drops that one store.
  void add(uint16_t code, Unicode unicode);

  // Adds the records of the UNICODEMAP table `tableName` up to the record
  // whose code and value are both 0: code -> unicode replacing an earlier
  // value, unicode -> code unless the reverse map already holds a higher
  // code for it (so the highest code of a shared value wins, in any record
  // order). Returns false, adding nothing, when there is no such table (or
  // `tableName` is null).
  bool load(const char* tableName);

  // Adds the records of `tableName` as add() does, each replacing what the
  // tables hold for its code and its value: a table merged into loaded ones
  // takes over the values they share. Returns false, adding nothing, when
  // there is no such table.
  bool merge(const char* tableName);

  // True when load() found the bytes and units 0x01-0x7F mapped to
  // themselves in both directions, so that runs of ASCII can be copied
  // without look-ups; false again after any later add().
  bool asciiMapsToItself() const { return m_asciiMapsToItself; }

  // Pages allocated in each direction (for memory accounting).
  size_t forwardPages() const { return m_toUnicode.allocatedPages(); }
  size_t reversePages() const { return m_fromUnicode.allocatedPages(); }

 private:
  // Reads the records of `tableName` up to the terminator into `store`;
  // false when there is no such table.
  template <typename Store>
  bool readRecords(const char* tableName, Store store);

  // Stores unicode -> code unless a higher code is there already.
  void addKeepingHigherCode(uint16_t code, Unicode unicode);

  bool computeAsciiMapsToItself() const;

  ForwardTable m_toUnicode;
  ReverseTable m_fromUnicode;
  bool m_asciiMapsToItself = false;
};

constexpr size_t kUnicodePlanes = 17;

using KelMbcsTables = KelMultiByteTables<MappingRecord16, 256>;
using KelMbcsExTables = KelMultiByteTables<MappingRecord32, kUnicodePlanes * 256>;

extern template class KelMultiByteTables<MappingRecord16, 256>;
extern template class KelMultiByteTables<MappingRecord32, kUnicodePlanes * 256>;

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_MBCS_TABLES_H_
