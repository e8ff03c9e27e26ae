// Loading a table when a page cannot be allocated: that one store is
// dropped and the rest of the table loads.
//
// The tables take their pages with new (std::nothrow) T[n]; this program
// links the test allocator, which can make the n-th such allocation fail.
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>

#include "charset/tables/mbcs_tables.h"
#include "charset/tables/sbcs_converter.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_buffer.h"

namespace {

using kelulib_test::AllocationFailure;
using kelulib_test::GuardedBuffer;

TEST(PageAllocationFailure, MbcsLoaderDropsOnlyTheStoreThatNeededThePage) {
  // SYNTH-DBCS allocates, in record order: code page 0x9F, unit page 0x50,
  // code page 0x81 (the third: fails, for code 0x8140), unit page 0x30, ...
  // Code page 0x81 is allocated again by the next record that needs it.
  kelulib::KelMbcsTables tables;
  {
    const AllocationFailure failure(3, AllocationFailure::kNothrowArrays);
    ASSERT_TRUE(tables.load("SYNTH-DBCS"));
    ASSERT_TRUE(failure.happened());
  }
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
  {
    const AllocationFailure failure(2, AllocationFailure::kNothrowArrays);
    ASSERT_TRUE(tables.load("SYNTH-DBCS-EX"));
    ASSERT_TRUE(failure.happened());
  }
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
  size_t written = 0;
  {
    const AllocationFailure failure(3, AllocationFailure::kNothrowArrays);
    written = converter.fromUTF16(out.data(), units, 3, ILLCHAR_REPLACE, nullptr);
    ASSERT_TRUE(failure.happened());
  }
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(std::string(out.data()), "?\xC0" "A");
  EXPECT_TRUE(out.guardsIntact());
  GuardedBuffer<wchar16> back(2);
  EXPECT_EQ(converter.toUTF16(back.data(), "\xC0", 1, ILLCHAR_REPLACE, nullptr, -1), 1u);
  EXPECT_EQ(back[0], 0x2604);
}

}  // namespace
