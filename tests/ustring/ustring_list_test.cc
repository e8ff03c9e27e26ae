// KelUStringList: access, changes, joining and splitting.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"
#include "ustring/ustring_list.h"

namespace {

using kelulib_test::textOf;

std::vector<std::u16string> piecesOf(const KelUStringList& list) {
  std::vector<std::u16string> pieces;
  for (const KelUString& s : list) pieces.push_back(textOf(s));
  return pieces;
}

KelUStringList listOf(std::initializer_list<const char16_t*> texts) {
  KelUStringList list;
  for (const char16_t* text : texts) list += KelUString(text);
  return list;
}

// Runs `change`, expecting `Error` with `message` and the list unchanged.
template <typename Error, typename Change>
void expectListUnchanged(KelUStringList& list, const char* message, Change change) {
  const std::vector<std::u16string> before = piecesOf(list);
  try {
    change(list);
    ADD_FAILURE() << "expected \"" << message << "\"";
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), message);
  }
  EXPECT_EQ(piecesOf(list), before);
}

template <typename Change>
void expectListIndexError(KelUStringList& list, Change change) {
  expectListUnchanged<std::out_of_range>(list, "invalid string list index given", change);
}

// --- Splitting ----------------------------------------------------------------

struct SplitCase {
  const char* name;
  const char16_t* text;
  const char16_t* separator;
  std::vector<std::u16string> pieces;
};

void PrintTo(const SplitCase& c, std::ostream* os) { *os << c.name; }

class KelUStringListSplitTest : public testing::TestWithParam<SplitCase> {};

TEST_P(KelUStringListSplitTest, AtString) {
  const SplitCase& c = GetParam();
  EXPECT_EQ(piecesOf(KelUStringList(KelUString(c.text), KelUString(c.separator))), c.pieces);
}

TEST_P(KelUStringListSplitTest, ThroughKelUStringSplit) {
  const SplitCase& c = GetParam();
  EXPECT_EQ(piecesOf(KelUString(c.text).split(KelUString(c.separator))), c.pieces);
}

const SplitCase kSplitCases[] = {
        SplitCase{"Plain", u"a,b,c", u",", {u"a", u"b", u"c"}},
        SplitCase{"AdjacentSeparatorsGiveEmptyPiece", u"a,,b", u",", {u"a", u"", u"b"}},
        SplitCase{"LeadingSeparatorGivesEmptyFirst", u",a", u",", {u"", u"a"}},
        SplitCase{"TrailingSeparatorGivesNoEmptyLast", u"a,", u",", {u"a"}},
        SplitCase{"TrailingSeparatorAfterTwo", u"a,b,", u",", {u"a", u"b"}},
        SplitCase{"SeparatorAloneGivesOneEmpty", u",", u",", {u""}},
        SplitCase{"EmptyTextGivesNothing", u"", u",", {}},
        SplitCase{"NoSeparatorGivesWhole", u"abc", u",", {u"abc"}},
        SplitCase{"MultiUnitSeparator", u"a::b", u"::", {u"a", u"b"}},
        SplitCase{"MultiUnitSeparatorTwiceInARow", u"a::::b", u"::", {u"a", u"", u"b"}},
        SplitCase{"EmptySeparatorGivesWhole", u"a::b", u"", {u"a::b"}},
        SplitCase{"EmptySeparatorOnEmptyTextGivesOneEmpty", u"", u"", {u""}}};

INSTANTIATE_TEST_SUITE_P(
    Rules, KelUStringListSplitTest, testing::ValuesIn(kSplitCases),
    [](const testing::TestParamInfo<SplitCase>& info) { return info.param.name; });

// The one-unit separators of the same cases also split by unit, with the
// same rules.
TEST(KelUStringListSplit, AtUnitFollowsTheSameRules) {
  for (const SplitCase& c : kSplitCases) {
    const KelUString separator(c.separator);
    if (separator.size() != 1) continue;
    EXPECT_EQ(piecesOf(KelUStringList(KelUString(c.text), separator[0])), c.pieces) << c.name;
    EXPECT_EQ(piecesOf(KelUString(c.text).split(separator[0])), c.pieces) << c.name;
  }
}

TEST(KelUStringListSplit, UnitZeroGivesWholeString) {
  EXPECT_EQ(piecesOf(KelUStringList(KelUString(u"a,b"), static_cast<wchar16>(0))),
            std::vector<std::u16string>{u"a,b"});
  EXPECT_EQ(piecesOf(KelUStringList(KelUString(), static_cast<wchar16>(0))),
            std::vector<std::u16string>{u""});
}

TEST(KelUStringListSplit, StringAtItselfGivesOneEmptyPiece) {
  const KelUString s(u"abc");
  EXPECT_EQ(piecesOf(s.split(s)), std::vector<std::u16string>{u""});
}

TEST(KelUStringListSplit, NarrowSeparatorIsConverted) {
  const KelUString s(u"a\u20acb");
  EXPECT_EQ(piecesOf(s.split('\x80', KelCS_WCP1252)), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(KelUStringListSplit, NarrowSeparatorGivingNothingKeepsWhole) {
  // A lone UTF-8 lead byte converts to no unit: an empty separator.
  EXPECT_EQ(piecesOf(KelUString(u"a,b").split('\xc3', KelCS_UTF8)),
            std::vector<std::u16string>{u"a,b"});
}

// --- Construction, assignment and access ------------------------------------------

TEST(KelUStringList, NewListIsEmpty) {
  const KelUStringList list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(list.begin(), list.end());
}

TEST(KelUStringList, OneStringList) {
  const KelUStringList list(KelUString(u"x"));
  EXPECT_EQ(piecesOf(list), std::vector<std::u16string>{u"x"});
}

TEST(KelUStringList, CopyIsElementWise) {
  KelUStringList list = listOf({u"a", u"b"});
  const KelUStringList copy(list);
  list.erase(0);
  EXPECT_EQ(piecesOf(copy), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(KelUStringList, AssignmentCopiesAndSelfAssignmentKeeps) {
  const KelUStringList source = listOf({u"a", u"b"});
  KelUStringList list = listOf({u"z"});
  list = source;
  EXPECT_EQ(piecesOf(list), piecesOf(source));
  const KelUStringList& self = list;
  list = self;
  EXPECT_EQ(piecesOf(list), piecesOf(source));
}

TEST(KelUStringList, AssignStringLeavesOneElement) {
  KelUStringList list = listOf({u"a", u"b", u"c"});
  const KelUStringList& result = (list = KelUString(u"s"));
  EXPECT_EQ(&result, &list);
  EXPECT_EQ(piecesOf(list), std::vector<std::u16string>{u"s"});
}

TEST(KelUStringList, AssignOwnElement) {
  KelUStringList list = listOf({u"a", u"b"});
  list = list[1];
  EXPECT_EQ(piecesOf(list), std::vector<std::u16string>{u"b"});
}

TEST(KelUStringList, MaxSizeIsTheVectorsLimit) {
  EXPECT_EQ(KelUStringList().max_size(), std::vector<KelUString>().max_size());
}

TEST(KelUStringList, AtAndSubscriptReadElements) {
  const KelUStringList list = listOf({u"a", u"b"});
  EXPECT_EQ(textOf(list.at(1)), u"b");
  EXPECT_EQ(textOf(list[0]), u"a");
}

TEST(KelUStringList, AtSizeThrows) {
  KelUStringList list = listOf({u"a", u"b"});
  expectListIndexError(list, [](KelUStringList& l) { l.at(2); });
}

TEST(KelUStringList, ReverseIteration) {
  const KelUStringList list = listOf({u"a", u"b", u"c"});
  std::u16string order;
  for (auto it = list.rbegin(); it != list.rend(); ++it) order += textOf(*it);
  EXPECT_EQ(order, u"cba");
}

TEST(KelUStringList, ClearRemovesEverything) {
  KelUStringList list = listOf({u"a", u"b"});
  EXPECT_EQ(&list.clear(), &list);
  EXPECT_TRUE(list.empty());
}

// --- Changes --------------------------------------------------------------------

TEST(KelUStringList, AppendString) {
  KelUStringList list = listOf({u"a"});
  EXPECT_EQ(&(list += KelUString(u"b")), &list);
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(KelUStringList, AppendList) {
  KelUStringList list = listOf({u"a"});
  list += listOf({u"b", u"c"});
  list.append(listOf({u"d"}));
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"b", u"c", u"d"}));
}

TEST(KelUStringList, SelfAppendDoesNothing) {
  KelUStringList list = listOf({u"a", u"b"});
  list += list;
  list.append(list);
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(KelUStringList, InsertAtPosition) {
  KelUStringList list = listOf({u"a", u"c"});
  list.insert(1, KelUString(u"b"));
  list.insert(0, KelUString(u"0"));
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"0", u"a", u"b", u"c"}));
}

TEST(KelUStringList, InsertAtSizeAppends) {
  KelUStringList list = listOf({u"a"});
  list.insert(1, KelUString(u"b"));
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(KelUStringList, InsertBeyondSizeThrows) {
  KelUStringList list = listOf({u"a"});
  expectListIndexError(list, [](KelUStringList& l) { l.insert(2, KelUString(u"b")); });
}

TEST(KelUStringList, InsertListKeepsOrder) {
  KelUStringList list = listOf({u"a", u"d"});
  list.insert(1, listOf({u"b", u"c"}));
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"b", u"c", u"d"}));
}

TEST(KelUStringList, InsertEmptyListBeyondSizeReportsNothing) {
  KelUStringList list = listOf({u"a"});
  EXPECT_NO_THROW(list.insert(5, KelUStringList()));
  EXPECT_EQ(piecesOf(list), std::vector<std::u16string>{u"a"});
}

TEST(KelUStringList, InsertListBeyondSizeThrowsAtFirstElement) {
  KelUStringList list = listOf({u"a"});
  expectListIndexError(list, [](KelUStringList& l) { l.insert(2, listOf({u"x", u"y"})); });
}

TEST(KelUStringList, InsertListIntoItselfDoesNothing) {
  KelUStringList list = listOf({u"a", u"b"});
  list.insert(0, list);
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(KelUStringList, EraseRemovesElement) {
  KelUStringList list = listOf({u"a", u"b", u"c"});
  EXPECT_EQ(&list.erase(1), &list);
  EXPECT_EQ(piecesOf(list), (std::vector<std::u16string>{u"a", u"c"}));
}

TEST(KelUStringList, EraseAtSizeThrows) {
  KelUStringList list = listOf({u"a", u"b"});
  expectListIndexError(list, [](KelUStringList& l) { l.erase(2); });
}

// --- Joining --------------------------------------------------------------------

TEST(KelUStringListCombine, WithStringSeparator) {
  EXPECT_EQ(textOf(listOf({u"a", u"b", u"c"}).combine(KelUString(u", "))), u"a, b, c");
}

TEST(KelUStringListCombine, EmptyListGivesEmptyString) {
  EXPECT_TRUE(KelUStringList().combine(KelUString(u",")).empty());
}

TEST(KelUStringListCombine, OneElementHasNoSeparator) {
  EXPECT_EQ(textOf(listOf({u"a"}).combine(u',')), u"a");
}

TEST(KelUStringListCombine, EmptyElementsKeepTheirSeparators) {
  EXPECT_EQ(textOf(listOf({u"a", u"", u"b"}).combine(u',')), u"a,,b");
}

TEST(KelUStringListCombine, WithoutSeparator) {
  EXPECT_EQ(textOf(listOf({u"a", u"b"}).combine()), u"ab");
  EXPECT_EQ(textOf(listOf({u"a", u"b"}).combine(static_cast<wchar16>(0))), u"ab");
}

TEST(KelUStringListCombine, NarrowSeparatorIsConverted) {
  EXPECT_EQ(textOf(listOf({u"a", u"b"}).combine('\x80', KelCS_WCP1252)), u"a\u20acb");
}

TEST(KelUStringListCombine, SplitThenCombineGivesTextBack) {
  const KelUString text(u"x,,y,z");
  EXPECT_EQ(textOf(text.split(u',').combine(u',')), u"x,,y,z");
}

}  // namespace
