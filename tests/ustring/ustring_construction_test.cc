// KelUString construction and assignment from UTF-16 text, numbers, records,
// substrings, ranges and string resources.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

using kelulib_test::InspectableString;
using kelulib_test::lettersOfLength;
using kelulib_test::textOf;

// Storage for a KelBSTR of up to 70,000 units.
class BstrStorage {
 public:
  explicit BstrStorage(const std::u16string& text) : m_bytes(2 + 2 * 70000, 0) {
    const uint16_t length = static_cast<uint16_t>(text.size());
    std::memcpy(m_bytes.data(), &length, 2);
    std::memcpy(m_bytes.data() + 2, text.data(), 2 * text.size());
  }
  KelBSTR* record() { return reinterpret_cast<KelBSTR*>(m_bytes.data()); }

 private:
  std::vector<unsigned char> m_bytes;
};

// --- Constructors from UTF-16 ----------------------------------------------

TEST(KelUStringConstruction, OneUnit) {
  const InspectableString s(u'x');
  EXPECT_EQ(textOf(s), u"x");
  EXPECT_EQ(s.allocSize(), 257u);
}

TEST(KelUStringConstruction, UnitZeroGivesEmpty) {
  EXPECT_TRUE(KelUString(static_cast<wchar16>(0)).empty());
}

TEST(KelUStringConstruction, RepeatedUnit) {
  EXPECT_EQ(textOf(KelUString(u'z', 4)), u"zzzz");
}

TEST(KelUStringConstruction, RepeatedUnitZeroOrCountZeroGivesEmpty) {
  EXPECT_TRUE(KelUString(static_cast<wchar16>(0), 4).empty());
  EXPECT_TRUE(KelUString(u'z', 0).empty());
}

TEST(KelUStringConstruction, RepeatedUnitBeyondInlineHasExactCapacity) {
  const InspectableString s(u'z', 1000);
  EXPECT_EQ(s.allocSize(), 1000u);
  EXPECT_EQ(textOf(s), std::u16string(1000, u'z'));
}

TEST(KelUStringConstruction, TerminatedText) {
  EXPECT_EQ(textOf(KelUString(u"h\u00e9llo")), u"h\u00e9llo");
}

TEST(KelUStringConstruction, NullOrEmptyTextGivesEmpty) {
  EXPECT_TRUE(KelUString(static_cast<const wchar16*>(nullptr)).empty());
  EXPECT_TRUE(KelUString(u"").empty());
}

TEST(KelUStringConstruction, TextOf257UnitsStaysInline) {
  const InspectableString s(lettersOfLength(257).c_str());
  EXPECT_TRUE(s.usesLocalBuffer());
  EXPECT_EQ(s.size(), 257u);
}

TEST(KelUStringConstruction, TextOf258UnitsTakesExactBlock) {
  const InspectableString s(lettersOfLength(258).c_str());
  EXPECT_TRUE(s.onHeap());
  EXPECT_EQ(s.allocSize(), 258u);
  EXPECT_EQ(textOf(s), lettersOfLength(258));
}

TEST(KelUStringConstruction, CountedTextStopsAtEmbeddedZero) {
  const wchar16 units[] = {u'a', u'b', 0, u'c', u'd'};
  const InspectableString s(units, 5);
  EXPECT_EQ(textOf(s), u"ab");
  EXPECT_EQ(s.allocSize(), 257u);
}

TEST(KelUStringConstruction, CountedTextStopsAtCount) {
  EXPECT_EQ(textOf(KelUString(u"abcdef", 3)), u"abc");
}

TEST(KelUStringConstruction, CountedTextReservesCount) {
  const InspectableString s(u"abc", 600);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(s.allocSize(), 600u);
}

TEST(KelUStringConstruction, CountedTextNullOrZeroCountGivesEmpty) {
  EXPECT_TRUE(KelUString(static_cast<const wchar16*>(nullptr), 5).empty());
  EXPECT_TRUE(KelUString(u"abc", size_t{0}).empty());
}

TEST(KelUStringConstruction, RangeKeepsEmbeddedZeros) {
  const wchar16 units[] = {u'a', u'b', 0, u'c', u'd'};
  const KelUString s(units, units + 5);
  EXPECT_EQ(textOf(s), std::u16string(units, 5));
}

TEST(KelUStringConstruction, EmptyRangeGivesEmpty) {
  const wchar16 units[] = {u'a'};
  EXPECT_TRUE(KelUString(units, units).empty());
}

TEST(KelUStringConstruction, ReversedOrNullRangeGivesEmpty) {
  const wchar16 units[] = {u'a', u'b'};
  EXPECT_TRUE(KelUString(units + 2, units).empty());
  EXPECT_TRUE(KelUString(static_cast<const wchar16*>(nullptr), units + 1).empty());
}

// --- Substring --------------------------------------------------------------

TEST(KelUStringConstruction, SubstringCopiesCountFromPos) {
  const KelUString s(u"abcdef");
  EXPECT_EQ(textOf(KelUString(s, 1, 3)), u"bcd");
}

TEST(KelUStringConstruction, SubstringCountDefaultsToRest) {
  EXPECT_EQ(textOf(KelUString(KelUString(u"abcdef"), 2)), u"cdef");
}

TEST(KelUStringConstruction, SubstringClampsCount) {
  EXPECT_EQ(textOf(KelUString(KelUString(u"abcdef"), 4, 100)), u"ef");
}

TEST(KelUStringConstruction, SubstringPosBeyondSizeGivesEmptyWithoutThrowing) {
  const KelUString s(u"abcd");
  EXPECT_TRUE(KelUString(s, 100, 3).empty());
  EXPECT_TRUE(KelUString(s, 4, 3).empty());
}

TEST(KelUStringConstruction, SubstringOfWholeLongStringHasExactCapacity) {
  const KelUString s(lettersOfLength(300).c_str());
  const InspectableString whole(s, 0, KelUString::npos);
  EXPECT_EQ(textOf(whole), lettersOfLength(300));
  EXPECT_EQ(whole.allocSize(), 300u);
}

// --- Integer ----------------------------------------------------------------

struct IntegerCase {
  int value;
  const char16_t* text;
};

class KelUStringIntegerTest : public testing::TestWithParam<IntegerCase> {};

TEST_P(KelUStringIntegerTest, HoldsSignedDecimal) {
  EXPECT_EQ(textOf(KelUString(GetParam().value)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Values, KelUStringIntegerTest,
                         testing::Values(IntegerCase{0, u"0"}, IntegerCase{7, u"7"},
                                         IntegerCase{-7, u"-7"}, IntegerCase{1000, u"1000"},
                                         IntegerCase{-120, u"-120"},
                                         IntegerCase{INT_MAX, u"2147483647"},
                                         IntegerCase{INT_MIN, u"-2147483648"}));

TEST(KelUStringConstruction, SmallestIntegerHoldsElevenUnits) {
  EXPECT_EQ(KelUString(INT_MIN).size(), 11u);
}

// --- KelBSTR ----------------------------------------------------------------

TEST(KelUStringConstruction, BstrCopiesUnitsWithZeros) {
  const std::u16string text(u"a\0b", 3);
  BstrStorage storage(text);
  EXPECT_EQ(textOf(KelUString(*storage.record())), text);
  EXPECT_EQ(textOf(KelUString(storage.record())), text);
}

TEST(KelUStringConstruction, BstrOfLengthZeroOrNullGivesEmpty) {
  BstrStorage storage(u"");
  EXPECT_TRUE(KelUString(*storage.record()).empty());
  EXPECT_TRUE(KelUString(static_cast<const KelBSTR*>(nullptr)).empty());
}

// --- Assignment from UTF-16 -------------------------------------------------

TEST(KelUStringAssignment, AssignCopiesText) {
  KelUString s(u"old");
  s.assign(KelUString(u"new text"));
  EXPECT_EQ(textOf(s), u"new text");
}

TEST(KelUStringAssignment, AssignmentOperatorCopiesText) {
  KelUString s(u"old");
  const KelUString other(u"other");
  s = other;
  EXPECT_EQ(textOf(s), u"other");
}

TEST(KelUStringAssignment, SelfAssignChangesNothing) {
  InspectableString s(u"abc");
  const char* narrow = s.c_str(KelCS_UTF8);
  s.assign(s);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(s.narrowCache(), narrow);
}

TEST(KelUStringAssignment, AssignDropsNarrowCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s.assign(KelUString(u"x"));
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, AssignShortResetsCapacityTo257) {
  InspectableString s(lettersOfLength(1000).c_str());
  s.assign(KelUString(u"abc"));
  EXPECT_EQ(s.allocSize(), 257u);
  EXPECT_TRUE(s.usesLocalBuffer());
}

TEST(KelUStringAssignment, AssignLongTakesBlockOfExactlyItsLength) {
  InspectableString s(lettersOfLength(1000).c_str());
  s.assign(KelUString(lettersOfLength(300).c_str()));
  EXPECT_EQ(s.allocSize(), 300u);
  EXPECT_EQ(textOf(s), lettersOfLength(300));
}

TEST(KelUStringAssignment, FillAssign) {
  KelUString s(u"abc");
  s.assign(u'q', 5);
  EXPECT_EQ(textOf(s), u"qqqqq");
}

TEST(KelUStringAssignment, AssignUnit) {
  KelUString s(u"abc");
  s.assign(u'q');
  EXPECT_EQ(textOf(s), u"q");
}

TEST(KelUStringAssignment, TextGrowsToExactLength) {
  InspectableString s(u"abc");
  s = lettersOfLength(400).c_str();
  EXPECT_EQ(textOf(s), lettersOfLength(400));
  EXPECT_EQ(s.allocSize(), 400u);
}

TEST(KelUStringAssignment, TextWithinCapacityKeepsBuffer) {
  InspectableString s(lettersOfLength(400).c_str());
  const wchar16* buffer = s.c_wstr();
  s = u"short";
  EXPECT_EQ(textOf(s), u"short");
  EXPECT_EQ(s.c_wstr(), buffer);
  EXPECT_EQ(s.allocSize(), 400u);
}

TEST(KelUStringAssignment, NullOrEmptyTextEmptiesAndDropsCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s = static_cast<const wchar16*>(nullptr);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.narrowCache(), nullptr);
  s = u"abc";
  s.c_str(KelCS_UTF8);
  s = u"";
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, TextFromOwnBufferIsCopiedCorrectly) {
  KelUString s(u"abcdef");
  s = s.c_wstr() + 2;
  EXPECT_EQ(textOf(s), u"cdef");
}

TEST(KelUStringAssignment, TextDropsNarrowCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s = u"xyz";
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, UnitGivesOneUnitAndDropsCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s = u'q';
  EXPECT_EQ(textOf(s), u"q");
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, UnitZeroEmptiesAndDropsCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s = static_cast<wchar16>(0);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.c_wstr()[0], 0);
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, BstrCopiesUnitsAndGrowsExactly) {
  const std::u16string text = lettersOfLength(500);
  BstrStorage storage(text);
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s = *storage.record();
  EXPECT_EQ(textOf(s), text);
  EXPECT_EQ(s.allocSize(), 500u);
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, BstrOfLengthZeroEmpties) {
  BstrStorage storage(u"");
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s = *storage.record();
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringAssignment, EmptyingKeepsCapacity) {
  InspectableString s(lettersOfLength(400).c_str());
  s = u"";
  EXPECT_EQ(s.allocSize(), 400u);
}

// --- String resources -------------------------------------------------------

const std::u16string& longResourceText() {
  static const std::u16string text = lettersOfLength(600);
  return text;
}

#if defined(_WIN32)
// The program's own STRINGTABLE (tests/ustring/string_resources.rc): 1
// "first", 2 "", 7 the 600 letters of longResourceText(), 9 "nine".
KelModuleHandle stringTable() { return GetModuleHandleW(nullptr); }
#else
const KelStringResource* stringTable() {
  static const KelStringResource table[] = {
      {1, u"first"},
      {2, u""},
      {7, longResourceText().c_str()},
      {9, u"nine"},
      {0, nullptr},
  };
  return table;
}
#endif

TEST(KelUStringResource, ConstructorLoadsText) {
  EXPECT_EQ(textOf(KelUString(stringTable(), 9)), u"nine");
}

TEST(KelUStringResource, ConstructorWithMissingIdOrNullModuleGivesEmpty) {
  EXPECT_TRUE(KelUString(stringTable(), 3).empty());
  EXPECT_TRUE(KelUString(static_cast<KelModuleHandle>(nullptr), 1).empty());
}

TEST(KelUStringResource, EmptyResourceGivesEmpty) {
  EXPECT_TRUE(KelUString(stringTable(), 2).empty());
}

TEST(KelUStringResource, LongResourceIsCutTo511Units) {
  const InspectableString s(stringTable(), 7);
  EXPECT_EQ(textOf(s), longResourceText().substr(0, 511));
  EXPECT_EQ(s.allocSize(), 511u);
}

TEST(KelUStringResource, LoadResStringReplacesText) {
  InspectableString s(u"old");
  s.c_str(KelCS_UTF8);
  KelUString& result = s.LoadResString(stringTable(), 1);
  EXPECT_EQ(&result, &s);
  EXPECT_EQ(textOf(s), u"first");
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringResource, LoadResStringWithNullModuleEmpties) {
  InspectableString s(u"old");
  s.LoadResString(nullptr, 1);
  EXPECT_TRUE(s.empty());
}

TEST(KelUStringResource, LoadResStringWithMissingIdEmptiesAndDropsCache) {
  InspectableString s(u"old");
  s.c_str(KelCS_UTF8);
  s.LoadResString(stringTable(), 4);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringResource, LoadResStringResetsCapacity) {
  InspectableString s(lettersOfLength(1000).c_str());
  s.LoadResString(stringTable(), 1);
  EXPECT_EQ(s.allocSize(), 257u);
  EXPECT_TRUE(s.usesLocalBuffer());
  s.LoadResString(stringTable(), 7);
  EXPECT_EQ(s.size(), 511u);
  EXPECT_EQ(s.allocSize(), 511u);
}

}  // namespace
