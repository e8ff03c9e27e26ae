// GB18030 through the registry: one-, two- and four-byte sequences, the
// computed supplementary planes, illegal input, the byte budget (which is
// deliberately not tested after unmapped multi-byte sequences), counting,
// room, broken surrogate pairs and the unmappable-character policy.
// Mappings from GB 18030 (Python's codec and ICU agree on every one used
// here).
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

KelCharSetConverter& gb18030() { return *KelCharSetConverter::getConverter(KelCS_GB18030); }

constexpr size_t kUpToTheZero = static_cast<size_t>(-1);

TEST(Gb18030, IsServedByTheGb18030Converter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterGB18030*>(&gb18030()), nullptr);
}

TEST(Gb18030, HasUnitSizesOneFourOne) {
  EXPECT_EQ(gb18030().getMinUnitSize(), 1u);
  EXPECT_EQ(gb18030().getMaxUnitSize(), 4u);
  EXPECT_EQ(gb18030().getNullCharSize(), 1u);
}

// --- GB scalars ------------------------------------------------------------------

TEST(Gb18030Scalar, PairIsHighByteTimes256PlusLowByte) {
  const unsigned char high = 0xA2;
  const unsigned char low = 0xE3;
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(high, low), 0xA2E3u);
}

TEST(Gb18030Scalar, FourByteSequencesAreNumberedFrom0x10000) {
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(0x81, 0x30, 0x81, 0x30), 0x10000u);
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(0x81, 0x30, 0x81, 0x31), 0x10001u);
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(0x81, 0x30, 0x82, 0x30), 0x1000Au);
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(0x81, 0x31, 0x81, 0x30), 0x10000u + 1260u);
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(0x90, 0x30, 0x81, 0x30), 254536u);
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(0xFE, 0x39, 0xFE, 0x39), 0x19398Fu);
}

TEST(Gb18030Scalar, PackedPairsGiveTheSameScalar) {
  EXPECT_EQ(KelCharSetConverterGB18030::makeScalar(wchar16{0x8431}, wchar16{0xA439}),
            KelCharSetConverterGB18030::makeScalar(0x84, 0x31, 0xA4, 0x39));
}

TEST(Gb18030ByteTests, ClassifyBytesAsTheFormsNeedThem) {
  EXPECT_TRUE(KelCharSetConverterGB18030::isSBCS(0x80));
  EXPECT_FALSE(KelCharSetConverterGB18030::isSBCS(0x81));
  EXPECT_TRUE(KelCharSetConverterGB18030::isLeadMBCS(0xFE));
  EXPECT_FALSE(KelCharSetConverterGB18030::isLeadMBCS(0xFF));
  EXPECT_TRUE(KelCharSetConverterGB18030::isTrailDBCS(0x7E));
  EXPECT_FALSE(KelCharSetConverterGB18030::isTrailDBCS(0x7F));
  EXPECT_TRUE(KelCharSetConverterGB18030::isTrailDBCS(0x80));
  EXPECT_FALSE(KelCharSetConverterGB18030::isTrailDBCS(0x3F));
  EXPECT_TRUE(KelCharSetConverterGB18030::isFourthFBCS(0x39));
  EXPECT_FALSE(KelCharSetConverterGB18030::isFourthFBCS(0x3A));
}

// --- getNumUnits --------------------------------------------------------------

TEST(Gb18030GetNumUnits, NullSourceOrZeroBytesCountZero) {
  EXPECT_EQ(gb18030().getNumUnits(nullptr, 2), 0u);
  EXPECT_EQ(gb18030().getNumUnits("\xA2\xE3", 0), 0u);
}

TEST(Gb18030GetNumUnits, EachBmpFormIsOneUnit) {
  EXPECT_EQ(gb18030().getNumUnits("A\xA2\xE3\x81\x30\x81\x30", kUpToTheZero), 3u);
}

TEST(Gb18030GetNumUnits, SupplementaryCharacterIsTwoUnits) {
  EXPECT_EQ(gb18030().getNumUnits("\x90\x30\x81\x30", kUpToTheZero), 2u);
}

TEST(Gb18030GetNumUnits, LeadByteWithOneByteLeftCountsAlone) {
  EXPECT_EQ(gb18030().getNumUnits("A\xA2\xE3", 2), 2u);
}

TEST(Gb18030GetNumUnits, FourByteStartWithFewerThanFourBytesLeftCountsAlone) {
  // 0x81 alone, then "0", then 0x81 with one byte left.
  EXPECT_EQ(gb18030().getNumUnits("\x81\x30\x81\x30", 3), 3u);
}

TEST(Gb18030GetNumUnits, IllegalSequencesCountOneEach) {
  // 0xFF; an unmapped four-byte sequence; 0x81 before a space; the space.
  EXPECT_EQ(gb18030().getNumUnits("\xFF\x84\x31\xA5\x30\x81 ", kUpToTheZero), 4u);
}

TEST(Gb18030GetNumUnits, StopsAtZeroByte) {
  EXPECT_EQ(gb18030().getNumUnits(std::string("A\0B", 3).c_str(), 3), 1u);
}

// --- toUTF16 ---------------------------------------------------------------------

TEST(Gb18030ToUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(gb18030().toUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(gb18030().toUTF16(nullptr, "A", 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(Gb18030ToUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "A", 0), u"", false));
}

TEST(Gb18030ToUtf16, FirstFourByteSequenceIsU0080) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x81\x30\x81\x30"), u"\u0080", false));
}

TEST(Gb18030ToUtf16, LastFourByteSequenceOfTheBmpIsUFFFF) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x84\x31\xA4\x39"), u"\uFFFF", false));
}

TEST(Gb18030ToUtf16, TwoByteCodeBeyondWindowsGbkIsTheEuroSign) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\xA2\xE3"), u"\u20AC", false));
}

TEST(Gb18030ToUtf16, GbkPairGivesItsCharacter) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x81\x40\xB0\xA1"), u"\u4E02\u554A", false));
}

TEST(Gb18030ToUtf16, FirstSupplementarySequenceIsU10000) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x90\x30\x81\x30"), u"\U00010000", false));
}

TEST(Gb18030ToUtf16, LastSupplementarySequenceIsU10FFFF) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\xE3\x32\x9A\x35"), u"\U0010FFFF", false));
}

TEST(Gb18030ToUtf16, FourByteSequenceBeyondU10FFFFIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\xE3\x32\x9A\x36"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(Gb18030ToUtf16, FourByteSequenceBetweenTheBmpAndThePlanesIsIllegal) {
  // Scalar 0x199FC, just after the BMP's four-byte sequences.
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\x84\x31\xA5\x30"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(Gb18030ToUtf16, Byte0x80IsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\x80"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(Gb18030ToUtf16, Byte0xFFIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\xFF"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(Gb18030ToUtf16, CutFourByteStartAtTheEndIsIllegalForTheLeadAlone) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x81\x30"),
                    u"\uFFFD"
                    u"0",
                    true));
}

TEST(Gb18030ToUtf16, LeadBeforeABadThirdByteIsIllegalAlone) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x81\x30\x30\x30"),
                    u"\uFFFD"
                    u"000",
                    true));
}

TEST(Gb18030ToUtf16, LeadBeforeANonTrailByteIsIllegalAlone) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x81 "), u"\uFFFD ", true));
}

TEST(Gb18030ToUtf16, StopPolicyEndsTheOutputBeforeIllegalInput) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "A\xFF"
                              "B",
                              ILLCHAR_STOP),
                    u"A", true));
}

TEST(Gb18030ToUtf16, EscapePolicyReplacesLikeReplace) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\xFF"
                              "B",
                              ILLCHAR_ESCAPE),
                    u"\uFFFD"
                    u"B",
                    true));
}

TEST(Gb18030ToUtf16, SupplementaryCharacterNeedsTwoUnitsOfRoom) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "A\x90\x30\x81\x30"
                              "B",
                              2),
                    u"A", false));
}

TEST(Gb18030ToUtf16, RoomEndsTheConversion) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\xA2\xE3"
                              "AB",
                              2),
                    u"\u20AC"
                    u"A",
                    false));
}

TEST(Gb18030ToUtf16, SourceLimitStopsAfterAMappedCharacterReachingIt) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\x81\x30\x81\x30"
                              "AB",
                              8, ILLCHAR_REPLACE, 5),
                    u"\u0080"
                    u"A",
                    false));
}

TEST(Gb18030ToUtf16, SourceLimitStopsAfterAnIllegalSingleByte) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\x80"
                              "AB",
                              8, ILLCHAR_REPLACE, 1),
                    u"\uFFFD", true));
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\xFF"
                              "AB",
                              8, ILLCHAR_REPLACE, 1),
                    u"\uFFFD", true));
}

TEST(Gb18030ToUtf16, SourceLimitIsNotTestedAfterAnUnmappedFourByteSequence) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\x84\x31\xA5\x30"
                              "AB",
                              8, ILLCHAR_REPLACE, 1),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(Gb18030ToUtf16, SourceLimitIsNotTestedAfterALeadThatStartsNoSequence) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(), "\x81 AB", 8, ILLCHAR_REPLACE, 1), u"\uFFFD ", true));
}

TEST(Gb18030ToUtf16, SourceLimitZeroSetsNoBound) {
  EXPECT_TRUE(wrote(decodeRun(gb18030(),
                              "\xA2\xE3"
                              "AB",
                              8, ILLCHAR_REPLACE, 0),
                    u"\u20AC"
                    u"AB",
                    false));
}

// --- getNumBytes -------------------------------------------------------------------

TEST(Gb18030GetNumBytes, NullSourceOrZeroUnitsCountZero) {
  EXPECT_EQ(gb18030().getNumBytes(nullptr, 3), 0u);
  EXPECT_EQ(gb18030().getNumBytes(u"A", 0), 0u);
}

TEST(Gb18030GetNumBytes, CountsOneTwoOrFourBytesPerCharacter) {
  EXPECT_EQ(gb18030().getNumBytes(u"A", kUpToTheZero), 1u);
  EXPECT_EQ(gb18030().getNumBytes(u"\u20AC", kUpToTheZero), 2u);
  EXPECT_EQ(gb18030().getNumBytes(u"\u0080", kUpToTheZero), 4u);
  EXPECT_EQ(gb18030().getNumBytes(u"\U00010000", kUpToTheZero), 4u);
}

TEST(Gb18030GetNumBytes, UnpairedLowSurrogateCountsOne) {
  EXPECT_EQ(gb18030().getNumBytes(u"\xDC00"
                                  u"A",
                                  kUpToTheZero),
            2u);
}

TEST(Gb18030GetNumBytes, BrokenSurrogatePairEndsTheCount) {
  EXPECT_EQ(gb18030().getNumBytes(u"A\xD800"
                                  u"B",
                                  kUpToTheZero),
            1u);
  EXPECT_EQ(gb18030().getNumBytes(u"A\U00010000", 2), 1u);
}

// --- fromUTF16 -------------------------------------------------------------------

TEST(Gb18030FromUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<char> out(4);
  EXPECT_EQ(gb18030().fromUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(gb18030().fromUTF16(nullptr, u"A", 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(Gb18030FromUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"A", 0), "", false));
}

TEST(Gb18030FromUtf16, U0080IsTheFirstFourByteSequence) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"\u0080"), "\x81\x30\x81\x30", false));
}

TEST(Gb18030FromUtf16, EuroSignIsItsTwoByteCode) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"\u20AC"), "\xA2\xE3", false));
}

TEST(Gb18030FromUtf16, U10000IsTheFirstSupplementarySequence) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"\U00010000"), "\x90\x30\x81\x30", false));
}

TEST(Gb18030FromUtf16, U10FFFFIsTheLastSupplementarySequence) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"\U0010FFFF"), "\xE3\x32\x9A\x35", false));
}

TEST(Gb18030FromUtf16, HighSurrogateBeforeANonSurrogateEndsTheConversion) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(),
                              u"A\xD800"
                              u"BC"),
                    "A", false));
}

TEST(Gb18030FromUtf16, HighSurrogateAtTheEndEndsTheConversion) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"A\xD800"), "A", false));
}

TEST(Gb18030FromUtf16, BrokenPairEndsTheConversionUnderEveryPolicy) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(),
                              u"A\xD800"
                              u"B",
                              ILLCHAR_ESCAPE),
                    "A", false));
  EXPECT_TRUE(wrote(encodeRun(gb18030(),
                              u"A\xD800"
                              u"B",
                              ILLCHAR_STOP),
                    "A", false));
}

TEST(Gb18030FromUtf16, UnpairedLowSurrogateIsUnmappable) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(),
                              u"\xDC00"
                              u"A"),
                    "?A", true));
}

TEST(Gb18030FromUtf16, EscapePolicyWritesTheUnitEscape) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(),
                              u"\xDC00"
                              u"A",
                              ILLCHAR_ESCAPE),
                    "U+DC00A", true));
}

TEST(Gb18030FromUtf16, EscapeWithFiveBytesOfRoomLeftEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"A\xDC00", 6, ILLCHAR_ESCAPE), "A", true));
}

TEST(Gb18030FromUtf16, StopPolicyEndsTheOutputBeforeTheUnit) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(),
                              u"A\xDC00"
                              u"B",
                              ILLCHAR_STOP),
                    "A", true));
}

TEST(Gb18030FromUtf16, FourByteSequenceThatDoesNotFitEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"A\u0080", 4), "A", false));
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"A\U00010000", 4), "A", false));
}

TEST(Gb18030FromUtf16, PairThatDoesNotFitEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(gb18030(), u"A\u20AC", 2), "A", false));
}

}  // namespace
