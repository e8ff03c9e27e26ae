// The shape of the generated range lists: their sizes, order, and that the
// class list leaves out what KelUChar answers by range test.
#include "uchar/uchar_table_data.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

std::vector<tableData> recordsOf(const tableData* list) {
  std::vector<tableData> records;
  for (const tableData* record = list; record->first != 0; ++record) records.push_back(*record);
  return records;
}

struct UnitRange {
  unsigned int first;
  unsigned int last;
};

// Surrogates and the blocks classified by range.
const UnitRange kOutsideClassList[] = {
    {0xD800, 0xDFFF}, {0x2E80, 0x2E99}, {0x2E9B, 0x2EF3}, {0x2F00, 0x2FD5}, {0x3400, 0x4DB5},
    {0x4E00, 0x9FA5}, {0xA000, 0xA48C}, {0xAC00, 0xD7A3}, {0xF900, 0xFA2D},
};

void expectAscendingAndDisjoint(const std::vector<tableData>& records) {
  unsigned int nextFree = 1;
  for (const tableData& record : records) {
    EXPECT_LE(record.first, record.last) << std::hex << record.first;
    EXPECT_GE(record.first, nextFree) << std::hex << record.first;
    nextFree = record.last + 1u;
  }
}

TEST(KelUCharTableData, RecordCounts) {
  EXPECT_EQ(recordsOf(kelulib::kCharClassRanges).size(), 1075u);
  EXPECT_EQ(recordsOf(kelulib::kUpperCaseRanges).size(), 378u);
  EXPECT_EQ(recordsOf(kelulib::kLowerCaseRanges).size(), 368u);
}

TEST(KelUCharTableData, RangesAscendAndDoNotOverlap) {
  expectAscendingAndDisjoint(recordsOf(kelulib::kCharClassRanges));
  expectAscendingAndDisjoint(recordsOf(kelulib::kUpperCaseRanges));
  expectAscendingAndDisjoint(recordsOf(kelulib::kLowerCaseRanges));
}

TEST(KelUCharTableData, ClassRangesRunFromTabToTheHalfWidthForms) {
  const std::vector<tableData> records = recordsOf(kelulib::kCharClassRanges);
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.front().first, 0x0009);
  EXPECT_EQ(records.back().last, 0xFFEE);
}

TEST(KelUCharTableData, ClassRangesLeaveOutSurrogatesAndIdeographBlocks) {
  for (const tableData& record : recordsOf(kelulib::kCharClassRanges)) {
    for (const UnitRange& outside : kOutsideClassList) {
      EXPECT_TRUE(record.last < outside.first || record.first > outside.last)
          << std::hex << record.first << "-" << record.last;
    }
  }
}

TEST(KelUCharTableData, ClassValuesAreNonZeroAndUseNoUnusedBit) {
  // 0x1000 (surrogate) is never stored; 0x0800 and 0x2000 are never set.
  for (const tableData& record : recordsOf(kelulib::kCharClassRanges)) {
    EXPECT_NE(record.value, 0) << std::hex << record.first;
    EXPECT_EQ(record.value & 0x3800, 0) << std::hex << record.first;
  }
}

TEST(KelUCharTableData, AdjacentClassRangesHaveDifferentValues) {
  const std::vector<tableData> records = recordsOf(kelulib::kCharClassRanges);
  for (size_t i = 1; i < records.size(); ++i) {
    if (records[i].first == records[i - 1].last + 1) {
      EXPECT_NE(records[i].value, records[i - 1].value) << std::hex << records[i].first;
    }
  }
}

}  // namespace
