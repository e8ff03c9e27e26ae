// Tests of KelCharSetConverterUTF32 (12000): 32-bit values in the machine's
// byte order <-> UTF-16, and the direct UTF-8 <-> UTF-32 operations in the
// 31-bit UTF-8 scheme (sequences of up to six bytes).
// Every conversion writes into a GuardedBuffer sized room + terminator (or,
// for toUTF8, room + the five bytes its last character may run over), so a
// write past that shows up as damaged guards.
#include "charset/unicode/utf32_converter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "charset/converter.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/iconv_oracle.h"

namespace {

using kelulib_test::GuardedBuffer;

constexpr size_t kNpos = static_cast<size_t>(-1);
using Values = std::vector<uint32_t>;
using Bytes = std::vector<unsigned char>;

// The value stored at value index i of a byte buffer (machine order).
uint32_t valueAt(const GuardedBuffer<unsigned char>& buffer, size_t i) {
  const Bytes bytes = buffer.prefix(4 * (i + 1));
  uint32_t value;
  std::memcpy(&value, bytes.data() + 4 * i, sizeof value);
  return value;
}

Values valuesOf(const GuardedBuffer<uint32_t>& buffer, size_t n) { return buffer.prefix(n); }

std::u16string unitsOf(const GuardedBuffer<char16_t>& buffer, size_t n) {
  const std::vector<char16_t> v = buffer.prefix(n);
  return std::u16string(v.begin(), v.end());
}

// 32-bit values as the little-endian bytes iconv's "UTF-32LE"/"UCS-4LE"
// read (this machine is little-endian, so also the machine order).
std::string littleEndianBytes(const Values& values) {
  std::string bytes;
  bytes.reserve(values.size() * 4);
  for (uint32_t v : values) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>(v >> shift & 0xFF));
  }
  return bytes;
}

class Utf32Converter : public ::testing::Test {
 protected:
  void SetUp() override {
    conv = KelCharSetConverter::getConverter(KelCS_UTF32);
    ASSERT_NE(conv, nullptr);
    ASSERT_NE(dynamic_cast<KelCharSetConverterUTF32*>(conv), nullptr);
  }

  // fromUTF8 of `utf8` (zero-terminated by the vector's last byte, added
  // here) with room `n` values; checks the zero value after the output and
  // the guards, and returns the values written.
  Values decode(Bytes utf8, size_t n) {
    utf8.push_back(0);
    GuardedBuffer<uint32_t> out(n + 1);
    bool illegal = true;
    const size_t written = conv->fromUTF8(out.data(), utf8.data(), n, ILLCHAR_STOP, &illegal);
    EXPECT_FALSE(illegal) << "fromUTF8 clears the flag and never sets it";
    EXPECT_LE(written, n);
    if (written > n) return Values();
    EXPECT_EQ(out[written], 0u) << "zero value after the output";
    EXPECT_TRUE(out.untouchedFrom(written + 1));
    return valuesOf(out, written);
  }
  Values decode(const Bytes& utf8) { return decode(utf8, utf8.size() + 4); }

  // toUTF8 of `values` (a zero value is appended) with room `n` bytes into a
  // buffer of n + 5 + 1 bytes; returns the result and the buffer.
  size_t encode(Values values, size_t n, GuardedBuffer<unsigned char>* out, bool* illegal) {
    values.push_back(0);
    return conv->toUTF8(out->data(), values.data(), n, ILLCHAR_REPLACE, illegal);
  }

  // toUTF8 of `values` with ample room: the bytes up to the terminator,
  // which must be there, with guards checked.
  Bytes encode(const Values& values, bool* illegal = nullptr) {
    const size_t n = values.size() * 6 + 4;
    GuardedBuffer<unsigned char> out(n + 1);
    bool flag = false;
    const size_t written = encode(values, n, &out, &flag);
    if (illegal != nullptr) *illegal = flag;
    EXPECT_LT(written, n);
    if (written >= n) return Bytes();
    EXPECT_EQ(out[written], 0) << "terminator after the output";
    EXPECT_TRUE(out.untouchedFrom(written + 1));
    return out.prefix(written);
  }

  KelCharSetConverter* conv = nullptr;
};

TEST_F(Utf32Converter, RegistryHandsOutTheUtf32ConverterFor12000) {
  EXPECT_EQ(static_cast<int>(KelCS_UTF32), 12000);
  KelCharSetConverter* byNumber = KelCharSetConverter::getConverter(static_cast<KelCharSet>(12000));
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF32*>(byNumber), nullptr);
}

// --- getNumUnits ---

TEST_F(Utf32Converter, GetNumUnitsOfNullSourceIsZero) {
  EXPECT_EQ(conv->getNumUnits(nullptr, kNpos), 0u);
  EXPECT_EQ(conv->getNumUnits(nullptr, 16), 0u);
}

TEST_F(Utf32Converter, GetNumUnitsOfZeroBytesIsZero) {
  const uint32_t src[] = {0x41, 0};
  EXPECT_EQ(conv->getNumUnits(src, 0), 0u);
}

TEST_F(Utf32Converter, GetNumUnitsWholeTextCountsValuesBeforeTheZeroValue) {
  const uint32_t src[] = {0x41, 0xE9, 0xD800, 0x7FFFFFFF, 0, 0x42, 0};
  EXPECT_EQ(conv->getNumUnits(src, kNpos), 4u);
}

TEST_F(Utf32Converter, GetNumUnitsCountsASupplementaryValueOnce) {
  // toUTF16 writes two units for it, but it counts one.
  const uint32_t src[] = {0x1F600, 0};
  EXPECT_EQ(conv->getNumUnits(src, kNpos), 1u);
}

TEST_F(Utf32Converter, GetNumUnitsCountsWholeValuesOfAnExplicitByteCount) {
  const uint32_t src[] = {0x41, 0x42, 0x43, 0};
  EXPECT_EQ(conv->getNumUnits(src, 1), 0u);
  EXPECT_EQ(conv->getNumUnits(src, 3), 0u);
  EXPECT_EQ(conv->getNumUnits(src, 4), 1u);
  EXPECT_EQ(conv->getNumUnits(src, 7), 1u);
  EXPECT_EQ(conv->getNumUnits(src, 8), 2u);
  EXPECT_EQ(conv->getNumUnits(src, 11), 2u);
  EXPECT_EQ(conv->getNumUnits(src, 12), 3u);
}

TEST_F(Utf32Converter, GetNumUnitsStopsAtTheZeroValueWithinTheByteCount) {
  const uint32_t src[] = {0x41, 0, 0x42, 0};
  EXPECT_EQ(conv->getNumUnits(src, 16), 1u);
}

// --- toUTF16 ---

TEST_F(Utf32Converter, ToUtf16WithNullDestinationGivesZero) {
  const uint32_t src[] = {0x41, 0};
  EXPECT_EQ(conv->toUTF16(nullptr, src, 4, ILLCHAR_REPLACE, nullptr, -1), 0u);
}

TEST_F(Utf32Converter, ToUtf16WithNullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<char16_t> out(5);
  EXPECT_EQ(conv->toUTF16(out.data(), nullptr, 4, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf32Converter, ToUtf16WritesBmpValuesAsOneUnit) {
  const uint32_t src[] = {0x41, 0xE9, 0x20AC, 0xFFFD, 0xFFFF, 0};
  GuardedBuffer<char16_t> out(6);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 5, ILLCHAR_REPLACE, nullptr, -1), 5u);
  EXPECT_EQ(unitsOf(out, 6), (std::u16string{0x41, 0xE9, 0x20AC, 0xFFFD, 0xFFFF, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf16PassesSurrogateValuesThroughUnchecked) {
  const uint32_t src[] = {0xDC00, 0xD800, 0xDBFF, 0xDFFF, 0};
  GuardedBuffer<char16_t> out(5);
  bool illegal = true;
  EXPECT_EQ(conv->toUTF16(out.data(), src, 4, ILLCHAR_STOP, &illegal, -1), 4u);
  EXPECT_EQ(unitsOf(out, 5), (std::u16string{0xDC00, 0xD800, 0xDBFF, 0xDFFF, 0}));
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf16Writes1F600AsD83DDE00) {
  const uint32_t src[] = {0x1F600, 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, -1), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{0xD83D, 0xDE00, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf16WritesNothingWhenAPairDoesNotFitInOneUnit) {
  const uint32_t src[] = {0x1F600, 0};
  GuardedBuffer<char16_t> out(2);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 1, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, ToUtf16StopsBeforeAPairWhenOneUnitOfRoomIsLeft) {
  const uint32_t src[] = {0x41, 0x1F600, 0x42, 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, -1), 1u);
  EXPECT_EQ(unitsOf(out, 2), (std::u16string{0x41, 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf32Converter, ToUtf16FormsPairsWithoutARangeCheck) {
  // 0xD7C0 + (v >> 10) and 0xDC00 + (v & 0x3FF), each cut to 16 bits.
  struct Row {
    uint32_t value;
    char16_t high;
    char16_t low;
  };
  const Row rows[] = {
      {0x10000, 0xD800, 0xDC00},    // smallest supplementary value
      {0x10FFFF, 0xDBFF, 0xDFFF},   // largest Unicode value
      {0x110000, 0xDC00, 0xDC00},   // 0xD7C0 + 0x440 = 0xDC00
      {0x1FFFFF, 0xDFBF, 0xDFFF},   // 0xD7C0 + 0x7FF = 0xDFBF
      {0x200000, 0xDFC0, 0xDC00},   // 0xD7C0 + 0x800 = 0xDFC0
      {0xA10000, 0x0000, 0xDC00},   // 0xD7C0 + 0x2840 = 0x10000 -> 0x0000
      {0x7FFFFFFF, 0xD7BF, 0xDFFF}, // 0xD7C0 + 0x1FFFFF = 0x20D7BF -> 0xD7BF
      {0xFFFFFFFF, 0xD7BF, 0xDFFF}, // 0xD7C0 + 0x3FFFFF = 0x40D7BF -> 0xD7BF
  };
  for (const Row& row : rows) {
    const uint32_t src[] = {row.value, 0x41, 0};
    GuardedBuffer<char16_t> out(4);
    bool illegal = true;
    EXPECT_EQ(conv->toUTF16(out.data(), src, 3, ILLCHAR_STOP, &illegal, -1), 3u)
        << std::hex << row.value;
    EXPECT_EQ(unitsOf(out, 4), (std::u16string{row.high, row.low, 0x41, 0})) << std::hex
                                                                               << row.value;
    EXPECT_FALSE(illegal);
    EXPECT_TRUE(out.guardsIntact());
  }
}

TEST_F(Utf32Converter, ToUtf16WithLimitZeroCopiesNothing) {
  const uint32_t src[] = {0x41, 0x42, 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, 0), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, ToUtf16WithNegativeLimitHasNoBound) {
  const uint32_t src[] = {0x41, 0x1F600, 0x42, 0};
  for (int limit : {-1, -2, -1000}) {
    GuardedBuffer<char16_t> out(5);
    EXPECT_EQ(conv->toUTF16(out.data(), src, 4, ILLCHAR_REPLACE, nullptr, limit), 4u) << limit;
    EXPECT_EQ(unitsOf(out, 5), (std::u16string{0x41, 0xD83D, 0xDE00, 0x42, 0})) << limit;
    EXPECT_TRUE(out.guardsIntact());
  }
}

TEST_F(Utf32Converter, ToUtf16PositiveLimitCountsValuesNotUnitsOrBytes) {
  // Two values: the pair of 0x1F600 and "A"; units written: 3.
  const uint32_t src[] = {0x1F600, 0x41, 0x42, 0x43, 0};
  GuardedBuffer<char16_t> out(9);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 8, ILLCHAR_REPLACE, nullptr, 2), 3u);
  EXPECT_EQ(unitsOf(out, 4), (std::u16string{0xD83D, 0xDE00, 0x41, 0}));
  EXPECT_TRUE(out.untouchedFrom(4));
}

TEST_F(Utf32Converter, ToUtf16LimitBeyondTheTextStopsAtTheZeroValue) {
  const uint32_t src[] = {0x41, 0x42, 0, 0x43, 0};
  GuardedBuffer<char16_t> out(9);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 8, ILLCHAR_REPLACE, nullptr, 10), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{0x41, 0x42, 0}));
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST_F(Utf32Converter, ToUtf16StopsWhenTheRoomIsUsedUp) {
  const uint32_t src[] = {0x41, 0x42, 0x43, 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, -1), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{0x41, 0x42, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf16WithZeroRoomWritesOnlyTheTerminator) {
  const uint32_t src[] = {0x41, 0};
  GuardedBuffer<char16_t> out(1);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 0, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf16ClearsIllegalAndNeverSetsIt) {
  const uint32_t src[] = {0xD800, 0xFFFFFFFF, 0xFFFE, 0};
  GuardedBuffer<char16_t> out(5);
  bool illegal = true;
  EXPECT_EQ(conv->toUTF16(out.data(), src, 4, ILLCHAR_STOP, &illegal, -1), 4u);
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

// --- getNumBytes ---

TEST_F(Utf32Converter, GetNumBytesOfNullSourceIsZero) {
  EXPECT_EQ(conv->getNumBytes(nullptr, kNpos), 0u);
}

TEST_F(Utf32Converter, GetNumBytesOfZeroUnitsIsZero) {
  const char16_t src[] = {0x41, 0};
  EXPECT_EQ(conv->getNumBytes(src, 0), 0u);
}

TEST_F(Utf32Converter, GetNumBytesIsFourPerNonSurrogateUnit) {
  const char16_t src[] = {0x41, 0xE9, 0x20AC, 0xFFFF, 0, 0x42, 0};
  EXPECT_EQ(conv->getNumBytes(src, kNpos), 16u);
  EXPECT_EQ(conv->getNumBytes(src, 2), 8u);
}

TEST_F(Utf32Converter, GetNumBytesCountsAPairAsFour) {
  const char16_t src[] = {0xD83D, 0xDE00, 0x41, 0};
  EXPECT_EQ(conv->getNumBytes(src, kNpos), 8u);
}

TEST_F(Utf32Converter, GetNumBytesCountsAnUnpairedLowSurrogateAsFour) {
  const char16_t src[] = {0xDC00, 0x41, 0};
  EXPECT_EQ(conv->getNumBytes(src, kNpos), 8u);
}

TEST_F(Utf32Converter, GetNumBytesDoesNotCountAHighSurrogateBeforeTheZeroUnit) {
  const char16_t src[] = {0x41, 0xD800, 0};
  EXPECT_EQ(conv->getNumBytes(src, kNpos), 4u);
}

TEST_F(Utf32Converter, GetNumBytesDoesNotCountAHighSurrogateAtTheEndOfTheCount) {
  const char16_t src[] = {0x41, 0xD83D, 0xDE00, 0};
  EXPECT_EQ(conv->getNumBytes(src, 2), 4u);
  EXPECT_EQ(conv->getNumBytes(src, 3), 8u);
}

TEST_F(Utf32Converter, GetNumBytesCountsAnUnpairedHighSurrogateAsFourAndGoesOn) {
  // D800 then "A": 4 for the "?" and 4 for "A".
  const char16_t lone[] = {0xD800, 0x41, 0};
  EXPECT_EQ(conv->getNumBytes(lone, kNpos), 8u);
  // D800 then the pair D800 DC00: 4 for the "?" and 4 for the pair.
  const char16_t beforePair[] = {0xD800, 0xD800, 0xDC00, 0};
  EXPECT_EQ(conv->getNumBytes(beforePair, kNpos), 8u);
}

// --- fromUTF16 ---

TEST_F(Utf32Converter, FromUtf16WithNullDestinationGivesZero) {
  const char16_t src[] = {0x41, 0};
  EXPECT_EQ(conv->fromUTF16(nullptr, src, 16, ILLCHAR_REPLACE, nullptr), 0u);
}

TEST_F(Utf32Converter, FromUtf16WithNullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<uint32_t> out(5);
  EXPECT_EQ(conv->fromUTF16(out.data(), nullptr, 16, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf32Converter, FromUtf16WritesEachUnitAsItsValue) {
  const char16_t src[] = {0x41, 0xE9, 0x20AC, 0xFFFF, 0};
  GuardedBuffer<uint32_t> out(5);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 16, ILLCHAR_REPLACE, nullptr), 16u);
  EXPECT_EQ(valuesOf(out, 5), (Values{0x41, 0xE9, 0x20AC, 0xFFFF, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16OfD83DDE00Writes1F600) {
  const char16_t src[] = {0xD83D, 0xDE00, 0};
  GuardedBuffer<uint32_t> out(2);
  bool illegal = true;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 4, ILLCHAR_REPLACE, &illegal), 4u);
  EXPECT_EQ(valuesOf(out, 2), (Values{0x1F600, 0}));
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16WritesAnUnpairedLowSurrogateAsItsValue) {
  const char16_t src[] = {0xDC00, 0x41, 0xDFFF, 0};
  GuardedBuffer<uint32_t> out(4);
  bool illegal = true;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 12, ILLCHAR_STOP, &illegal), 12u);
  EXPECT_EQ(valuesOf(out, 4), (Values{0xDC00, 0x41, 0xDFFF, 0}));
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16ReplacesAnUnpairedHighSurrogateWithQuestionMark) {
  const char16_t src[] = {0xD800, 0x41, 0};
  GuardedBuffer<uint32_t> out(3);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 8, ILLCHAR_REPLACE, &illegal), 8u);
  EXPECT_EQ(valuesOf(out, 3), (Values{0x3F, 0x41, 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16TreatsAnUnknownPolicyAsReplace) {
  const char16_t src[] = {0x41, 0xDBFF, 0x42, 0};
  GuardedBuffer<uint32_t> out(4);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 12, static_cast<ILLCHAR_OPTYPE>(7), &illegal), 12u);
  EXPECT_EQ(valuesOf(out, 4), (Values{0x41, 0x3F, 0x42, 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16StopsAtAnUnpairedHighSurrogateUnderStop) {
  const char16_t src[] = {0x41, 0xD800, 0x42, 0};
  GuardedBuffer<uint32_t> out(4);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 12, ILLCHAR_STOP, &illegal), 4u);
  EXPECT_EQ(valuesOf(out, 2), (Values{0x41, 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf32Converter, FromUtf16StopAtTheFirstUnitGivesAnEmptyText) {
  const char16_t src[] = {0xD800, 0x41, 0};
  GuardedBuffer<uint32_t> out(3);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 8, ILLCHAR_STOP, &illegal), 0u);
  EXPECT_EQ(out[0], 0u);
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, FromUtf16EscapesAnUnpairedHighSurrogateAsSixValues) {
  const char16_t src[] = {0xD800, 0x41, 0};
  GuardedBuffer<uint32_t> out(8);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 28, ILLCHAR_ESCAPE, &illegal), 28u);
  EXPECT_EQ(valuesOf(out, 8), (Values{'U', '+', 'D', '8', '0', '0', 0x41, 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16EscapeUsesUpperCaseHexDigits) {
  const char16_t src[] = {0xDBCD, 0};
  GuardedBuffer<uint32_t> out(7);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 24, ILLCHAR_ESCAPE, nullptr), 24u);
  EXPECT_EQ(valuesOf(out, 7), (Values{'U', '+', 'D', 'B', 'C', 'D', 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16EscapeFillingTheRoomEndsTheOutput) {
  // Room for exactly six values: the escape fits, "A" after it does not.
  const char16_t src[] = {0xD800, 0x41, 0};
  GuardedBuffer<uint32_t> out(7);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 24, ILLCHAR_ESCAPE, nullptr), 24u);
  EXPECT_EQ(valuesOf(out, 7), (Values{'U', '+', 'D', '8', '0', '0', 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16EscapeStopsWhenSixValuesDoNotFit) {
  const char16_t src[] = {0xD800, 0x41, 0};
  GuardedBuffer<uint32_t> out(6);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 20, ILLCHAR_ESCAPE, &illegal), 0u);
  EXPECT_EQ(out[0], 0u);
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, FromUtf16EscapeCountsTheRoomLeftAfterEarlierValues) {
  // "A" takes one of six values; five are left, too few for the escape.
  const char16_t src[] = {0x41, 0xD800, 0x42, 0};
  GuardedBuffer<uint32_t> out(7);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 24, ILLCHAR_ESCAPE, nullptr), 4u);
  EXPECT_EQ(valuesOf(out, 2), (Values{0x41, 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf32Converter, FromUtf16ConvertsTheUnitAfterAnUnpairedSurrogate) {
  // The unit after the lone D800 starts a pair of its own and is kept.
  const char16_t src[] = {0xD800, 0xD800, 0xDC00, 0};
  GuardedBuffer<uint32_t> out(3);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 8, ILLCHAR_REPLACE, &illegal), 8u);
  EXPECT_EQ(valuesOf(out, 3), (Values{0x3F, 0x10000, 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16ReplacesAHighSurrogateBeforeTheZeroUnit) {
  const char16_t src[] = {0x41, 0xDBFF, 0};
  GuardedBuffer<uint32_t> out(4);
  bool illegal = false;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 12, ILLCHAR_REPLACE, &illegal), 8u);
  EXPECT_EQ(valuesOf(out, 3), (Values{0x41, 0x3F, 0}));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST_F(Utf32Converter, FromUtf16ClearsIllegalOnCleanText) {
  const char16_t src[] = {0x41, 0xD83D, 0xDE00, 0};
  GuardedBuffer<uint32_t> out(3);
  bool illegal = true;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 8, ILLCHAR_REPLACE, &illegal), 8u);
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16RoomIsWholeValuesOfTheByteCount) {
  // Seven bytes of room hold one value; the terminator follows it.
  const char16_t src[] = {0x41, 0x42, 0};
  GuardedBuffer<unsigned char> out(7 + 4);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 7, ILLCHAR_REPLACE, nullptr), 4u);
  EXPECT_EQ(valueAt(out, 0), 0x41u);
  EXPECT_EQ(valueAt(out, 1), 0u);
  EXPECT_TRUE(out.untouchedFrom(8));
}

TEST_F(Utf32Converter, FromUtf16PairTakesOneValueOfRoom) {
  const char16_t src[] = {0xD83D, 0xDE00, 0x41, 0};
  GuardedBuffer<uint32_t> out(2);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 4, ILLCHAR_REPLACE, nullptr), 4u);
  EXPECT_EQ(valuesOf(out, 2), (Values{0x1F600, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf16WithLessThanFourBytesWritesOnlyTheTerminator) {
  const char16_t src[] = {0x41, 0};
  for (size_t dstBytes : {0u, 1u, 3u}) {
    GuardedBuffer<unsigned char> out(dstBytes + 4);
    EXPECT_EQ(conv->fromUTF16(out.data(), src, dstBytes, ILLCHAR_REPLACE, nullptr), 0u)
        << dstBytes;
    EXPECT_EQ(valueAt(out, 0), 0u) << dstBytes;
    EXPECT_TRUE(out.untouchedFrom(4)) << dstBytes;
  }
}

TEST_F(Utf32Converter, FromUtf16OfEmptyTextWritesOnlyTheTerminator) {
  const char16_t src[] = {0, 0x41, 0};
  GuardedBuffer<uint32_t> out(4);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 12, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0u);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, FromUtf16OfAllPairsMatchesIconv) {
  // Every high/low surrogate pair, in order: fromUTF16 must write the values
  // that iconv UTF-16LE -> UTF-32LE writes, and toUTF16 must give the pairs
  // back.
  std::u16string text;
  text.reserve(2 * 0x100000);
  for (uint32_t high = 0xD800; high <= 0xDBFF; ++high) {
    for (uint32_t low = 0xDC00; low <= 0xDFFF; ++low) {
      text.push_back(static_cast<char16_t>(high));
      text.push_back(static_cast<char16_t>(low));
    }
  }
  const kelulib_test::OracleAnswer oracle =
      kelulib_test::iconvAnswer(kelulib_test::unitsToBytes(text), "UTF-16LE", "UTF-32LE");
  ASSERT_TRUE(oracle.accepted());
  ASSERT_EQ(oracle.size, 4u * 0x100000);
  const size_t count = 0x100000;

  GuardedBuffer<uint32_t> values(count + 1);
  bool illegal = true;
  ASSERT_EQ(conv->fromUTF16(values.data(), text.c_str(), 4 * count, ILLCHAR_STOP, &illegal),
            4 * count);
  EXPECT_FALSE(illegal);
  const Values expected = valuesOf(values, count);
  EXPECT_TRUE(oracle.wrote(littleEndianBytes(expected))) << "the values differ from iconv's";
  EXPECT_EQ(values[expected.size()], 0u);
  EXPECT_TRUE(values.guardsIntact());
  EXPECT_EQ(conv->getNumBytes(text.c_str(), kNpos), 4 * expected.size());

  GuardedBuffer<char16_t> units(text.size() + 1);
  ASSERT_EQ(conv->toUTF16(units.data(), values.data(), text.size(), ILLCHAR_REPLACE, nullptr, -1),
            text.size());
  EXPECT_TRUE(unitsOf(units, text.size()) == text);
  EXPECT_EQ(units[text.size()], 0);
  EXPECT_TRUE(units.guardsIntact());
  EXPECT_EQ(conv->getNumUnits(values.data(), kNpos), expected.size());
}

TEST_F(Utf32Converter, EveryUnitRoundTripsThroughFromUtf16AndToUtf16) {
  for (uint32_t u = 1; u <= 0xFFFF; ++u) {
    const char16_t src[] = {static_cast<char16_t>(u), 0};
    const bool high = u >= 0xD800 && u <= 0xDBFF;

    // fromUTF16: every unit but a high surrogate is its own value; a high
    // surrogate followed by the zero unit is unpaired: "?" under REPLACE.
    GuardedBuffer<uint32_t> values(2);
    bool illegal = !high;
    ASSERT_EQ(conv->fromUTF16(values.data(), src, 4, ILLCHAR_REPLACE, &illegal), 4u) << u;
    ASSERT_EQ(values[0], high ? 0x3Fu : u) << u;
    ASSERT_EQ(values[1], 0u) << u;
    ASSERT_EQ(illegal, high) << u;
    ASSERT_TRUE(values.guardsIntact()) << u;

    // toUTF16: every value below 0x10000 is one unit, surrogates included.
    const uint32_t value[] = {u, 0};
    GuardedBuffer<char16_t> units(2);
    illegal = true;
    ASSERT_EQ(conv->toUTF16(units.data(), value, 1, ILLCHAR_REPLACE, &illegal, -1), 1u) << u;
    ASSERT_EQ(units[0], u) << u;
    ASSERT_EQ(units[1], 0) << u;
    ASSERT_FALSE(illegal) << u;
    ASSERT_TRUE(units.guardsIntact()) << u;
  }
}

// --- fromUTF8 (UTF-8 to UTF-32) ---

TEST_F(Utf32Converter, FromUtf8WithNullDestinationGivesZero) {
  const unsigned char src[] = {'a', 0};
  EXPECT_EQ(conv->fromUTF8(nullptr, src, 4, ILLCHAR_REPLACE, nullptr), 0u);
}

TEST_F(Utf32Converter, FromUtf8ReadsNullSourceAsEmptyText) {
  GuardedBuffer<uint32_t> out(5);
  EXPECT_EQ(conv->fromUTF8(out.data(), nullptr, 4, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0u);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, FromUtf8WithZeroRoomWritesAZeroValueAndReturnsZero) {
  const unsigned char src[] = {'a', 'b', 0};
  GuardedBuffer<uint32_t> out(1);
  EXPECT_EQ(conv->fromUTF8(out.data(), src, 0, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0u);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf8DecodesEachSequenceLength) {
  EXPECT_EQ(decode({'A'}), (Values{0x41}));
  EXPECT_EQ(decode({0x7F}), (Values{0x7F}));
  EXPECT_EQ(decode({0xC3, 0xA9}), (Values{0xE9}));
  EXPECT_EQ(decode({0xE2, 0x82, 0xAC}), (Values{0x20AC}));
  EXPECT_EQ(decode({0xF0, 0x9F, 0x98, 0x80}), (Values{0x1F600}));
  EXPECT_EQ(decode({0xF8, 0x88, 0x80, 0x80, 0x80}), (Values{0x200000}));
  EXPECT_EQ(decode({0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}), (Values{0x4000000}));
}

TEST_F(Utf32Converter, FromUtf8DecodesSmallestValueOfEachLength) {
  EXPECT_EQ(decode({0xC2, 0x80}), (Values{0x80}));
  EXPECT_EQ(decode({0xE0, 0xA0, 0x80}), (Values{0x800}));
  EXPECT_EQ(decode({0xF0, 0x90, 0x80, 0x80}), (Values{0x10000}));
  EXPECT_EQ(decode({0xF8, 0x88, 0x80, 0x80, 0x80}), (Values{0x200000}));
  EXPECT_EQ(decode({0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}), (Values{0x4000000}));
}

TEST_F(Utf32Converter, FromUtf8DecodesLargestValueOfEachLength) {
  EXPECT_EQ(decode({0xDF, 0xBF}), (Values{0x7FF}));
  EXPECT_EQ(decode({0xEF, 0xBF, 0xBD}), (Values{0xFFFD}));  // 0xFFFF itself is refused
  EXPECT_EQ(decode({0xF7, 0xBF, 0xBF, 0xBF}), (Values{0x1FFFFF}));
  EXPECT_EQ(decode({0xFB, 0xBF, 0xBF, 0xBF, 0xBF}), (Values{0x3FFFFFF}));
  EXPECT_EQ(decode({0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), (Values{0x7FFFFFFF}));
}

TEST_F(Utf32Converter, FromUtf8AcceptsValuesBeyond10FFFF) {
  EXPECT_EQ(decode({0xF4, 0x8F, 0xBF, 0xBF}), (Values{0x10FFFF}));
  EXPECT_EQ(decode({0xF4, 0x90, 0x80, 0x80}), (Values{0x110000}));
  EXPECT_EQ(decode({0xF8, 0x88, 0x80, 0x80, 0x80, 'Z'}), (Values{0x200000, 'Z'}));
}

TEST_F(Utf32Converter, FromUtf8RefusesC080AndAdvancesTwo) {
  EXPECT_EQ(decode({0xC0, 0x80, 'Z'}), (Values{0xFFFD, 'Z'}));
}

TEST_F(Utf32Converter, FromUtf8RefusesOverlongFormsOfEveryLength) {
  // Zero and the largest overlong value of each length; each is consumed
  // whole, so "Z" follows a single U+FFFD.
  const Bytes overlongs[] = {
      {0xC0, 0x80},
      {0xC1, 0xBF},
      {0xE0, 0x80, 0x80},
      {0xE0, 0x9F, 0xBF},
      {0xF0, 0x80, 0x80, 0x80},
      {0xF0, 0x8F, 0xBF, 0xBF},
      {0xF8, 0x80, 0x80, 0x80, 0x80},
      {0xF8, 0x87, 0xBF, 0xBF, 0xBF},
      {0xFC, 0x80, 0x80, 0x80, 0x80, 0x80},
      {0xFC, 0x83, 0xBF, 0xBF, 0xBF, 0xBF},
  };
  for (const Bytes& overlong : overlongs) {
    Bytes text = overlong;
    text.push_back('Z');
    EXPECT_EQ(decode(text), (Values{0xFFFD, 'Z'})) << "length " << overlong.size();
  }
}

TEST_F(Utf32Converter, FromUtf8RefusesEDA080AndAdvancesThree) {
  EXPECT_EQ(decode({0xED, 0xA0, 0x80, 'Z'}), (Values{0xFFFD, 'Z'}));
}

TEST_F(Utf32Converter, FromUtf8RefusesEverySurrogateBoundary) {
  EXPECT_EQ(decode({0xED, 0xAF, 0xBF, 'Z'}), (Values{0xFFFD, 'Z'}));  // DBFF
  EXPECT_EQ(decode({0xED, 0xB0, 0x80, 'Z'}), (Values{0xFFFD, 'Z'}));  // DC00
  EXPECT_EQ(decode({0xED, 0xBF, 0xBF, 'Z'}), (Values{0xFFFD, 'Z'}));  // DFFF
  EXPECT_EQ(decode({0xED, 0x9F, 0xBF}), (Values{0xD7FF}));
  EXPECT_EQ(decode({0xEE, 0x80, 0x80}), (Values{0xE000}));
}

TEST_F(Utf32Converter, FromUtf8RefusesFFFEAndFFFF) {
  EXPECT_EQ(decode({0xEF, 0xBF, 0xBE, 'Z'}), (Values{0xFFFD, 'Z'}));
  EXPECT_EQ(decode({0xEF, 0xBF, 0xBF, 'Z'}), (Values{0xFFFD, 'Z'}));
  EXPECT_EQ(decode({0xEF, 0xBF, 0xBC}), (Values{0xFFFC}));
  // Only U+FFFE and U+FFFF: the same low bits in other planes pass.
  EXPECT_EQ(decode({0xF0, 0x9F, 0xBF, 0xBE}), (Values{0x1FFFE}));
  EXPECT_EQ(decode({0xF4, 0x8F, 0xBF, 0xBF}), (Values{0x10FFFF}));
}

TEST_F(Utf32Converter, FromUtf8RefusesNonLeadBytesOneByOne) {
  for (unsigned b : {0x80u, 0x9Fu, 0xBFu, 0xFEu, 0xFFu}) {
    EXPECT_EQ(decode({static_cast<unsigned char>(b), 'Z'}), (Values{0xFFFD, 'Z'})) << b;
  }
  EXPECT_EQ(decode({0x80, 0x80, 0xBF}), (Values{0xFFFD, 0xFFFD, 0xFFFD}));
}

TEST_F(Utf32Converter, FromUtf8OfC341GivesReplacementAndAdvancesOne) {
  EXPECT_EQ(decode({0xC3, 0x41}), (Values{0xFFFD, 0x41}));
}

TEST_F(Utf32Converter, FromUtf8MissingContinuationAdvancesOneForEveryLength) {
  // The lead gives U+FFFD; the continuation bytes it had are then read as
  // non-lead bytes, one U+FFFD each.
  EXPECT_EQ(decode({0xE2, 0x82, 'Z'}), (Values{0xFFFD, 0xFFFD, 'Z'}));
  EXPECT_EQ(decode({0xF0, 0x9F, 0x98, 'Z'}), (Values{0xFFFD, 0xFFFD, 0xFFFD, 'Z'}));
  EXPECT_EQ(decode({0xF8, 0x88, 0x80, 0x80, 'Z'}), (Values{0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 'Z'}));
  EXPECT_EQ(decode({0xFC, 0x84, 0x80, 0x80, 0x80, 'Z'}),
            (Values{0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD, 'Z'}));
  // A lead where a continuation should be starts its own sequence.
  EXPECT_EQ(decode({0xE2, 0xC3, 0xA9}), (Values{0xFFFD, 0xE9}));
}

TEST_F(Utf32Converter, FromUtf8SequenceCutByTheZeroByteEndsThere) {
  EXPECT_EQ(decode({'a', 0xE2, 0x82}), (Values{'a', 0xFFFD, 0xFFFD}));
  EXPECT_EQ(decode({0xFC}), (Values{0xFFFD}));
}

TEST_F(Utf32Converter, FromUtf8DecodedZeroEndsWithoutBeingCounted) {
  const Bytes text = {'a', 0xC3, 0xA9, 0, 'b', 'c'};
  GuardedBuffer<uint32_t> out(9);
  EXPECT_EQ(conv->fromUTF8(out.data(), text.data(), 8, ILLCHAR_REPLACE, nullptr), 2u);
  EXPECT_EQ(valuesOf(out, 3), (Values{'a', 0xE9, 0}));
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST_F(Utf32Converter, FromUtf8OfEmptyTextWritesOnlyTheZeroValue) {
  EXPECT_EQ(decode(Bytes{}), Values{});
}

TEST_F(Utf32Converter, FromUtf8FillingTheRoomExactlyWritesTheZeroValueAfter) {
  // Three characters, room for three values: all three and a zero value.
  size_t written = 0;
  const Bytes text = {'a', 0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80, 0};
  GuardedBuffer<uint32_t> out(3 + 1);
  written = conv->fromUTF8(out.data(), text.data(), 3, ILLCHAR_REPLACE, nullptr);
  EXPECT_EQ(written, 3u);
  EXPECT_EQ(valuesOf(out, 4), (Values{'a', 0xE9, 0x1F600, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf8RoomCountsValuesNotBytes) {
  // Room for two values of a text of three: two written, then the zero.
  const Bytes text = {0xE2, 0x82, 0xAC, 0xC3, 0xA9, 'x', 0};
  GuardedBuffer<uint32_t> out(2 + 1);
  EXPECT_EQ(conv->fromUTF8(out.data(), text.data(), 2, ILLCHAR_REPLACE, nullptr), 2u);
  EXPECT_EQ(valuesOf(out, 3), (Values{0x20AC, 0xE9, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, FromUtf8ClearsIllegalAndNeverSetsIt) {
  const Bytes text = {0xC0, 0x80, 0xFF, 0xED, 0xA0, 0x80, 0};
  GuardedBuffer<uint32_t> out(9);
  bool illegal = true;
  EXPECT_EQ(conv->fromUTF8(out.data(), text.data(), 8, ILLCHAR_STOP, &illegal), 3u);
  EXPECT_FALSE(illegal);
  EXPECT_EQ(valuesOf(out, 4), (Values{0xFFFD, 0xFFFD, 0xFFFD, 0}));
  EXPECT_TRUE(out.untouchedFrom(4));
}

TEST_F(Utf32Converter, FromUtf8IgnoresThePolicy) {
  // ILLCHAR_STOP does not stop at a bad sequence; U+FFFD is written anyway.
  const Bytes text = {'a', 0xFF, 'b', 0};
  for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE}) {
    GuardedBuffer<uint32_t> out(4);
    EXPECT_EQ(conv->fromUTF8(out.data(), text.data(), 3, op, nullptr), 3u) << op;
    EXPECT_EQ(valuesOf(out, 4), (Values{'a', 0xFFFD, 'b', 0})) << op;
    EXPECT_TRUE(out.guardsIntact());
  }
}

// --- toUTF8 (UTF-32 to UTF-8) ---

TEST_F(Utf32Converter, ToUtf8WithNullPointersGivesZero) {
  const uint32_t src[] = {0x41, 0};
  GuardedBuffer<unsigned char> out(9);
  EXPECT_EQ(conv->toUTF8(nullptr, src, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(conv->toUTF8(out.data(), nullptr, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf32Converter, ToUtf8WithZeroRoomWritesOneZeroByte) {
  const uint32_t src[] = {0x41, 0};
  GuardedBuffer<unsigned char> out(1);
  EXPECT_EQ(conv->toUTF8(out.data(), src, 0, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf8EncodesEachLength) {
  EXPECT_EQ(encode({0x41}), (Bytes{0x41}));
  EXPECT_EQ(encode({0xE9}), (Bytes{0xC3, 0xA9}));
  EXPECT_EQ(encode({0x20AC}), (Bytes{0xE2, 0x82, 0xAC}));
  EXPECT_EQ(encode({0x1F600}), (Bytes{0xF0, 0x9F, 0x98, 0x80}));
  EXPECT_EQ(encode({0x200000}), (Bytes{0xF8, 0x88, 0x80, 0x80, 0x80}));
  EXPECT_EQ(encode({0x4000000}), (Bytes{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}));
}

TEST_F(Utf32Converter, ToUtf8EncodesTheBoundariesOfEachLength) {
  EXPECT_EQ(encode({0x7F}), (Bytes{0x7F}));
  EXPECT_EQ(encode({0x80}), (Bytes{0xC2, 0x80}));
  EXPECT_EQ(encode({0x7FF}), (Bytes{0xDF, 0xBF}));
  EXPECT_EQ(encode({0x800}), (Bytes{0xE0, 0xA0, 0x80}));
  EXPECT_EQ(encode({0xFFFF}), (Bytes{0xEF, 0xBF, 0xBF}));
  EXPECT_EQ(encode({0x10000}), (Bytes{0xF0, 0x90, 0x80, 0x80}));
  EXPECT_EQ(encode({0x1FFFFF}), (Bytes{0xF7, 0xBF, 0xBF, 0xBF}));
  EXPECT_EQ(encode({0x200000}), (Bytes{0xF8, 0x88, 0x80, 0x80, 0x80}));
  EXPECT_EQ(encode({0x3FFFFFF}), (Bytes{0xFB, 0xBF, 0xBF, 0xBF, 0xBF}));
  EXPECT_EQ(encode({0x4000000}), (Bytes{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}));
}

TEST_F(Utf32Converter, ToUtf8Encodes7FFFFFFFAsFDBFBFBFBFBF) {
  bool illegal = true;
  EXPECT_EQ(encode({0x7FFFFFFF}, &illegal), (Bytes{0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}));
  EXPECT_FALSE(illegal);
}

TEST_F(Utf32Converter, ToUtf8EncodesFFFEAndFFFFWithoutComplaint) {
  bool illegal = true;
  EXPECT_EQ(encode({0xFFFE, 0xFFFF}, &illegal), (Bytes{0xEF, 0xBF, 0xBE, 0xEF, 0xBF, 0xBF}));
  EXPECT_FALSE(illegal);
}

TEST_F(Utf32Converter, ToUtf8WritesReplacementForD800AndSetsIllegal) {
  bool illegal = false;
  EXPECT_EQ(encode({0xD800}, &illegal), (Bytes{0xEF, 0xBF, 0xBD}));
  EXPECT_TRUE(illegal);
}

TEST_F(Utf32Converter, ToUtf8WritesReplacementForEverySurrogateBoundary) {
  for (uint32_t v : {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu}) {
    bool illegal = false;
    EXPECT_EQ(encode({'a', v, 'b'}, &illegal), (Bytes{'a', 0xEF, 0xBF, 0xBD, 'b'})) << v;
    EXPECT_TRUE(illegal) << v;
  }
  bool illegal = true;
  EXPECT_EQ(encode({0xD7FF, 0xE000}, &illegal), (Bytes{0xED, 0x9F, 0xBF, 0xEE, 0x80, 0x80}));
  EXPECT_FALSE(illegal);
}

TEST_F(Utf32Converter, ToUtf8WritesReplacementForValuesFrom80000000On) {
  for (uint32_t v : {0x80000000u, 0x80000001u, 0xFFFFFFFFu}) {
    bool illegal = false;
    EXPECT_EQ(encode({v, 'b'}, &illegal), (Bytes{0xEF, 0xBF, 0xBD, 'b'})) << v;
    EXPECT_TRUE(illegal) << v;
  }
}

TEST_F(Utf32Converter, ToUtf8ClearsIllegalOnCleanText) {
  bool illegal = true;
  EXPECT_EQ(encode({'a', 0x10FFFF}, &illegal), (Bytes{'a', 0xF4, 0x8F, 0xBF, 0xBF}));
  EXPECT_FALSE(illegal);
}

TEST_F(Utf32Converter, ToUtf8IgnoresThePolicy) {
  // STOP does not stop at a surrogate value: U+FFFD is written and the
  // conversion goes on.
  const uint32_t src[] = {'a', 0xD800, 'b', 0};
  for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE}) {
    GuardedBuffer<unsigned char> out(16 + 1);
    EXPECT_EQ(conv->toUTF8(out.data(), src, 16, op, nullptr), 5u) << op;
    EXPECT_EQ(out.prefix(6), (Bytes{'a', 0xEF, 0xBF, 0xBD, 'b', 0})) << op;
    EXPECT_TRUE(out.untouchedFrom(6));
  }
}

TEST_F(Utf32Converter, ToUtf8ZeroValueWritesAZeroByteNotCounted) {
  GuardedBuffer<unsigned char> out(10 + 1);
  bool illegal = true;
  EXPECT_EQ(encode({'A', 0xE9}, 10, &out, &illegal), 3u);
  EXPECT_EQ(out.prefix(4), (Bytes{'A', 0xC3, 0xA9, 0}));
  EXPECT_TRUE(out.untouchedFrom(4));
  EXPECT_FALSE(illegal);
}

TEST_F(Utf32Converter, ToUtf8FillingTheRoomExactlyWritesTheTerminator) {
  // Three bytes of room, three bytes of text: a terminator follows, and the
  // value after them is never read.
  const uint32_t src[] = {'a', 0xE9, 'z', 0};
  GuardedBuffer<unsigned char> out(3 + 1);
  EXPECT_EQ(conv->toUTF8(out.data(), src, 3, ILLCHAR_REPLACE, nullptr), 3u);
  EXPECT_EQ(out.prefix(4), (Bytes{'a', 0xC3, 0xA9, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf8LastCharacterRunsPastTheRoomWithoutTerminator) {
  // 0x10000 with room 2: all four bytes, no terminator.
  GuardedBuffer<unsigned char> out(2 + 5);
  bool illegal = true;
  EXPECT_EQ(encode({0x10000}, 2, &out, &illegal), 4u);
  EXPECT_EQ(out.prefix(4), (Bytes{0xF0, 0x90, 0x80, 0x80}));
  EXPECT_TRUE(out.untouchedFrom(4));
  EXPECT_FALSE(illegal);
}

TEST_F(Utf32Converter, ToUtf8SixByteCharacterMayRunFiveBytesPastTheRoom) {
  GuardedBuffer<unsigned char> out(1 + 5);
  bool illegal = true;
  EXPECT_EQ(encode({0x7FFFFFFF, 'x'}, 1, &out, &illegal), 6u);
  EXPECT_EQ(out.prefix(6), (Bytes{0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf8OverrunAfterEarlierCharactersStopsThere) {
  // "A" leaves count 1 < 3; the next character takes four bytes (to 5),
  // and the conversion ends there, without a terminator.
  GuardedBuffer<unsigned char> out(3 + 5);
  EXPECT_EQ(encode({'A', 0x1F600, 'B'}, 3, &out, nullptr), 5u);
  EXPECT_EQ(out.prefix(5), (Bytes{'A', 0xF0, 0x9F, 0x98, 0x80}));
  EXPECT_TRUE(out.untouchedFrom(5));
}

TEST_F(Utf32Converter, ToUtf8ReplacementMayRunPastTheRoom) {
  GuardedBuffer<unsigned char> out(2 + 5);
  bool illegal = false;
  EXPECT_EQ(encode({'A', 0xDC00, 'B'}, 2, &out, &illegal), 4u);
  EXPECT_EQ(out.prefix(4), (Bytes{'A', 0xEF, 0xBF, 0xBD}));
  EXPECT_TRUE(out.untouchedFrom(4));
  EXPECT_TRUE(illegal);
}

TEST_F(Utf32Converter, ToUtf8CharacterEndingExactlyAtTheRoomIsTerminated) {
  GuardedBuffer<unsigned char> out(5 + 1);
  EXPECT_EQ(encode({'A', 0x1F600, 'B'}, 5, &out, nullptr), 5u);
  EXPECT_EQ(out.prefix(6), (Bytes{'A', 0xF0, 0x9F, 0x98, 0x80, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf32Converter, ToUtf8DoesNotReadPastTheZeroValue) {
  const uint32_t src[] = {'a', 0, 'b', 0};
  GuardedBuffer<unsigned char> out(8 + 1);
  EXPECT_EQ(conv->toUTF8(out.data(), src, 8, ILLCHAR_REPLACE, nullptr), 1u);
  EXPECT_EQ(out.prefix(2), (Bytes{'a', 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf32Converter, ToUtf8OfEmptyTextWritesOneZeroByte) {
  const uint32_t src[] = {0, 'a', 0};
  GuardedBuffer<unsigned char> out(8 + 1);
  EXPECT_EQ(conv->toUTF8(out.data(), src, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf32Converter, ToUtf8OfSampledValuesBeyond10FFFFMatchesIconvUcs4) {
  // glibc's UCS-4 decoder takes the 31-bit range, and its UTF-8 encoder
  // writes the same five- and six-byte forms; one value per call.
  Values sample = {0x110000, 0x1FFFFF, 0x200000, 0x3FFFFFF, 0x4000000, 0x7FFFFFFF};
  for (uint32_t v = 0x110000; v < 0x80000000u; v += 0x00F0F0F1u) sample.push_back(v);
  for (uint32_t v : sample) {
    const auto oracle = kelulib_test::iconvConvert(littleEndianBytes({v}), "UCS-4LE", "UTF-8");
    ASSERT_TRUE(oracle.has_value()) << std::hex << v;
    const Bytes expected(oracle->begin(), oracle->end());
    bool illegal = true;
    EXPECT_EQ(encode({v}, &illegal), expected) << std::hex << v;
    EXPECT_FALSE(illegal);
    EXPECT_EQ(decode(expected), (Values{v})) << std::hex << v;
  }
}

TEST_F(Utf32Converter, ToUtf8OfSampledScalarsOneByOneMatchesIconv) {
  // One call per value over a sample with every encoded-length boundary.
  Values sample = {0x01, 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFD, 0xFFFE, 0xFFFF,
                   0x10000, 0x10FFFF};
  for (uint32_t v = 1; v <= 0x10FFFF; v += 251) {
    if (v < 0xD800 || v > 0xDFFF) sample.push_back(v);
  }
  for (uint32_t v : sample) {
    const auto oracle = kelulib_test::iconvConvert(littleEndianBytes({v}), "UTF-32LE", "UTF-8");
    ASSERT_TRUE(oracle.has_value()) << std::hex << v;
    const Bytes expected(oracle->begin(), oracle->end());
    // Room exactly the encoded length: the terminator follows.
    GuardedBuffer<unsigned char> out(expected.size() + 1);
    EXPECT_EQ(encode({v}, expected.size(), &out, nullptr), expected.size()) << std::hex << v;
    EXPECT_EQ(out.prefix(expected.size()), expected) << std::hex << v;
    EXPECT_EQ(out[expected.size()], 0) << std::hex << v;
    EXPECT_TRUE(out.guardsIntact()) << std::hex << v;
  }
}

TEST_F(Utf32Converter, EveryScalarValueMatchesIconvBothWays) {
  // All Unicode scalar values but zero, in one text: iconv UTF-32LE -> UTF-8
  // is the expected toUTF8 output, and fromUTF8 of iconv's bytes must give
  // the values back. (U+FFFE and U+FFFF are left out of the way back: the
  // decoder refuses them.)
  Values scalars;
  scalars.reserve(0x10F800);
  for (uint32_t v = 1; v <= 0x10FFFF; ++v) {
    if (v < 0xD800 || v > 0xDFFF) scalars.push_back(v);
  }
  const kelulib_test::OracleAnswer oracle =
      kelulib_test::iconvAnswer(littleEndianBytes(scalars), "UTF-32LE", "UTF-8");
  ASSERT_TRUE(oracle.accepted());
  const size_t size = oracle.size;

  Values src = scalars;
  src.push_back(0);
  GuardedBuffer<unsigned char> utf8(size + 1);
  bool illegal = true;
  ASSERT_EQ(conv->toUTF8(utf8.data(), src.data(), size, ILLCHAR_REPLACE, &illegal), size);
  EXPECT_FALSE(illegal);
  const Bytes actual = utf8.prefix(size);
  // Past this check, `expected` holds exactly iconv's bytes.
  const Bytes& expected = actual;
  ASSERT_TRUE(oracle.wrote(std::string(actual.begin(), actual.end())))
      << "toUTF8 writes other bytes than iconv";
  EXPECT_EQ(utf8[expected.size()], 0);
  EXPECT_TRUE(utf8.guardsIntact());

  // Back: iconv's UTF-8 through fromUTF8, with U+FFFD in place of U+FFFE
  // and U+FFFF.
  Values back = scalars;
  for (uint32_t& v : back) {
    if (v == 0xFFFE || v == 0xFFFF) v = 0xFFFD;
  }
  Bytes utf8In = expected;
  utf8In.push_back(0);
  GuardedBuffer<uint32_t> values(back.size() + 1);
  ASSERT_EQ(conv->fromUTF8(values.data(), utf8In.data(), back.size(), ILLCHAR_REPLACE, &illegal),
            back.size());
  EXPECT_FALSE(illegal);
  const Values decoded = valuesOf(values, back.size());
  if (decoded != back) {
    size_t at = 0;
    while (at < back.size() && decoded[at] == back[at]) ++at;
    ADD_FAILURE() << "first difference at value " << at << ": got " << std::hex << decoded[at]
                  << ", expected " << back[at];
  }
  EXPECT_EQ(values[back.size()], 0u);
  EXPECT_TRUE(values.guardsIntact());
}

}  // namespace
