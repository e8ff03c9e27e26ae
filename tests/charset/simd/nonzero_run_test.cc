#include "charset/simd/nonzero_run.h"

#include "charset/simd/simd_level.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

// The plain count the block scan must agree with.
size_t countNonZero(const wchar16* text, size_t limit) {
  size_t count = 0;
  while (count < limit && text[count] != 0) ++count;
  return count;
}

TEST(NonZeroPrefix, UnitsFindTheFirstZeroFromEveryStartAndLimit) {
  // One heap block; texts start at every unit offset within a 64-byte block
  // (the widest the scan reads at once) and end at every later position.
  constexpr size_t kUnits = 200;
  std::unique_ptr<wchar16[]> block(new wchar16[kUnits]);
  // Every level's scan (SSE2 blocks, AVX2 blocks).
  for (int level = static_cast<int>(kelulib::KelSimdLevel::kSse2);
       level <= static_cast<int>(kelulib::supportedSimdLevel()); ++level) {
    const kelulib::KelSimdLevel before =
        kelulib::setActiveSimdLevel(static_cast<kelulib::KelSimdLevel>(level));
    for (size_t start = 0; start < 32; ++start) {
      for (size_t zeroAt = start; zeroAt < kUnits; ++zeroAt) {
        for (size_t i = 0; i < kUnits; ++i) block[i] = static_cast<wchar16>(0x100 + i);
        block[zeroAt] = 0;
        for (size_t limit = 0; limit <= zeroAt - start + 2 && start + limit <= kUnits; ++limit) {
          ASSERT_EQ(kelulib::nonZeroPrefix(block.get() + start, limit),
                    countNonZero(block.get() + start, limit))
              << "level " << level << ", start " << start << ", zero at " << zeroAt
              << ", limit " << limit;
        }
      }
    }
    kelulib::setActiveSimdLevel(before);
  }
}

TEST(NonZeroPrefix, UnitsWithZeroBytesButNoZeroUnitAreNotCut) {
  // 0x0100 and 0x0001 have a zero byte each; only a whole zero unit ends.
  std::vector<wchar16> text(40, 0x0100);
  for (size_t i = 1; i < text.size(); i += 2) text[i] = 0x0001;
  text.push_back(0);
  EXPECT_EQ(kelulib::nonZeroPrefix(text.data(), 1000), 40u);
}

TEST(NonZeroPrefix, BytesStopAtZeroAndLimit) {
  const unsigned char text[] = {'a', 'b', 0, 'c'};
  EXPECT_EQ(kelulib::nonZeroPrefix(text, 10), 2u);
  EXPECT_EQ(kelulib::nonZeroPrefix(text, 1), 1u);
  EXPECT_EQ(kelulib::nonZeroPrefix(text, 0), 0u);
}

TEST(KelNonZeroRun, NeverReportsMoreThanTheWindow) {
  std::vector<unsigned char> text(5000, 'x');
  text.push_back(0);
  kelulib::KelNonZeroRun<unsigned char> run(text.data());
  EXPECT_EQ(run.from(text.data(), 7), 7u);
  EXPECT_EQ(run.from(text.data() + 3, 100), 100u);
}

TEST(KelNonZeroRun, StopsAtTheTerminatorAcrossScans) {
  std::vector<unsigned char> text(3000, 'x');
  text.push_back(0);
  kelulib::KelNonZeroRun<unsigned char> run(text.data());
  size_t at = 0;
  while (at < 3000) {
    const size_t known = run.from(text.data() + at, 100000);
    ASSERT_GT(known, 0u) << "at " << at;
    ASSERT_LE(at + known, 3000u);
    at += known;
  }
  EXPECT_EQ(run.from(text.data() + 3000, 100000), 0u);
}

TEST(KelNonZeroRun, StartsAfreshWhenTheReaderPassedTheKnownPart) {
  std::vector<wchar16> text(2000, u'y');
  text[1500] = 0;
  kelulib::KelNonZeroRun<wchar16> run(text.data());
  EXPECT_EQ(run.from(text.data(), 10), 10u);
  EXPECT_EQ(run.from(text.data() + 1400, 1000), 100u);
}

}  // namespace
