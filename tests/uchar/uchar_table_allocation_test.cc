// KelUCharTable and the heap: the first lookup builds the table once (a
// directory, then one page per 256 units that hold a value), later lookups
// allocate nothing, and a failed allocation loses no more than it must.
// Runs in the program that replaces the global allocation functions.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tests/support/counting_allocator.h"
#include "tests/uchar/uchar_test_support.h"
#include "uchar/uchar_table.h"

namespace {

using kelulib_test::AllocationCounter;
using kelulib_test::AllocationFailure;

// Values on two pages: 0x01xx and 0x30xx.
const tableData kTwoPages[] = {
    {0x0100, 0x0101, 0x0005},
    {0x3000, 0x3000, 0x0007},
    {0, 0, 0},
};
constexpr size_t kDirectoryAndTwoPages = 3;
constexpr size_t kPageBytes = 256 * sizeof(uint16_t);

TEST(KelUCharTableAllocation, FirstLookupAllocatesTheDirectoryAndTouchedPages) {
  KelUCharTable table(kTwoPages, false);
  AllocationCounter counter;
  table.getValue(0x0041);
  EXPECT_EQ(counter.count(), kDirectoryAndTwoPages);
  EXPECT_EQ(counter.lastSize(), kPageBytes);
}

TEST(KelUCharTableAllocation, LaterLookupsAllocateNothing) {
  KelUCharTable table(kTwoPages, false);
  table.getValue(0x0041);
  AllocationCounter counter;
  for (unsigned int unit = 0; unit <= 0xFFFF; ++unit) table.getValue(static_cast<wchar16>(unit));
  EXPECT_EQ(counter.count(), 0u);
}

TEST(KelUCharTableAllocation, RacingFirstLookupsBuildTheTableOnce) {
  KelUCharTable table(kTwoPages, false);
  std::atomic<size_t> allocations{0};
  std::atomic<int> wrongValues{0};
  kelulib_test::runTogether(8, [&](int) {
    AllocationCounter counter;
    if (table.getValue(0x0101) != 5 || table.getValue(0x3000) != 7) ++wrongValues;
    allocations += counter.count();
  });
  EXPECT_EQ(allocations.load(), kDirectoryAndTwoPages);
  EXPECT_EQ(wrongValues.load(), 0);
}

TEST(KelUCharTableAllocation, FailedPageAllocationLosesOnlyThatValue) {
  KelUCharTable table(kTwoPages, false);
  {
    AllocationFailure failure(2);  // the first page, for U+0100
    table.getValue(0x0041);
    ASSERT_TRUE(failure.happened());
  }
  EXPECT_EQ(table.getValue(0x0100), 0);
  EXPECT_EQ(table.getValue(0x0101), 5);  // its store allocated the page again
  EXPECT_EQ(table.getValue(0x3000), 7);
}

TEST(KelUCharTableAllocation, FailedDirectoryAllocationIsTriedAgainAtTheNextLookup) {
  KelUCharTable table(kTwoPages, false);
  {
    AllocationFailure failure(1);
    EXPECT_EQ(table.getValue(0x3000), 0);
    ASSERT_TRUE(failure.happened());
  }
  EXPECT_FALSE(table.isLoaded());
  EXPECT_EQ(table.getValue(0x3000), 7);
  EXPECT_TRUE(table.isLoaded());
}

}  // namespace
