// KelCharSetConverterSBCS's conversion rules, on the converters of its two
// compiled-in tables, Windows-1252 and ISO 8859-1, and on one whose mapping
// table is not in the library. (Every code page's mapping is compared with
// iconv in sbcs_code_pages_test.cc.)
#include <KelULib.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/guarded_buffer.h"

namespace {

using kelulib_test::GuardedBuffer;

KelCharSetConverter* converterOf(KelCharSet id) { return KelCharSetConverter::getConverter(id); }

// Windows-1252's five unmapped bytes, as the code page defines them.
TEST(SbcsConverterWindows1252, FiveC1BytesAreUnmapped) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  const char bytes[] = "\x81\x8D\x8F\x90\x9D";
  GuardedBuffer<wchar16> out(6);
  bool illegal = false;
  ASSERT_EQ(converter->toUTF16(out.data(), bytes, 5, ILLCHAR_REPLACE, &illegal, -1), 5u);
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(out[i], 0xFFFD) << i;
  EXPECT_TRUE(illegal);
}

TEST(SbcsConverterWindows1252, Byte0x81UnderStopEndsBeforeIt) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  GuardedBuffer<wchar16> out(5);
  bool illegal = false;
  EXPECT_EQ(converter->toUTF16(out.data(), "ab\x81" "c", 4, ILLCHAR_STOP, &illegal, -1), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<wchar16>{'a', 'b', 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST(SbcsConverterWindows1252, Byte0x81UnderEscapeGivesReplacementCharacter) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  GuardedBuffer<wchar16> out(3);
  bool illegal = false;
  EXPECT_EQ(converter->toUTF16(out.data(), "\x81z", 2, ILLCHAR_ESCAPE, &illegal, -1), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<wchar16>{0xFFFD, 'z', 0}));
  EXPECT_TRUE(illegal);
}

TEST(SbcsConverterWindows1252, EuroSignIsByte0x80) {
  GuardedBuffer<char> out(2);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->fromUTF16(out.data(), u"\u20AC", 1, ILLCHAR_STOP, nullptr), 1u);
  EXPECT_EQ(static_cast<unsigned char>(out[0]), 0x80);
  EXPECT_EQ(out[1], '\0');
}

TEST(SbcsConverterIso88591, EuroSignUnderEscapeIsSixBytes) {
  GuardedBuffer<char> out(7);
  EXPECT_EQ(converterOf(KelCS_ISO_8859_1)->fromUTF16(out.data(), u"\u20AC", 6, ILLCHAR_ESCAPE, nullptr),
            6u);
  EXPECT_EQ(std::string(out.data()), "U+20AC");
  EXPECT_TRUE(out.guardsIntact());
}

TEST(SbcsConverterIso88591, EuroSignUnderReplaceIsQuestionMark) {
  GuardedBuffer<char> out(7);
  EXPECT_EQ(converterOf(KelCS_ISO_8859_1)->fromUTF16(out.data(), u"\u20AC", 6, ILLCHAR_REPLACE, nullptr),
            1u);
  EXPECT_EQ(std::string(out.data()), "?");
}

TEST(SbcsConverterIso88591, EscapeWithTooLittleRoomStops) {
  GuardedBuffer<char> out(7);
  EXPECT_EQ(converterOf(KelCS_ISO_8859_1)->fromUTF16(out.data(), u"xy\u20AC", 6, ILLCHAR_ESCAPE, nullptr),
            2u);
  EXPECT_EQ(std::string(out.data()), "xy");
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST(SbcsConverterIso88591, EscapeDigitsAreUpperCase) {
  GuardedBuffer<char> out(13);
  EXPECT_EQ(converterOf(KelCS_ISO_8859_1)->fromUTF16(out.data(), u"\uabcd\uFFFF", 12, ILLCHAR_ESCAPE,
                                                     nullptr),
            12u);
  EXPECT_EQ(std::string(out.data()), "U+ABCDU+FFFF");
}

// --- counting ---------------------------------------------------------------

TEST(SbcsConverterCounting, GetNumUnitsCountsBytesBeforeZero) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  EXPECT_EQ(converter->getNumUnits("abc\x81", static_cast<size_t>(-1)), 4u);
  EXPECT_EQ(converter->getNumUnits("abc\0def", 7), 3u);
  EXPECT_EQ(converter->getNumUnits("abcdef", 2), 2u);
  EXPECT_EQ(converter->getNumUnits("abc", 0), 0u);
  EXPECT_EQ(converter->getNumUnits(nullptr, 5), 0u);
}

TEST(SbcsConverterCounting, GetNumBytesCountsUnmappableUnitsAsOne) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  EXPECT_EQ(converter->getNumBytes(u"A\u4E00", static_cast<size_t>(-1)), 2u);
}

TEST(SbcsConverterCounting, GetNumBytesStopsAtZeroOrLength) {
  KelCharSetConverter* converter = converterOf(KelCS_ISO_8859_1);
  const char16_t text[] = {'a', 'b', 0, 'c', 0};
  EXPECT_EQ(converter->getNumBytes(text, 4), 2u);
  EXPECT_EQ(converter->getNumBytes(text, 1), 1u);
  EXPECT_EQ(converter->getNumBytes(text, 0), 0u);
  EXPECT_EQ(converter->getNumBytes(nullptr, 4), 0u);
}

// --- toUTF16 ---------------------------------------------------------------

TEST(SbcsConverterToUtf16, NullPointersGiveZeroAndWriteNothing) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(converter->toUTF16(nullptr, "abc", 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(converter->toUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(SbcsConverterToUtf16, BudgetZeroWritesOnlyTheTerminator) {
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->toUTF16(out.data(), "abc", 3, ILLCHAR_REPLACE, nullptr, 0), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST(SbcsConverterToUtf16, PositiveBudgetBoundsBytesRead) {
  GuardedBuffer<wchar16> out(5);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->toUTF16(out.data(), "abcd", 4, ILLCHAR_REPLACE, nullptr, 2), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<wchar16>{'a', 'b', 0}));
}

TEST(SbcsConverterToUtf16, NegativeBudgetIsUnbounded) {
  GuardedBuffer<wchar16> out(5);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->toUTF16(out.data(), "abcd", 4, ILLCHAR_REPLACE, nullptr, -7), 4u);
  EXPECT_EQ(out[4], 0);
}

TEST(SbcsConverterToUtf16, RoomEndsTheConversion) {
  GuardedBuffer<wchar16> out(3);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->toUTF16(out.data(), "abcd", 2, ILLCHAR_REPLACE, nullptr, -1), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<wchar16>{'a', 'b', 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST(SbcsConverterToUtf16, RoomZeroWritesOnlyTheTerminator) {
  GuardedBuffer<wchar16> out(1);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->toUTF16(out.data(), "abcd", 0, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.guardsIntact());
}

TEST(SbcsConverterToUtf16, StopsAtZeroByte) {
  GuardedBuffer<wchar16> out(6);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->toUTF16(out.data(), "ab\0cd", 5, ILLCHAR_REPLACE, nullptr, -1), 2u);
  EXPECT_EQ(out[2], 0);
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST(SbcsConverterToUtf16, ClearsTheFlagOnEntry) {
  GuardedBuffer<wchar16> out(4);
  bool illegal = true;
  converterOf(KelCS_WCP1252)->toUTF16(out.data(), "abc", 3, ILLCHAR_REPLACE, &illegal, -1);
  EXPECT_FALSE(illegal);
}

// --- fromUTF16 ---------------------------------------------------------------

TEST(SbcsConverterFromUtf16, NullPointersGiveZeroAndWriteNothing) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  GuardedBuffer<char> out(4);
  EXPECT_EQ(converter->fromUTF16(nullptr, u"abc", 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(converter->fromUTF16(out.data(), nullptr, 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST(SbcsConverterFromUtf16, NeverTouchesTheFlag) {
  KelCharSetConverter* converter = converterOf(KelCS_WCP1252);
  GuardedBuffer<char> out(4);
  bool illegal = true;
  converter->fromUTF16(out.data(), u"abc", 3, ILLCHAR_REPLACE, &illegal);
  EXPECT_TRUE(illegal);
  illegal = false;
  converter->fromUTF16(out.data(), u"\u4E00", 3, ILLCHAR_REPLACE, &illegal);
  EXPECT_FALSE(illegal);
}

TEST(SbcsConverterFromUtf16, RoomEndsTheConversion) {
  GuardedBuffer<char> out(3);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->fromUTF16(out.data(), u"abcd", 2, ILLCHAR_REPLACE, nullptr), 2u);
  EXPECT_EQ(std::string(out.data()), "ab");
  EXPECT_TRUE(out.guardsIntact());
}

TEST(SbcsConverterFromUtf16, StopsAtZeroUnit) {
  GuardedBuffer<char> out(6);
  const char16_t text[] = {'a', 0, 'b', 0};
  EXPECT_EQ(converterOf(KelCS_WCP1252)->fromUTF16(out.data(), text, 5, ILLCHAR_REPLACE, nullptr), 1u);
  EXPECT_EQ(out[1], '\0');
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST(SbcsConverterFromUtf16, StopPolicyEndsAtUnmappableUnit) {
  GuardedBuffer<char> out(6);
  EXPECT_EQ(converterOf(KelCS_WCP1252)->fromUTF16(out.data(), u"a\u4E00b", 5, ILLCHAR_STOP, nullptr), 1u);
  EXPECT_EQ(std::string(out.data()), "a");
  EXPECT_TRUE(out.untouchedFrom(2));
}

}  // namespace

// --- converters on embedded mapping tables -----------------------------------

// KOI8-R has no euro sign: the same escape rules as the compiled-in tables.
TEST(SbcsConverterMappingTable, EuroSignUnderEscapeIsSixBytes) {
  GuardedBuffer<char> out(8);
  EXPECT_EQ(converterOf(KelCS_KOI8R)->fromUTF16(out.data(), u"a\u20AC", 7, ILLCHAR_ESCAPE, nullptr),
            7u);
  EXPECT_EQ(std::string(out.data()), "aU+20AC");
  EXPECT_TRUE(out.guardsIntact());
}

TEST(SbcsConverterMappingTable, EscapeWithFiveBytesLeftStops) {
  GuardedBuffer<char> out(7);
  EXPECT_EQ(converterOf(KelCS_KOI8R)->fromUTF16(out.data(), u"a\u20AC", 6, ILLCHAR_ESCAPE, nullptr),
            1u);
  EXPECT_EQ(std::string(out.data()), "a");
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST(SbcsConverterMappingTable, FromUtf16NeverTouchesTheFlag) {
  GuardedBuffer<char> out(3);
  bool illegal = false;
  EXPECT_EQ(converterOf(KelCS_WCP1250)->fromUTF16(out.data(), u"\u4E00", 2, ILLCHAR_REPLACE, &illegal),
            1u);
  EXPECT_FALSE(illegal);
  illegal = true;
  converterOf(KelCS_WCP1250)->fromUTF16(out.data(), u"a", 2, ILLCHAR_REPLACE, &illegal);
  EXPECT_TRUE(illegal);
}

TEST(SbcsConverterMappingTable, ToUtf16FlagsUnmappedByte) {
  // 0xA1 is not in CP1257's table.
  GuardedBuffer<wchar16> out(3);
  bool illegal = false;
  EXPECT_EQ(converterOf(KelCS_WCP1257)->toUTF16(out.data(), "\xA1z", 2, ILLCHAR_REPLACE, &illegal, -1),
            2u);
  EXPECT_EQ(out.prefix(3), (std::vector<wchar16>{0xFFFD, 'z', 0}));
  EXPECT_TRUE(illegal);
}

TEST(SbcsConverterMappingTable, BudgetZeroWritesOnlyTheTerminator) {
  GuardedBuffer<wchar16> out(4);
  EXPECT_EQ(converterOf(KelCS_ISO_8859_5)->toUTF16(out.data(), "abc", 3, ILLCHAR_REPLACE, nullptr, 0),
            0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST(SbcsConverterMappingTable, GetNumBytesCountsUnmappableUnitsAsOne) {
  const wchar16 text[] = {'A', 0x4E00, 0xD800, 0};
  EXPECT_EQ(converterOf(KelCS_ISO_8859_7)->getNumBytes(text, static_cast<size_t>(-1)), 3u);
}

// --- a converter whose mapping table is not in the library ---------------------

namespace {

KelCharSetConverterSBCS& converterWithoutTable() {
  static KelCharSetConverterSBCS converter("NO-SUCH-TABLE", static_cast<KelCharSet>(60001));
  return converter;
}

TEST(SbcsConverterMissingTable, ToUtf16ConvertsNothing) {
  GuardedBuffer<wchar16> out(4);
  bool illegal = true;
  EXPECT_EQ(converterWithoutTable().toUTF16(out.data(), "abc", 3, ILLCHAR_REPLACE, &illegal, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
  EXPECT_FALSE(illegal);
}

TEST(SbcsConverterMissingTable, FromUtf16ConvertsNothing) {
  GuardedBuffer<char> out(4);
  EXPECT_EQ(converterWithoutTable().fromUTF16(out.data(), u"abc", 3, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], '\0');
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST(SbcsConverterMissingTable, EveryCallTriesAgainAndStillConvertsNothing) {
  for (int i = 0; i < 3; ++i) {
    GuardedBuffer<wchar16> out(4);
    EXPECT_EQ(converterWithoutTable().toUTF16(out.data(), "abc", 3, ILLCHAR_REPLACE, nullptr, -1), 0u);
  }
}

TEST(SbcsConverterMissingTable, CountingNeedsNoTable) {
  EXPECT_EQ(converterWithoutTable().getNumUnits("abc", static_cast<size_t>(-1)), 3u);
  EXPECT_EQ(converterWithoutTable().getNumBytes(u"abc", static_cast<size_t>(-1)), 3u);
}

}  // namespace
