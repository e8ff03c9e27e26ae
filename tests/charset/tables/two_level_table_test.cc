#include "charset/tables/two_level_table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

namespace {

using ByteTable = kelulib::KelTwoLevelTable<unsigned char>;
using UnitTable = kelulib::KelTwoLevelTable<uint16_t>;
using PlaneTable = kelulib::KelTwoLevelTable<uint16_t, 17 * 256>;

TEST(TwoLevelTable, EmptyTableReadsZeroEverywhere) {
  UnitTable table;
  for (uint32_t key = 0; key < UnitTable::kKeyLimit; ++key) ASSERT_EQ(table.get(key), 0) << key;
  EXPECT_EQ(table.allocatedPages(), 0u);
}

TEST(TwoLevelTable, StoredValueIsReadBack) {
  UnitTable table;
  ASSERT_TRUE(table.set(0x4E00, 0x8140));
  EXPECT_EQ(table.get(0x4E00), 0x8140);
  EXPECT_EQ(table.get(0x4E01), 0);
  EXPECT_EQ(table.get(0x4F00), 0);
}

TEST(TwoLevelTable, LaterStoreReplacesEarlier) {
  ByteTable table;
  table.set(0x20AC, 0x80);
  table.set(0x20AC, 0x88);
  EXPECT_EQ(table.get(0x20AC), 0x88);
}

TEST(TwoLevelTable, PagesAreAllocatedOnlyWhereStored) {
  ByteTable table;
  table.set(0x0041, 1);
  table.set(0x00FF, 2);
  table.set(0x2013, 3);
  EXPECT_EQ(table.allocatedPages(), 2u);
}

TEST(TwoLevelTable, AbsentPagesAreSharedBetweenTables) {
  // Writing into one table leaves every other table's absent pages at zero.
  auto first = std::make_unique<UnitTable>();
  auto second = std::make_unique<UnitTable>();
  first->set(0x1234, 7);
  EXPECT_EQ(second->get(0x1234), 0);
  EXPECT_EQ(second->get(0x1235), 0);
}

TEST(TwoLevelTable, PlaneDirectoryReachesPlaneSixteen) {
  PlaneTable table;
  ASSERT_TRUE(table.set(0x10FFFF, 0xFCF4));
  ASSERT_TRUE(table.set(0x20000, 0x8140));
  EXPECT_EQ(table.get(0x10FFFF), 0xFCF4);
  EXPECT_EQ(table.get(0x20000), 0x8140);
  EXPECT_EQ(table.get(0x0000), 0);
  EXPECT_EQ(PlaneTable::kKeyLimit, 0x110000u);
}

}  // namespace
