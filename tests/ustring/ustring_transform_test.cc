// KelUString trimming, case conversion and substrings.
#include <gtest/gtest.h>

#include <string>

#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::expectIndexError;
using kelulib_test::InspectableString;
using kelulib_test::textOf;

constexpr size_t npos = KelUString::npos;

// --- Trimming -------------------------------------------------------------------

struct TrimCase {
  const char* name;
  std::u16string text;
  KelUString::TrimCmd cmd;
  KelUString::TrimTarget target;
  std::u16string expected;
};

void PrintTo(const TrimCase& c, std::ostream* os) { *os << c.name; }

class KelUStringTrimTest : public testing::TestWithParam<TrimCase> {};

TEST_P(KelUStringTrimTest, GivesExpectedText) {
  const TrimCase& c = GetParam();
  KelUString s(c.text.c_str());
  KelUString& result = s.trim(c.cmd, c.target);
  EXPECT_EQ(&result, &s);
  EXPECT_EQ(textOf(s), c.expected);
  EXPECT_EQ(s.c_wstr()[s.size()], 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, KelUStringTrimTest,
    testing::Values(
        TrimCase{"SpacesBothEnds", u"  a b  ", KelUString::TRIM_BOTH, KelUString::TRIM_SPACE,
                 u"a b"},
        TrimCase{"LeftOnly", u"  a  ", KelUString::TRIM_LEFT, KelUString::TRIM_SPACE, u"a  "},
        TrimCase{"RightOnly", u"  a  ", KelUString::TRIM_RIGHT, KelUString::TRIM_SPACE, u"  a"},
        TrimCase{"TabKeptBySpaceTarget", u"\ta ", KelUString::TRIM_BOTH, KelUString::TRIM_SPACE,
                 u"\ta"},
        TrimCase{"TabRemovedByWhiteSpaceTarget", u"\ta\n", KelUString::TRIM_BOTH,
                 KelUString::TRIM_WHITESPACE, u"a"},
        TrimCase{"UnicodeSpacesAreWhiteSpace", u"\u00a0\u2000a\u2028", KelUString::TRIM_BOTH,
                 KelUString::TRIM_WHITESPACE, u"a"},
        TrimCase{"ClasslessUnitsKeptByWhiteSpaceTarget", u"$ a +", KelUString::TRIM_BOTH,
                 KelUString::TRIM_WHITESPACE, u"$ a +"},
        TrimCase{"ClasslessUnitsRemovedByNonCharTarget", u"$ a +\u0085", KelUString::TRIM_BOTH,
                 KelUString::TRIM_WHITESPACE_NONCHAR, u"a"},
        TrimCase{"AllMatchingRightGivesEmpty", u"   ", KelUString::TRIM_RIGHT,
                 KelUString::TRIM_SPACE, u""},
        TrimCase{"AllMatchingLeftGivesEmpty", u"   ", KelUString::TRIM_LEFT,
                 KelUString::TRIM_SPACE, u""},
        TrimCase{"NothingToTrim", u"abc", KelUString::TRIM_BOTH, KelUString::TRIM_WHITESPACE,
                 u"abc"},
        // 3 names no target but is a value of the enumeration (7 is not).
        TrimCase{"UnknownTargetMatchesNothing", u"  a  ", KelUString::TRIM_BOTH,
                 static_cast<KelUString::TrimTarget>(3), u"  a  "},
        TrimCase{"SurrogatesAreNotWhiteSpace", u" \U0001F600 ", KelUString::TRIM_BOTH,
                 KelUString::TRIM_WHITESPACE_NONCHAR, u"\U0001F600"}),
    [](const testing::TestParamInfo<TrimCase>& info) { return info.param.name; });

TEST(KelUStringTrim, DefaultsTrimWhiteSpaceAtBothEnds) {
  KelUString s(u"\t a \n");
  s.trim();
  EXPECT_EQ(textOf(s), u"a");
}

TEST(KelUStringTrim, LeftAndRightForms) {
  KelUString s(u"  a  ");
  s.trimLeft(KelUString::TRIM_SPACE);
  EXPECT_EQ(textOf(s), u"a  ");
  s.trimRight();
  EXPECT_EQ(textOf(s), u"a");
}

TEST(KelUStringTrim, AlwaysDropsNarrowCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s.trim();
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringTrim, EmptyStringStaysAsItIs) {
  InspectableString s(std::u16string(300, u'x').c_str());
  s.erase();
  s.trim();
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.c_wstr()[0], 0);
  EXPECT_EQ(s.narrowCache(), nullptr);
  EXPECT_EQ(s.allocSize(), 300u);
}

TEST(KelUStringTrim, KeepsCapacity) {
  InspectableString s((std::u16string(300, u' ') + u"x").c_str());
  s.trim();
  EXPECT_EQ(textOf(s), u"x");
  EXPECT_EQ(s.allocSize(), 301u);
}

// --- Case conversion ------------------------------------------------------------

TEST(KelUStringCase, AsciiOnlyUpperLeavesOtherLetters) {
  KelUString s(u"stra\u00dfe \u00e9t\u00e9");
  s.toUpper(true);
  EXPECT_EQ(textOf(s), u"STRA\u00dfE \u00e9T\u00e9");
}

TEST(KelUStringCase, FullUpperMapsThroughTableUnitByUnit) {
  KelUString s(u"stra\u00dfe \u00e9t\u00e9 \u00ff");
  s.toUpper(false);
  // U+00DF has no one-unit upper case; U+00FF becomes U+0178.
  EXPECT_EQ(textOf(s), u"STRA\u00dfE \u00c9T\u00c9 \u0178");
  EXPECT_EQ(s.size(), 12u);
}

TEST(KelUStringCase, DefaultIsFullMapping) {
  KelUString s(u"\u00e9");
  s.toUpper();
  EXPECT_EQ(textOf(s), u"\u00c9");
  s.toLower();
  EXPECT_EQ(textOf(s), u"\u00e9");
}

TEST(KelUStringCase, AsciiOnlyLowerLeavesOtherLetters) {
  KelUString s(u"ABC \u00c9");
  s.toLower(true);
  EXPECT_EQ(textOf(s), u"abc \u00c9");
}

TEST(KelUStringCase, FullLowerMapsThroughTable) {
  KelUString s(u"ABC \u00c9 \u0178");
  s.toLower(false);
  EXPECT_EQ(textOf(s), u"abc \u00e9 \u00ff");
}

TEST(KelUStringCase, SymbolsBetweenLetterBlocksUnchanged) {
  KelUString s(u"[\\]^_`{|}~@");
  s.toUpper();
  EXPECT_EQ(textOf(s), u"[\\]^_`{|}~@");
  s.toLower();
  EXPECT_EQ(textOf(s), u"[\\]^_`{|}~@");
}

TEST(KelUStringCase, KeepsNarrowCache) {
  InspectableString s(u"abc");
  const char* cache = s.c_str(KelCS_UTF8);
  s.toUpper();
  EXPECT_EQ(textOf(s), u"ABC");
  EXPECT_EQ(s.narrowCache(), cache);
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "abc");
  s.toLower(true);
  EXPECT_EQ(s.narrowCache(), cache);
}

TEST(KelUStringCase, EmptyStringStaysEmpty) {
  KelUString s;
  s.toUpper();
  s.toLower(true);
  EXPECT_TRUE(s.empty());
}

// --- Substrings -----------------------------------------------------------------

TEST(KelUStringSubstring, LeftTakesFirstUnits) {
  const KelUString s(u"abc");
  EXPECT_TRUE(s.left(0).empty());
  EXPECT_EQ(textOf(s.left(2)), u"ab");
  EXPECT_EQ(textOf(s.left(3)), u"abc");
}

TEST(KelUStringSubstring, LeftBeyondLengthThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.left(4); });
}

TEST(KelUStringSubstring, MidTakesRange) {
  const KelUString s(u"abcde");
  EXPECT_EQ(textOf(s.mid(1, 3)), u"bcd");
  EXPECT_EQ(textOf(s.mid(1, npos)), u"bcde");
  EXPECT_EQ(textOf(s.mid(1)), u"bcde");
  EXPECT_TRUE(s.mid(5, 0).empty());
}

TEST(KelUStringSubstring, MidToEndOfShortString) {
  const KelUString s(u"abc");
  EXPECT_EQ(textOf(s.mid(1, npos)), u"bc");
  EXPECT_TRUE(s.mid(3, 0).empty());
}

TEST(KelUStringSubstring, MidRunningPastEndThrows) {
  InspectableString s(u"abcde");
  expectIndexError(s, [](InspectableString& t) { t.mid(2, 10); });
}

TEST(KelUStringSubstring, MidStartingBeyondEndThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.mid(4, 0); });
}

TEST(KelUStringSubstring, RightIsFromPositionToEnd) {
  EXPECT_EQ(textOf(KelUString(u"abcde").right(2)), u"cde");
  EXPECT_EQ(textOf(KelUString(u"abc").right(1)), u"bc");
  EXPECT_EQ(textOf(KelUString(u"abc").right(0)), u"abc");
}

TEST(KelUStringSubstring, RightAtOrBeyondEndIsEmptyWithoutThrowing) {
  const KelUString s(u"abc");
  EXPECT_TRUE(s.right(3).empty());
  EXPECT_TRUE(s.right(10).empty());
  EXPECT_TRUE(s.right(npos).empty());
}

TEST(KelUStringSubstring, SubstringsLeaveStringAlone) {
  InspectableString s(u"abcde");
  const char* cache = s.c_str(KelCS_UTF8);
  s.left(2);
  s.mid(1, 2);
  s.right(3);
  EXPECT_EQ(textOf(s), u"abcde");
  EXPECT_EQ(s.narrowCache(), cache);
}

}  // namespace
