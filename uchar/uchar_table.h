// KelUCharTable: a 16-bit value for every BMP unit, built on first use from
// a compiled-in list of ranges. KelUChar keeps its character classes and its
// case mappings in three of them.
#ifndef KELULIB_UCHAR_UCHAR_TABLE_H_
#define KELULIB_UCHAR_UCHAR_TABLE_H_

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "../charset/charset_id.h"
#include "../charset/obj_lock.h"
#include "../platform/export.h"

namespace kelulib {
template <typename Entry, size_t kPageCount>
class KelTwoLevelTable;
}  // namespace kelulib

// One range of a table's source list: the units first..last (inclusive) and
// their value. A list ends at the first record whose first is 0.
struct tableData {
  uint16_t first;
  uint16_t last;
  uint16_t value;
};

class KELULIB_API KelUCharTable {
 public:
  // A table over the ranges of `source` (a list of static lifetime; kept,
  // not copied). Without `increment` every unit of a range gets the range's
  // value; with it, unit first + k gets value + k. Nothing is built yet.
  KelUCharTable(const tableData* source, bool increment);
  ~KelUCharTable();

  // A copy serves the same source list and builds its own pages on its
  // first lookup; it never shares the other table's pages. Neither is used
  // while another thread uses either table.
  KelUCharTable(const KelUCharTable& other);
  KelUCharTable& operator=(const KelUCharTable& other);

  // The value of unit `c`, 0 where no range covers it. The first lookup
  // builds the table, once, under the table's lock; later lookups take no
  // lock.
  wchar16 getValue(wchar16 c);

  // Whether the table has been built.
  bool isLoaded() const;

 private:
  // 256 pages of 256 entries; absent pages are the one all-zero page that
  // every two-level table of 16-bit entries in the library shares.
  using Directory = kelulib::KelTwoLevelTable<uint16_t, 256>;

  // Builds the table unless it exists; the directory is published last, so
  // a reader that sees it sees every value.
  void load();
  // Stores every range of the source list. A page that cannot be allocated
  // loses the one value being stored; later values try again.
  void storeRanges(Directory& directory) const;
  void release();

  std::atomic<Directory*> m_directory;
  const tableData* m_source;
  bool m_increment;
  ObjLock m_lock;
};

#endif  // KELULIB_UCHAR_UCHAR_TABLE_H_
