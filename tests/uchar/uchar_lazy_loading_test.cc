// Which lookups build which of KelUChar's three tables. Each test needs the
// tables of a fresh process: under ctest every test runs in a process of its
// own; where several share one (a whole-program run), a test that finds a
// table already built is skipped.
#include <gtest/gtest.h>

#include "tests/uchar/uchar_test_support.h"

namespace {

using kelulib_test::InspectableUChar;

constexpr const char* kNeedsColdStart =
    "a table was built by an earlier test of this process; run this test in a process of its own";

// The first and last unit of each block classified by range.
const wchar16 kIdeographRangeEnds[] = {0x2E80, 0x2E99, 0x2E9B, 0x2EF3, 0x2F00, 0x2FD5,
                                       0x3400, 0x4DB5, 0x4E00, 0x9FA5, 0xA000, 0xA48C,
                                       0xAC00, 0xD7A3, 0xF900, 0xFA2D};

TEST(KelUCharLazyLoading, IdeographsAreClassifiedWithoutTheTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  for (const wchar16 unit : kIdeographRangeEnds) {
    EXPECT_EQ(KelUChar::getCharClass(unit), 0x0404) << std::hex << unit;
    EXPECT_TRUE(KelUChar::isLetter(unit));
    EXPECT_FALSE(KelUChar::isNonChar(unit));
  }
  EXPECT_FALSE(InspectableUChar::anyTableLoaded());
}

TEST(KelUCharLazyLoading, SurrogateUnitsAreClassifiedWithoutTheTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  for (const wchar16 unit : {0xD800, 0xDBFF, 0xDC00, 0xDFFF}) {
    EXPECT_EQ(KelUChar::getCharClass(unit), 0x1000) << std::hex << unit;
    EXPECT_FALSE(KelUChar::isLetter(unit));
  }
  EXPECT_FALSE(InspectableUChar::anyTableLoaded());
}

TEST(KelUCharLazyLoading, SupplementaryScalarsAreClassifiedWithoutTheTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  EXPECT_EQ(KelUChar(0x1F600u).getCharClass(), 0x1000);
  EXPECT_FALSE(KelUChar(0x10000u).isNonChar());
  EXPECT_FALSE(InspectableUChar::anyTableLoaded());
}

TEST(KelUCharLazyLoading, AsciiCaseMappingUsesNoTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  for (unsigned int unit = 0; unit <= 0x7E; ++unit) {
    KelUChar::toUpperCase(static_cast<wchar16>(unit));
    KelUChar::toLowerCase(static_cast<wchar16>(unit));
  }
  EXPECT_FALSE(InspectableUChar::anyTableLoaded());
}

TEST(KelUCharLazyLoading, UpperCaseOfDeleteBuildsOnlyTheUpperCaseTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  EXPECT_EQ(KelUChar::toUpperCase(0x007F), 0x007F);
  EXPECT_TRUE(InspectableUChar::upperCaseTableLoaded());
  EXPECT_FALSE(InspectableUChar::lowerCaseTableLoaded());
  EXPECT_FALSE(InspectableUChar::classTableLoaded());
}

TEST(KelUCharLazyLoading, LowerCaseOfDeleteBuildsOnlyTheLowerCaseTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  EXPECT_EQ(KelUChar::toLowerCase(0x007F), 0x007F);
  EXPECT_TRUE(InspectableUChar::lowerCaseTableLoaded());
  EXPECT_FALSE(InspectableUChar::upperCaseTableLoaded());
  EXPECT_FALSE(InspectableUChar::classTableLoaded());
}

TEST(KelUCharLazyLoading, ClassOfOtherUnitsBuildsOnlyTheClassTable) {
  if (InspectableUChar::anyTableLoaded()) GTEST_SKIP() << kNeedsColdStart;
  EXPECT_EQ(KelUChar::getCharClass(u'$'), 0);
  EXPECT_TRUE(InspectableUChar::classTableLoaded());
  EXPECT_FALSE(InspectableUChar::upperCaseTableLoaded());
  EXPECT_FALSE(InspectableUChar::lowerCaseTableLoaded());
}

}  // namespace
