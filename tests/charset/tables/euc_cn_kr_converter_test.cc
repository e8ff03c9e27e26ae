// EUC-CN and EUC-KR through the registry: ASCII, the two-byte form of the
// national sets, illegal bytes, counting, the byte budget, room and the
// unmappable-character policy. Mappings from GB 2312 and KS X 1001 (Python's
// codecs and glibc agree on every one used here).
#include <KelULib.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/conversion_runs.h"
#include "tests/support/guarded_buffer.h"

namespace {

using kelulib_test::decodeRun;
using kelulib_test::encodeRun;
using kelulib_test::GuardedBuffer;
using kelulib_test::wrote;

KelCharSetConverter& eucCn() { return *KelCharSetConverter::getConverter(KelCS_EUC_CN); }
KelCharSetConverter& eucKr() { return *KelCharSetConverter::getConverter(KelCS_EUC_KR); }

class EucCnKrId : public testing::TestWithParam<KelCharSet> {};

TEST_P(EucCnKrId, IsServedByTheEucCnKrConverter) {
  EXPECT_NE(
      dynamic_cast<KelCharSetConverterEUC_CN_KR*>(KelCharSetConverter::getConverter(GetParam())),
      nullptr);
}

TEST_P(EucCnKrId, HasUnitSizesOneTwoOne) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  EXPECT_EQ(converter->getMinUnitSize(), 1u);
  EXPECT_EQ(converter->getMaxUnitSize(), 2u);
  EXPECT_EQ(converter->getNullCharSize(), 1u);
}

INSTANTIATE_TEST_SUITE_P(BothSets, EucCnKrId, testing::Values(KelCS_EUC_CN, KelCS_EUC_KR));

TEST(EucCnKr, CnAndKrAreDifferentObjects) { EXPECT_NE(&eucCn(), &eucKr()); }

// --- getNumUnits --------------------------------------------------------------

TEST(EucCnKrGetNumUnits, NullSourceOrZeroBytesCountZero) {
  EXPECT_EQ(eucKr().getNumUnits(nullptr, 2), 0u);
  EXPECT_EQ(eucKr().getNumUnits("\xB0\xA1", 0), 0u);
}

TEST(EucCnKrGetNumUnits, TwoHighBytesAreOneUnit) {
  EXPECT_EQ(eucKr().getNumUnits("\xB0\xA1"
                                "A",
                                static_cast<size_t>(-1)),
            2u);
}

TEST(EucCnKrGetNumUnits, HighByteBeforeAnotherByteCountsAlone) {
  EXPECT_EQ(eucKr().getNumUnits("\xB0"
                                "A",
                                static_cast<size_t>(-1)),
            2u);
}

TEST(EucCnKrGetNumUnits, HighByteThatTheCountCutsCountsAlone) {
  EXPECT_EQ(eucKr().getNumUnits("\xB0\xA1", 1), 1u);
}

TEST(EucCnKrGetNumUnits, StopsAtZeroByte) {
  EXPECT_EQ(eucKr().getNumUnits(std::string("A\0B", 3).c_str(), 3), 1u);
}

TEST(EucCnKrGetNumUnits, IllegalBytesCountOneEach) {
  EXPECT_EQ(eucCn().getNumUnits("\x7F\x80\xFF", static_cast<size_t>(-1)), 3u);
}

// --- toUTF16 ---------------------------------------------------------------------

TEST(EucCnKrToUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(eucKr().toUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(eucKr().toUTF16(nullptr, "A", 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(EucCnKrToUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(), "\xB0\xA1", 0), u"", false));
}

TEST(EucCnKrToUtf16, KrPairGivesItsHangul) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(), "\xB0\xA1"), u"\uAC00", false));
}

TEST(EucCnKrToUtf16, CnPairGivesItsCharacter) {
  EXPECT_TRUE(wrote(decodeRun(eucCn(), "\xA1\xA1\xB0\xA1"), u"\u3000\u554A", false));
}

TEST(EucCnKrToUtf16, AsciiBytesAreThemselves) {
  EXPECT_TRUE(wrote(decodeRun(eucCn(),
                              "\x01"
                              "Az~"),
                    u"\x01"
                    u"Az~",
                    false));
}

TEST(EucCnKrToUtf16, HighByteBeforeAnAsciiByteIsIllegalAlone) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\xB0"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(EucCnKrToUtf16, UnmappedPairIsOneReplacementForBothBytes) {
  // GB 2312 row 2 cell 1 is unassigned.
  EXPECT_TRUE(wrote(decodeRun(eucCn(),
                              "\xA2\xA1"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(EucCnKrToUtf16, DeleteIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(eucCn(), "\x7F"), u"\uFFFD", true));
}

TEST(EucCnKrToUtf16, BytesFrom0x80To0xA0And0xFFAreIllegal) {
  std::string bytes;
  for (unsigned b = 0x80; b <= 0xA0; ++b) bytes += static_cast<char>(b);
  bytes += '\xFF';
  EXPECT_TRUE(wrote(decodeRun(eucKr(), bytes), std::u16string(bytes.size(), u'\uFFFD'), true));
}

TEST(EucCnKrToUtf16, HighByteAtTheEndOfTheInputIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(), "A\xB0"), u"A\uFFFD", true));
}

TEST(EucCnKrToUtf16, StopPolicyEndsTheOutputBeforeIllegalInput) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "A\x7F"
                              "B",
                              ILLCHAR_STOP),
                    u"A", true));
}

TEST(EucCnKrToUtf16, EscapePolicyReplacesLikeReplace) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\x7F"
                              "B",
                              ILLCHAR_ESCAPE),
                    u"\uFFFD"
                    u"B",
                    true));
}

TEST(EucCnKrToUtf16, SourceLimitStopsOnceReached) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\xB0\xA1"
                              "AB",
                              8, ILLCHAR_REPLACE, 3),
                    u"\uAC00"
                    u"A",
                    false));
}

TEST(EucCnKrToUtf16, SourceLimitInsideAPairStopsAfterThePair) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\xB0\xA1"
                              "A",
                              8, ILLCHAR_REPLACE, 1),
                    u"\uAC00", false));
}

TEST(EucCnKrToUtf16, SourceLimitIsTestedAfterIllegalBytes) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\x7F"
                              "AB",
                              8, ILLCHAR_REPLACE, 1),
                    u"\uFFFD", true));
}

TEST(EucCnKrToUtf16, SourceLimitZeroSetsNoBound) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\xB0\xA1"
                              "AB",
                              8, ILLCHAR_REPLACE, 0),
                    u"\uAC00"
                    u"AB",
                    false));
}

TEST(EucCnKrToUtf16, RoomEndsTheConversion) {
  EXPECT_TRUE(wrote(decodeRun(eucKr(),
                              "\xB0\xA1"
                              "AB",
                              2),
                    u"\uAC00"
                    u"A",
                    false));
}

// --- getNumBytes -------------------------------------------------------------------

TEST(EucCnKrGetNumBytes, NullSourceOrZeroUnitsCountZero) {
  EXPECT_EQ(eucKr().getNumBytes(nullptr, 3), 0u);
  EXPECT_EQ(eucKr().getNumBytes(u"\uAC00", 0), 0u);
}

TEST(EucCnKrGetNumBytes, MappedCharacterCountsTwo) {
  EXPECT_EQ(eucKr().getNumBytes(u"\uAC00"
                                u"A",
                                static_cast<size_t>(-1)),
            3u);
}

TEST(EucCnKrGetNumBytes, DeleteAndUnmappableUnitsCountOne) {
  EXPECT_EQ(eucKr().getNumBytes(u"\x7F\u20AC\U0001F600", static_cast<size_t>(-1)), 4u);
}

TEST(EucCnKrGetNumBytes, ReadsAtMostTheUnitsGiven) {
  EXPECT_EQ(eucKr().getNumBytes(u"\uAC00\uAC00", 1), 2u);
}

// --- fromUTF16 -------------------------------------------------------------------

TEST(EucCnKrFromUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<char> out(4);
  EXPECT_EQ(eucKr().fromUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(eucKr().fromUTF16(nullptr, u"A", 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(EucCnKrFromUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(encodeRun(eucKr(), u"A", 0), "", false));
}

TEST(EucCnKrFromUtf16, MappedCharacterIsItsRowAndCellPlus0x8080) {
  EXPECT_TRUE(wrote(encodeRun(eucKr(),
                              u"\uAC00"
                              u"A"),
                    "\xB0\xA1"
                    "A",
                    false));
  EXPECT_TRUE(wrote(encodeRun(eucCn(), u"\u3000"), "\xA1\xA1", false));
}

TEST(EucCnKrFromUtf16, DeleteIsUnmappable) {
  EXPECT_TRUE(wrote(encodeRun(eucCn(), u"\x7F"), "?", true));
}

TEST(EucCnKrFromUtf16, PairThatDoesNotFitEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(eucKr(), u"A\uAC00", 2), "A", false));
}

TEST(EucCnKrFromUtf16, EscapePolicyWritesTheUnitEscape) {
  EXPECT_TRUE(wrote(encodeRun(eucKr(),
                              u"\u20AC"
                              u"A",
                              ILLCHAR_ESCAPE),
                    "U+20ACA", true));
}

TEST(EucCnKrFromUtf16, EscapeWithFiveBytesOfRoomLeftEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(eucKr(), u"A\u20AC", 6, ILLCHAR_ESCAPE), "A", true));
}

TEST(EucCnKrFromUtf16, StopPolicyEndsTheOutputBeforeTheUnit) {
  EXPECT_TRUE(wrote(encodeRun(eucKr(),
                              u"A\u20AC"
                              u"B",
                              ILLCHAR_STOP),
                    "A", true));
}

TEST(EucCnKrFromUtf16, SurrogatesAreUnmappableOneByOne) {
  EXPECT_TRUE(wrote(encodeRun(eucCn(), u"\U0001F600"), "??", true));
}

}  // namespace
