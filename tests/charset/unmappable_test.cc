#include "charset/unmappable.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::string escapeOf(wchar16 unit) {
  unsigned char out[6];
  kelulib::formatUnitEscape(unit, out);
  return std::string(reinterpret_cast<const char*>(out), 6);
}

TEST(UnitEscape, FormatsEveryUnitAsUpperCaseHex) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    char expected[8];
    std::snprintf(expected, sizeof expected, "U+%04X", unit);
    ASSERT_EQ(escapeOf(static_cast<wchar16>(unit)), expected);
  }
}

TEST(UnitEscape, ParsesWhatItFormats) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    const std::string text = escapeOf(static_cast<wchar16>(unit));
    wchar16 parsed = 0;
    ASSERT_TRUE(kelulib::parseUnitEscape(text.c_str(), &parsed)) << text;
    ASSERT_EQ(parsed, unit);
  }
}

TEST(UnitEscape, ParsesUtf16Text) {
  wchar16 parsed = 0;
  ASSERT_TRUE(kelulib::parseUnitEscape(u"U+4E2D", &parsed));
  EXPECT_EQ(parsed, 0x4E2D);
}

TEST(UnitEscape, RejectsLowerCaseDigits) {
  wchar16 parsed = 0x1234;
  EXPECT_FALSE(kelulib::parseUnitEscape("U+4e2d", &parsed));
  EXPECT_FALSE(kelulib::parseUnitEscape("u+4E2D", &parsed));
  EXPECT_EQ(parsed, 0x1234);
}

TEST(UnitEscape, RejectsShortAndMalformedTexts) {
  wchar16 parsed;
  EXPECT_FALSE(kelulib::parseUnitEscape("U+004", &parsed));
  EXPECT_FALSE(kelulib::parseUnitEscape("U-0041", &parsed));
  EXPECT_FALSE(kelulib::parseUnitEscape("U+00G1", &parsed));
  EXPECT_FALSE(kelulib::parseUnitEscape("U", &parsed));
}

TEST(UnitEscape, StopsReadingAtTheFirstMismatch) {
  // Only the bytes up to the mismatch exist; ASan catches a read beyond.
  const char text[] = {'U', '+', '0', '\0'};
  wchar16 parsed;
  EXPECT_FALSE(kelulib::parseUnitEscape(text, &parsed));
}

TEST(WriteUnmappable, StopWritesNothing) {
  unsigned char out[8] = {};
  EXPECT_EQ(kelulib::writeUnmappable(out, 8, 0x20AC, ILLCHAR_STOP), 0u);
  EXPECT_EQ(out[0], 0);
}

TEST(WriteUnmappable, EscapeNeedsSixBytes) {
  unsigned char out[8] = {};
  EXPECT_EQ(kelulib::writeUnmappable(out, 5, 0x20AC, ILLCHAR_ESCAPE), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(kelulib::writeUnmappable(out, 6, 0x20AC, ILLCHAR_ESCAPE), 6u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 6), "U+20AC");
}

TEST(WriteUnmappable, ReplaceWritesQuestionMark) {
  unsigned char out[2] = {};
  EXPECT_EQ(kelulib::writeUnmappable(out, 1, 0x20AC, ILLCHAR_REPLACE), 1u);
  EXPECT_EQ(out[0], '?');
}

TEST(WriteUnmappable, UnknownPolicyActsAsReplace) {
  unsigned char out[2] = {};
  EXPECT_EQ(kelulib::writeUnmappable(out, 1, 0x20AC, static_cast<ILLCHAR_OPTYPE>(-3)), 1u);
  EXPECT_EQ(out[0], '?');
}

TEST(WriteUnmappable, ReplaceWithoutRoomWritesNothing) {
  unsigned char out[2] = {};
  EXPECT_EQ(kelulib::writeUnmappable(out, 0, 0x20AC, ILLCHAR_REPLACE), 0u);
  EXPECT_EQ(out[0], 0);
}

TEST(WriteUnmappablePair, EscapeWritesBothUnitsInTwelveBytes) {
  unsigned char out[16] = {};
  EXPECT_EQ(kelulib::writeUnmappablePair(out, 12, 0xD83D, 0xDE00, ILLCHAR_ESCAPE), 12u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 13), std::string("U+D83DU+DE00\0", 13));
}

TEST(WriteUnmappablePair, EscapeNeedsTwelveBytes) {
  unsigned char out[16] = {};
  EXPECT_EQ(kelulib::writeUnmappablePair(out, 11, 0xD83D, 0xDE00, ILLCHAR_ESCAPE), 0u);
  EXPECT_EQ(out[0], 0);
}

TEST(WriteUnmappablePair, ReplaceWritesOneQuestionMark) {
  unsigned char out[4] = {};
  EXPECT_EQ(kelulib::writeUnmappablePair(out, 4, 0xD83D, 0xDE00, ILLCHAR_REPLACE), 1u);
  EXPECT_EQ(out[0], '?');
  EXPECT_EQ(out[1], 0);
}

TEST(WriteUnmappablePair, StopWritesNothing) {
  unsigned char out[16] = {};
  EXPECT_EQ(kelulib::writeUnmappablePair(out, 16, 0xD83D, 0xDE00, ILLCHAR_STOP), 0u);
  EXPECT_EQ(out[0], 0);
}

TEST(WriteUnmappableWith, EscapeWritesWhatTheFormatterWrites) {
  unsigned char out[4] = {};
  const auto format = [](unsigned char* at) {
    at[0] = 'x';
    at[1] = 'y';
    at[2] = 'z';
  };
  const size_t written = kelulib::writeUnmappableWith(out, 3, ILLCHAR_ESCAPE, 3, format);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(out)), "xyz");
}

}  // namespace
