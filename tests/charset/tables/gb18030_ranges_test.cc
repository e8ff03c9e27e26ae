// The GB18030 range tables as compiled in (made by
// tools/make_gb18030_ranges.py) and the indexes built over them: their size,
// order, the rows quoted for them, and indexed look-ups against a plain scan
// of every range for every key.
#include "charset/tables/gb18030_ranges.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>

namespace kelulib {

bool operator==(const gb18030TableData& a, const gb18030TableData& b) {
  return a.first == b.first && a.last == b.last && a.target == b.target;
}

void PrintTo(const gb18030TableData& record, std::ostream* os) {
  *os << std::hex << "{0x" << record.first << ", 0x" << record.last << ", 0x" << record.target
      << "}";
}

}  // namespace kelulib

namespace {

using kelulib::gb18030TableData;
using kelulib::kGb18030RangeRecords;
using kelulib::kGbToUnicodeRanges;
using kelulib::kUnicodeToGbRanges;

constexpr size_t kRanges = kGb18030RangeRecords - 1;

struct IndexDeleter {
  void operator()(const gb18030TableData** index) const { delete[] index; }
};
using Index = std::unique_ptr<const gb18030TableData*[], IndexDeleter>;

// The target of `key` by a scan of every range; 0 when none holds it.
uint32_t scanAll(const gb18030TableData* table, uint32_t key) {
  for (size_t i = 0; i < kRanges; ++i) {
    if (key >= table[i].first && key <= table[i].last)
      return table[i].target + (key - table[i].first);
  }
  return 0;
}

void expectSortedDisjointAndTerminated(const gb18030TableData* table) {
  for (size_t i = 0; i < kRanges; ++i) {
    EXPECT_LE(table[i].first, table[i].last) << "range " << i;
    EXPECT_NE(table[i].target, 0u) << "range " << i;
    if (i > 0) {
      EXPECT_GT(table[i].first, table[i - 1].last) << "range " << i;
    }
  }
  EXPECT_EQ(table[kRanges], (gb18030TableData{0, 0, 0}));
}

TEST(Gb18030RangeTables, GbToUnicodeHas265SortedDisjointRangesAndAnEnd) {
  expectSortedDisjointAndTerminated(kGbToUnicodeRanges);
}

TEST(Gb18030RangeTables, UnicodeToGbHas265SortedDisjointRangesAndAnEnd) {
  expectSortedDisjointAndTerminated(kUnicodeToGbRanges);
}

TEST(Gb18030RangeTables, GbToUnicodeStartsWithTheTwoByteCodesBeyondGbk) {
  EXPECT_EQ(kGbToUnicodeRanges[0], (gb18030TableData{0xA2E3, 0xA2E3, 0x20AC}));
  EXPECT_EQ(kGbToUnicodeRanges[1], (gb18030TableData{0xA8BF, 0xA8BF, 0x01F9}));
  EXPECT_EQ(kGbToUnicodeRanges[2], (gb18030TableData{0xA989, 0xA989, 0x303E}));
  EXPECT_EQ(kGbToUnicodeRanges[3], (gb18030TableData{0xA98A, 0xA995, 0x2FF0}));
  EXPECT_EQ(kGbToUnicodeRanges[4], (gb18030TableData{0xFE50, 0xFE50, 0x2E81}));
}

TEST(Gb18030RangeTables, GbToUnicodeEndsWithTheLastFourByteRangesOfTheBmp) {
  EXPECT_EQ(kGbToUnicodeRanges[kRanges - 3], (gb18030TableData{0x198CC, 0x19960, 0xFE6C}));
  EXPECT_EQ(kGbToUnicodeRanges[kRanges - 2], (gb18030TableData{0x19961, 0x199E1, 0xFF5F}));
  EXPECT_EQ(kGbToUnicodeRanges[kRanges - 1], (gb18030TableData{0x199E2, 0x199FB, 0xFFE6}));
}

TEST(Gb18030RangeTables, UnicodeToGbStartsAndEndsAsQuoted) {
  EXPECT_EQ(kUnicodeToGbRanges[0], (gb18030TableData{0x0080, 0x00A3, 0x10000}));
  EXPECT_EQ(kUnicodeToGbRanges[1], (gb18030TableData{0x00A5, 0x00A6, 0x10024}));
  EXPECT_EQ(kUnicodeToGbRanges[2], (gb18030TableData{0x00A9, 0x00AF, 0x10026}));
  EXPECT_EQ(kUnicodeToGbRanges[kRanges - 1], (gb18030TableData{0xFFE6, 0xFFFF, 0x199E2}));
}

TEST(Gb18030RangeTables, FourByteRangesNumberTheBmpWithoutGaps) {
  uint32_t next = 0x10000;
  for (size_t i = 0; i < kRanges; ++i) {
    if (kGbToUnicodeRanges[i].first < 0x10000) continue;
    EXPECT_EQ(kGbToUnicodeRanges[i].first, next) << "range " << i;
    next = kGbToUnicodeRanges[i].last + 1;
  }
  EXPECT_EQ(next, 0x199FCu);
}

TEST(Gb18030RangeTables, BothTablesHoldTheSamePairs) {
  for (size_t i = 0; i < kRanges; ++i) {
    const gb18030TableData& range = kGbToUnicodeRanges[i];
    for (uint32_t key = range.first; key <= range.last; ++key) {
      const uint32_t unit = range.target + (key - range.first);
      ASSERT_EQ(scanAll(kUnicodeToGbRanges, unit), key) << "unit " << unit;
    }
  }
}

TEST(Gb18030RangeIndex, GbToUnicodeIndexHas287EntriesFrom0x8100In256Steps) {
  EXPECT_EQ(kelulib::kGbToUnicodeIndexShape.entries, 287u);
  EXPECT_EQ(kelulib::kGbToUnicodeIndexShape.firstKey, 0x8100u);
  EXPECT_EQ(kelulib::kGbToUnicodeIndexShape.keyStep, 256u);
}

TEST(Gb18030RangeIndex, UnicodeToGbIndexHas512EntriesIn128Steps) {
  EXPECT_EQ(kelulib::kUnicodeToGbIndexShape.entries, 512u);
  EXPECT_EQ(kelulib::kUnicodeToGbIndexShape.firstKey, 0u);
  EXPECT_EQ(kelulib::kUnicodeToGbIndexShape.keyStep, 128u);
}

TEST(Gb18030RangeIndex, EntryIsTheRecordBeforeTheFirstLaterRecordStartingAtItsKey) {
  const Index index(kelulib::buildRangeIndex(kGbToUnicodeRanges, kelulib::kGbToUnicodeIndexShape));
  ASSERT_NE(index, nullptr);
  // Key 0x8100: the second record (0xA8BF) is the first at or after it.
  EXPECT_EQ(index[0], &kGbToUnicodeRanges[0]);
  // Key 0xA900: the third record (0xA989) is the first at or after it.
  EXPECT_EQ(index[(0xA900 - 0x8100) / 256], &kGbToUnicodeRanges[1]);
  // Keys beyond every range: the last record.
  EXPECT_EQ(index[286], &kGbToUnicodeRanges[kRanges - 1]);
}

TEST(Gb18030RangeIndex, GbToUnicodeLookupsMatchAScanOfEveryRange) {
  const Index index(kelulib::buildRangeIndex(kGbToUnicodeRanges, kelulib::kGbToUnicodeIndexShape));
  ASSERT_NE(index, nullptr);
  for (uint32_t key = 0; key < 0x3E248; ++key) {
    const gb18030TableData* start = kelulib::rangeSearchStart(
        index.get(), kelulib::kGbToUnicodeIndexShape, kGbToUnicodeRanges, key);
    ASSERT_EQ(kelulib::mapThroughRanges(start, key), scanAll(kGbToUnicodeRanges, key)) << key;
  }
}

TEST(Gb18030RangeIndex, UnicodeToGbLookupsMatchAScanOfEveryRange) {
  const Index index(kelulib::buildRangeIndex(kUnicodeToGbRanges, kelulib::kUnicodeToGbIndexShape));
  ASSERT_NE(index, nullptr);
  for (uint32_t key = 0; key < 0x10000; ++key) {
    const gb18030TableData* start = kelulib::rangeSearchStart(
        index.get(), kelulib::kUnicodeToGbIndexShape, kUnicodeToGbRanges, key);
    ASSERT_EQ(kelulib::mapThroughRanges(start, key), scanAll(kUnicodeToGbRanges, key)) << key;
  }
}

TEST(Gb18030RangeIndex, MissingIndexMapsNothing) {
  const gb18030TableData* start =
      kelulib::rangeSearchStart(nullptr, kelulib::kUnicodeToGbIndexShape, kUnicodeToGbRanges, 0x80);
  EXPECT_EQ(kelulib::mapThroughRanges(start, 0x80), 0u);
}

TEST(Gb18030RangeIndex, KeyBeforeTheRangeThatFollowsItIsUnmapped) {
  // U+00A4 lies between the first two ranges (GBK maps it).
  EXPECT_EQ(kelulib::mapThroughRanges(kUnicodeToGbRanges, 0xA4), 0u);
  EXPECT_EQ(kelulib::mapThroughRanges(kUnicodeToGbRanges, 0xA5), 0x10024u);
}

}  // namespace
