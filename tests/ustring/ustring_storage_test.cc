// KelUString storage: the inline buffer, exact growth, capacity that never
// shrinks, element access, copying, swapping and the two errors.
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::InspectableString;
using kelulib_test::lettersOfLength;
using kelulib_test::textOf;

TEST(KelUStringStorage, NposIsTheAllOnesSize) {
  static_assert(KelUString::npos == SIZE_MAX, "npos is (size_t)-1");
  EXPECT_EQ(KelUString::npos, static_cast<size_t>(-1));
}

TEST(KelUStringStorage, RecordTypesAreStandardLayout) {
  EXPECT_TRUE(std::is_standard_layout<KelPascalString>::value);
  EXPECT_TRUE(std::is_standard_layout<KelBSTR>::value);
  EXPECT_EQ(offsetof(KelPascalString, text), 1u);
  EXPECT_EQ(offsetof(KelBSTR, text), 2u);
  EXPECT_TRUE((std::is_same<decltype(KelBSTR::length), uint16_t>::value));
  EXPECT_TRUE((std::is_same<decltype(KelPascalString::length), unsigned char>::value));
}

TEST(KelUStringStorage, DestructorIsVirtual) {
  EXPECT_TRUE(std::has_virtual_destructor<KelUString>::value);
}

TEST(KelUStringStorage, NewStringIsEmptyInline) {
  const InspectableString s;
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(s.length(), 0u);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.allocSize(), 257u);
  ASSERT_NE(s.c_wstr(), nullptr);
  EXPECT_EQ(s.c_wstr()[0], 0);
  EXPECT_TRUE(s.pointsAtOwnRecord());
  EXPECT_TRUE(s.usesLocalBuffer());
  EXPECT_FALSE(s.onHeap());
  EXPECT_EQ(s.narrowCache(), nullptr);
  EXPECT_EQ(s.narrowLength(), 0u);
  EXPECT_EQ(s.narrowCharSet(), static_cast<KelCharSet>(-1));
}

TEST(KelUStringStorage, MaxSizeIsLargestSizeLessOne) {
  EXPECT_EQ(KelUString().max_size(), 0xFFFFFFFFFFFFFFFEull);
}

TEST(KelUStringStorage, AssureSize257KeepsInlineBuffer) {
  InspectableString s(u"abc");
  s.assureSize(257);
  EXPECT_TRUE(s.usesLocalBuffer());
  EXPECT_EQ(s.allocSize(), 257u);
  EXPECT_EQ(textOf(s), u"abc");
}

TEST(KelUStringStorage, AssureSizeBeyondCapacityAllocatesExactlyAndEmpties) {
  InspectableString s(u"abc");
  s.assureSize(258);
  EXPECT_TRUE(s.onHeap());
  EXPECT_FALSE(s.usesLocalBuffer());
  EXPECT_EQ(s.allocSize(), 258u);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(s.c_wstr()[0], 0);
}

TEST(KelUStringStorage, AssureSizeWithinCapacityChangesNothing) {
  InspectableString s(lettersOfLength(300).c_str());
  const wchar16* buffer = s.c_wstr();
  s.assureSize(10);
  s.assureSize(300);
  EXPECT_EQ(s.c_wstr(), buffer);
  EXPECT_EQ(s.size(), 300u);
  EXPECT_EQ(s.allocSize(), 300u);
  EXPECT_EQ(textOf(s), lettersOfLength(300));
}

TEST(KelUStringStorage, AssureSizeOnHeapReplacesBlockWithExactOne) {
  InspectableString s(lettersOfLength(300).c_str());
  s.assureSize(1000);
  EXPECT_EQ(s.allocSize(), 1000u);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_TRUE(s.onHeap());
}

TEST(KelUStringStorage, AssureSpaceIsAssureSize) {
  InspectableString s(u"abc");
  KelStrData* record = s.assureSpace(400);
  EXPECT_EQ(record, &s.record());
  EXPECT_EQ(s.allocSize(), 400u);
  EXPECT_EQ(s.size(), 0u);
}

TEST(KelUStringStorage, SetupSpaceSmallResetsToInline) {
  InspectableString s;
  KelStrData* record = s.setupSpace(100);
  EXPECT_EQ(record, &s.record());
  EXPECT_TRUE(s.usesLocalBuffer());
  EXPECT_EQ(s.allocSize(), 257u);
  EXPECT_EQ(s.size(), 0u);
}

TEST(KelUStringStorage, SetupSpaceLargeTakesExactBlock) {
  InspectableString s;
  s.setupSpace(500);
  EXPECT_TRUE(s.onHeap());
  EXPECT_EQ(s.allocSize(), 500u);
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(s.c_wstr()[0], 0);
  // The block holds 500 units and the terminator.
  s.resize(500, u'q');
  EXPECT_EQ(s.allocSize(), 500u);
  EXPECT_EQ(s.c_wstr()[500], 0);
}

TEST(KelUStringStorage, SetupSpaceWithoutSizeResetsToEmptyInline) {
  InspectableString s(u"abc");
  s.setupSpace();
  EXPECT_TRUE(s.usesLocalBuffer());
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(s.allocSize(), 257u);
}

TEST(KelUStringStorage, InitForAllocResetsRawStorage) {
  // A string built in raw storage, as a container would place it.
  alignas(InspectableString) unsigned char raw[sizeof(InspectableString)];
  InspectableString* s = new (raw) InspectableString();
  s->initForAlloc();
  EXPECT_TRUE(s->pointsAtOwnRecord());
  EXPECT_TRUE(s->usesLocalBuffer());
  EXPECT_EQ(s->size(), 0u);
  EXPECT_EQ(s->allocSize(), 257u);
  EXPECT_EQ(s->narrowCache(), nullptr);
  EXPECT_EQ(s->narrowCharSet(), static_cast<KelCharSet>(-1));
  s->~InspectableString();
}

TEST(KelUStringStorage, AppendingOneUnitAtATimeGrowsExactly) {
  InspectableString s(lettersOfLength(300).c_str());
  EXPECT_EQ(s.allocSize(), 300u);
  for (size_t expected = 301; expected <= 305; ++expected) {
    s += u'x';
    EXPECT_EQ(s.allocSize(), expected);
    EXPECT_EQ(s.size(), expected);
  }
}

TEST(KelUStringStorage, ErasingEverythingKeepsCapacity) {
  InspectableString s(lettersOfLength(10000).c_str());
  s.erase();
  EXPECT_EQ(s.size(), 0u);
  EXPECT_EQ(s.allocSize(), 10000u);
  EXPECT_TRUE(s.onHeap());
}

TEST(KelUStringStorage, AppendingTo257UnitsTakesBlockOf258) {
  InspectableString s(lettersOfLength(257).c_str());
  EXPECT_TRUE(s.usesLocalBuffer());
  s += u'x';
  EXPECT_TRUE(s.onHeap());
  EXPECT_EQ(s.allocSize(), 258u);
  EXPECT_EQ(textOf(s), lettersOfLength(257) + u"x");
}

TEST(KelUStringStorage, BufferIsAlwaysTerminated) {
  InspectableString s(u"abcdef");
  s.erase(2, 2);
  EXPECT_EQ(s.c_wstr()[s.size()], 0);
  s.resize(3);
  EXPECT_EQ(s.c_wstr()[3], 0);
  s += lettersOfLength(400).c_str();
  EXPECT_EQ(s.c_wstr()[s.size()], 0);
}

TEST(KelUStringStorage, AtReturnsUnit) {
  KelUString s(u"abc");
  EXPECT_EQ(s.at(1), u'b');
  s.at(1) = u'B';
  EXPECT_EQ(textOf(s), u"aBc");
  const KelUString& constant = s;
  EXPECT_EQ(constant.at(2), u'c');
}

TEST(KelUStringStorage, AtSizeThrowsIndexError) {
  InspectableString s(u"abc");
  kelulib_test::expectIndexError(s, [](InspectableString& t) { t.at(3); });
  const KelUString& constant = s;
  EXPECT_THROW(constant.at(3), std::out_of_range);
}

TEST(KelUStringStorage, AtOnEmptyStringThrows) {
  InspectableString s;
  kelulib_test::expectIndexError(s, [](InspectableString& t) { t.at(0); });
}

TEST(KelUStringStorage, SubscriptAtSizeIsTerminatorUnchecked) {
  KelUString s(u"abc");
  EXPECT_EQ(s[3], 0);
  const KelUString& constant = s;
  EXPECT_EQ(constant[0], u'a');
}

TEST(KelUStringStorage, BeginEndSpanTheText) {
  KelUString s(u"abc");
  EXPECT_EQ(s.begin(), s.c_wstr());
  EXPECT_EQ(s.end(), s.c_wstr() + 3);
  const KelUString& constant = s;
  EXPECT_EQ(constant.begin(), s.c_wstr());
  EXPECT_EQ(constant.end() - constant.begin(), 3);
}

TEST(KelUStringStorage, RbeginIsLastUnitAndRendBeforeFirst) {
  KelUString s(u"abc");
  EXPECT_EQ(*s.rbegin(), u'c');
  EXPECT_EQ(s.rbegin(), s.c_wstr() + 2);
  EXPECT_EQ(s.rend() + 1, s.c_wstr());
  std::u16string backwards;
  for (const wchar16* p = s.rbegin(); p != s.rend(); --p) backwards += *p;
  EXPECT_EQ(backwards, u"cba");
}

TEST(KelUStringStorage, RbeginEqualsRendWhenEmpty) {
  KelUString s;
  EXPECT_EQ(s.rbegin(), s.rend());
  const KelUString& constant = s;
  EXPECT_EQ(constant.rbegin(), constant.rend());
}

TEST(KelUStringStorage, ErrorsCarryTheirMessages) {
  InspectableString s;
  try {
    s.raiseRangeError();
    FAIL();
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "invalid string index given");
  }
  try {
    s.raiseLengthError();
    FAIL();
  } catch (const std::length_error& error) {
    EXPECT_STREQ(error.what(), "exceed maximum string length");
  }
}

TEST(KelUStringStorage, CopyOfShortStringIsInline) {
  const KelUString original(u"abc");
  const InspectableString copy(original);
  EXPECT_EQ(textOf(copy), u"abc");
  EXPECT_TRUE(copy.usesLocalBuffer());
  EXPECT_EQ(copy.allocSize(), 257u);
}

TEST(KelUStringStorage, CopyOfLongStringHasExactCapacity) {
  KelUString original(lettersOfLength(300).c_str());
  original.assureSize(1000);  // capacity 1000, text gone
  original = lettersOfLength(400).c_str();
  const InspectableString copy(original);
  EXPECT_EQ(copy.allocSize(), 400u);
  EXPECT_EQ(textOf(copy), lettersOfLength(400));
}

TEST(KelUStringStorage, CopyHasNoNarrowCache) {
  InspectableString original(u"abc");
  ASSERT_NE(original.c_str(KelCS_UTF8), nullptr);
  ASSERT_NE(original.narrowCache(), nullptr);
  const InspectableString copy(original);
  EXPECT_EQ(copy.narrowCache(), nullptr);
}

TEST(KelUStringStorage, CopyKeepsEmbeddedZeros) {
  const wchar16 units[] = {u'a', 0, u'b'};
  const KelUString original(units, units + 3);
  const KelUString copy(original);
  EXPECT_EQ(textOf(copy), std::u16string(units, 3));
}

TEST(KelUStringStorage, SwapExchangesTextsAndDropsCaches) {
  InspectableString shortString(lettersOfLength(10).c_str());
  InspectableString longString(lettersOfLength(1000).c_str());
  shortString.c_str(KelCS_UTF8);
  longString.c_str(KelCS_UTF8);
  shortString.swap(longString);
  EXPECT_EQ(textOf(shortString), lettersOfLength(1000));
  EXPECT_EQ(textOf(longString), lettersOfLength(10));
  EXPECT_EQ(shortString.narrowCache(), nullptr);
  EXPECT_EQ(longString.narrowCache(), nullptr);
}

TEST(KelUStringStorage, SwapCapacitiesAreOtherOldLengthOr257) {
  InspectableString a(lettersOfLength(10).c_str());
  InspectableString b(lettersOfLength(1000).c_str());
  b.erase(500, KelUString::npos);  // length 500, capacity 1000
  a.swap(b);
  EXPECT_EQ(a.allocSize(), 500u);
  EXPECT_EQ(b.allocSize(), 257u);
  EXPECT_TRUE(b.usesLocalBuffer());
}

TEST(KelUStringStorage, SwapWithItselfChangesNothing) {
  InspectableString s(u"abc");
  const char* narrow = s.c_str(KelCS_UTF8);
  s.swap(s);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(s.narrowCache(), narrow);
}

}  // namespace
