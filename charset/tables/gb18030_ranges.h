// The range tables of the GB18030 converter and the indexes into them.
//
// A range {first, last, target} maps key k in [first, last] to
// target + (k - first). Each table is sorted by `first`, holds disjoint
// ranges and ends with an all-zero record. The tables themselves are
// generated (gb18030_range_tables.cc).
#ifndef KELULIB_CHARSET_TABLES_GB18030_RANGES_H_
#define KELULIB_CHARSET_TABLES_GB18030_RANGES_H_

#include <cstddef>
#include <cstdint>

namespace kelulib {

struct gb18030TableData {
  uint32_t first;
  uint32_t last;  // inclusive
  uint32_t target;
};

// 265 ranges and the all-zero record, in each table.
constexpr size_t kGb18030RangeRecords = 266;

// GB scalars (two-byte codes, then four-byte scalars of the BMP) to UTF-16.
extern const gb18030TableData kGbToUnicodeRanges[kGb18030RangeRecords];
// UTF-16 units to GB scalars.
extern const gb18030TableData kUnicodeToGbRanges[kGb18030RangeRecords];

// The shape of an index into a range table: entry i serves the keys from
// firstKey + i * keyStep on.
struct KelRangeIndexShape {
  size_t entries;
  uint32_t firstKey;
  uint32_t keyStep;
};

constexpr KelRangeIndexShape kGbToUnicodeIndexShape{287, 0x8100, 256};
constexpr KelRangeIndexShape kUnicodeToGbIndexShape{512, 0, 128};

// A new index (shape.entries pointers) into `table`: entry i points at the
// record before the first record, from the second on, whose `first` is at
// least firstKey + i * keyStep (the last record when there is none), so that
// no range before it can hold a key it serves. Null when out of memory; the
// caller frees it with delete[].
const gb18030TableData** buildRangeIndex(const gb18030TableData* table, KelRangeIndexShape shape);

// Where the look-up of `key` in `table` starts with `index` (built for
// `table` with `shape`; null when it could not be built, which maps
// nothing): the first record for a key below shape.firstKey, else the entry
// that serves the key, the last entry serving every key beyond.
const gb18030TableData* rangeSearchStart(const gb18030TableData* const* index,
                                         KelRangeIndexShape shape, const gb18030TableData* table,
                                         uint32_t key);

// The target of `key`, scanning the ranges from `start` on: 0 at the
// all-zero record, or when the first range that does not end before `key`
// starts after it.
uint32_t mapThroughRanges(const gb18030TableData* start, uint32_t key);

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_GB18030_RANGES_H_
