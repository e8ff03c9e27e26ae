// KelCharSetConverterSBCS built from a mapping table: the loader reads the
// test tables of tests/resources (see tools/make_test_tables.py for what each
// record exercises), which this program embeds in place of the library's.
#include <gtest/gtest.h>

#include <string>

#include "charset/tables/sbcs_converter.h"
#include "tests/support/guarded_buffer.h"

namespace {

using kelulib_test::GuardedBuffer;

constexpr auto kTestId = static_cast<KelCharSet>(60100);

std::u16string toUtf16(KelCharSetConverter& converter, const std::string& bytes,
                       bool* illegal = nullptr) {
  GuardedBuffer<wchar16> out(bytes.size() + 1);
  const size_t units =
      converter.toUTF16(out.data(), bytes.c_str(), bytes.size(), ILLCHAR_REPLACE, illegal, -1);
  EXPECT_TRUE(out.guardsIntact());
  return std::u16string(out.data(), units);
}

std::string fromUtf16(KelCharSetConverter& converter, const std::u16string& units) {
  GuardedBuffer<char> out(units.size() + 1);
  const size_t bytes =
      converter.fromUTF16(out.data(), units.c_str(), units.size(), ILLCHAR_REPLACE, nullptr);
  EXPECT_TRUE(out.guardsIntact());
  return std::string(out.data(), bytes);
}

class SbcsTableLoading : public testing::Test {
 protected:
  KelCharSetConverterSBCS converter{"SYNTH-SBCS", kTestId};
};

TEST_F(SbcsTableLoading, EachRecordMapsItsByteToItsUnit) {
  EXPECT_EQ(toUtf16(converter, "A\x80"), u"A\u20AC");
}

TEST_F(SbcsTableLoading, OnlyTheLowByteOfTheCodeIsTheByte) {
  EXPECT_EQ(toUtf16(converter, "\x81"), u"\u00E9");
  EXPECT_EQ(fromUtf16(converter, u"\u00E9"), "\x81");
}

TEST_F(SbcsTableLoading, RepeatedCodeTakesTheLaterUnit) {
  EXPECT_EQ(toUtf16(converter, "\xC0"), u"\u2604");
}

TEST_F(SbcsTableLoading, SharedUnitConvertsToTheHigherByteInAnyOrder) {
  // SYNTH-SBCS maps 0x90, then 0x85, to U+2020 (and 0x80, then 0x82, to
  // U+20AC).
  EXPECT_EQ(toUtf16(converter, "\x85\x90\x80\x82"), u"\u2020\u2020\u20AC\u20AC");
  EXPECT_EQ(fromUtf16(converter, u"\u2020\u20AC"), "\x90\x82");
}

TEST_F(SbcsTableLoading, UnitReplacedInForwardTableStillConvertsBack) {
  EXPECT_EQ(fromUtf16(converter, u"\u2603\u2604"), "\xC0\xC0");
}

TEST_F(SbcsTableLoading, RecordWithUnitZeroLeavesItsByteUnmapped) {
  bool illegal = false;
  EXPECT_EQ(toUtf16(converter, "\xFF", &illegal), u"\uFFFD");
  EXPECT_TRUE(illegal);
}

TEST_F(SbcsTableLoading, TableEndsAtRecordWithCodeByteAndUnitZero) {
  // The record after the end maps B; it must not have been read.
  bool illegal = false;
  EXPECT_EQ(toUtf16(converter, "B", &illegal), u"\uFFFD");
  EXPECT_TRUE(illegal);
  EXPECT_EQ(fromUtf16(converter, u"B"), "?");
}

TEST_F(SbcsTableLoading, BytesWithoutRecordAreUnmappedBothWays) {
  bool illegal = false;
  EXPECT_EQ(toUtf16(converter, "a", &illegal), u"\uFFFD");
  EXPECT_TRUE(illegal);
  EXPECT_EQ(fromUtf16(converter, u"a\u00FF"), "??");
}

TEST(SbcsTableLoadingUnterminated, LoadsTheWholeRecordsAndStopsAtTheEnd) {
  KelCharSetConverterSBCS converter("SYNTH-UNTERMINATED", kTestId);
  EXPECT_EQ(toUtf16(converter, "abc"), u"\u0391\u0392\uFFFD");
  EXPECT_EQ(fromUtf16(converter, u"\u0392\u0391"), "ba");
}

TEST(SbcsTableLoadingEmpty, EmptyTableMapsNothing) {
  KelCharSetConverterSBCS converter("EMPTY", kTestId);
  bool illegal = false;
  EXPECT_EQ(toUtf16(converter, "A", &illegal), u"\uFFFD");
  EXPECT_TRUE(illegal);
  EXPECT_EQ(fromUtf16(converter, u"A"), "?");
}

}  // namespace
