// KelUString ordering, equality and search.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::InspectableString;
using kelulib_test::lettersOfLength;

constexpr size_t npos = KelUString::npos;

// --- compare ------------------------------------------------------------------

struct CompareCase {
  const char* name;
  std::u16string left;
  std::u16string right;
  size_t n;
  int expected;
};

void PrintTo(const CompareCase& c, std::ostream* os) { *os << c.name; }

class KelUStringCompareTest : public testing::TestWithParam<CompareCase> {};

TEST_P(KelUStringCompareTest, StringForm) {
  const CompareCase& c = GetParam();
  const KelUString left(c.left.data(), c.left.data() + c.left.size());
  const KelUString right(c.right.data(), c.right.data() + c.right.size());
  EXPECT_EQ(left.compare(right, c.n), c.expected);
}

TEST_P(KelUStringCompareTest, TextForm) {
  const CompareCase& c = GetParam();
  const KelUString left(c.left.data(), c.left.data() + c.left.size());
  EXPECT_EQ(left.compare(c.right.c_str(), c.n), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, KelUStringCompareTest,
    testing::Values(
        CompareCase{"LastUnitSmaller", u"abc", u"abd", npos, -1},
        CompareCase{"LongerIsGreater", u"abc", u"ab", npos, 1},
        CompareCase{"ShorterIsSmaller", u"ab", u"abc", npos, -1},
        CompareCase{"LowerCaseAboveUpperCase", u"abc", u"ABC", npos, 1},
        CompareCase{"Equal", u"abc", u"abc", npos, 0},
        CompareCase{"BothEmpty", u"", u"", npos, 0},
        CompareCase{"EmptyBelowAny", u"", u"a", npos, -1},
        CompareCase{"ResultIsOneNotDistance", u"z", u"a", npos, 1},
        CompareCase{"ResultIsMinusOneNotDistance", u"a", u"z", npos, -1},
        CompareCase{"CountLimitsUnits", u"abcdef", u"abcxyz", 3, 0},
        CompareCase{"CountBeyondDifference", u"abcdef", u"abcxyz", 4, -1},
        CompareCase{"CountZeroIsEqual", u"abc", u"xyz", 0, 0},
        CompareCase{"CountBeyondBothLengths", u"ab", u"ab", 10, 0},
        CompareCase{"EmbeddedZeroEndsText", std::u16string(u"ab\0c", 4), u"ab", npos, 0},
        CompareCase{"SurrogateBelowFullWidth", u"\xd800", u"\xff21", npos, -1},
        CompareCase{"CodeUnitOrderNotCodePointOrder", u"\U00010000", u"\xffff", npos, -1}),
    [](const testing::TestParamInfo<CompareCase>& info) { return info.param.name; });

TEST(KelUStringCompare, SameStringIsEqual) {
  const KelUString s(u"abc");
  EXPECT_EQ(s.compare(s), 0);
  EXPECT_EQ(s.compareNoCase(s), 0);
}

TEST(KelUStringCompare, NullTextRanksBelowString) {
  EXPECT_EQ(KelUString(u"abc").compare(static_cast<const wchar16*>(nullptr)), 1);
  // The string's own buffer is never null, so even an empty string is above.
  EXPECT_EQ(KelUString().compare(static_cast<const wchar16*>(nullptr)), 1);
  EXPECT_EQ(KelUString().compareNoCase(static_cast<const wchar16*>(nullptr)), 1);
}

TEST(KelUStringCompare, NarrowFormConvertsInCharSet) {
  const KelUString s(u"\u20ac");
  EXPECT_EQ(s.compare("\x80", KelCS_WCP1252), 0);
  EXPECT_EQ(s.compare("\x80", KelCS_ISO_8859_1), 1);  // U+20AC above U+0080
  EXPECT_EQ(s.compare("\xe2\x82\xac!", KelCS_UTF8, 1), 0);
}

TEST(KelUStringCompare, NarrowNullIsEmptyText) {
  EXPECT_EQ(KelUString().compare(static_cast<const char*>(nullptr), KelCS_UTF8), 0);
  EXPECT_EQ(KelUString(u"a").compare(static_cast<const char*>(nullptr), KelCS_UTF8), 1);
}

TEST(KelUStringCompare, DoesNotTouchNarrowCache) {
  InspectableString s(u"abc");
  const char* cache = s.c_str(KelCS_UTF8);
  s.compare("abd", KelCS_WCP1252);
  s.compareNoCase(u"ABC");
  s.find(u"b");
  EXPECT_EQ(s.narrowCache(), cache);
  EXPECT_EQ(s.narrowCharSet(), KelCS_UTF8);
}

// --- compareNoCase ------------------------------------------------------------

TEST(KelUStringCompareNoCase, AsciiCaseIsIgnored) {
  EXPECT_EQ(KelUString(u"abc").compareNoCase(KelUString(u"ABC")), 0);
  EXPECT_EQ(KelUString(u"abc").compareNoCase(u"aBd"), -1);
}

TEST(KelUStringCompareNoCase, FoldsToUpperCase) {
  // 'a' folds to 0x41, below '_' (0x5F); the plain order has 0x61 above it.
  const KelUString a(u"a");
  EXPECT_EQ(a.compareNoCase(u"_"), -1);
  EXPECT_EQ(a.compare(u"_"), 1);
}

TEST(KelUStringCompareNoCase, LatinLettersFoldThroughTable) {
  // U+00E9 and U+00C9 are a case pair in the Unicode data.
  EXPECT_EQ(KelUString(u"caf\u00e9").compareNoCase(u"CAF\u00c9"), 0);
  EXPECT_EQ(KelUString(u"\u00ff").compareNoCase(u"\u0178"), 0);
}

TEST(KelUStringCompareNoCase, UnitWithoutMappingIsKept) {
  // U+00DF has no one-unit upper case: it stays itself and ranks above 'S'.
  EXPECT_EQ(KelUString(u"\u00df").compareNoCase(u"SS"), 1);
}

TEST(KelUStringCompareNoCase, CountLimitsUnits) {
  EXPECT_EQ(KelUString(u"ABCdef").compareNoCase(u"abcXYZ", 3), 0);
  EXPECT_EQ(KelUString(u"ABCdef").compareNoCase(u"abcXYZ", 4), -1);
  EXPECT_EQ(KelUString(u"a").compareNoCase(u"b", 0), 0);
}

TEST(KelUStringCompareNoCase, LengthDecidesAfterEqualPrefix) {
  EXPECT_EQ(KelUString(u"AB").compareNoCase(u"abc"), -1);
  EXPECT_EQ(KelUString(u"ABC").compareNoCase(u"ab"), 1);
}

TEST(KelUStringCompareNoCase, NarrowFormConvertsInCharSet) {
  EXPECT_EQ(KelUString(u"CAF\u00c9").compareNoCase("caf\xe9", KelCS_WCP1252), 0);
  EXPECT_EQ(KelUString(u"CAF").compareNoCase("cafe", KelCS_WCP1252, 3), 0);
}

// --- Equality -------------------------------------------------------------------

TEST(KelUStringEqual, WholeStrings) {
  EXPECT_TRUE(KelUString(u"abc").equal(KelUString(u"abc")));
  EXPECT_FALSE(KelUString(u"abc").equal(KelUString(u"abcd")));
  EXPECT_FALSE(KelUString(u"abc").equal(KelUString(u"ABC")));
}

TEST(KelUStringEqual, NarrowText) {
  EXPECT_TRUE(KelUString(u"\u00e9").equal("\xc3\xa9", KelCS_UTF8));
  EXPECT_FALSE(KelUString(u"\u00e9").equal("\xc3\xa9", KelCS_WCP1252));
}

TEST(KelUStringEqual, NoCaseForms) {
  const KelUString s(u"Stra\u00dfe");
  EXPECT_TRUE(s.equalNoCase(KelUString(u"STRA\u00dfE")));
  EXPECT_TRUE(s.equalNoCase(u"stra\u00dfe"));
  EXPECT_TRUE(s.equalNoCase("STRA\xdf" "E", KelCS_WCP1252));
  EXPECT_FALSE(s.equalNoCase(u"strasse"));
  EXPECT_FALSE(s.equalNoCase(static_cast<const wchar16*>(nullptr)));
}

TEST(KelUStringEqual, NCutsTheArgumentNotThisString) {
  EXPECT_TRUE(KelUString(u"abc").equalN(u"abcdef", 3));
  EXPECT_FALSE(KelUString(u"abcdef").equalN(u"abc", 3));
}

TEST(KelUStringEqual, NZeroMatchesOnlyEmptyString) {
  EXPECT_TRUE(KelUString().equalN(u"x", 0));
  EXPECT_FALSE(KelUString(u"x").equalN(u"x", 0));
  EXPECT_TRUE(KelUString().equalN(static_cast<const wchar16*>(nullptr), 5));
}

TEST(KelUStringEqual, NNarrowForm) {
  EXPECT_TRUE(KelUString(u"ab").equalN("abcdef", 2, KelCS_UTF8));
  EXPECT_FALSE(KelUString(u"abc").equalN("abcdef", 2, KelCS_UTF8));
}

TEST(KelUStringEqual, NSubstringForm) {
  const KelUString source(u"xxabcyy");
  EXPECT_TRUE(KelUString(u"abc").equalN(source, 2, 3));
  EXPECT_FALSE(KelUString(u"abc").equalN(source, 2, 2));
}

TEST(KelUStringEqual, NSubstringPositionBeyondIsClampedNotThrown) {
  const KelUString source(u"abc");
  EXPECT_TRUE(KelUString().equalN(source, 10, 2));
  EXPECT_TRUE(KelUString().equalNoCaseN(source, 10, 2));
  EXPECT_FALSE(KelUString(u"a").equalN(source, 10, 2));
}

TEST(KelUStringEqual, NoCaseNForms) {
  EXPECT_TRUE(KelUString(u"ABC").equalNoCaseN(u"abcdef", 3));
  EXPECT_FALSE(KelUString(u"ABCDEF").equalNoCaseN(u"abc", 3));
  EXPECT_TRUE(KelUString(u"AB").equalNoCaseN("abcdef", 2, KelCS_UTF8));
  EXPECT_TRUE(KelUString(u"BC").equalNoCaseN(KelUString(u"abcd"), 1, 2));
}

// Regression: the temporary was built with room for n units, so npos threw
// std::bad_alloc and a large n allocated n units for a short text.
TEST(EqualNStopsAtTerminator, NposComparesWithTheWholeText) {
  EXPECT_TRUE(KelUString(u"abc").equalN(u"abc", KelUString::npos));
  EXPECT_FALSE(KelUString(u"ab").equalN(u"abc", KelUString::npos));
  EXPECT_TRUE(KelUString(u"ABC").equalNoCaseN(u"abc", KelUString::npos));
  EXPECT_FALSE(KelUString(u"ABC").equalNoCaseN(u"abcd", KelUString::npos));
}

TEST(EqualNStopsAtTerminator, CountBeyondTheTextComparesWithTheWholeText) {
  const size_t huge = size_t{1} << 60;  // far more than could ever be allocated
  EXPECT_TRUE(KelUString(u"abc").equalN(u"abc", huge));
  EXPECT_FALSE(KelUString(u"abcd").equalN(u"abc", huge));
  EXPECT_TRUE(KelUString(u"abc").equalNoCaseN(u"ABC", huge));
  EXPECT_TRUE(KelUString().equalN(u"", huge));
  EXPECT_TRUE(KelUString().equalNoCaseN(static_cast<const wchar16*>(nullptr), huge));
}

TEST(EqualNStopsAtTerminator, EmbeddedZeroEndsTheArgument) {
  const wchar16 text[] = {u'a', u'b', 0, u'c', 0};
  EXPECT_TRUE(KelUString(u"ab").equalN(text, 4));
  EXPECT_TRUE(KelUString(u"AB").equalNoCaseN(text, 4));
}

TEST(KelUStringEqual, LongArgumentsAreHandled) {
  const std::u16string text = lettersOfLength(1000);
  const KelUString s(text.c_str());
  EXPECT_TRUE(s.equalN(text.c_str(), 1000));
  EXPECT_TRUE(KelUString(text.substr(0, 600).c_str()).equalN(s, 0, 600));
}

// --- The thirty relational operators -------------------------------------------

struct OrderCase {
  const char* name;
  const char* left;
  const char* right;
  int sign;
};

void PrintTo(const OrderCase& c, std::ostream* os) { *os << c.name; }

std::u16string widen(const char* ascii) { return std::u16string(ascii, ascii + strlen(ascii)); }

// The six operators applied to one pair, as a bit pattern: ==, !=, <, >, <=, >=.
template <typename Left, typename Right>
std::string outcomes(const Left& left, const Right& right) {
  std::string bits;
  bits += left == right ? '1' : '0';
  bits += left != right ? '1' : '0';
  bits += left < right ? '1' : '0';
  bits += left > right ? '1' : '0';
  bits += left <= right ? '1' : '0';
  bits += left >= right ? '1' : '0';
  return bits;
}

std::string expectedOutcomes(int sign) {
  if (sign < 0) return "011010";
  if (sign > 0) return "010101";
  return "100011";
}

class KelUStringOperatorTest : public testing::TestWithParam<OrderCase> {};

TEST_P(KelUStringOperatorTest, MemberWithString) {
  const OrderCase& c = GetParam();
  const KelUString left(widen(c.left).c_str());
  const KelUString right(widen(c.right).c_str());
  EXPECT_EQ(outcomes(left, right), expectedOutcomes(c.sign));
}

TEST_P(KelUStringOperatorTest, MemberWithText) {
  const OrderCase& c = GetParam();
  const KelUString left(widen(c.left).c_str());
  const std::u16string right = widen(c.right);
  EXPECT_EQ(outcomes(left, right.c_str()), expectedOutcomes(c.sign));
}

TEST_P(KelUStringOperatorTest, MemberWithNarrowText) {
  const OrderCase& c = GetParam();
  const KelUString left(widen(c.left).c_str());
  EXPECT_EQ(outcomes(left, c.right), expectedOutcomes(c.sign));
}

TEST_P(KelUStringOperatorTest, FreeWithTextOnTheLeft) {
  const OrderCase& c = GetParam();
  const std::u16string left = widen(c.left);
  const KelUString right(widen(c.right).c_str());
  EXPECT_EQ(outcomes(left.c_str(), right), expectedOutcomes(c.sign));
}

TEST_P(KelUStringOperatorTest, FreeWithNarrowTextOnTheLeft) {
  const OrderCase& c = GetParam();
  const KelUString right(widen(c.right).c_str());
  EXPECT_EQ(outcomes(c.left, right), expectedOutcomes(c.sign));
}

INSTANTIATE_TEST_SUITE_P(Pairs, KelUStringOperatorTest,
                         testing::Values(OrderCase{"Less", "abc", "abd", -1},
                                         OrderCase{"Equal", "abc", "abc", 0},
                                         OrderCase{"Greater", "abd", "abc", 1},
                                         OrderCase{"PrefixLess", "ab", "abc", -1},
                                         OrderCase{"EmptyEqual", "", "", 0},
                                         OrderCase{"CaseMatters", "a", "A", 1}),
                         [](const testing::TestParamInfo<OrderCase>& info) {
                           return info.param.name;
                         });

TEST(KelUStringOperators, NullTextIsEmptyText) {
  const KelUString empty;
  EXPECT_TRUE(empty == static_cast<const wchar16*>(nullptr));
  EXPECT_TRUE(static_cast<const char*>(nullptr) == empty);
  EXPECT_TRUE(KelUString(u"a") > static_cast<const wchar16*>(nullptr));
}

TEST(KelUStringOperators, EmbeddedZeroEndsComparison) {
  const wchar16 units[] = {u'a', 0, u'b'};
  EXPECT_TRUE(KelUString(units, units + 3) == KelUString(u"a"));
}

// --- find -----------------------------------------------------------------------

TEST(KelUStringFind, Unit) {
  const KelUString s(u"abcabc");
  EXPECT_EQ(s.find(u'c'), 2u);
  EXPECT_EQ(s.find(u'c', 3), 5u);
  EXPECT_EQ(s.find(u'c', 6), npos);
  EXPECT_EQ(s.find(u'z'), npos);
}

TEST(KelUStringFind, UnitZeroIsNeverFound) {
  const wchar16 units[] = {u'a', 0, u'b'};
  const KelUString s(units, units + 3);
  EXPECT_EQ(s.find(static_cast<wchar16>(0)), npos);
  EXPECT_EQ(s.find(static_cast<wchar16>(0), 1), npos);
}

TEST(KelUStringFind, UnitInEmptyString) { EXPECT_EQ(KelUString().find(u'a'), npos); }

TEST(KelUStringFind, String) {
  const KelUString s(u"abcdefcd");
  EXPECT_EQ(s.find(KelUString(u"cd")), 2u);
  EXPECT_EQ(s.find(KelUString(u"cd"), 3), 6u);
  EXPECT_EQ(s.find(KelUString(u"cd"), 7), npos);
  EXPECT_EQ(s.find(KelUString(u"d")), 3u);
  EXPECT_EQ(s.find(KelUString(u"abcdefcd")), 0u);
  EXPECT_EQ(s.find(KelUString(u"abcdefcdx")), npos);
}

TEST(KelUStringFind, PositionBeyondLengthIsNotFound) {
  EXPECT_EQ(KelUString(u"abcdef").find(u"cd", 10), npos);
}

TEST(KelUStringFind, EmptyNeedleIsNeverFound) {
  EXPECT_EQ(KelUString(u"abc").find(KelUString()), npos);
  EXPECT_EQ(KelUString(u"abc").find(u""), npos);
  EXPECT_EQ(KelUString().find(KelUString()), npos);
}

TEST(KelUStringFind, ItselfOnlyFromStart) {
  const KelUString s(u"abab");
  EXPECT_EQ(s.find(s), 0u);
  EXPECT_EQ(s.find(s, 1), npos);
}

TEST(KelUStringFind, NeedleWithEmbeddedZeroMatchesAtTextsZero) {
  // The needle's tail is compared as zero-terminated text, so it matches
  // wherever this string also has a zero unit after the first unit.
  const wchar16 hay[] = {u'x', u'a', 0, u'q'};
  const wchar16 needle[] = {u'a', 0, u'z'};
  EXPECT_EQ(KelUString(hay, hay + 4).find(KelUString(needle, needle + 3)), 1u);
}

TEST(KelUStringFind, TextForms) {
  const KelUString s(u"abcabc");
  EXPECT_EQ(s.find(u"bc"), 1u);
  EXPECT_EQ(s.find(u"bc", 2), 4u);
  EXPECT_EQ(s.find(static_cast<const wchar16*>(nullptr)), npos);
}

TEST(KelUStringFind, NarrowForms) {
  const KelUString s(u"a\u20acb\u20ac");
  EXPECT_EQ(s.find("\x80", KelCS_WCP1252), 1u);
  EXPECT_EQ(s.find("\x80", 2, KelCS_WCP1252), 3u);
  EXPECT_EQ(s.find('\x80', KelCS_WCP1252), 1u);
  EXPECT_EQ(s.find('\x80', 2, KelCS_WCP1252), 3u);
  EXPECT_EQ(s.find("\xe2\x82\xac", KelCS_UTF8), 1u);
}

TEST(KelUStringFind, NarrowByteThatGivesNoUnitIsNotFound) {
  // A lone UTF-8 lead byte converts to nothing: an empty needle.
  EXPECT_EQ(KelUString(u"abc").find('\xc3', KelCS_UTF8), npos);
}

// --- rfind ----------------------------------------------------------------------

TEST(KelUStringRfind, String) {
  const KelUString s(u"abcdefcd");
  EXPECT_EQ(s.rfind(KelUString(u"cd")), 6u);
  EXPECT_EQ(s.rfind(KelUString(u"cd"), 5), 2u);
  EXPECT_EQ(s.rfind(KelUString(u"cd"), 1), npos);
  EXPECT_EQ(s.rfind(KelUString(u"abcdefcd")), 0u);
  EXPECT_EQ(s.rfind(KelUString(u"abcdefcdx")), npos);
}

TEST(KelUStringRfind, LargePositionMeansFromTheEnd) {
  EXPECT_EQ(KelUString(u"abcdef").rfind(u"cd", 100), 2u);
}

TEST(KelUStringRfind, ItselfAlwaysAtZero) {
  const KelUString s(u"abab");
  EXPECT_EQ(s.rfind(s), 0u);
  EXPECT_EQ(s.rfind(s, 3), 0u);
  EXPECT_EQ(s.rfind(s, npos), 0u);
}

TEST(KelUStringRfind, EmptyNeedleOrEmptyStringIsNotFound) {
  EXPECT_EQ(KelUString(u"abc").rfind(KelUString()), npos);
  EXPECT_EQ(KelUString().rfind(KelUString(u"a")), npos);
}

TEST(KelUStringRfind, UnitAbsentWithLargePositionGivesLastIndex) {
  EXPECT_EQ(KelUString(u"abc").rfind(u'z', npos), 2u);
}

TEST(KelUStringRfind, UnitZeroGivesLastIndex) {
  EXPECT_EQ(KelUString(u"abc").rfind(static_cast<wchar16>(0), 1), 2u);
  EXPECT_EQ(KelUString(u"abc").rfind(static_cast<wchar16>(0)), 2u);
}

TEST(KelUStringRfind, UnitSearchesDownFromPosition) {
  const KelUString s(u"abca");
  EXPECT_EQ(s.rfind(u'a', 1), 0u);
  EXPECT_EQ(s.rfind(u'a', 3), 3u);
  EXPECT_EQ(s.rfind(u'c', 1), npos);
}

TEST(KelUStringRfind, UnitFromTheEnd) {
  EXPECT_EQ(KelUString(u"abca").rfind(u'a'), 3u);
  EXPECT_EQ(KelUString(u"abc").rfind(u'z'), npos);
}

TEST(KelUStringRfind, UnitInEmptyString) {
  EXPECT_EQ(KelUString().rfind(u'a'), npos);
  EXPECT_EQ(KelUString().rfind(u'a', 0), npos);
}

TEST(KelUStringRfind, TextAndNarrowForms) {
  const KelUString s(u"a\u20acb\u20ac");
  EXPECT_EQ(s.rfind(u"\u20ac"), 3u);
  EXPECT_EQ(s.rfind(u"\u20ac", 2), 1u);
  EXPECT_EQ(s.rfind("\x80", KelCS_WCP1252), 3u);
  EXPECT_EQ(s.rfind("\x80", 2, KelCS_WCP1252), 1u);
  EXPECT_EQ(s.rfind('\x80', KelCS_WCP1252), 3u);
  EXPECT_EQ(s.rfind('\x80', 2, KelCS_WCP1252), 1u);
}

}  // namespace
