// KelUCharTable on small source lists of the tests' own: what each kind of
// range stores, where a list ends, when the table is built, and copies.
#include "uchar/uchar_table.h"

#include <gtest/gtest.h>

namespace {

const tableData kConstantRanges[] = {
    {0x0041, 0x0043, 0x0044},
    {0x3000, 0x3000, 0x8001},
    {0, 0, 0},
};

const tableData kIncrementingRanges[] = {
    {0x0061, 0x0063, 0x0041},
    {0x00FF, 0x0100, 0x0178},
    {0, 0, 0},
};

TEST(KelUCharTable, IsNotBuiltUntilTheFirstLookup) {
  KelUCharTable table(kConstantRanges, false);
  EXPECT_FALSE(table.isLoaded());
  table.getValue(0x0041);
  EXPECT_TRUE(table.isLoaded());
}

TEST(KelUCharTable, ConstantRangeGivesEveryUnitTheRangeValue) {
  KelUCharTable table(kConstantRanges, false);
  EXPECT_EQ(table.getValue(0x0041), 0x0044);
  EXPECT_EQ(table.getValue(0x0042), 0x0044);
  EXPECT_EQ(table.getValue(0x0043), 0x0044);
  EXPECT_EQ(table.getValue(0x3000), 0x8001);
}

TEST(KelUCharTable, IncrementingRangeCountsUpFromTheRangeValue) {
  KelUCharTable table(kIncrementingRanges, true);
  EXPECT_EQ(table.getValue(0x0061), 0x0041);
  EXPECT_EQ(table.getValue(0x0062), 0x0042);
  EXPECT_EQ(table.getValue(0x0063), 0x0043);
  // The count carries on across a page boundary.
  EXPECT_EQ(table.getValue(0x00FF), 0x0178);
  EXPECT_EQ(table.getValue(0x0100), 0x0179);
}

TEST(KelUCharTable, UnitsOutsideEveryRangeReadZero) {
  KelUCharTable table(kConstantRanges, false);
  for (const wchar16 unit : {0x0000, 0x0040, 0x0044, 0x2FFF, 0x3001, 0xFFFF}) {
    EXPECT_EQ(table.getValue(unit), 0) << std::hex << unit;
  }
}

TEST(KelUCharTable, ListEndsAtTheFirstRecordWhoseFirstIsZero) {
  const tableData ranges[] = {
      {0x0041, 0x0041, 0x0001},
      {0x0000, 0x0050, 0x0002},  // ends the list, whatever its other fields
      {0x0060, 0x0060, 0x0003},
      {0, 0, 0},
  };
  KelUCharTable table(ranges, false);
  EXPECT_EQ(table.getValue(0x0041), 1);
  EXPECT_EQ(table.getValue(0x0050), 0);
  EXPECT_EQ(table.getValue(0x0060), 0);
}

TEST(KelUCharTable, EmptyListBuildsATableOfZeros) {
  const tableData ranges[] = {{0, 0, 0}};
  KelUCharTable table(ranges, false);
  EXPECT_EQ(table.getValue(0x0041), 0);
  EXPECT_TRUE(table.isLoaded());
}

TEST(KelUCharTable, RangeMayEndAtTheLastUnit) {
  const tableData ranges[] = {{0xFFFE, 0xFFFF, 0x0007}, {0, 0, 0}};
  KelUCharTable table(ranges, false);
  EXPECT_EQ(table.getValue(0xFFFE), 7);
  EXPECT_EQ(table.getValue(0xFFFF), 7);
  EXPECT_EQ(table.getValue(0x0000), 0);
}

TEST(KelUCharTable, LaterRangeOverridesAnEarlierOneWhereTheyOverlap) {
  const tableData ranges[] = {{0x0041, 0x0045, 0x0001}, {0x0043, 0x0043, 0x0002}, {0, 0, 0}};
  KelUCharTable table(ranges, false);
  EXPECT_EQ(table.getValue(0x0042), 1);
  EXPECT_EQ(table.getValue(0x0043), 2);
  EXPECT_EQ(table.getValue(0x0044), 1);
}

TEST(KelUCharTable, CopyServesTheSameListAndBuildsItsOwnTable) {
  KelUCharTable original(kIncrementingRanges, true);
  original.getValue(0x0061);
  KelUCharTable copy(original);
  EXPECT_FALSE(copy.isLoaded());
  EXPECT_EQ(copy.getValue(0x0062), 0x0042);
  EXPECT_EQ(original.getValue(0x0062), 0x0042);
}

TEST(KelUCharTable, AssignmentTakesTheOtherListAndIncrement) {
  KelUCharTable source(kIncrementingRanges, true);
  KelUCharTable target(kConstantRanges, false);
  target.getValue(0x0041);
  target = source;
  EXPECT_FALSE(target.isLoaded());
  EXPECT_EQ(target.getValue(0x0041), 0);
  EXPECT_EQ(target.getValue(0x0063), 0x0043);
}

}  // namespace
