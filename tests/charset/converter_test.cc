// The converter interface shared by every converter: unit sizes, the direct
// UTF-8 operations of the base class, the policy values and the
// unmappable-character step as every byte-writing converter applies it.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/guarded_buffer.h"

namespace {

using kelulib_test::GuardedBuffer;

struct UnitSizeRow {
  KelCharSet id;
  size_t minUnit;
  size_t maxUnit;
  size_t nullChar;
};

class ConverterUnitSizes : public testing::TestWithParam<UnitSizeRow> {};

TEST_P(ConverterUnitSizes, MatchTheConverterClass) {
  const KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam().id);
  EXPECT_EQ(converter->getMinUnitSize(), GetParam().minUnit);
  EXPECT_EQ(converter->getMaxUnitSize(), GetParam().maxUnit);
  EXPECT_EQ(converter->getNullCharSize(), GetParam().nullChar);
}

INSTANTIATE_TEST_SUITE_P(EveryConverter, ConverterUnitSizes,
                         testing::Values(UnitSizeRow{KelCS_WCP1252, 1, 1, 1},
                                         UnitSizeRow{KelCS_ISO_8859_1, 1, 1, 1},
                                         UnitSizeRow{KelCS_UTF8, 1, 3, 1},
                                         UnitSizeRow{KelCS_UTF16, 2, 2, 2},
                                         UnitSizeRow{KelCS_UTF32, 4, 4, 4},
                                         UnitSizeRow{KelCS_UTF16ESC, 1, 6, 1},
                                         UnitSizeRow{KelCS_WCP932, 1, 2, 1},
                                         UnitSizeRow{KelCS_SJIS0213, 1, 2, 1},
                                         UnitSizeRow{KelCS_EUC_KR, 1, 2, 1},
                                         UnitSizeRow{KelCS_EUC_JP, 1, 3, 1},
                                         UnitSizeRow{KelCS_GB18030, 1, 4, 1}),
                         [](const testing::TestParamInfo<UnitSizeRow>& info) {
                           return "Id" + std::to_string(static_cast<int>(info.param.id));
                         });

TEST(ConverterPolicy, ValuesAreStopReplaceEscape) {
  static_assert(std::is_enum_v<ILLCHAR_OPTYPE>);
  static_assert(std::is_convertible_v<ILLCHAR_OPTYPE, int>, "unscoped");
  EXPECT_EQ(ILLCHAR_STOP, 0);
  EXPECT_EQ(ILLCHAR_REPLACE, 1);
  EXPECT_EQ(ILLCHAR_ESCAPE, 2);
}

// The direct UTF-8 operations are offered by the UTF-32 converter only; the
// base versions answer 0 and write nothing.
class ConverterDirectUtf8NotOffered : public testing::TestWithParam<KelCharSet> {};

TEST_P(ConverterDirectUtf8NotOffered, ToUtf8ReturnsZeroAndWritesNothing) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  const char16_t source[] = u"abc";
  GuardedBuffer<unsigned char> out(16);
  bool illegal = true;
  EXPECT_EQ(converter->toUTF8(out.data(), source, 15, ILLCHAR_REPLACE, &illegal), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
  EXPECT_TRUE(illegal);
}

TEST_P(ConverterDirectUtf8NotOffered, FromUtf8ReturnsZeroAndWritesNothing) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  const unsigned char source[] = "abc";
  GuardedBuffer<unsigned char> out(16);
  bool illegal = true;
  EXPECT_EQ(converter->fromUTF8(out.data(), source, 15, ILLCHAR_REPLACE, &illegal), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
  EXPECT_TRUE(illegal);
}

INSTANTIATE_TEST_SUITE_P(EveryConverterButUtf32, ConverterDirectUtf8NotOffered,
                         testing::Values(KelCS_WCP1252, KelCS_ISO_8859_1, KelCS_UTF8, KelCS_UTF16,
                                         KelCS_UTF16ESC, KelCS_WCP932, KelCS_SJIS0213,
                                         KelCS_EUC_KR, KelCS_EUC_JP, KelCS_GB18030),
                         [](const testing::TestParamInfo<KelCharSet>& info) {
                           return "Id" + std::to_string(static_cast<int>(info.param));
                         });

TEST(ConverterDirectUtf8, OfferedByUtf32) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(KelCS_UTF32);
  const uint32_t source[] = {0x41, 0xE9, 0};
  GuardedBuffer<unsigned char> out(8);
  EXPECT_EQ(converter->toUTF8(out.data(), source, 7, ILLCHAR_REPLACE, nullptr), 3u);
  EXPECT_EQ(out.prefix(4), (std::vector<unsigned char>{0x41, 0xC3, 0xA9, 0x00}));
}

// The unmappable-character step: U+20AC has no ISO 8859-1 byte.
TEST(ConverterUnmappable, EscapeWritesSixBytes) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  GuardedBuffer<char> out(7);
  EXPECT_EQ(latin1->fromUTF16(out.data(), u"\u20AC", 6, ILLCHAR_ESCAPE, nullptr), 6u);
  EXPECT_EQ(std::string(out.data()), "U+20AC");
  EXPECT_TRUE(out.guardsIntact());
}

TEST(ConverterUnmappable, ReplaceWritesQuestionMark) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  GuardedBuffer<char> out(7);
  EXPECT_EQ(latin1->fromUTF16(out.data(), u"\u20AC", 6, ILLCHAR_REPLACE, nullptr), 1u);
  EXPECT_EQ(std::string(out.data()), "?");
  EXPECT_TRUE(out.guardsIntact());
}

TEST(ConverterUnmappable, AnyOtherPolicyValueActsAsReplace) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  GuardedBuffer<char> out(7);
  EXPECT_EQ(latin1->fromUTF16(out.data(), u"a\u20ACb", 6, static_cast<ILLCHAR_OPTYPE>(7), nullptr),
            3u);
  EXPECT_EQ(std::string(out.data()), "a?b");
}

TEST(ConverterUnmappable, StopEndsBeforeTheCharacter) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  GuardedBuffer<char> out(7);
  EXPECT_EQ(latin1->fromUTF16(out.data(), u"\u20AC", 6, ILLCHAR_STOP, nullptr), 0u);
  EXPECT_EQ(out[0], '\0');
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST(ConverterUnmappable, EscapeWithFiveBytesLeftStops) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  GuardedBuffer<char> out(7);
  EXPECT_EQ(latin1->fromUTF16(out.data(), u"a\u20AC", 6, ILLCHAR_ESCAPE, nullptr), 1u);
  EXPECT_EQ(std::string(out.data()), "a");
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST(ConverterUnmappable, RoomZeroWritesOnlyTheTerminator) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  GuardedBuffer<char> out(1);
  EXPECT_EQ(latin1->fromUTF16(out.data(), u"abc", 0, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], '\0');
  EXPECT_TRUE(out.guardsIntact());
}

// getNumBytes counts the "?" of replacement, so a buffer sized by it is too
// small for escapes; the conversion then stops early instead of overrunning.
TEST(ConverterUnmappable, BufferSizedByGetNumBytesStopsEscapesEarly) {
  KelCharSetConverter* latin1 = KelCharSetConverter::getConverter(KelCS_ISO_8859_1);
  const char16_t text[] = u"ab\u20ACcd";
  const size_t bytes = latin1->getNumBytes(text, static_cast<size_t>(-1));
  ASSERT_EQ(bytes, 5u);
  GuardedBuffer<char> out(bytes + 1);
  EXPECT_EQ(latin1->fromUTF16(out.data(), text, bytes, ILLCHAR_ESCAPE, nullptr), 2u);
  EXPECT_EQ(std::string(out.data()), "ab");
  EXPECT_TRUE(out.guardsIntact());
}

}  // namespace
