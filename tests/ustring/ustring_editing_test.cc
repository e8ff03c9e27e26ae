// KelUString editing: the replace primitive and every form that reduces to
// it, erase, setAt, resize and concatenation.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::expectIndexError;
using kelulib_test::expectLengthError;
using kelulib_test::InspectableString;
using kelulib_test::lettersOfLength;
using kelulib_test::textOf;

constexpr size_t npos = KelUString::npos;

// --- The primitive ----------------------------------------------------------

struct PrimitiveCase {
  const char* name;
  const char16_t* target;
  size_t pos;
  size_t len;
  const char16_t* source;
  size_t pos2;
  size_t len2;
  const char16_t* expected;
};

void PrintTo(const PrimitiveCase& c, std::ostream* os) { *os << c.name; }

class KelUStringPrimitiveTest : public testing::TestWithParam<PrimitiveCase> {};

TEST_P(KelUStringPrimitiveTest, GivesExpectedText) {
  const PrimitiveCase& c = GetParam();
  KelUString s(c.target);
  KelUString& result = s.replace(c.pos, c.len, KelUString(c.source), c.pos2, c.len2);
  EXPECT_EQ(&result, &s);
  EXPECT_EQ(textOf(s), c.expected);
  EXPECT_EQ(s.c_wstr()[s.size()], 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, KelUStringPrimitiveTest,
    testing::Values(
        PrimitiveCase{"Middle", u"abcdef", 1, 2, u"XYZ", 0, 3, u"aXYZdef"},
        PrimitiveCase{"PieceOfSource", u"abcdef", 1, 2, u"XYZ", 1, 1, u"aYdef"},
        PrimitiveCase{"LenClampedToRest", u"abcdef", 1, 100, u"Z", 0, 1, u"aZ"},
        PrimitiveCase{"Len2ClampedToSource", u"abc", 0, 0, u"XYZ", 1, npos, u"YZabc"},
        PrimitiveCase{"PosAtEndAppends", u"abcdef", 6, 0, u"g", 0, 1, u"abcdefg"},
        PrimitiveCase{"Pos2AtEndInsertsNothing", u"abc", 1, 1, u"XYZ", 3, 5, u"ac"},
        PrimitiveCase{"WholeToEmpty", u"abc", 0, npos, u"", 0, 0, u""},
        PrimitiveCase{"EmptyTargetGetsSource", u"", 0, 0, u"XYZ", 0, npos, u"XYZ"},
        PrimitiveCase{"DeleteOnly", u"abcdef", 2, 2, u"XYZ", 0, 0, u"abef"}),
    [](const testing::TestParamInfo<PrimitiveCase>& info) { return info.param.name; });

TEST(KelUStringPrimitive, PosBeyondLengthThrowsIndexError) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  expectIndexError(s, [](InspectableString& t) { t.replace(4, 0, KelUString(u"x"), 0, 1); });
}

TEST(KelUStringPrimitive, Pos2BeyondSourceThrowsIndexError) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.replace(0, 0, KelUString(u"x"), 2, 1); });
}

TEST(KelUStringPrimitive, SelfAppendDoublesText) {
  KelUString s(u"abc");
  s += s;
  EXPECT_EQ(textOf(s), u"abcabc");
}

TEST(KelUStringPrimitive, SelfReplaceAtStartGivesTextTwice) {
  KelUString s(u"abc");
  s.replace(0, 0, s, 0, npos);
  EXPECT_EQ(textOf(s), u"abcabc");
}

TEST(KelUStringPrimitive, SelfReplaceOfFirstUnitWithWhole) {
  KelUString s(u"abc");
  s.replace(0, 1, s, 0, npos);
  EXPECT_EQ(textOf(s), u"abcbc");
}

TEST(KelUStringPrimitive, SelfAppendOfLongStringReallocatesCorrectly) {
  InspectableString s(lettersOfLength(300).c_str());
  s += s;
  EXPECT_EQ(textOf(s), lettersOfLength(300) + lettersOfLength(300));
  EXPECT_EQ(s.allocSize(), 600u);
}

TEST(KelUStringPrimitive, ResultBeyondStackScratchIsCorrect) {
  // 40,000 units are assembled on the heap rather than the stack.
  InspectableString s(lettersOfLength(20000).c_str());
  s += s;
  EXPECT_EQ(textOf(s), lettersOfLength(20000) + lettersOfLength(20000));
  EXPECT_EQ(s.allocSize(), 40000u);
}

TEST(KelUStringPrimitive, GrowthIsExactWithinHeap) {
  InspectableString s(lettersOfLength(300).c_str());
  s.replace(0, 0, KelUString(u"xyz"), 0, 3);
  EXPECT_EQ(s.allocSize(), 303u);
  s.replace(0, 10, KelUString(u"x"), 0, 1);
  EXPECT_EQ(s.allocSize(), 303u);
  EXPECT_EQ(s.size(), 294u);
}

TEST(KelUStringPrimitive, EditDropsNarrowCacheEvenWhenTextUnchanged) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s += u"";
  EXPECT_EQ(s.narrowCache(), nullptr);
  s.c_str(KelCS_UTF8);
  s.replace(1, 1, u'b');
  EXPECT_EQ(s.narrowCache(), nullptr);
  EXPECT_EQ(textOf(s), u"abc");
}

TEST(KelUStringPrimitive, EmptyResultKeepsBuffer) {
  InspectableString s(lettersOfLength(300).c_str());
  s.replace(0, npos, KelUString(), 0, 0);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.allocSize(), 300u);
  EXPECT_EQ(s.c_wstr()[0], 0);
}

// --- Append -----------------------------------------------------------------

TEST(KelUStringAppend, UnitZeroAppendsNothing) {
  KelUString s(u"abc");
  s.append(static_cast<wchar16>(0));
  s += static_cast<wchar16>(0);
  EXPECT_EQ(textOf(s), u"abc");
}

TEST(KelUStringAppend, UnitWithCountZeroAppendsNothing) {
  KelUString s(u"abc");
  s.append(u'x', 0);
  EXPECT_EQ(textOf(s), u"abc");
}

struct EditCase {
  const char* name;
  std::function<void(KelUString&)> edit;
  std::u16string expected;
};

void PrintTo(const EditCase& c, std::ostream* os) { *os << c.name; }

class KelUStringFamilyTest : public testing::TestWithParam<EditCase> {};

// Every member of the append, insert, replace and setAt families, applied to
// "abc" (narrow text in Windows-1252, where 0x80 is U+20AC).
TEST_P(KelUStringFamilyTest, GivesExpectedText) {
  KelUString s(u"abc");
  GetParam().edit(s);
  EXPECT_EQ(textOf(s), GetParam().expected);
}

const wchar16 kRange[] = {u'x', 0, u'y'};

INSTANTIATE_TEST_SUITE_P(
    Members, KelUStringFamilyTest,
    testing::Values(
        // Append and +=.
        EditCase{"PlusUnit", [](KelUString& s) { s += u'x'; }, u"abcx"},
        EditCase{"PlusText", [](KelUString& s) { s += u"xy"; }, u"abcxy"},
        EditCase{"PlusNullText", [](KelUString& s) { s += static_cast<const wchar16*>(nullptr); },
                 u"abc"},
        EditCase{"PlusString", [](KelUString& s) { s += KelUString(u"xy"); }, u"abcxy"},
        EditCase{"AppendUnit", [](KelUString& s) { s.append(u'x'); }, u"abcx"},
        EditCase{"AppendUnitCount", [](KelUString& s) { s.append(u'x', 3); }, u"abcxxx"},
        EditCase{"AppendRange", [](KelUString& s) { s.append(kRange, kRange + 3); },
                 std::u16string(u"abcx\0y", 6)},
        EditCase{"AppendChar", [](KelUString& s) { s.append('\x80', KelCS_WCP1252); },
                 u"abc\u20ac"},
        EditCase{"AppendCharCount", [](KelUString& s) { s.append('\x80', 2, KelCS_WCP1252); },
                 u"abc\u20ac\u20ac"},
        EditCase{"AppendNarrow", [](KelUString& s) { s.append("\x80x", KelCS_WCP1252); },
                 u"abc\u20acx"},
        EditCase{"AppendNullNarrow",
                 [](KelUString& s) { s.append(static_cast<const char*>(nullptr), KelCS_UTF8); },
                 u"abc"},
        // Insert by position.
        EditCase{"InsertUnit", [](KelUString& s) { s.insert(1, u'x'); }, u"axbc"},
        EditCase{"InsertUnitAtEnd", [](KelUString& s) { s.insert(3, u'x'); }, u"abcx"},
        EditCase{"InsertUnitCount", [](KelUString& s) { s.insert(1, u'x', 2); }, u"axxbc"},
        EditCase{"InsertText", [](KelUString& s) { s.insert(0, u"xy"); }, u"xyabc"},
        EditCase{"InsertString", [](KelUString& s) { s.insert(2, KelUString(u"xy")); },
                 u"abxyc"},
        EditCase{"InsertChar", [](KelUString& s) { s.insert(1, '\x80', KelCS_WCP1252); },
                 u"a\u20acbc"},
        EditCase{"InsertCharCount",
                 [](KelUString& s) { s.insert(1, '\x80', 2, KelCS_WCP1252); },
                 u"a\u20ac\u20acbc"},
        EditCase{"InsertNarrow", [](KelUString& s) { s.insert(1, "x\x80", KelCS_WCP1252); },
                 u"ax\u20acbc"},
        // Insert by pointer.
        EditCase{"InsertAtPointerUnit", [](KelUString& s) { s.insert(s.begin() + 1, u'x'); },
                 u"axbc"},
        EditCase{"InsertAtPointerUnitCount",
                 [](KelUString& s) { s.insert(s.end(), u'x', 2); }, u"abcxx"},
        EditCase{"InsertAtPointerText", [](KelUString& s) { s.insert(s.begin(), u"xy"); },
                 u"xyabc"},
        EditCase{"InsertAtPointerString",
                 [](KelUString& s) { s.insert(s.begin() + 2, KelUString(u"xy")); }, u"abxyc"},
        EditCase{"InsertAtPointerChar",
                 [](KelUString& s) { s.insert(s.begin() + 1, '\x80', KelCS_WCP1252); },
                 u"a\u20acbc"},
        EditCase{"InsertAtPointerCharCount",
                 [](KelUString& s) { s.insert(s.begin() + 1, '\x80', 2, KelCS_WCP1252); },
                 u"a\u20ac\u20acbc"},
        EditCase{"InsertAtPointerNarrow",
                 [](KelUString& s) { s.insert(s.begin() + 1, "x\x80", KelCS_WCP1252); },
                 u"ax\u20acbc"},
        EditCase{"InsertAtConstPointer",
                 [](KelUString& s) {
                   const KelUString& constant = s;
                   s.insert(constant.begin() + 1, u'x');
                 },
                 u"axbc"},
        // Replace by position.
        EditCase{"ReplaceUnit", [](KelUString& s) { s.replace(1, 1, u'x'); }, u"axc"},
        EditCase{"ReplaceByUnitZeroDeletes",
                 [](KelUString& s) { s.replace(1, 1, static_cast<wchar16>(0)); }, u"ac"},
        EditCase{"ReplaceUnitCount", [](KelUString& s) { s.replace(1, 1, u'x', 3); },
                 u"axxxc"},
        EditCase{"ReplaceText", [](KelUString& s) { s.replace(0, 2, u"xy"); }, u"xyc"},
        EditCase{"ReplaceString", [](KelUString& s) { s.replace(2, 1, KelUString(u"xy")); },
                 u"abxy"},
        EditCase{"ReplaceChar", [](KelUString& s) { s.replace(0, 1, '\x80', KelCS_WCP1252); },
                 u"\u20acbc"},
        EditCase{"ReplaceCharCount",
                 [](KelUString& s) { s.replace(0, 1, '\x80', 2, KelCS_WCP1252); },
                 u"\u20ac\u20acbc"},
        EditCase{"ReplaceNarrow", [](KelUString& s) { s.replace(1, 5, "x\x80", KelCS_WCP1252); },
                 u"ax\u20ac"},
        // Replace by pointers.
        EditCase{"ReplaceRangeUnit",
                 [](KelUString& s) { s.replace(s.begin() + 1, s.begin() + 2, u'x'); }, u"axc"},
        EditCase{"ReplaceRangeUnitCount",
                 [](KelUString& s) { s.replace(s.begin(), s.begin() + 1, u'x', 2); }, u"xxbc"},
        EditCase{"ReplaceRangeText",
                 [](KelUString& s) { s.replace(s.begin(), s.end(), u"xy"); }, u"xy"},
        EditCase{"ReplaceRangeString",
                 [](KelUString& s) { s.replace(s.end(), s.end(), KelUString(u"xy")); },
                 u"abcxy"},
        EditCase{"ReplaceRangeChar",
                 [](KelUString& s) {
                   s.replace(s.begin() + 2, s.end(), '\x80', KelCS_WCP1252);
                 },
                 u"ab\u20ac"},
        EditCase{"ReplaceRangeCharCount",
                 [](KelUString& s) {
                   s.replace(s.begin(), s.begin() + 2, '\x80', 2, KelCS_WCP1252);
                 },
                 u"\u20ac\u20acc"},
        EditCase{"ReplaceRangeNarrow",
                 [](KelUString& s) {
                   s.replace(s.begin() + 1, s.begin() + 2, "\x80", KelCS_WCP1252);
                 },
                 u"a\u20acc"},
        EditCase{"ReplaceRangePieceOfString",
                 [](KelUString& s) {
                   s.replace(s.begin(), s.begin() + 1, KelUString(u"wxyz"), 1, 2);
                 },
                 u"xybc"},
        EditCase{"ReplaceRangePieceClampedNotThrown",
                 [](KelUString& s) {
                   s.replace(s.begin(), s.begin() + 1, KelUString(u"wxyz"), 10, 2);
                 },
                 u"bc"},
        EditCase{"ReplaceReversedRangeIsToTheEnd",
                 [](KelUString& s) { s.replace(s.begin() + 2, s.begin() + 1, u'x'); }, u"abx"},
        // Erase.
        EditCase{"EraseAll", [](KelUString& s) { s.erase(); }, u""},
        EditCase{"ErasePosToEnd", [](KelUString& s) { s.erase(1, npos); }, u"a"},
        EditCase{"ErasePosDefaultCount", [](KelUString& s) { s.erase(1); }, u"a"},
        EditCase{"ErasePosCount", [](KelUString& s) { s.erase(1, 1); }, u"ac"},
        EditCase{"ErasePointer", [](KelUString& s) { s.erase(s.begin()); }, u"bc"},
        EditCase{"EraseLastByPointer", [](KelUString& s) { s.erase(s.end() - 1); }, u"ab"},
        EditCase{"EraseRange", [](KelUString& s) { s.erase(s.begin() + 1, s.end()); }, u"a"},
        // setAt.
        EditCase{"SetAtUnit", [](KelUString& s) { s.setAt(1, u'x'); }, u"axc"},
        EditCase{"SetAtEndAppends", [](KelUString& s) { s.setAt(3, u'x'); }, u"abcx"},
        EditCase{"SetAtUnitZeroDeletes",
                 [](KelUString& s) { s.setAt(1, static_cast<wchar16>(0)); }, u"ac"},
        EditCase{"SetAtChar", [](KelUString& s) { s.setAt(1, '\x80', KelCS_WCP1252); },
                 u"a\u20acc"},
        EditCase{"SetAtPointerUnit", [](KelUString& s) { s.setAt(s.begin() + 2, u'x'); },
                 u"abx"},
        EditCase{"SetAtPointerChar",
                 [](KelUString& s) { s.setAt(s.begin(), '\x80', KelCS_WCP1252); },
                 u"\u20acbc"}),
    [](const testing::TestParamInfo<EditCase>& info) { return info.param.name; });

// --- Iterator bound checks --------------------------------------------------

TEST(KelUStringIteratorChecks, InsertBeforeBeginThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.insert(t.begin() - 1, u'x'); });
}

TEST(KelUStringIteratorChecks, InsertAfterEndThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.insert(t.end() + 1, u"x"); });
}

TEST(KelUStringIteratorChecks, InsertPointerOfOtherStringThrows) {
  InspectableString s(u"abc");
  KelUString other(u"xyz");
  expectIndexError(s, [&other](InspectableString& t) { t.insert(other.begin(), u'x'); });
}

TEST(KelUStringIteratorChecks, ReplaceWithFirstOutsideThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.replace(t.begin() - 1, t.end(), u'x'); });
}

TEST(KelUStringIteratorChecks, ReplaceWithLastOutsideThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.replace(t.begin(), t.end() + 1, u'x'); });
}

TEST(KelUStringIteratorChecks, EraseEndThrows) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  expectIndexError(s, [](InspectableString& t) { t.erase(t.end()); });
}

TEST(KelUStringIteratorChecks, EraseOnEmptyStringByPointerThrows) {
  InspectableString s;
  expectIndexError(s, [](InspectableString& t) { t.erase(t.begin()); });
}

TEST(KelUStringIteratorChecks, EraseRangeOutsideThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.erase(t.begin(), t.end() + 1); });
}

TEST(KelUStringIteratorChecks, SetAtEndByPointerThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.setAt(t.end(), u'x'); });
  expectIndexError(s, [](InspectableString& t) { t.setAt(t.end(), 'x', KelCS_UTF8); });
}

// --- Position checks --------------------------------------------------------

TEST(KelUStringPositionChecks, InsertAtLengthAppends) {
  KelUString s(u"abc");
  s.insert(3, u'x');
  EXPECT_EQ(textOf(s), u"abcx");
}

TEST(KelUStringPositionChecks, InsertBeyondLengthThrows) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  expectIndexError(s, [](InspectableString& t) { t.insert(4, u'x'); });
}

TEST(KelUStringPositionChecks, ReplaceBeyondLengthThrows) {
  InspectableString s(u"abcdef");
  expectIndexError(s, [](InspectableString& t) { t.replace(7, 0, u"g"); });
}

TEST(KelUStringPositionChecks, SetAtBeyondLengthThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.setAt(4, u'x'); });
}

TEST(KelUStringPositionChecks, EraseOnEmptyStringNeverThrows) {
  InspectableString s;
  EXPECT_NO_THROW(s.erase(5, 1));
  EXPECT_TRUE(s.empty());
}

TEST(KelUStringPositionChecks, EraseBeyondLengthThrows) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.erase(5, 1); });
}

TEST(KelUStringPositionChecks, NarrowEditsCheckPositionToo) {
  InspectableString s(u"abc");
  expectIndexError(s, [](InspectableString& t) { t.insert(9, "x", KelCS_UTF8); });
  expectIndexError(s, [](InspectableString& t) { t.replace(9, 1, 'x', KelCS_UTF8); });
}

// --- Erase ------------------------------------------------------------------

TEST(KelUStringErase, WholeStringKeepsCapacity) {
  InspectableString s(lettersOfLength(300).c_str());
  s.erase(0, npos);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.allocSize(), 300u);
  EXPECT_EQ(s.c_wstr()[0], 0);
}

TEST(KelUStringErase, DropsNarrowCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s.erase(1, 1);
  EXPECT_EQ(s.narrowCache(), nullptr);
  s.c_str(KelCS_UTF8);
  s.erase();
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringErase, ErasingNothingStillDropsCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s.erase(1, 0);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringErase, EmptyStringKeepsItsCacheState) {
  // erase(pos, n) returns at once on an empty string.
  InspectableString s;
  s.erase(0, 1);
  EXPECT_EQ(s.narrowCache(), nullptr);
  EXPECT_TRUE(s.empty());
}

// --- Resize -----------------------------------------------------------------

TEST(KelUStringResize, GrowingWithinCapacityAppendsCopies) {
  KelUString s(u"abc");
  s.resize(5, u'x');
  EXPECT_EQ(textOf(s), u"abcxx");
}

TEST(KelUStringResize, GrowingBeyondCapacityGivesOnlyCopies) {
  InspectableString s(u"abc");
  s.resize(300, u'x');
  EXPECT_EQ(textOf(s), std::u16string(300, u'x'));
  EXPECT_EQ(s.allocSize(), 300u);
}

TEST(KelUStringResize, WithoutUnitFillsZeros) {
  KelUString s(u"abc");
  s.resize(5);
  EXPECT_EQ(textOf(s), std::u16string(u"abc\0\0", 5));
  EXPECT_EQ(s.c_wstr()[5], 0);
}

TEST(KelUStringResize, ShrinkingCuts) {
  InspectableString s(lettersOfLength(300).c_str());
  s.resize(2);
  EXPECT_EQ(textOf(s), u"ab");
  EXPECT_EQ(s.allocSize(), 300u);
  EXPECT_EQ(s.c_wstr()[2], 0);
}

TEST(KelUStringResize, ToZeroEmpties) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s.resize(0, u'x');
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringResize, ToCurrentLengthKeepsCache) {
  InspectableString s(u"abc");
  const char* cache = s.c_str(KelCS_UTF8);
  s.resize(3, u'x');
  s.resize(3);
  s.resize(3, 'x', KelCS_UTF8);
  EXPECT_EQ(s.narrowCache(), cache);
}

TEST(KelUStringResize, OtherLengthDropsCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s.resize(4, u'x');
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringResize, NposThrowsLengthError) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  expectLengthError(s, [](InspectableString& t) { t.resize(npos); });
  expectLengthError(s, [](InspectableString& t) { t.resize(npos, u'x'); });
  expectLengthError(s, [](InspectableString& t) { t.resize(npos, 'x', KelCS_UTF8); });
}

TEST(KelUStringResize, NarrowGrowthConvertsBytes) {
  KelUString s(u"ab");
  s.resize(4, '\x80', KelCS_WCP1252);
  EXPECT_EQ(textOf(s), u"ab\u20ac\u20ac");
}

TEST(KelUStringResize, NarrowGrowthBeyondCapacityGivesOnlyConvertedBytes) {
  InspectableString s(u"ab");
  s.resize(300, '\xe9', KelCS_ISO_8859_1);
  EXPECT_EQ(textOf(s), std::u16string(300, u'\u00e9'));
  EXPECT_EQ(s.allocSize(), 300u);
}

TEST(KelUStringResize, NarrowGrowthWithFewerUnitsLeavesBufferBehind) {
  // The string converts its bytes without a source limit, which the UTF-16
  // converter reads as "copy nothing": only its terminator is written. The
  // length is set to 8 whatever the conversion produced, so the units after
  // that terminator are what the buffer held before.
  KelUString s(u"abcdefgh");
  s.resize(2);
  s.resize(8, 'A', KelCS_UTF16);
  EXPECT_EQ(textOf(s), std::u16string(u"ab\0defgh", 8));
  EXPECT_EQ(s[8], 0);
}

TEST(KelUStringResize, NarrowShrinkingCuts) {
  KelUString s(u"abcdef");
  s.resize(2, 'x', KelCS_UTF8);
  EXPECT_EQ(textOf(s), u"ab");
}

// --- Concatenation ----------------------------------------------------------

TEST(KelUStringConcatenation, MemberFormsLeaveOperandsAlone) {
  const KelUString left(u"ab");
  const KelUString right(u"cd");
  EXPECT_EQ(textOf(left + right), u"abcd");
  EXPECT_EQ(textOf(left + u'x'), u"abx");
  EXPECT_EQ(textOf(left + u"xy"), u"abxy");
  EXPECT_EQ(textOf(left + "xy"), u"abxy");
  EXPECT_EQ(textOf(left + 'x'), u"abx");
  EXPECT_EQ(textOf(left), u"ab");
  EXPECT_EQ(textOf(right), u"cd");
}

TEST(KelUStringConcatenation, FreeFormsPutLeftOperandFirst) {
  const KelUString s(u"ab");
  EXPECT_EQ(textOf(u'x' + s), u"xab");
  EXPECT_EQ(textOf(u"xy" + s), u"xyab");
  EXPECT_EQ(textOf("xy" + s), u"xyab");
  EXPECT_EQ(textOf('x' + s), u"xab");
  EXPECT_EQ(textOf(s), u"ab");
}

TEST(KelUStringConcatenation, UnitZeroAddsNothing) {
  const KelUString s(u"ab");
  EXPECT_EQ(textOf(s + static_cast<wchar16>(0)), u"ab");
  EXPECT_EQ(textOf(static_cast<wchar16>(0) + s), u"ab");
}

TEST(KelUStringConcatenation, ResultBeyondInlineHasExactCapacity) {
  const KelUString s(lettersOfLength(200).c_str());
  const InspectableString sum(s + s);
  EXPECT_EQ(sum.size(), 400u);
  EXPECT_EQ(sum.allocSize(), 400u);
}

}  // namespace
