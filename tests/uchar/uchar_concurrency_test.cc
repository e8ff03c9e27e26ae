// Eight threads classify and case-map every BMP unit from a cold start, all
// at once, so that their first lookups race to build KelUChar's three
// tables; each must see exactly what one thread sees alone. Built as a
// program of its own (label "concurrency", meant for ThreadSanitizer too):
// no other test of this program may touch KelUChar's tables.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/uchar/uchar_test_support.h"

namespace {

using kelulib_test::InspectableUChar;

constexpr int kThreads = 8;
constexpr unsigned int kBmpUnits = 0x10000;

// Everything KelUChar answers about one unit, packed into one number: class
// bits, upper case, lower case and the five tests.
uint64_t propertiesOf(wchar16 unit) {
  const uint64_t tests =
      (KelUChar::isWhiteSpace(unit) ? 1u : 0u) | (KelUChar::isDigit(unit) ? 2u : 0u) |
      (KelUChar::isLetter(unit) ? 4u : 0u) | (KelUChar::isPunctuation(unit) ? 8u : 0u) |
      (KelUChar::isNonChar(unit) ? 16u : 0u);
  return static_cast<uint64_t>(KelUChar::getCharClass(unit)) |
         static_cast<uint64_t>(KelUChar::toUpperCase(unit)) << 16 |
         static_cast<uint64_t>(KelUChar::toLowerCase(unit)) << 32 | tests << 48;
}

// The properties of every unit, starting at `start` and wrapping around, so
// that the threads begin in different tables.
std::vector<uint64_t> bmpPropertiesFrom(unsigned int start) {
  std::vector<uint64_t> properties(kBmpUnits);
  for (unsigned int step = 0; step < kBmpUnits; ++step) {
    const unsigned int unit = (start + step) % kBmpUnits;
    properties[unit] = propertiesOf(static_cast<wchar16>(unit));
  }
  return properties;
}

// The first lookup of thread `index` needs the upper-case, the lower-case or
// the class table, in turn, so that each table is built under contention.
void firstLookup(int index) {
  const auto unit = static_cast<wchar16>(0x00C0 + index);
  switch (index % 3) {
    case 0:
      KelUChar::toUpperCase(unit);
      break;
    case 1:
      KelUChar::toLowerCase(unit);
      break;
    default:
      KelUChar::getCharClass(unit);
      break;
  }
}

TEST(KelUCharConcurrency, ThreadsStartingColdSeeWhatOneThreadSees) {
  ASSERT_FALSE(InspectableUChar::anyTableLoaded()) << "the tables must not be built yet";
  std::vector<std::vector<uint64_t>> seen(kThreads);
  kelulib_test::runTogether(kThreads, [&seen](int index) {
    firstLookup(index);
    seen[static_cast<size_t>(index)] =
        bmpPropertiesFrom(static_cast<unsigned int>(index) * 0x2000u);
  });
  const std::vector<uint64_t> alone = bmpPropertiesFrom(0);
  for (int index = 0; index < kThreads; ++index) {
    EXPECT_TRUE(seen[static_cast<size_t>(index)] == alone) << "thread " << index;
  }
}

}  // namespace
