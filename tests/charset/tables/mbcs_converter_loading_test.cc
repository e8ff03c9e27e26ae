// The multi-byte converters on the test tables (tests/resources): when they
// load, what a missing table leaves them with, the last-writer rule of the
// loader as the conversions see it, the EUC-JP merge of JIS X 0201 (only
// when JIS X 0212 is found), and GB18030 without its "GBK" table.
#include <gtest/gtest.h>

#include <string>

#include "charset/tables/dbcs_byte_classes.h"
#include "charset/tables/dbcs_converter.h"
#include "charset/tables/euc_cn_kr_converter.h"
#include "charset/tables/euc_jp_converter.h"
#include "charset/tables/gb18030_converter.h"
#include "tests/support/conversion_runs.h"

namespace {

using kelulib_test::decodeRun;
using kelulib_test::encodeRun;
using kelulib_test::wrote;

constexpr auto kTestId = static_cast<KelCharSet>(60300);
constexpr size_t kUpToTheZero = static_cast<size_t>(-1);
const unsigned char* const kJapanese = kelulib::kJapaneseByteClasses.data();

// The converters with their loading state in view.
struct ObservedDbcs : KelCharSetConverterDBCS {
  explicit ObservedDbcs(const char* table) : KelCharSetConverterDBCS(table, kJapanese, kTestId) {}
  using KelCharSetConverterMBCS::tablesLoaded;
};

struct ObservedDbcsEx : KelCharSetConverterDBCSEx {
  explicit ObservedDbcsEx(const char* table)
      : KelCharSetConverterDBCSEx(table, kJapanese, kTestId) {}
  using KelCharSetConverterMBCSEx::tablesLoaded;
};

struct ObservedEucCnKr : KelCharSetConverterEUC_CN_KR {
  explicit ObservedEucCnKr(const char* table) : KelCharSetConverterEUC_CN_KR(table, kTestId) {}
  using KelCharSetConverterMBCS::tablesLoaded;
};

struct ObservedEucJp : KelCharSetConverterEUC_JP {
  explicit ObservedEucJp(const char* jis0212 = "SYNTH-JIS0212")
      : KelCharSetConverterEUC_JP("SYNTH-ROWCELL", "SYNTH-JIS0201", jis0212, kTestId) {}
  using KelCharSetConverterEUC_JP::supplementaryTablesLoaded;
  using KelCharSetConverterMBCS::tablesLoaded;
};

struct ObservedGb18030 : KelCharSetConverterGB18030 {
  explicit ObservedGb18030(const char* table) : KelCharSetConverterGB18030(table, kTestId) {}
  using KelCharSetConverterMBCS::tablesLoaded;
};

// --- when the tables load ------------------------------------------------------------

TEST(MbcsLoading, DoubleByteCountingLoadsNoTable) {
  ObservedDbcs converter("SYNTH-DBCS");
  EXPECT_EQ(converter.getNumUnits("\x81\x40"
                                  "A",
                                  kUpToTheZero),
            2u);
  EXPECT_FALSE(converter.tablesLoaded());
}

TEST(MbcsLoading, EucCnKrCountingLoadsNoTable) {
  ObservedEucCnKr converter("SYNTH-ROWCELL");
  EXPECT_EQ(converter.getNumUnits("\xA1\xA1"
                                  "A",
                                  kUpToTheZero),
            2u);
  EXPECT_FALSE(converter.tablesLoaded());
}

TEST(MbcsLoading, ExtendedCountingOfSingleBytesLoadsNoTable) {
  ObservedDbcsEx converter("SYNTH-DBCS-EX");
  EXPECT_EQ(converter.getNumUnits("AB", kUpToTheZero), 2u);
  EXPECT_FALSE(converter.tablesLoaded());
}

TEST(MbcsLoading, ExtendedCountingOfAPairLoadsTheTable) {
  // SYNTH-DBCS-EX maps 0x8141 to U+20000.
  ObservedDbcsEx converter("SYNTH-DBCS-EX");
  EXPECT_EQ(converter.getNumUnits("\x81\x41", kUpToTheZero), 2u);
  EXPECT_TRUE(converter.tablesLoaded());
}

TEST(MbcsLoading, EucJpCountingLoadsBothTables) {
  ObservedEucJp converter;
  EXPECT_EQ(converter.getNumUnits("\x8F\xA2\xAF", kUpToTheZero), 1u);
  EXPECT_TRUE(converter.tablesLoaded());
  EXPECT_TRUE(converter.supplementaryTablesLoaded());
}

TEST(MbcsLoading, Gb18030CountingLoadsTheTable) {
  ObservedGb18030 converter("SYNTH-GBK");
  EXPECT_EQ(converter.getNumUnits("A", kUpToTheZero), 1u);
  EXPECT_TRUE(converter.tablesLoaded());
}

TEST(MbcsLoading, EveryConversionLoadsTheTable) {
  ObservedDbcs decoding("SYNTH-DBCS");
  decodeRun(decoding, "A");
  EXPECT_TRUE(decoding.tablesLoaded());
  ObservedDbcs counting("SYNTH-DBCS");
  counting.getNumBytes(u"A", kUpToTheZero);
  EXPECT_TRUE(counting.tablesLoaded());
  ObservedDbcs encoding("SYNTH-DBCS");
  encodeRun(encoding, u"A");
  EXPECT_TRUE(encoding.tablesLoaded());
}

// --- missing tables -----------------------------------------------------------------

TEST(MbcsMissingTable, LeavesEveryByteIllegal) {
  ObservedDbcs converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(decodeRun(converter, "A\x81\x40"), u"\uFFFD\uFFFD", true));
}

TEST(MbcsMissingTable, LeavesEveryCharacterUnmappable) {
  ObservedDbcs converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(encodeRun(converter, u"A\u3000"), "??", true));
}

TEST(MbcsMissingTable, KeepsTheEmptyTablesRatherThanTryingAgain) {
  ObservedDbcs converter("NO-SUCH-TABLE");
  decodeRun(converter, "A");
  EXPECT_TRUE(converter.tablesLoaded());
}

TEST(MbcsMissingTable, ConverterWithoutATableNameLoadsNothingAndMapsNothing) {
  ObservedDbcs converter(nullptr);
  EXPECT_TRUE(wrote(decodeRun(converter, "A"), u"\uFFFD", true));
  EXPECT_TRUE(wrote(encodeRun(converter, u"A"), "?", true));
  EXPECT_FALSE(converter.tablesLoaded());
}

TEST(MbcsMissingTable, ExtendedConverterMapsNothing) {
  ObservedDbcsEx converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x41"), u"\uFFFD", true));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\U00020000"), "?", true));
}

// --- the table's records as the conversions see them -------------------------------

TEST(MbcsTableRecords, HigherCodeForTheSameUnitIsTheOneWritten) {
  // SYNTH-DBCS maps 0x8150, then 0x80, to U+20AC, and 0x8143, then 0x8144,
  // to U+3005: the higher code is written whichever comes first.
  ObservedDbcs converter("SYNTH-DBCS");
  EXPECT_TRUE(wrote(encodeRun(converter, u"\u20AC\u3005"), "\x81\x50\x81\x44", false));
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x50\x80"), u"\u20AC\u20AC", false));
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x43\x81\x44"), u"\u3005\u3005", false));
}

TEST(MbcsTableRecords, LaterUnitForTheSameCodeIsTheOneRead) {
  // SYNTH-DBCS maps 0x8142 to U+4E00, then to U+4E01.
  ObservedDbcs converter("SYNTH-DBCS");
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x42"), u"\u4E01", false));
}

TEST(MbcsTableRecords, ExtendedValueBeyondU10FFFFIsWrittenAsOneUnit) {
  // SYNTH-DBCS-EX maps 0x8144 to 0xFFFFFFFF: its low 16 bits are written.
  ObservedDbcsEx converter("SYNTH-DBCS-EX");
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x44"), u"\uFFFF", false));
}

TEST(MbcsTableRecords, ExtendedLastScalarOfPlane16RoundTrips) {
  ObservedDbcsEx converter("SYNTH-DBCS-EX");
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x42"), u"\U0010FFFF", false));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\U0010FFFF"), "\x81\x42", false));
}

// --- EUC-JP's second table ----------------------------------------------------------

TEST(EucJpLoading, Jis0201IsMergedWhenJis0212IsFound) {
  ObservedEucJp converter;
  EXPECT_TRUE(wrote(decodeRun(converter, "\x8E\xB1\x80\xC1"),
                    u"\uFF71"
                    u"A",
                    false));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\uFF71"), "\x8E\xB1", false));
}

TEST(EucJpLoading, Jis0201EntriesReplaceEarlierOnesForTheSameCharacter) {
  // SYNTH-ROWCELL maps 0x216F to U+00A5 too; JIS X 0201's 0x5C wins.
  ObservedEucJp converter;
  EXPECT_TRUE(wrote(encodeRun(converter, u"\u00A5"), "\x80\xDC", false));
  EXPECT_TRUE(wrote(decodeRun(converter, "\xA1\xEF"), u"\u00A5", false));
}

TEST(EucJpLoading, Jis0212IsReadAfterSingleShiftThree) {
  ObservedEucJp converter;
  EXPECT_TRUE(wrote(decodeRun(converter, "\x8F\xA2\xAF"), u"\u02D8", false));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\u02D8"), "\x8F\xA2\xAF", false));
}

TEST(EucJpLoading, MissingJis0212LeavesJis0201Unmerged) {
  ObservedEucJp converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(decodeRun(converter, "\x8E\xB1"), u"\uFFFD\uFFFD", true));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\uFF71"), "?", true));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\u00A5"), "\xA1\xEF", false));
  EXPECT_TRUE(converter.supplementaryTablesLoaded());
}

TEST(EucJpLoading, MissingJis0212KeepsJis0208) {
  ObservedEucJp converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(decodeRun(converter, "\xA4\xA2"), u"\u3042", false));
}

// --- GB18030 without "GBK" ------------------------------------------------------------

TEST(Gb18030Loading, MissingGbkLeavesTheRangesAndPlanesWorking) {
  ObservedGb18030 converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(decodeRun(converter, "\x81\x30\x81\x30\xA2\xE3\x90\x30\x81\x30"),
                    u"\u0080\u20AC\U00010000", false));
  EXPECT_TRUE(wrote(encodeRun(converter, u"\u0080\u20AC\U00010000"),
                    "\x81\x30\x81\x30\xA2\xE3\x90\x30\x81\x30", false));
}

TEST(Gb18030Loading, MissingGbkLeavesAsciiUnmapped) {
  ObservedGb18030 converter("NO-SUCH-TABLE");
  EXPECT_TRUE(wrote(decodeRun(converter, "A"), u"\uFFFD", true));
  EXPECT_TRUE(wrote(encodeRun(converter, u"A"), "?", true));
}

TEST(Gb18030Loading, GbkTableServesOneAndTwoByteCodes) {
  ObservedGb18030 converter("SYNTH-GBK");
  EXPECT_TRUE(wrote(decodeRun(converter, "A\x81\x40"), u"A\u4E02", false));
  EXPECT_TRUE(wrote(encodeRun(converter, u"A\u4E02"), "A\x81\x40", false));
}

}  // namespace
