// Loading a table when a page cannot be allocated: that one store is
// dropped and the rest of the table loads.
//
// This program replaces the non-throwing array form of operator new, which
// the tables use for their pages, so that a test can make the n-th such
// allocation fail. Every other allocation goes to the usual operator new[].
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "charset/tables/mbcs_tables.h"
#include "charset/tables/sbcs_converter.h"
#include "tests/support/guarded_buffer.h"

namespace {

// 0: no failure planned; n: the n-th non-throwing array allocation from now
// fails (counted only while a failure is planned).
thread_local int g_allocationsUntilFailure = 0;

void failNthPageAllocation(int n) { g_allocationsUntilFailure = n; }

}  // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (g_allocationsUntilFailure > 0 && --g_allocationsUntilFailure == 0) return nullptr;
  try {
    return ::operator new[](size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace {

using kelulib_test::GuardedBuffer;

TEST(PageAllocationFailure, MbcsLoaderDropsOnlyTheStoreThatNeededThePage) {
  // SYNTH-DBCS allocates, in record order: code page 0x9F, unit page 0x50,
  // code page 0x81 (the third: fails, for code 0x8140), unit page 0x30, ...
  // Code page 0x81 is allocated again by the next record that needs it.
  kelulib::KelMbcsTables tables;
  failNthPageAllocation(3);
  ASSERT_TRUE(tables.load("SYNTH-DBCS"));
  failNthPageAllocation(0);
  EXPECT_EQ(tables.toUnicode(0x8140), 0);
  EXPECT_EQ(tables.fromUnicode(0x3000), 0x8140);
  EXPECT_EQ(tables.toUnicode(0x8142), 0x4E01);
  EXPECT_EQ(tables.toUnicode(0x9F40), 0x5000);
  EXPECT_EQ(tables.toUnicode(0xFEFE), 0xFFFF);
}

TEST(PageAllocationFailure, MbcsExLoaderDropsOnlyTheStoreThatNeededThePage) {
  // SYNTH-DBCS-EX allocates: code page 0x81, plane-2 page 0x200 (the
  // second: fails, for U+20000), unit page 0x30, ...
  kelulib::KelMbcsExTables tables;
  failNthPageAllocation(2);
  ASSERT_TRUE(tables.load("SYNTH-DBCS-EX"));
  failNthPageAllocation(0);
  EXPECT_EQ(tables.toUnicode(0x8141), 0x20000u);
  EXPECT_EQ(tables.fromUnicode(0x20000), 0);
  EXPECT_EQ(tables.fromUnicode(0x3000), 0x8140);
  EXPECT_EQ(tables.fromUnicode(0x10FFFF), 0x8142);
}

TEST(PageAllocationFailure, SbcsLoaderDropsOnlyTheReverseEntryThatNeededThePage) {
  // SYNTH-SBCS allocates: the 256-unit table, reverse page 0x00 (for U+0041),
  // reverse page 0x26 (the third: fails, for U+2603), ... Page 0x26 is
  // allocated again for U+2604.
  KelCharSetConverterSBCS converter("SYNTH-SBCS", static_cast<KelCharSet>(60300));
  const wchar16 units[] = {0x2603, 0x2604, 'A', 0};
  GuardedBuffer<char> out(4);
  failNthPageAllocation(3);
  const size_t written = converter.fromUTF16(out.data(), units, 3, ILLCHAR_REPLACE, nullptr);
  failNthPageAllocation(0);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(std::string(out.data()), "?\xC0" "A");
  EXPECT_TRUE(out.guardsIntact());
  GuardedBuffer<wchar16> back(2);
  EXPECT_EQ(converter.toUTF16(back.data(), "\xC0", 1, ILLCHAR_REPLACE, nullptr, -1), 1u);
  EXPECT_EQ(back[0], 0x2604);
}

}  // namespace
