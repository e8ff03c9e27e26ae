// EUC-JP through the registry: JIS X 0208 pairs, half-width katakana after
// SS2, JIS X 0212 after SS3, the JIS X 0201 characters reached through a
// first byte 0x80-0xA0, the look-ups without range checks, counting, the
// byte budget, room and the unmappable-character policy. Mappings from the
// JIS tables (Python's codecs and glibc agree on every one used here, but
// for the JIS X 0201 forms, which are this converter's own).
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

KelCharSetConverter& eucJp() { return *KelCharSetConverter::getConverter(KelCS_EUC_JP); }

constexpr size_t kUpToTheZero = static_cast<size_t>(-1);

TEST(EucJp, IsServedByTheEucJpConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterEUC_JP*>(&eucJp()), nullptr);
}

TEST(EucJp, HasUnitSizesOneThreeOne) {
  EXPECT_EQ(eucJp().getMinUnitSize(), 1u);
  EXPECT_EQ(eucJp().getMaxUnitSize(), 3u);
  EXPECT_EQ(eucJp().getNullCharSize(), 1u);
}

TEST(EucJp, SingleShiftsAre0x8EAnd0x8F) {
  EXPECT_EQ(KelCharSetConverterEUC_JP::m_cSS2, 0x8E);
  EXPECT_EQ(KelCharSetConverterEUC_JP::m_cSS3, 0x8F);
}

// --- getNumUnits --------------------------------------------------------------

TEST(EucJpGetNumUnits, NullSourceOrZeroBytesCountZero) {
  EXPECT_EQ(eucJp().getNumUnits(nullptr, 2), 0u);
  EXPECT_EQ(eucJp().getNumUnits("\xA4\xA2", 0), 0u);
}

TEST(EucJpGetNumUnits, EachFormIsOneUnit) {
  EXPECT_EQ(eucJp().getNumUnits("A\xA4\xA2\x8E\xB1\x8F\xA2\xAF", kUpToTheZero), 4u);
}

TEST(EucJpGetNumUnits, LeadByteAtTheEndOfTheCountEndsTheCount) {
  EXPECT_EQ(eucJp().getNumUnits("\xA4", 1), 0u);
  EXPECT_EQ(eucJp().getNumUnits("A\xA4\xA2", 2), 1u);
}

TEST(EucJpGetNumUnits, SingleShiftTwoThatTheCountCutsEndsTheCount) {
  EXPECT_EQ(eucJp().getNumUnits("A\x8E\xB1", 2), 1u);
}

TEST(EucJpGetNumUnits, SingleShiftThreeWithFewerThanThreeBytesLeftEndsTheCount) {
  EXPECT_EQ(eucJp().getNumUnits("A\x8F\xA2\xAF", 3), 1u);
}

// Regression: with the maximal count ("up to the zero byte"), a sequence
// that the zero byte cuts was counted as one unit.
TEST(EucJpGetNumUnitsStopsBeforeCutSequence, SingleShiftTwoBeforeTheZero) {
  EXPECT_EQ(eucJp().getNumUnits("A\x8E", kUpToTheZero), 1u);
  EXPECT_EQ(eucJp().getNumUnits("\x8E", kUpToTheZero), 0u);
}

TEST(EucJpGetNumUnitsStopsBeforeCutSequence, LeadByteBeforeTheZero) {
  EXPECT_EQ(eucJp().getNumUnits("A\xA4", kUpToTheZero), 1u);
  EXPECT_EQ(eucJp().getNumUnits("\xA4\xA2\xFF", kUpToTheZero), 1u);
}

TEST(EucJpGetNumUnitsStopsBeforeCutSequence, SingleShiftThreeBeforeTheZero) {
  EXPECT_EQ(eucJp().getNumUnits("A\x8F", kUpToTheZero), 1u);
  EXPECT_EQ(eucJp().getNumUnits("A\x8F\xA2", kUpToTheZero), 1u);
  EXPECT_EQ(eucJp().getNumUnits("A\x8F\xA2\xAF", kUpToTheZero), 2u);
}

TEST(EucJpGetNumUnitsStopsBeforeCutSequence, ByteAfterAnUnmappedPairBeforeTheZero) {
  // JIS X 0208 row 0x29 is empty: 0xA9 counts alone, and 0xA1 is then a
  // lead byte that the zero cuts.
  EXPECT_EQ(eucJp().getNumUnits("\xA9\xA1", kUpToTheZero), 1u);
}

TEST(EucJpGetNumUnits, SingleShiftTwoBeforeANonKatakanaByteCountsAlone) {
  EXPECT_EQ(eucJp().getNumUnits("\x8E"
                                "A",
                                kUpToTheZero),
            2u);
}

TEST(EucJpGetNumUnits, UnmappedPairCountsItsFirstByteAlone) {
  // JIS X 0208 row 0x29 is empty: 0xA9 counts alone, then 0xA1 0xA2 (U+3001)
  // is one character.
  EXPECT_EQ(eucJp().getNumUnits("\xA9\xA1\xA2", kUpToTheZero), 2u);
}

TEST(EucJpGetNumUnits, StopsAtZeroByte) {
  EXPECT_EQ(eucJp().getNumUnits(std::string("A\0B", 3).c_str(), 3), 1u);
}

// --- toUTF16 ---------------------------------------------------------------------

TEST(EucJpToUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(eucJp().toUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(eucJp().toUTF16(nullptr, "A", 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(EucJpToUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\xA4\xA2", 0), u"", false));
}

TEST(EucJpToUtf16, Jis0208PairGivesItsCharacter) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\xA4\xA2"
                              "A"),
                    u"\u3042"
                    u"A",
                    false));
}

TEST(EucJpToUtf16, SingleShiftTwoGivesHalfWidthKatakana) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\x8E\xB1"), u"\uFF71", false));
}

TEST(EucJpToUtf16, SingleShiftThreeGivesJis0212) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\x8F\xA2\xAF"), u"\u02D8", false));
}

TEST(EucJpToUtf16, FirstByte0x80ReachesJis0201) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\x80\xDC\x80\xFE"), u"\u00A5\u203E", false));
}

TEST(EucJpToUtf16, FirstByte0x80BeforeAnAsciiByteGivesThatByte) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\x80"
                              "A"),
                    u"A", false));
}

TEST(EucJpToUtf16, HighByteBeforeASevenBitByteIsReadAsThePair) {
  // 0xA1 0x41 reads as 0xA1 0xC1, JIS X 0208 0x2141.
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\xA1\x41"), u"\u301C", false));
}

TEST(EucJpToUtf16, DeleteIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\x7F"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(EucJpToUtf16, UnmappedPairMakesItsFirstByteIllegalAlone) {
  // 0xA9 0xA1 is unmapped; 0xA1 then meets the terminator, unmapped too.
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\xA9\xA1"), u"\uFFFD\uFFFD", true));
}

TEST(EucJpToUtf16, SingleShiftTwoBeforeANonKatakanaByteIsIllegalAlone) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\x8E"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(EucJpToUtf16, UnmappedJis0212CodeMakesSingleShiftThreeIllegalAlone) {
  // JIS X 0212 0x2121 is unassigned; 0xA1 0xA1 is then JIS X 0208 0x2121.
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "\x8F\xA1\xA1"), u"\uFFFD\u3000", true));
}

TEST(EucJpToUtf16, SingleShiftThreeAtTheEndOfTheInputIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(), "A\x8F"), u"A\uFFFD", true));
}

TEST(EucJpToUtf16, StopPolicyEndsTheOutputBeforeIllegalInput) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "A\x7F"
                              "B",
                              ILLCHAR_STOP),
                    u"A", true));
}

TEST(EucJpToUtf16, SourceLimitStopsOnceReached) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\x8F\xA2\xAF"
                              "AB",
                              8, ILLCHAR_REPLACE, 4),
                    u"\u02D8"
                    u"A",
                    false));
}

TEST(EucJpToUtf16, SourceLimitInsideASequenceStopsAfterIt) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\x8F\xA2\xAF"
                              "A",
                              8, ILLCHAR_REPLACE, 2),
                    u"\u02D8", false));
}

TEST(EucJpToUtf16, RoomEndsTheConversion) {
  EXPECT_TRUE(wrote(decodeRun(eucJp(),
                              "\xA4\xA2"
                              "AB",
                              2),
                    u"\u3042"
                    u"A",
                    false));
}

// --- getNumBytes -------------------------------------------------------------------

TEST(EucJpGetNumBytes, NullSourceOrZeroUnitsCountZero) {
  EXPECT_EQ(eucJp().getNumBytes(nullptr, 3), 0u);
  EXPECT_EQ(eucJp().getNumBytes(u"\u3042", 0), 0u);
}

TEST(EucJpGetNumBytes, CountsEachFormsBytes) {
  EXPECT_EQ(eucJp().getNumBytes(u"A", kUpToTheZero), 1u);
  EXPECT_EQ(eucJp().getNumBytes(u"\u3042", kUpToTheZero), 2u);
  EXPECT_EQ(eucJp().getNumBytes(u"\uFF71", kUpToTheZero), 2u);
  EXPECT_EQ(eucJp().getNumBytes(u"\u00A5", kUpToTheZero), 2u);
  EXPECT_EQ(eucJp().getNumBytes(u"\u02D8", kUpToTheZero), 3u);
}

TEST(EucJpGetNumBytes, DeleteAndUnmappableUnitsCountOne) {
  EXPECT_EQ(eucJp().getNumBytes(u"\x7F\u20AC", kUpToTheZero), 2u);
}

// --- fromUTF16 -------------------------------------------------------------------

TEST(EucJpFromUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<char> out(4);
  EXPECT_EQ(eucJp().fromUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(eucJp().fromUTF16(nullptr, u"A", 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(EucJpFromUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"A", 0), "", false));
}

TEST(EucJpFromUtf16, Jis0208CharacterIsItsRowAndCellPlus0x8080) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(),
                              u"\u3042"
                              u"A"),
                    "\xA4\xA2"
                    "A",
                    false));
}

TEST(EucJpFromUtf16, HalfWidthKatakanaFollowsSingleShiftTwo) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"\uFF71"), "\x8E\xB1", false));
}

TEST(EucJpFromUtf16, Jis0212CharacterFollowsSingleShiftThree) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"\u02D8"), "\x8F\xA2\xAF", false));
}

TEST(EucJpFromUtf16, YenAndOverlineAreWrittenAfter0x80) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"\u00A5\u203E"), "\x80\xDC\x80\xFE", false));
}

TEST(EucJpFromUtf16, BackslashAndTildeAreAscii) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"\\~"), "\\~", false));
}

TEST(EucJpFromUtf16, PairThatDoesNotFitEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"A\uFF71", 2), "A", false));
}

TEST(EucJpFromUtf16, ThreeByteFormThatDoesNotFitEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"A\u02D8", 3), "A", false));
}

TEST(EucJpFromUtf16, DeleteIsUnmappable) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"\x7F"), "?", true));
}

TEST(EucJpFromUtf16, EscapePolicyWritesTheUnitEscape) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(),
                              u"\u20AC"
                              u"A",
                              ILLCHAR_ESCAPE),
                    "U+20ACA", true));
}

TEST(EucJpFromUtf16, EscapeWithFiveBytesOfRoomLeftEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(), u"A\u20AC", 6, ILLCHAR_ESCAPE), "A", true));
}

TEST(EucJpFromUtf16, StopPolicyEndsTheOutputBeforeTheUnit) {
  EXPECT_TRUE(wrote(encodeRun(eucJp(),
                              u"A\u20AC"
                              u"B",
                              ILLCHAR_STOP),
                    "A", true));
}

TEST(EucJpRoundTrip, YenSignComesBack) {
  const kelulib_test::EncodeRun encoded = encodeRun(eucJp(), u"\u00A5");
  EXPECT_TRUE(wrote(decodeRun(eucJp(), encoded.output), u"\u00A5", false));
}

}  // namespace
