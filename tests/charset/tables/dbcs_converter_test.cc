// The double-byte converters through the registry: lead and trail bytes,
// counting, the byte budget, room, the unmappable-character policy, and the
// extended form's characters beyond the BMP. Expected values come from the
// converters' contract and from the published code pages (Python's codecs
// and ICU agree on every mapping used here).
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

KelCharSetConverter& converter(KelCharSet id) { return *KelCharSetConverter::getConverter(id); }
KelCharSetConverter& cp932() { return converter(KelCS_WCP932); }
KelCharSetConverter& cp936() { return converter(KelCS_WCP936); }
KelCharSetConverter& sjis0213() { return converter(KelCS_SJIS0213); }

// --- the registry's double-byte converters -----------------------------------

class DoubleByteId : public testing::TestWithParam<KelCharSet> {};

TEST_P(DoubleByteId, IsServedByADoubleByteConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterDBCS*>(&converter(GetParam())), nullptr);
}

TEST_P(DoubleByteId, HasUnitSizesOneTwoOne) {
  EXPECT_EQ(converter(GetParam()).getMinUnitSize(), 1u);
  EXPECT_EQ(converter(GetParam()).getMaxUnitSize(), 2u);
  EXPECT_EQ(converter(GetParam()).getNullCharSize(), 1u);
}

INSTANTIATE_TEST_SUITE_P(AllDoubleByteSets, DoubleByteId,
                         testing::Values(KelCS_WCP932, KelCS_WCP936, KelCS_WCP949, KelCS_WCP950,
                                         KelCS_BIG5, KelCS_SHIFTJIS));

TEST(DoubleByteExtended, Sjis0213IsServedByTheExtendedConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterDBCSEx*>(&sjis0213()), nullptr);
  EXPECT_EQ(sjis0213().getMinUnitSize(), 1u);
  EXPECT_EQ(sjis0213().getMaxUnitSize(), 2u);
  EXPECT_EQ(sjis0213().getNullCharSize(), 1u);
}

TEST(DoubleByteConverters, AreDistinctObjects) {
  const KelCharSet ids[] = {KelCS_WCP932, KelCS_WCP936,   KelCS_WCP949,  KelCS_WCP950,
                            KelCS_BIG5,   KelCS_SHIFTJIS, KelCS_SJIS0213};
  for (KelCharSet a : ids) {
    for (KelCharSet b : ids) {
      if (a != b) {
        EXPECT_NE(&converter(a), &converter(b)) << a << " " << b;
      }
    }
  }
}

// --- Big5's characters with two codes -------------------------------------------

// Regression: the Big5 table left out both codes of each character that has
// two, so 十 (U+5341) and 卅 (U+5345) neither read nor wrote. Expected bytes
// are Python's big5 codec's.
TEST(Big5SharedCharacters, BothCodesOfEachReadAsTheCharacter) {
  EXPECT_TRUE(wrote(decodeRun(converter(KelCS_BIG5), "\xA4\x51\xA4\xCA\xA2\xCC\xA2\xCE"),
                    u"\u5341\u5345\u5341\u5345", false));
  EXPECT_TRUE(wrote(decodeRun(converter(KelCS_BIG5), "\xA1\xFE\xA2\x41\xA2\x40\xA2\x42"),
                    u"\uFF0F\uFF0F\uFF3C\uFF3C", false));
}

TEST(Big5SharedCharacters, EachIsWrittenAsItsHigherCode) {
  EXPECT_TRUE(wrote(encodeRun(converter(KelCS_BIG5), u"\u5341\u5345\uFF0F\uFF3C"),
                    "\xA4\x51\xA4\xCA\xA2\x41\xA2\x42", false));
}

// --- getNumUnits --------------------------------------------------------------

TEST(DoubleByteGetNumUnits, NullSourceCountsZero) {
  EXPECT_EQ(cp932().getNumUnits(nullptr, 4), 0u);
}

TEST(DoubleByteGetNumUnits, ZeroBytesCountZero) {
  EXPECT_EQ(cp932().getNumUnits("\x82\xA0", 0), 0u);
}

TEST(DoubleByteGetNumUnits, LeadAndTrailAreOneUnit) {
  EXPECT_EQ(cp932().getNumUnits("\x82\xA0"
                                "A",
                                static_cast<size_t>(-1)),
            2u);
}

TEST(DoubleByteGetNumUnits, UnmappedPairIsOneUnit) {
  EXPECT_EQ(cp932().getNumUnits("\x85\x40", static_cast<size_t>(-1)), 1u);
}

TEST(DoubleByteGetNumUnits, LeadBeforeNonTrailCountsAlone) {
  EXPECT_EQ(cp936().getNumUnits("\x81\x80", static_cast<size_t>(-1)), 2u);
}

TEST(DoubleByteGetNumUnits, LeadThatTheCountCutsCountsAlone) {
  EXPECT_EQ(cp932().getNumUnits("A\x82\xA0", 2), 2u);
}

TEST(DoubleByteGetNumUnits, StopsAtZeroByte) {
  EXPECT_EQ(cp932().getNumUnits(std::string("A\0B", 3).c_str(), 3), 1u);
}

TEST(DoubleByteGetNumUnits, SupplementaryPairCountsTwoUnitsInTheExtendedSet) {
  // Shift_JIS-2004 0xF040 is U+20089.
  EXPECT_EQ(sjis0213().getNumUnits("\xF0\x40"
                                   "A",
                                   static_cast<size_t>(-1)),
            3u);
}

TEST(DoubleByteGetNumUnits, SingleBytesCountOneUnitInTheExtendedSet) {
  EXPECT_EQ(sjis0213().getNumUnits("A\xB1", static_cast<size_t>(-1)), 2u);
}

// --- toUTF16 ---------------------------------------------------------------------

TEST(DoubleByteToUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(cp932().toUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(cp932().toUTF16(nullptr, "A", 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(DoubleByteToUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(decodeRun(cp932(), "\x82\xA0", 0), u"", false));
}

TEST(DoubleByteToUtf16, PairGivesItsCharacter) {
  EXPECT_TRUE(wrote(decodeRun(cp932(), "\x82\xA0"), u"\u3042", false));
}

TEST(DoubleByteToUtf16, MappedSingleByteGivesItsCharacter) {
  EXPECT_TRUE(wrote(decodeRun(cp932(), "A\xB1"), u"A\uFF71", false));
}

TEST(DoubleByteToUtf16, UnmappedPairIsOneReplacementForBothBytes) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x85\x40"
                              "A"),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(DoubleByteToUtf16, LeadBeforeNonTrailIsIllegalAloneAndTheNextByteIsReadOnItsOwn) {
  // 0x80 is no trail byte of code page 936 (though the table maps the pair
  // 0x81 0x80 to U+4E90), and alone it is the euro sign.
  EXPECT_TRUE(wrote(decodeRun(cp936(), "\x81\x80"), u"\uFFFD\u20AC", true));
}

TEST(DoubleByteToUtf16, LeadAtTheEndOfTheInputIsIllegal) {
  EXPECT_TRUE(wrote(decodeRun(cp932(), "A\x82"), u"A\uFFFD", true));
}

TEST(DoubleByteToUtf16, StopPolicyEndsTheOutputBeforeAnUnmappedPair) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "A\x85\x40"
                              "B",
                              ILLCHAR_STOP),
                    u"A", true));
}

TEST(DoubleByteToUtf16, StopPolicyEndsTheOutputBeforeALoneLead) {
  EXPECT_TRUE(wrote(decodeRun(cp936(), "A\x81\x80", ILLCHAR_STOP), u"A", true));
}

TEST(DoubleByteToUtf16, EscapePolicyReplacesLikeReplace) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x85\x40"
                              "A",
                              ILLCHAR_ESCAPE),
                    u"\uFFFD"
                    u"A",
                    true));
}

TEST(DoubleByteToUtf16, FlagIsClearedOnEntry) {
  EXPECT_TRUE(wrote(decodeRun(cp932(), "\x82\xA0"), u"\u3042", false));
}

TEST(DoubleByteToUtf16, SourceLimitStopsOnceACharacterReachesIt) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x82\xA0"
                              "AB",
                              8, ILLCHAR_REPLACE, 3),
                    u"\u3042"
                    u"A",
                    false));
}

TEST(DoubleByteToUtf16, SourceLimitInsideAPairStopsAfterThePair) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x82\xA0"
                              "A",
                              8, ILLCHAR_REPLACE, 1),
                    u"\u3042", false));
}

TEST(DoubleByteToUtf16, SourceLimitZeroSetsNoBound) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x82\xA0"
                              "AB",
                              8, ILLCHAR_REPLACE, 0),
                    u"\u3042"
                    u"AB",
                    false));
}

TEST(DoubleByteToUtf16, NegativeSourceLimitSetsNoBound) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x82\xA0"
                              "AB",
                              8, ILLCHAR_REPLACE, -5),
                    u"\u3042"
                    u"AB",
                    false));
}

TEST(DoubleByteToUtf16, SourceLimitIsNotTestedAfterALoneLead) {
  // 0x81 alone reaches the limit of 1 byte, but the conversion goes on to
  // the space after it, which ends it.
  EXPECT_TRUE(wrote(decodeRun(cp936(), "\x81 AB", 8, ILLCHAR_REPLACE, 1), u"\uFFFD ", true));
}

TEST(DoubleByteToUtf16, SourceLimitIsTestedAfterAnUnmappedPair) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x85\x40"
                              "AB",
                              8, ILLCHAR_REPLACE, 2),
                    u"\uFFFD", true));
}

TEST(DoubleByteToUtf16, RoomEndsTheConversion) {
  EXPECT_TRUE(wrote(decodeRun(cp932(),
                              "\x82\xA0"
                              "AB",
                              2),
                    u"\u3042"
                    u"A",
                    false));
}

TEST(DoubleByteToUtf16, ExtendedSetWritesCharactersBeyondTheBmpAsSurrogatePairs) {
  EXPECT_TRUE(wrote(decodeRun(sjis0213(),
                              "\xF0\x40"
                              "A"),
                    u"\U00020089"
                    u"A",
                    false));
}

TEST(DoubleByteToUtf16, ExtendedSetStopsBeforeAPairWithOnlyOneUnitOfRoomLeft) {
  EXPECT_TRUE(wrote(decodeRun(sjis0213(),
                              "A\xF0\x40"
                              "B",
                              2),
                    u"A", false));
}

// --- getNumBytes -------------------------------------------------------------------

TEST(DoubleByteGetNumBytes, NullSourceCountsZero) {
  EXPECT_EQ(cp932().getNumBytes(nullptr, 3), 0u);
}

TEST(DoubleByteGetNumBytes, ZeroUnitsCountZero) {
  EXPECT_EQ(cp932().getNumBytes(u"\u3042", 0), 0u);
}

TEST(DoubleByteGetNumBytes, PairCodeCountsTwo) {
  EXPECT_EQ(cp932().getNumBytes(u"\u3042", static_cast<size_t>(-1)), 2u);
}

TEST(DoubleByteGetNumBytes, SingleByteCodeCountsOne) {
  EXPECT_EQ(cp932().getNumBytes(u"A\uFF71", static_cast<size_t>(-1)), 2u);
}

TEST(DoubleByteGetNumBytes, EachUnitOfAnUnmappableSurrogatePairCountsOne) {
  EXPECT_EQ(cp932().getNumBytes(u"\U0001F600", static_cast<size_t>(-1)), 2u);
}

TEST(DoubleByteGetNumBytes, ReadsAtMostTheUnitsGiven) {
  EXPECT_EQ(cp932().getNumBytes(u"\u3042\u3042\u3042", 2), 4u);
}

TEST(DoubleByteGetNumBytes, StopsAtTheZeroUnit) {
  EXPECT_EQ(cp932().getNumBytes(std::u16string(u"\u3042\0A", 3).c_str(), 3), 2u);
}

TEST(DoubleByteGetNumBytes, ExtendedSetCountsASurrogatePairAsOneCharacter) {
  EXPECT_EQ(sjis0213().getNumBytes(u"\U00020089", static_cast<size_t>(-1)), 2u);
}

TEST(DoubleByteGetNumBytes, ExtendedSetCountsAnUnpairedHighSurrogateOne) {
  EXPECT_EQ(sjis0213().getNumBytes(u"\xD840"
                                   u"\u3042",
                                   static_cast<size_t>(-1)),
            3u);
}

TEST(DoubleByteGetNumBytes, ExtendedSetDoesNotPairAcrossTheUnitsGiven) {
  EXPECT_EQ(sjis0213().getNumBytes(u"\U00020089", 1), 1u);
}

// --- fromUTF16 -------------------------------------------------------------------

TEST(DoubleByteFromUtf16, NullPointersGiveZeroAndWriteNothing) {
  GuardedBuffer<char> out(4);
  EXPECT_EQ(cp932().fromUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(cp932().fromUTF16(nullptr, u"A", 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(DoubleByteFromUtf16, ZeroRoomWritesOnlyTheTerminator) {
  EXPECT_TRUE(wrote(encodeRun(cp932(), u"A", 0), "", false));
}

TEST(DoubleByteFromUtf16, PairCodeIsWrittenHighByteFirst) {
  EXPECT_TRUE(wrote(encodeRun(cp932(), u"\u3042A"),
                    "\x82\xA0"
                    "A",
                    false));
}

TEST(DoubleByteFromUtf16, PairIsWrittenAlthoughItsTrailByteIsNeverRead) {
  EXPECT_TRUE(wrote(encodeRun(cp936(), u"\u4E90"), "\x81\x80", false));
}

TEST(DoubleByteFromUtf16, PairThatDoesNotFitEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(cp932(), u"A\u3042", 2), "A", false));
}

TEST(DoubleByteFromUtf16, ReplacePolicyWritesAQuestionMark) {
  // IBM's table for code page 932 has no euro sign.
  EXPECT_TRUE(wrote(encodeRun(cp932(),
                              u"\u20AC"
                              u"A"),
                    "?A", true));
}

TEST(DoubleByteFromUtf16, EscapePolicyWritesTheUnitEscape) {
  EXPECT_TRUE(wrote(encodeRun(cp932(),
                              u"\u20AC"
                              u"A",
                              ILLCHAR_ESCAPE),
                    "U+20ACA", true));
}

TEST(DoubleByteFromUtf16, EscapeWithFiveBytesOfRoomLeftEndsTheOutput) {
  EXPECT_TRUE(wrote(encodeRun(cp932(), u"A\u20AC", 6, ILLCHAR_ESCAPE), "A", true));
}

TEST(DoubleByteFromUtf16, StopPolicyEndsTheOutputBeforeTheUnit) {
  EXPECT_TRUE(wrote(encodeRun(cp932(),
                              u"A\u20AC"
                              u"B",
                              ILLCHAR_STOP),
                    "A", true));
}

TEST(DoubleByteFromUtf16, EscapeIntoTheRoomThatGetNumBytesCountsEndsEarly) {
  // getNumBytes counts the "?" (1 byte) of an unmappable unit; its escape
  // does not fit there, and the output ends rather than overrun.
  const std::u16string text = u"A\u20AC";
  const size_t room = cp932().getNumBytes(text.c_str(), static_cast<size_t>(-1));
  ASSERT_EQ(room, 2u);
  EXPECT_TRUE(wrote(encodeRun(cp932(), text, room, ILLCHAR_ESCAPE), "A", true));
}

TEST(DoubleByteFromUtf16, SurrogatesAreUnmappableOneByOne) {
  EXPECT_TRUE(wrote(encodeRun(cp932(), u"\U0001F600"), "??", true));
}

TEST(DoubleByteFromUtf16, ExtendedSetLooksUpASurrogatePairAsOneCharacter) {
  EXPECT_TRUE(wrote(encodeRun(sjis0213(),
                              u"\U00020089"
                              u"A"),
                    "\xF0\x40"
                    "A",
                    false));
}

TEST(DoubleByteFromUtf16, ExtendedSetEscapesAnUnmappableCharacterBeyondTheBmpInTwelveBytes) {
  // The high surrogate's escape, the text "U+04X" and a zero byte, then the
  // terminator.
  const kelulib_test::EncodeRun run = encodeRun(sjis0213(), u"\U00020000", 12, ILLCHAR_ESCAPE);
  EXPECT_EQ(run.returned, 12u);
  EXPECT_EQ(run.output, std::string("U+D840U+04X\0", 12));
  EXPECT_TRUE(run.terminated);
  EXPECT_TRUE(run.guardsIntact);
  EXPECT_TRUE(run.illegal);
}

TEST(DoubleByteFromUtf16, ExtendedSetEscapeBeyondTheBmpNeedsTwelveBytesOfRoom) {
  EXPECT_TRUE(wrote(encodeRun(sjis0213(), u"A\U00020000", 12, ILLCHAR_ESCAPE), "A", true));
}

TEST(DoubleByteFromUtf16, ExtendedSetReplacesAnUnmappableCharacterBeyondTheBmpWithOneByte) {
  EXPECT_TRUE(wrote(encodeRun(sjis0213(),
                              u"\U00020000"
                              u"A"),
                    "?A", true));
}

TEST(DoubleByteFromUtf16, ExtendedSetEscapesAnUnpairedHighSurrogateAndReadsTheNextUnitAlone) {
  EXPECT_TRUE(wrote(encodeRun(sjis0213(),
                              u"\xD840"
                              u"A",
                              ILLCHAR_ESCAPE),
                    "U+D840A", true));
}

TEST(DoubleByteFromUtf16, ExtendedSetStopsAtAnUnpairedHighSurrogateUnderStop) {
  EXPECT_TRUE(wrote(encodeRun(sjis0213(),
                              u"A\xD840"
                              u"B",
                              ILLCHAR_STOP),
                    "A", true));
}

TEST(DoubleByteFromUtf16, ExtendedSetReplacesAnUnpairedLowSurrogate) {
  EXPECT_TRUE(wrote(encodeRun(sjis0213(),
                              u"\xDC89"
                              u"A"),
                    "?A", true));
}

TEST(DoubleByteFromUtf16, FlagIsClearedOnEntry) {
  EXPECT_TRUE(wrote(encodeRun(cp932(), u"\u3042"), "\x82\xA0", false));
}

}  // namespace
