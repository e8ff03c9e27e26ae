// KelUString and the heap: short strings never allocate, blocks are asked
// for at their exact size, and a failed allocation leaves a valid string.
// Runs in its own program, which replaces the global allocation functions.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>

#include "tests/support/counting_allocator.h"
#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::AllocationCounter;
using kelulib_test::AllocationFailure;
using kelulib_test::InspectableString;
using kelulib_test::lettersOfLength;
using kelulib_test::textOf;

const std::u16string& text257() {
  static const std::u16string text = lettersOfLength(257);
  return text;
}

// Table-driven converters build their tables at their first conversion;
// that is the converter's memory, not the string's, so it happens first.
void loadConverterTables() { KelUString("x", KelCS_WCP1252).c_str(KelCS_WCP1252); }

TEST(KelUStringAllocation, ConstructionUpTo257UnitsAllocatesNothing) {
  const std::string narrow(257, 'x');
  const std::u16string& text = text257();
  loadConverterTables();
  AllocationCounter counter;
  {
    KelUString fromText(text.c_str());
    KelUString copy(fromText);
    KelUString part(fromText, 10, 200);
    KelUString counted(text.c_str(), 257);
    KelUString range(text.c_str(), text.c_str() + 257);
    KelUString repeated(u'x', 257);
    KelUString fromUtf8(narrow.c_str(), KelCS_UTF8);
    KelUString fromWindows1252(narrow.c_str(), KelCS_WCP1252);
    KelUString fromByte('x', KelCS_UTF8);
    KelUString fromBytes('x', 257, KelCS_WCP1252);
    KelUString number(-12345);
  }
  EXPECT_EQ(counter.count(), 0u);
}

TEST(KelUStringAllocation, EditsUpTo257UnitsAllocateNothing) {
  const std::u16string& text = text257();
  KelUString s(u"abc");
  KelUString other(text.substr(0, 100).c_str());
  loadConverterTables();
  AllocationCounter counter;
  s += other;
  s.append(u'x', 50);
  s.insert(0, u"front");
  s.replace(0, 5, 'y', 3, KelCS_UTF8);
  s.append("narrow", KelCS_WCP1252);
  s.erase(1, 10);
  s.resize(257, u'z');
  s.setAt(0, u'q');
  s = text.c_str();
  s.assign(other);
  s.assign(u'w', 257);
  s.swap(other);
  const KelUString sum = s + u"tail";
  EXPECT_EQ(counter.count(), 0u);
}

// Regression: the N forms reserved n units for their temporary, whatever
// the length of the argument.
TEST(EqualNStopsAtTerminatorAllocation, ArgumentsUpTo257UnitsAllocateNothingWhateverN) {
  const std::u16string& text = text257();
  const KelUString s(text.c_str());
  const KelUString shorter(u"abc");
  AllocationCounter counter;
  for (size_t n : {size_t{257}, size_t{258}, size_t{100000}, size_t{1} << 40, KelUString::npos}) {
    EXPECT_TRUE(s.equalN(text.c_str(), n)) << n;
    EXPECT_TRUE(s.equalNoCaseN(text.c_str(), n)) << n;
    EXPECT_TRUE(shorter.equalN(u"abc", n)) << n;
    EXPECT_TRUE(shorter.equalNoCaseN(u"ABC", n)) << n;
  }
  EXPECT_EQ(counter.count(), 0u);
}

TEST(EqualNStopsAtTerminatorAllocation, LongerArgumentAllocatesItsLengthOnly) {
  const std::u16string text = lettersOfLength(300);
  const KelUString s(text.c_str());
  AllocationCounter counter;
  EXPECT_TRUE(s.equalN(text.c_str(), KelUString::npos));
  EXPECT_EQ(counter.count(), 1u);
  EXPECT_EQ(counter.lastSize(), 2u * 301u);
}

TEST(KelUStringAllocation, Unit258AllocatesOneExactBlock) {
  const std::u16string text = lettersOfLength(258);
  AllocationCounter counter;
  const InspectableString s(text.c_str());
  EXPECT_EQ(counter.count(), 1u);
  EXPECT_EQ(counter.lastSize(), 2u * 259u);
  EXPECT_TRUE(s.onHeap());
}

TEST(KelUStringAllocation, AppendingTo257UnitsAsksFor259Units) {
  KelUString s(text257().c_str());
  AllocationCounter counter;
  s += u'x';
  EXPECT_EQ(counter.count(), 1u);
  EXPECT_EQ(counter.lastSize(), 2u * 259u);
}

TEST(KelUStringAllocation, NarrowCacheAsksForBytesPlusEight) {
  KelUString s(u"h\u00e9llo");
  AllocationCounter counter;
  s.c_str(KelCS_UTF8);
  EXPECT_EQ(counter.count(), 1u);
  EXPECT_EQ(counter.lastSize(), 6u + 8u);
}

TEST(KelUStringAllocation, OverflowingBlockSizeAsksForLargestSize) {
  InspectableString s(lettersOfLength(300).c_str());
  AllocationCounter counter;
  EXPECT_THROW(s.assureSize(SIZE_MAX / 2), std::bad_alloc);
  EXPECT_EQ(counter.lastSize(), SIZE_MAX);
}

TEST(KelUStringAllocation, FailedGrowthLeavesEmptyValidString) {
  InspectableString s(lettersOfLength(300).c_str());
  {
    AllocationFailure failure;
    EXPECT_THROW(s.assureSize(1000), std::bad_alloc);
    EXPECT_TRUE(failure.happened());
  }
  EXPECT_TRUE(s.empty());
  EXPECT_TRUE(s.usesLocalBuffer());
  EXPECT_FALSE(s.onHeap());
  EXPECT_EQ(s.allocSize(), 257u);
  s += u"usable";
  EXPECT_EQ(textOf(s), u"usable");
}

TEST(KelUStringAllocation, FailedEditGrowthLeavesEmptyValidString) {
  // The edit's result is assembled first (on the stack), then the old block
  // goes and the new one fails.
  InspectableString s(lettersOfLength(300).c_str());
  {
    AllocationFailure failure;
    EXPECT_THROW(s += u'x', std::bad_alloc);
  }
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.allocSize(), 257u);
  EXPECT_EQ(s.c_wstr()[0], 0);
}

TEST(KelUStringAllocation, FailedScratchForLongResultLeavesStringUnchanged) {
  // 20,000 units are assembled on the heap; that allocation comes first.
  InspectableString s(lettersOfLength(10000).c_str());
  const wchar16* buffer = s.c_wstr();
  {
    AllocationFailure failure;
    EXPECT_THROW(s += s, std::bad_alloc);
    EXPECT_TRUE(failure.happened());
  }
  EXPECT_EQ(textOf(s), lettersOfLength(10000));
  EXPECT_EQ(s.c_wstr(), buffer);
  EXPECT_EQ(s.allocSize(), 10000u);
}

TEST(KelUStringAllocation, FailedResizeLeavesEmptyValidString) {
  InspectableString s(u"abc");
  {
    AllocationFailure failure;
    EXPECT_THROW(s.resize(500, u'x'), std::bad_alloc);
  }
  EXPECT_TRUE(s.empty());
  EXPECT_TRUE(s.usesLocalBuffer());
}

TEST(KelUStringAllocation, FailedNarrowCacheLeavesNoCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_WCP1252);
  {
    AllocationFailure failure;
    EXPECT_THROW(s.c_str(KelCS_UTF8), std::bad_alloc);
  }
  EXPECT_EQ(s.narrowCache(), nullptr);
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "abc");
}

TEST(KelUStringAllocation, FailedCopyConstructionThrows) {
  const KelUString s(lettersOfLength(300).c_str());
  AllocationFailure failure;
  EXPECT_THROW(KelUString copy(s), std::bad_alloc);
}

TEST(KelUStringAllocation, FailedAssignLeavesEmptyValidString) {
  InspectableString s(lettersOfLength(400).c_str());
  const KelUString source(lettersOfLength(300).c_str());
  {
    AllocationFailure failure;
    EXPECT_THROW(s.assign(source), std::bad_alloc);
  }
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.allocSize(), 257u);
}

TEST(KelUStringAllocation, AssignReleasesOldBlockBeforeTakingNew) {
  // Exactly one allocation and the old block freed: the counting allocator
  // and the leak checkers of the sanitizer and valgrind runs see no
  // abandoned block.
  InspectableString s(lettersOfLength(400).c_str());
  const KelUString source(lettersOfLength(300).c_str());
  AllocationCounter counter;
  s.assign(source);
  EXPECT_EQ(counter.count(), 1u);
  EXPECT_EQ(s.allocSize(), 300u);
}

}  // namespace
