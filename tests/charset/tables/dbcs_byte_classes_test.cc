// The five byte-class tables of the double-byte sets, byte for byte: the
// lead and trail ranges of each set and the ASCII type bits.
#include "charset/tables/dbcs_byte_classes.h"

#include <gtest/gtest.h>

#include <cctype>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>

namespace {

using Ranges = std::initializer_list<std::pair<unsigned, unsigned>>;

struct ByteClassTable {
  const char* name;
  const kelulib::KelByteClasses* classes;
  Ranges leads;
  Ranges trails;
};

void PrintTo(const ByteClassTable& table, std::ostream* os) { *os << table.name; }

bool inRanges(unsigned b, Ranges ranges) {
  for (const auto& [first, last] : ranges) {
    if (b >= first && b <= last) return true;
  }
  return false;
}

// The type bits of an ASCII byte as the C locale classifies it.
unsigned asciiTypeBits(unsigned b) {
  if (b >= 0x80) return 0;
  const int c = static_cast<int>(b);
  unsigned bits = 0;
  if (std::isalpha(c)) bits |= 0x01;
  if (std::ispunct(c)) bits |= 0x02;
  if (std::isdigit(c)) bits |= 0x04;
  if (std::isspace(c)) bits |= 0x08;
  if (std::islower(c)) bits |= 0x10;
  if (std::isupper(c)) bits |= 0x20;
  return bits;
}

const ByteClassTable kTables[] = {
    {"Japanese",
     &kelulib::kJapaneseByteClasses,
     {{0x81, 0x9F}, {0xE0, 0xFC}},
     {{0x40, 0x7E}, {0x80, 0xFC}}},
    {"SimplifiedChinese",
     &kelulib::kSimplifiedChineseByteClasses,
     {{0x81, 0xFE}},
     {{0x40, 0x7F}, {0xA1, 0xFE}}},
    {"Korean",
     &kelulib::kKoreanByteClasses,
     {{0x81, 0xFE}},
     {{0x41, 0x5A}, {0x61, 0x7A}, {0x81, 0xFE}}},
    {"TraditionalChinese",
     &kelulib::kTraditionalChineseByteClasses,
     {{0x81, 0xFE}},
     {{0x40, 0x7F}, {0xA1, 0xFE}}},
    {"Big5", &kelulib::kBig5ByteClasses, {{0x81, 0xFE}}, {{0x40, 0x7E}, {0xA1, 0xFE}}},
};

class ByteClasses : public testing::TestWithParam<ByteClassTable> {
 protected:
  unsigned entry(unsigned b) const { return (*GetParam().classes)[b]; }
};

TEST_P(ByteClasses, LeadBitMarksExactlyTheLeadBytes) {
  for (unsigned b = 0; b < 256; ++b) {
    EXPECT_EQ((entry(b) & 0x40) != 0, inRanges(b, GetParam().leads)) << "byte " << b;
  }
}

TEST_P(ByteClasses, TrailBitMarksExactlyTheTrailBytes) {
  for (unsigned b = 0; b < 256; ++b) {
    EXPECT_EQ((entry(b) & 0x80) != 0, inRanges(b, GetParam().trails)) << "byte " << b;
  }
}

TEST_P(ByteClasses, LowBitsAreTheAsciiTypes) {
  for (unsigned b = 0; b < 256; ++b) EXPECT_EQ(entry(b) & 0x3F, asciiTypeBits(b)) << "byte " << b;
}

TEST_P(ByteClasses, CapitalAIsTrailUpperCaseLetter) { EXPECT_EQ(entry('A'), 0xA1u); }

INSTANTIATE_TEST_SUITE_P(AllTables, ByteClasses, testing::ValuesIn(kTables),
                         [](const testing::TestParamInfo<ByteClassTable>& info) {
                           return std::string(info.param.name);
                         });

TEST(ByteClassTables, ChineseTablesAreTheSame) {
  EXPECT_EQ(kelulib::kSimplifiedChineseByteClasses, kelulib::kTraditionalChineseByteClasses);
}

TEST(ByteClassTables, ChineseTablesCountDeleteButNot0x80To0xA0AsTrailBytes) {
  EXPECT_NE(kelulib::kSimplifiedChineseByteClasses[0x7F] & 0x80, 0);
  for (unsigned b = 0x80; b <= 0xA0; ++b) {
    EXPECT_EQ(kelulib::kSimplifiedChineseByteClasses[b] & 0x80, 0) << "byte " << b;
  }
}

}  // namespace
