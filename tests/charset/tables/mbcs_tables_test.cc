// The double-byte and extended double-byte table loaders on the test tables
// of tests/resources (see tools/make_test_tables.py for what each record
// exercises), which this program embeds in place of the library's tables.
#include "charset/tables/mbcs_tables.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>

namespace {

using kelulib::KelMbcsExTables;
using kelulib::KelMbcsTables;

// A code and the Unicode value it maps to, for table-driven checks.
struct Mapping {
  uint16_t code;
  uint32_t unicode;
};

// Loads `tableName` into a fresh Tables for each test.
template <typename Tables>
class LoadedTables : public testing::Test {
 protected:
  explicit LoadedTables(const char* tableName) : m_tableName(tableName) {}
  void SetUp() override { ASSERT_TRUE(tables.load(m_tableName)); }

  void expectMapsBothWays(std::initializer_list<Mapping> mappings) const {
    for (const Mapping& m : mappings) {
      EXPECT_EQ(tables.toUnicode(m.code), m.unicode) << std::hex << m.code;
      EXPECT_EQ(tables.fromUnicode(m.unicode), m.code) << std::hex << m.unicode;
    }
  }

  Tables tables;

 private:
  const char* m_tableName;
};

// --- 4-byte records ---------------------------------------------------------

class MbcsTablesLoading : public LoadedTables<KelMbcsTables> {
 protected:
  MbcsTablesLoading() : LoadedTables("SYNTH-DBCS") {}
};

TEST_F(MbcsTablesLoading, EachRecordMapsBothWays) {
  expectMapsBothWays({{0x8140, 0x3000}, {0x0041, 0x0041}, {0x9F40, 0x5000}, {0xFEFE, 0xFFFF}});
}

TEST_F(MbcsTablesLoading, RepeatedCodeTakesTheLaterUnit) {
  EXPECT_EQ(tables.toUnicode(0x8142), 0x4E01);
  EXPECT_EQ(tables.fromUnicode(0x4E01), 0x8142);
}

TEST_F(MbcsTablesLoading, ReplacedCodeKeepsItsEarlierReverseEntry) {
  // Each record stores both directions; nothing is removed.
  EXPECT_EQ(tables.fromUnicode(0x4E00), 0x8142);
}

TEST_F(MbcsTablesLoading, SharedUnitConvertsToTheHigherCodeInAnyOrder) {
  // U+20AC: 0x8150 comes before 0x80; U+3005: 0x8143 before 0x8144.
  EXPECT_EQ(tables.fromUnicode(0x20AC), 0x8150);
  EXPECT_EQ(tables.fromUnicode(0x3005), 0x8144);
  // Both codes of each still read as the unit.
  EXPECT_EQ(tables.toUnicode(0x8150), 0x20AC);
  EXPECT_EQ(tables.toUnicode(0x0080), 0x20AC);
  EXPECT_EQ(tables.toUnicode(0x8143), 0x3005);
  EXPECT_EQ(tables.toUnicode(0x8144), 0x3005);
}

TEST_F(MbcsTablesLoading, OnlyARecordWithBothFieldsZeroEndsTheTable) {
  // The records (0x0100, 0) and (0, 0x0042) are read, and so is the one
  // after them.
  EXPECT_EQ(tables.toUnicode(0x0000), 0x0042);
  EXPECT_EQ(tables.fromUnicode(0x0000), 0x0100);
  EXPECT_EQ(tables.toUnicode(0xFEFE), 0xFFFF);
}

TEST_F(MbcsTablesLoading, RecordsAfterTheEndAreNotRead) {
  EXPECT_EQ(tables.toUnicode(0x8160), 0);
  EXPECT_EQ(tables.fromUnicode(0x5555), 0);
}

TEST_F(MbcsTablesLoading, CodesAndUnitsWithoutRecordReadZero) {
  for (uint16_t code : {0x0042, 0x8141, 0x8240, 0xFFFF}) {
    EXPECT_EQ(tables.toUnicode(code), 0) << std::hex << code;
  }
  for (uint16_t unit : {0x0042, 0x3001, 0x4E02, 0xFFFE}) {
    EXPECT_EQ(tables.fromUnicode(unit), 0) << std::hex << unit;
  }
}

TEST_F(MbcsTablesLoading, AllocatesOnlyThePagesItStores) {
  // Codes: pages 0x00, 0x01, 0x81, 0x9F, 0xFE. Units: pages 0x00 (0x41,
  // 0x42, 0), 0x20, 0x30, 0x4E, 0x50, 0xFF.
  EXPECT_EQ(tables.forwardPages(), 5u);
  EXPECT_EQ(tables.reversePages(), 6u);
}

TEST(MbcsTablesMissing, MissingTableLoadsNothing) {
  KelMbcsTables tables;
  EXPECT_FALSE(tables.load("NO-SUCH-TABLE"));
  EXPECT_EQ(tables.toUnicode(0x0041), 0);
  EXPECT_EQ(tables.fromUnicode(0x0041), 0);
  EXPECT_EQ(tables.forwardPages() + tables.reversePages(), 0u);
}

TEST(MbcsTablesMissing, EmptyTableIsFoundAndMapsNothing) {
  KelMbcsTables tables;
  EXPECT_TRUE(tables.load("EMPTY"));
  EXPECT_EQ(tables.forwardPages() + tables.reversePages(), 0u);
}

TEST(MbcsTablesUnterminated, LoadsTheWholeRecordsAndStopsAtTheEnd) {
  KelMbcsTables tables;
  ASSERT_TRUE(tables.load("SYNTH-UNTERMINATED"));
  EXPECT_EQ(tables.toUnicode(0x0061), 0x0391);
  EXPECT_EQ(tables.fromUnicode(0x0392), 0x0062);
  EXPECT_EQ(tables.toUnicode(0x0063), 0);
}

TEST(MbcsTablesAdd, AddedRecordReplacesTheLoadedOne) {
  KelMbcsTables tables;
  ASSERT_TRUE(tables.load("SYNTH-DBCS"));
  tables.add(0x005C, 0x00A5);
  tables.add(0x0080, 0x00A2);
  tables.add(0x0081, 0x3000);  // a lower code than the loaded 0x8140
  EXPECT_EQ(tables.toUnicode(0x005C), 0x00A5);
  EXPECT_EQ(tables.fromUnicode(0x00A5), 0x005C);
  EXPECT_EQ(tables.toUnicode(0x0080), 0x00A2);
  EXPECT_EQ(tables.fromUnicode(0x3000), 0x0081);
  EXPECT_EQ(tables.fromUnicode(0x20AC), 0x8150);
}

TEST(MbcsTablesMerge, MergedTableTakesOverTheValuesItShares) {
  // SYNTH-JIS0201 maps 0x5C to U+00A5, which SYNTH-ROWCELL maps from the
  // higher code 0x216F: merged, the lower code wins; loaded, it would not.
  KelMbcsTables merged;
  ASSERT_TRUE(merged.load("SYNTH-ROWCELL"));
  ASSERT_TRUE(merged.merge("SYNTH-JIS0201"));
  EXPECT_EQ(merged.fromUnicode(0x00A5), 0x005C);
  EXPECT_EQ(merged.toUnicode(0x216F), 0x00A5);
  KelMbcsTables loaded;
  ASSERT_TRUE(loaded.load("SYNTH-ROWCELL"));
  ASSERT_TRUE(loaded.load("SYNTH-JIS0201"));
  EXPECT_EQ(loaded.fromUnicode(0x00A5), 0x216F);
  EXPECT_FALSE(merged.merge("NO-SUCH-TABLE"));
}

// --- 6-byte records ---------------------------------------------------------

class MbcsExTablesLoading : public LoadedTables<KelMbcsExTables> {
 protected:
  MbcsExTablesLoading() : LoadedTables("SYNTH-DBCS-EX") {}
};

TEST_F(MbcsExTablesLoading, EachRecordMapsBothWays) {
  expectMapsBothWays({{0x8140, 0x3000}, {0x0041, 0x0041}, {0x8141, 0x20000}, {0x8142, 0x10FFFF}});
}

TEST_F(MbcsExTablesLoading, ScalarsBeyondPlaneSixteenMapFromTheCodeOnly) {
  EXPECT_EQ(tables.toUnicode(0x8143), 0x110000u);
  EXPECT_EQ(tables.toUnicode(0x8144), 0xFFFFFFFFu);
}

TEST(MbcsExTablesReverse, DirectoryCoversExactlyPlanesZeroToSixteen) {
  EXPECT_EQ(KelMbcsExTables::kReverseLimit, 0x110000u);
  EXPECT_EQ(KelMbcsTables::kReverseLimit, 0x10000u);
}

TEST_F(MbcsExTablesLoading, ScalarsAreNotTruncatedToUnits) {
  // U+20000, U+10FFFF and U+1F600 are stored in their planes, not at
  // U+0000, U+FFFF and U+F600.
  EXPECT_EQ(tables.fromUnicode(0x0000), 0);
  EXPECT_EQ(tables.fromUnicode(0xFFFF), 0);
  EXPECT_EQ(tables.fromUnicode(0xF600), 0);
}

TEST_F(MbcsExTablesLoading, SharedScalarConvertsToTheHigherCodeInAnyOrder) {
  // U+2A6B2: 0x8145 comes before 0x8146; U+1F602: 0x814A before 0x8149.
  EXPECT_EQ(tables.fromUnicode(0x2A6B2), 0x8146);
  EXPECT_EQ(tables.fromUnicode(0x1F602), 0x814A);
  EXPECT_EQ(tables.toUnicode(0x8145), 0x2A6B2u);
  EXPECT_EQ(tables.toUnicode(0x8149), 0x1F602u);
}

TEST_F(MbcsExTablesLoading, RepeatedCodeTakesTheLaterScalar) {
  EXPECT_EQ(tables.toUnicode(0x8147), 0x1F601u);
  EXPECT_EQ(tables.fromUnicode(0x1F601), 0x8147);
  EXPECT_EQ(tables.fromUnicode(0x1F600), 0x8147);
}

TEST_F(MbcsExTablesLoading, RecordsAfterTheEndAreNotRead) {
  EXPECT_EQ(tables.toUnicode(0x8148), 0u);
  EXPECT_EQ(tables.fromUnicode(0x3042), 0);
}

TEST_F(MbcsExTablesLoading, AllocatesOnlyThePagesItStores) {
  // Codes: pages 0x00 and 0x81. Scalars: pages 0x0000, 0x0030, 0x0200,
  // 0x02A6, 0x01F6, 0x10FF.
  EXPECT_EQ(tables.forwardPages(), 2u);
  EXPECT_EQ(tables.reversePages(), 6u);
}

TEST(MbcsExTablesMissing, MissingTableLoadsNothing) {
  KelMbcsExTables tables;
  EXPECT_FALSE(tables.load("NO-SUCH-TABLE"));
  EXPECT_EQ(tables.toUnicode(0x8140), 0u);
  EXPECT_EQ(tables.forwardPages() + tables.reversePages(), 0u);
}

}  // namespace
