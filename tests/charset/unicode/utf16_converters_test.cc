// Tests of the two table-free UTF-16 converters:
//   KelCharSetConverterUTF16 (1200): UTF-16 in the machine's byte order,
//     copied unit for unit.
//   KelCharSetConverterUTF16Esc (1202): the ASCII-safe form, one byte per
//     unit below 0x80 and "U+XXXX" for every other unit.
// Every conversion writes into a GuardedBuffer sized room + terminator, so a
// write past the terminator shows up as damaged guards.
#include "charset/unicode/utf16_converters.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "charset/converter.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/iconv_oracle.h"

namespace {

using kelulib_test::GuardedBuffer;

constexpr size_t kNpos = static_cast<size_t>(-1);

// Bytes of `units` in the machine's byte order (how UTF-16 local text is
// laid out in memory).
std::vector<unsigned char> machineBytes(const std::u16string& units) {
  std::vector<unsigned char> bytes(units.size() * 2);
  if (!units.empty()) std::memcpy(bytes.data(), units.data(), bytes.size());
  return bytes;
}

// The units held by a GuardedBuffer<char16_t> up to (not including) `n`.
std::u16string unitsOf(const GuardedBuffer<char16_t>& buffer, size_t n) {
  const std::vector<char16_t> v = buffer.prefix(n);
  return std::u16string(v.begin(), v.end());
}

// The bytes of an ASCII/byte text as unsigned char values.
std::vector<unsigned char> bytesOf(const std::string& text) {
  return std::vector<unsigned char>(text.begin(), text.end());
}

// ---------------------------------------------------------------------------
// KelCharSetConverterUTF16
// ---------------------------------------------------------------------------

class Utf16Converter : public ::testing::Test {
 protected:
  void SetUp() override {
    conv = KelCharSetConverter::getConverter(KelCS_UTF16);
    ASSERT_NE(conv, nullptr);
    ASSERT_NE(dynamic_cast<KelCharSetConverterUTF16*>(conv), nullptr);
  }

  KelCharSetConverter* conv = nullptr;
};

TEST_F(Utf16Converter, RegistryHandsOutTheUtf16ConverterFor1200) {
  EXPECT_EQ(static_cast<int>(KelCS_UTF16), 1200);
  KelCharSetConverter* byNumber = KelCharSetConverter::getConverter(static_cast<KelCharSet>(1200));
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF16*>(byNumber), nullptr);
  EXPECT_EQ(dynamic_cast<KelCharSetConverterUTF16Esc*>(byNumber), nullptr);
}

// --- getNumUnits ---

TEST_F(Utf16Converter, GetNumUnitsOfNullSourceIsZero) {
  EXPECT_EQ(conv->getNumUnits(nullptr, kNpos), 0u);
  EXPECT_EQ(conv->getNumUnits(nullptr, 8), 0u);
}

TEST_F(Utf16Converter, GetNumUnitsOfZeroBytesIsZero) {
  const char16_t src[] = {u'a', u'b', 0};
  EXPECT_EQ(conv->getNumUnits(src, 0), 0u);
}

TEST_F(Utf16Converter, GetNumUnitsWholeTextCountsUnitsBeforeTheZeroUnit) {
  const char16_t src[] = {u'a', 0x00E9, 0xD83D, 0xDE00, u'z', 0, u'x', 0};
  EXPECT_EQ(conv->getNumUnits(src, kNpos), 5u);
}

TEST_F(Utf16Converter, GetNumUnitsOfEmptyTextIsZero) {
  const char16_t src[] = {0, u'a', 0};
  EXPECT_EQ(conv->getNumUnits(src, kNpos), 0u);
}

TEST_F(Utf16Converter, GetNumUnitsCountsWholeUnitsOfAnExplicitByteCount) {
  const char16_t src[] = {u'a', u'b', u'c', u'd', 0};
  EXPECT_EQ(conv->getNumUnits(src, 1), 0u);  // below one unit
  EXPECT_EQ(conv->getNumUnits(src, 2), 1u);
  EXPECT_EQ(conv->getNumUnits(src, 3), 1u);  // the odd byte is not a unit
  EXPECT_EQ(conv->getNumUnits(src, 5), 2u);
  EXPECT_EQ(conv->getNumUnits(src, 7), 3u);
  EXPECT_EQ(conv->getNumUnits(src, 8), 4u);
}

TEST_F(Utf16Converter, GetNumUnitsStopsAtZeroUnitWithinTheByteCount) {
  const char16_t src[] = {u'a', u'b', 0, u'd', u'e', 0};
  EXPECT_EQ(conv->getNumUnits(src, 10), 2u);
}

TEST_F(Utf16Converter, GetNumUnitsCountsSurrogatesAndByteOrderMarkAsUnits) {
  const char16_t src[] = {0xFEFF, 0xD800, 0xDC00, 0xDC00, 0};
  EXPECT_EQ(conv->getNumUnits(src, kNpos), 4u);
}

// --- toUTF16 ---

TEST_F(Utf16Converter, ToUtf16WithNullDestinationGivesZero) {
  const char16_t src[] = {u'a', 0};
  EXPECT_EQ(conv->toUTF16(nullptr, src, 4, ILLCHAR_REPLACE, nullptr, 4), 0u);
}

TEST_F(Utf16Converter, ToUtf16WithNullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<char16_t> out(5);
  EXPECT_EQ(conv->toUTF16(out.data(), nullptr, 4, ILLCHAR_REPLACE, nullptr, 4), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf16Converter, ToUtf16WithLimitMinusOneWritesOnlyTheTerminator) {
  // The library's own callers pass -1: this converter then copies nothing.
  const char16_t src[] = {u'a', u'b', 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf16Converter, ToUtf16WithLimitZeroWritesOnlyTheTerminator) {
  const char16_t src[] = {u'a', u'b', 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, 0), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf16Converter, ToUtf16WithVeryNegativeLimitWritesOnlyTheTerminator) {
  const char16_t src[] = {u'a', u'b', 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, -1000), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf16Converter, ToUtf16WithLimitTwoCopiesBothUnits) {
  const char16_t src[] = {u'a', u'b', 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, 2), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{u'a', u'b', 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, ToUtf16LimitCountsUnitsNotBytes) {
  // A limit of 3 copies three units (six bytes), not one and a half.
  const char16_t src[] = {u'a', u'b', u'c', u'd', u'e', 0};
  GuardedBuffer<char16_t> out(11);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 10, ILLCHAR_REPLACE, nullptr, 3), 3u);
  EXPECT_EQ(unitsOf(out, 4), (std::u16string{u'a', u'b', u'c', 0}));
  EXPECT_TRUE(out.untouchedFrom(4));
}

TEST_F(Utf16Converter, ToUtf16LimitOneCopiesOneUnit) {
  const char16_t src[] = {0xD83D, 0xDE00, 0};
  GuardedBuffer<char16_t> out(5);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 4, ILLCHAR_REPLACE, nullptr, 1), 1u);
  EXPECT_EQ(unitsOf(out, 2), (std::u16string{0xD83D, 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf16Converter, ToUtf16StopsAtTheZeroUnitBeforeTheLimit) {
  const char16_t src[] = {u'a', u'b', 0, u'x', u'y', 0};
  GuardedBuffer<char16_t> out(9);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 8, ILLCHAR_REPLACE, nullptr, 100), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{u'a', u'b', 0}));
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST_F(Utf16Converter, ToUtf16StopsWhenTheRoomIsUsedUp) {
  const char16_t src[] = {u'a', u'b', u'c', u'd', 0};
  GuardedBuffer<char16_t> out(3);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr, 100), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{u'a', u'b', 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, ToUtf16WithZeroRoomWritesOnlyTheTerminator) {
  const char16_t src[] = {u'a', u'b', 0};
  GuardedBuffer<char16_t> out(1);
  EXPECT_EQ(conv->toUTF16(out.data(), src, 0, ILLCHAR_REPLACE, nullptr, 100), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, ToUtf16CopiesSurrogatesAndByteOrderMarkUnchanged) {
  // No byte-order mark is removed and surrogates are not checked: unpaired
  // and reversed surrogates, U+FFFE and U+FFFF are copied as they are.
  const std::u16string text{0xFEFF, 0xDC00, 0xD800, 0xD83D, 0xDE00, 0xFFFE, 0xFFFF, 0xD800};
  GuardedBuffer<char16_t> out(text.size() + 1);
  EXPECT_EQ(conv->toUTF16(out.data(), text.c_str(), text.size(), ILLCHAR_REPLACE, nullptr, 100),
            text.size());
  EXPECT_EQ(unitsOf(out, text.size() + 1), text + u'\0');
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, ToUtf16ClearsIllegalAndNeverSetsIt) {
  const char16_t src[] = {0xD800, u'a', 0xDFFF, 0};
  GuardedBuffer<char16_t> out(4);
  bool illegal = true;
  EXPECT_EQ(conv->toUTF16(out.data(), src, 3, ILLCHAR_REPLACE, &illegal, 3), 3u);
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, ToUtf16IgnoresThePolicy) {
  // Even ILLCHAR_STOP copies an unpaired surrogate: nothing is unmappable.
  const char16_t src[] = {u'a', 0xD800, u'b', 0};
  for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE}) {
    GuardedBuffer<char16_t> out(4);
    EXPECT_EQ(conv->toUTF16(out.data(), src, 3, op, nullptr, 3), 3u) << "op " << op;
    EXPECT_EQ(unitsOf(out, 4), (std::u16string{u'a', 0xD800, u'b', 0})) << "op " << op;
    EXPECT_TRUE(out.guardsIntact());
  }
}

// --- getNumBytes ---

TEST_F(Utf16Converter, GetNumBytesOfNullSourceIsZero) {
  EXPECT_EQ(conv->getNumBytes(nullptr, kNpos), 0u);
}

TEST_F(Utf16Converter, GetNumBytesOfZeroUnitsIsZero) {
  const char16_t src[] = {u'a', 0};
  EXPECT_EQ(conv->getNumBytes(src, 0), 0u);
}

TEST_F(Utf16Converter, GetNumBytesIsTwoPerUnitBeforeTheZeroUnit) {
  const char16_t src[] = {u'a', 0x00E9, 0xD83D, 0xDE00, 0xDC00, 0, u'x', 0};
  EXPECT_EQ(conv->getNumBytes(src, kNpos), 10u);
}

TEST_F(Utf16Converter, GetNumBytesCountsAtMostTheGivenUnits) {
  const char16_t src[] = {u'a', u'b', u'c', u'd', 0};
  EXPECT_EQ(conv->getNumBytes(src, 1), 2u);
  EXPECT_EQ(conv->getNumBytes(src, 3), 6u);
  EXPECT_EQ(conv->getNumBytes(src, 9), 8u);  // the zero unit ends first
}

// --- fromUTF16 ---

TEST_F(Utf16Converter, FromUtf16WithNullDestinationGivesZero) {
  const char16_t src[] = {u'a', 0};
  EXPECT_EQ(conv->fromUTF16(nullptr, src, 8, ILLCHAR_REPLACE, nullptr), 0u);
}

TEST_F(Utf16Converter, FromUtf16WithNullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<unsigned char> out(10);
  EXPECT_EQ(conv->fromUTF16(out.data(), nullptr, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf16Converter, FromUtf16CopiesUnitsInMachineOrderAndReturnsBytes) {
  const std::u16string text{u'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00};
  GuardedBuffer<unsigned char> out(2 * text.size() + 2);
  EXPECT_EQ(conv->fromUTF16(out.data(), text.c_str(), 2 * text.size(), ILLCHAR_REPLACE, nullptr),
            10u);
  EXPECT_EQ(out.prefix(12), machineBytes(text + u'\0'));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, FromUtf16WithThreeBytesOfRoomCopiesOneUnit) {
  const char16_t src[] = {u'a', u'b', 0};
  GuardedBuffer<unsigned char> out(3 + 2);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 3, ILLCHAR_REPLACE, nullptr), 2u);
  EXPECT_EQ(out.prefix(4), machineBytes(std::u16string{u'a', 0}));
  EXPECT_TRUE(out.untouchedFrom(4));  // the odd byte of room stays unused
}

TEST_F(Utf16Converter, FromUtf16WithOneByteOfRoomWritesOnlyTheTerminator) {
  const char16_t src[] = {u'a', 0};
  GuardedBuffer<unsigned char> out(1 + 2);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 1, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out.prefix(2), (std::vector<unsigned char>{0, 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf16Converter, FromUtf16WithZeroRoomWritesOnlyTheTerminator) {
  const char16_t src[] = {u'a', 0};
  GuardedBuffer<unsigned char> out(2);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 0, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out.prefix(2), (std::vector<unsigned char>{0, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, FromUtf16OfEmptyTextWritesOnlyTheTerminator) {
  const char16_t src[] = {0, u'a', 0};
  GuardedBuffer<unsigned char> out(8 + 2);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out.prefix(2), (std::vector<unsigned char>{0, 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf16Converter, FromUtf16StopsAtTheZeroUnitWithRoomToSpare) {
  const char16_t src[] = {u'a', u'b', 0, u'c', 0};
  GuardedBuffer<unsigned char> out(20 + 2);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 20, ILLCHAR_REPLACE, nullptr), 4u);
  EXPECT_EQ(out.prefix(6), machineBytes(std::u16string{u'a', u'b', 0}));
  EXPECT_TRUE(out.untouchedFrom(6));
}

TEST_F(Utf16Converter, FromUtf16CopiesSurrogatesAndByteOrderMarkUnchanged) {
  const std::u16string text{0xFEFF, 0xDC00, 0xD800, 0xFFFF, 0xD83D};
  GuardedBuffer<unsigned char> out(2 * text.size() + 2);
  EXPECT_EQ(conv->fromUTF16(out.data(), text.c_str(), 2 * text.size(), ILLCHAR_STOP, nullptr),
            10u);
  EXPECT_EQ(out.prefix(12), machineBytes(text + u'\0'));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, FromUtf16ClearsIllegalAndNeverSetsIt) {
  const char16_t src[] = {0xD800, u'a', 0xDFFF, 0};
  GuardedBuffer<unsigned char> out(6 + 2);
  bool illegal = true;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 6, ILLCHAR_STOP, &illegal), 6u);
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16Converter, FromUtf16IgnoresThePolicy) {
  const char16_t src[] = {u'a', 0xDBFF, u'b', 0};
  for (ILLCHAR_OPTYPE op :
       {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE, static_cast<ILLCHAR_OPTYPE>(7)}) {
    GuardedBuffer<unsigned char> out(6 + 2);
    EXPECT_EQ(conv->fromUTF16(out.data(), src, 6, op, nullptr), 6u) << "op " << op;
    EXPECT_EQ(out.prefix(8), machineBytes(std::u16string{u'a', 0xDBFF, u'b', 0}));
    EXPECT_TRUE(out.guardsIntact());
  }
}

TEST_F(Utf16Converter, FromUtf16BytesMatchIconvLittleEndianUtf16) {
  // iconv gives the UTF-16LE bytes of a mixed text; this machine is
  // little-endian, so the converter's machine-order output must equal them,
  // and toUTF16 must read them back to the same units.
  const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  const auto le = kelulib_test::iconvConvert(utf8, "UTF-8", "UTF-16LE");
  ASSERT_TRUE(le.has_value());
  const std::u16string units = kelulib_test::bytesToUnits(*le);
  ASSERT_EQ(units.size(), 6u);

  GuardedBuffer<unsigned char> bytes(le->size() + 2);
  EXPECT_EQ(conv->fromUTF16(bytes.data(), units.c_str(), le->size(), ILLCHAR_REPLACE, nullptr),
            le->size());
  EXPECT_EQ(bytes.prefix(le->size()), bytesOf(*le));
  EXPECT_TRUE(bytes.guardsIntact());

  GuardedBuffer<char16_t> back(units.size() + 1);
  EXPECT_EQ(conv->toUTF16(back.data(), bytes.data(), units.size(), ILLCHAR_REPLACE, nullptr,
                          static_cast<int>(units.size())),
            units.size());
  EXPECT_EQ(unitsOf(back, units.size()), units);
  EXPECT_EQ(back[units.size()], 0);
  EXPECT_TRUE(back.guardsIntact());
}

// ---------------------------------------------------------------------------
// KelCharSetConverterUTF16Esc
// ---------------------------------------------------------------------------

class Utf16EscConverter : public ::testing::Test {
 protected:
  void SetUp() override {
    conv = KelCharSetConverter::getConverter(KelCS_UTF16ESC);
    ASSERT_NE(conv, nullptr);
    ASSERT_NE(dynamic_cast<KelCharSetConverterUTF16Esc*>(conv), nullptr);
  }

  // toUTF16 of the byte text `text` (zero-terminated by std::string) with
  // room `room`; checks the terminator and guards and returns the units.
  std::u16string decode(const std::string& text, size_t room, int srcLimit, size_t* result) {
    GuardedBuffer<char16_t> out(room + 1);
    bool illegal = true;
    *result = conv->toUTF16(out.data(), text.c_str(), room, ILLCHAR_REPLACE, &illegal, srcLimit);
    EXPECT_FALSE(illegal);
    EXPECT_LE(*result, room);
    if (*result > room) return std::u16string();
    EXPECT_EQ(out[*result], 0) << "terminator";
    EXPECT_TRUE(out.untouchedFrom(*result + 1));
    return unitsOf(out, *result);
  }

  // Convenience: decode with ample room and no bound; checks that the
  // result equals the number of units written.
  std::u16string decode(const std::string& text) {
    size_t result = 0;
    const std::u16string units = decode(text, text.size() + 8, -1, &result);
    EXPECT_EQ(result, units.size());
    return units;
  }

  KelCharSetConverter* conv = nullptr;
};

TEST_F(Utf16EscConverter, RegistryHandsOutTheEscapeConverterFor1202) {
  EXPECT_EQ(static_cast<int>(KelCS_UTF16ESC), 1202);
  KelCharSetConverter* byNumber = KelCharSetConverter::getConverter(static_cast<KelCharSet>(1202));
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF16Esc*>(byNumber), nullptr);
  EXPECT_EQ(dynamic_cast<KelCharSetConverterUTF16*>(byNumber), nullptr);
}

// --- getNumUnits ---

TEST_F(Utf16EscConverter, GetNumUnitsOfNullSourceIsZero) {
  EXPECT_EQ(conv->getNumUnits(nullptr, kNpos), 0u);
  EXPECT_EQ(conv->getNumUnits(nullptr, 6), 0u);
}

TEST_F(Utf16EscConverter, GetNumUnitsOfZeroBytesIsZero) {
  EXPECT_EQ(conv->getNumUnits("abc", 0), 0u);
}

TEST_F(Utf16EscConverter, GetNumUnitsOfPlainBytesIsOnePerByte) {
  EXPECT_EQ(conv->getNumUnits("hello", kNpos), 5u);
  EXPECT_EQ(conv->getNumUnits("\xE9\x80\xFF", kNpos), 3u);
}

TEST_F(Utf16EscConverter, GetNumUnitsOfSixByteEscapeIsOne) {
  EXPECT_EQ(conv->getNumUnits("U+00E9", kNpos), 1u);
  EXPECT_EQ(conv->getNumUnits("U+00E9", 6), 1u);
}

TEST_F(Utf16EscConverter, GetNumUnitsOfFiveBytePartialEscapeIsFive) {
  EXPECT_EQ(conv->getNumUnits("U+00E", kNpos), 5u);
}

TEST_F(Utf16EscConverter, GetNumUnitsCountsAnEscapeOnlyWhenSixBytesRemain) {
  // The six bytes are there, but the byte count ends inside them.
  EXPECT_EQ(conv->getNumUnits("U+00E9", 5), 5u);
  EXPECT_EQ(conv->getNumUnits("aU+00E9", 6), 6u);
  EXPECT_EQ(conv->getNumUnits("aU+00E9", 7), 2u);
}

TEST_F(Utf16EscConverter, GetNumUnitsDoesNotTakeLowerCaseDigitsAsAnEscape) {
  EXPECT_EQ(conv->getNumUnits("U+00e9", kNpos), 6u);
  EXPECT_EQ(conv->getNumUnits("u+00E9", kNpos), 6u);
}

TEST_F(Utf16EscConverter, GetNumUnitsOfMixedTextCountsEscapesAndBytes) {
  EXPECT_EQ(conv->getNumUnits("aU+00E9U+D83DU+DE00", kNpos), 4u);
  EXPECT_EQ(conv->getNumUnits("UU+0041+", kNpos), 3u);
}

TEST_F(Utf16EscConverter, GetNumUnitsStopsAtTheZeroByte) {
  const char text[] = "ab\0U+0041";
  EXPECT_EQ(conv->getNumUnits(text, sizeof text), 2u);
  EXPECT_EQ(conv->getNumUnits(text, kNpos), 2u);
}

// --- toUTF16 ---

TEST_F(Utf16EscConverter, ToUtf16WithNullDestinationGivesZero) {
  EXPECT_EQ(conv->toUTF16(nullptr, "abc", 4, ILLCHAR_REPLACE, nullptr, -1), 0u);
}

TEST_F(Utf16EscConverter, ToUtf16WithNullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<char16_t> out(5);
  EXPECT_EQ(conv->toUTF16(out.data(), nullptr, 4, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf16EscConverter, ToUtf16OfPlainAsciiGivesOneUnitPerByte) {
  EXPECT_EQ(decode("Hello, world!"), u"Hello, world!");
}

TEST_F(Utf16EscConverter, ToUtf16DecodesAnUpperCaseEscape) {
  EXPECT_EQ(decode("U+00E9"), (std::u16string{0x00E9}));
  EXPECT_EQ(decode("U+20AC"), (std::u16string{0x20AC}));
  EXPECT_EQ(decode("U+ABCD"), (std::u16string{0xABCD}));
  EXPECT_EQ(decode("U+FFFF"), (std::u16string{0xFFFF}));
  EXPECT_EQ(decode("U+1234"), (std::u16string{0x1234}));
}

TEST_F(Utf16EscConverter, ToUtf16ReadsTheFirstDigitAsHighest) {
  EXPECT_EQ(decode("U+1000"), (std::u16string{0x1000}));
  EXPECT_EQ(decode("U+0100"), (std::u16string{0x0100}));
  EXPECT_EQ(decode("U+0010"), (std::u16string{0x0010}));
  EXPECT_EQ(decode("U+0001"), (std::u16string{0x0001}));
}

TEST_F(Utf16EscConverter, ToUtf16OfEscapeFollowedByByteGivesUnitThenByte) {
  EXPECT_EQ(decode("U+00E9x"), (std::u16string{0x00E9, u'x'}));
}

TEST_F(Utf16EscConverter, ToUtf16DecodesEscapedSurrogatesUnitByUnit) {
  EXPECT_EQ(decode("aU+D83DU+DE00b"), (std::u16string{u'a', 0xD83D, 0xDE00, u'b'}));
}

TEST_F(Utf16EscConverter, ToUtf16ReadsAnEscapedAsciiUnitAsThatUnit) {
  // No quoting: ASCII text holding an escape reads back as the escaped unit.
  EXPECT_EQ(decode("xU+0041y"), u"xAy");
}

TEST_F(Utf16EscConverter, ToUtf16WritesAnEscapedZeroUnitAndGoesOn) {
  // "U+0000" spells the unit 0; it is written like any other unit and does
  // not end the conversion (only a zero byte does).
  EXPECT_EQ(decode("U+0000a"), (std::u16string{0, u'a'}));
}

TEST_F(Utf16EscConverter, ToUtf16DoesNotDecodeLowerCaseDigits) {
  EXPECT_EQ(decode("U+00e9"), u"U+00e9");
  EXPECT_EQ(decode("U+abcd"), u"U+abcd");
}

TEST_F(Utf16EscConverter, ToUtf16DoesNotDecodeLowerCasePrefix) {
  EXPECT_EQ(decode("u+00E9"), u"u+00E9");
}

TEST_F(Utf16EscConverter, ToUtf16KeepsPartialEscapesAsBytes) {
  EXPECT_EQ(decode("U"), u"U");
  EXPECT_EQ(decode("U+"), u"U+");
  EXPECT_EQ(decode("U+0"), u"U+0");
  EXPECT_EQ(decode("U+00E"), u"U+00E");
  EXPECT_EQ(decode("U+00EG"), u"U+00EG");
  EXPECT_EQ(decode("U-00E9"), u"U-00E9");
  EXPECT_EQ(decode("U+ 0E9"), u"U+ 0E9");
}

TEST_F(Utf16EscConverter, ToUtf16FindsAnEscapeRightAfterAStrayU) {
  EXPECT_EQ(decode("UU+0041"), u"UA");
  EXPECT_EQ(decode("U+U+0041"), u"U+A");
}

TEST_F(Utf16EscConverter, ToUtf16SignExtendsByteE9ToFFE9) {
  EXPECT_EQ(decode("\xE9"), (std::u16string{0xFFE9}));
}

TEST_F(Utf16EscConverter, ToUtf16SignExtendsEveryByteFrom80ToFF) {
  for (unsigned b = 0x80; b <= 0xFF; ++b) {
    const std::string text(1, static_cast<char>(b));
    EXPECT_EQ(decode(text), (std::u16string{static_cast<char16_t>(0xFF00 | b)})) << "byte " << b;
  }
}

TEST_F(Utf16EscConverter, ToUtf16KeepsEveryByteFrom01To7FAsItself) {
  for (unsigned b = 0x01; b <= 0x7F; ++b) {
    const std::string text(1, static_cast<char>(b));
    EXPECT_EQ(decode(text), (std::u16string{static_cast<char16_t>(b)})) << "byte " << b;
  }
}

TEST_F(Utf16EscConverter, ToUtf16PositiveLimitBoundsTheBytesRead) {
  size_t result = 0;
  EXPECT_EQ(decode("abcdef", 10, 3, &result), u"abc");
  EXPECT_EQ(result, 3u);
  EXPECT_EQ(decode("abcdef", 10, 1, &result), u"a");
  EXPECT_EQ(result, 1u);
}

TEST_F(Utf16EscConverter, ToUtf16LimitCountsBytesNotUnits) {
  // The escape takes six bytes: a limit of 7 leaves room for one more byte.
  size_t result = 0;
  EXPECT_EQ(decode("U+00E9abc", 10, 7, &result), (std::u16string{0x00E9, u'a'}));
  EXPECT_EQ(result, 2u);
  EXPECT_EQ(decode("U+00E9abc", 10, 6, &result), (std::u16string{0x00E9}));
  EXPECT_EQ(result, 1u);
}

TEST_F(Utf16EscConverter, ToUtf16ReadsAWholeEscapeThatCrossesTheLimit) {
  // The limit is checked after each unit, so an escape starting before it is
  // decoded whole.
  size_t result = 0;
  EXPECT_EQ(decode("U+00E9abc", 10, 3, &result), (std::u16string{0x00E9}));
  EXPECT_EQ(result, 1u);
  EXPECT_EQ(decode("aU+00E9bc", 10, 2, &result), (std::u16string{u'a', 0x00E9}));
  EXPECT_EQ(result, 2u);
}

TEST_F(Utf16EscConverter, ToUtf16ZeroLimitSetsNoBound) {
  size_t result = 0;
  EXPECT_EQ(decode("abU+00E9cd", 10, 0, &result), (std::u16string{u'a', u'b', 0x00E9, u'c', u'd'}));
  EXPECT_EQ(result, 5u);
}

TEST_F(Utf16EscConverter, ToUtf16NegativeLimitSetsNoBound) {
  size_t result = 0;
  EXPECT_EQ(decode("abU+00E9cd", 10, -1, &result), (std::u16string{u'a', u'b', 0x00E9, u'c', u'd'}));
  EXPECT_EQ(result, 5u);
  EXPECT_EQ(decode("abU+00E9cd", 10, -77, &result),
            (std::u16string{u'a', u'b', 0x00E9, u'c', u'd'}));
  EXPECT_EQ(result, 5u);
}

TEST_F(Utf16EscConverter, ToUtf16LimitBeyondTheTextStopsAtTheZeroByte) {
  size_t result = 0;
  EXPECT_EQ(decode("ab", 10, 50, &result), u"ab");
  EXPECT_EQ(result, 2u);
}

TEST_F(Utf16EscConverter, ToUtf16StopsWhenTheRoomIsUsedUp) {
  size_t result = 0;
  EXPECT_EQ(decode("aU+00E9bcd", 2, -1, &result), (std::u16string{u'a', 0x00E9}));
  EXPECT_EQ(result, 2u);
}

TEST_F(Utf16EscConverter, ToUtf16WithZeroRoomWritesOnlyTheTerminator) {
  GuardedBuffer<char16_t> out(1);
  EXPECT_EQ(conv->toUTF16(out.data(), "abc", 0, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, ToUtf16OfEmptyTextWritesOnlyTheTerminator) {
  GuardedBuffer<char16_t> out(5);
  EXPECT_EQ(conv->toUTF16(out.data(), "", 4, ILLCHAR_REPLACE, nullptr, -1), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf16EscConverter, ToUtf16StopsAtTheZeroByte) {
  const char text[] = "ab\0cd";
  GuardedBuffer<char16_t> out(9);
  EXPECT_EQ(conv->toUTF16(out.data(), text, 8, ILLCHAR_REPLACE, nullptr, -1), 2u);
  EXPECT_EQ(unitsOf(out, 3), (std::u16string{u'a', u'b', 0}));
  EXPECT_TRUE(out.untouchedFrom(3));
}

TEST_F(Utf16EscConverter, ToUtf16ClearsIllegalAndNeverSetsIt) {
  GuardedBuffer<char16_t> out(9);
  bool illegal = true;
  EXPECT_EQ(conv->toUTF16(out.data(), "\xFF\x80U+00e9", 8, ILLCHAR_STOP, &illegal, -1), 8u);
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, ToUtf16IgnoresThePolicy) {
  // ILLCHAR_STOP does not stop at a byte 0x80-0xFF: nothing is unmappable.
  for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE}) {
    GuardedBuffer<char16_t> out(4);
    EXPECT_EQ(conv->toUTF16(out.data(), "a\xE9z", 3, op, nullptr, -1), 3u) << "op " << op;
    EXPECT_EQ(unitsOf(out, 4), (std::u16string{u'a', 0xFFE9, u'z', 0})) << "op " << op;
    EXPECT_TRUE(out.guardsIntact());
  }
}

// --- getNumBytes ---

TEST_F(Utf16EscConverter, GetNumBytesOfNullSourceIsZero) {
  EXPECT_EQ(conv->getNumBytes(nullptr, kNpos), 0u);
}

TEST_F(Utf16EscConverter, GetNumBytesOfZeroUnitsIsZero) {
  const char16_t src[] = {0x00E9, 0};
  EXPECT_EQ(conv->getNumBytes(src, 0), 0u);
}

TEST_F(Utf16EscConverter, GetNumBytesIsOneBelow80AndSixFrom80On) {
  const char16_t ascii[] = {0x7F, 0};
  const char16_t wide[] = {0x80, 0};
  const char16_t top[] = {0xFFFF, 0};
  EXPECT_EQ(conv->getNumBytes(ascii, kNpos), 1u);
  EXPECT_EQ(conv->getNumBytes(wide, kNpos), 6u);
  EXPECT_EQ(conv->getNumBytes(top, kNpos), 6u);
}

TEST_F(Utf16EscConverter, GetNumBytesOfMixedTextIsNineteen) {
  const char16_t src[] = {u'a', 0x00E9, 0xD83D, 0xDE00, 0};
  EXPECT_EQ(conv->getNumBytes(src, kNpos), 19u);
}

TEST_F(Utf16EscConverter, GetNumBytesCountsAtMostTheGivenUnits) {
  const char16_t src[] = {u'a', 0x00E9, u'b', 0, u'c', 0};
  EXPECT_EQ(conv->getNumBytes(src, 1), 1u);
  EXPECT_EQ(conv->getNumBytes(src, 2), 7u);
  EXPECT_EQ(conv->getNumBytes(src, 5), 8u);  // the zero unit ends first
}

// --- fromUTF16 ---

TEST_F(Utf16EscConverter, FromUtf16WithNullDestinationGivesZero) {
  const char16_t src[] = {u'a', 0};
  EXPECT_EQ(conv->fromUTF16(nullptr, src, 8, ILLCHAR_REPLACE, nullptr), 0u);
}

TEST_F(Utf16EscConverter, FromUtf16WithNullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<unsigned char> out(9);
  EXPECT_EQ(conv->fromUTF16(out.data(), nullptr, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
}

TEST_F(Utf16EscConverter, FromUtf16OfMixedTextWritesNineteenAsciiBytes) {
  const char16_t src[] = {u'a', 0x00E9, 0xD83D, 0xDE00, 0};
  GuardedBuffer<unsigned char> out(19 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 19, ILLCHAR_REPLACE, nullptr), 19u);
  EXPECT_EQ(out.prefix(20), bytesOf(std::string("aU+00E9U+D83DU+DE00", 20)));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16WritesUpperCaseHexDigits) {
  const char16_t src[] = {0xABCD, 0x00ff, 0xFFFF, 0};
  GuardedBuffer<unsigned char> out(18 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 18, ILLCHAR_REPLACE, nullptr), 18u);
  EXPECT_EQ(out.prefix(19), bytesOf(std::string("U+ABCDU+00FFU+FFFF", 19)));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16WritesUnitsBelow80AsOneByte) {
  const char16_t src[] = {0x01, u'A', 0x7F, 0};
  GuardedBuffer<unsigned char> out(3 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 3, ILLCHAR_REPLACE, nullptr), 3u);
  EXPECT_EQ(out.prefix(4), (std::vector<unsigned char>{0x01, 'A', 0x7F, 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16OfEmptyTextWritesAZeroByteAndReturnsZero) {
  const char16_t src[] = {0, u'a', 0};
  GuardedBuffer<unsigned char> out(8 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 8, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf16EscConverter, FromUtf16WithZeroRoomWritesOnlyTheTerminator) {
  const char16_t src[] = {u'a', 0x00E9, 0};
  GuardedBuffer<unsigned char> out(1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 0, ILLCHAR_REPLACE, nullptr), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16StopsWhenSixBytesDoNotFit) {
  // After "a", five bytes remain: the escape of U+00E9 does not fit, and the
  // conversion ends there rather than skipping to the "b" after it.
  const char16_t src[] = {u'a', 0x00E9, u'b', 0};
  GuardedBuffer<unsigned char> out(6 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 6, ILLCHAR_REPLACE, nullptr), 1u);
  EXPECT_EQ(out.prefix(2), (std::vector<unsigned char>{'a', 0}));
  EXPECT_TRUE(out.untouchedFrom(2));
}

TEST_F(Utf16EscConverter, FromUtf16WritesAnEscapeThatExactlyFits) {
  const char16_t src[] = {u'a', 0x00E9, u'b', 0};
  GuardedBuffer<unsigned char> out(7 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 7, ILLCHAR_REPLACE, nullptr), 7u);
  EXPECT_EQ(out.prefix(8), bytesOf(std::string("aU+00E9", 8)));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16StopsWhenNoRoomIsLeftForAnAsciiByte) {
  const char16_t src[] = {u'a', u'b', u'c', 0};
  GuardedBuffer<unsigned char> out(2 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 2, ILLCHAR_REPLACE, nullptr), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<unsigned char>{'a', 'b', 0}));
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16WithFiveBytesOfRoomWritesNoEscape) {
  const char16_t src[] = {0x20AC, 0};
  GuardedBuffer<unsigned char> out(5 + 1);
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 5, ILLCHAR_ESCAPE, nullptr), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_TRUE(out.untouchedFrom(1));
}

TEST_F(Utf16EscConverter, FromUtf16ClearsIllegalAndNeverSetsIt) {
  const char16_t src[] = {0xD800, 0xFFFE, u'a', 0};
  GuardedBuffer<unsigned char> out(13 + 1);
  bool illegal = true;
  EXPECT_EQ(conv->fromUTF16(out.data(), src, 13, ILLCHAR_STOP, &illegal), 13u);
  EXPECT_FALSE(illegal);
  EXPECT_TRUE(out.guardsIntact());
}

TEST_F(Utf16EscConverter, FromUtf16IgnoresThePolicy) {
  // Every unit is representable: STOP does not stop and REPLACE writes no
  // "?".
  const char16_t src[] = {0x20AC, u'x', 0};
  for (ILLCHAR_OPTYPE op :
       {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE, static_cast<ILLCHAR_OPTYPE>(7)}) {
    GuardedBuffer<unsigned char> out(7 + 1);
    EXPECT_EQ(conv->fromUTF16(out.data(), src, 7, op, nullptr), 7u) << "op " << op;
    EXPECT_EQ(out.prefix(8), bytesOf(std::string("U+20ACx", 8))) << "op " << op;
    EXPECT_TRUE(out.guardsIntact());
  }
}

// --- every unit ---

TEST_F(Utf16EscConverter, EveryUnitRoundTripsThroughTheEscapeForm) {
  // Expected text by the form's rule: the byte itself below 0x80, otherwise
  // "U+%04X" (upper-case); the zero unit gives the empty text.
  for (uint32_t u = 0; u <= 0xFFFF; ++u) {
    const char16_t src[] = {static_cast<char16_t>(u), 0};
    std::string expected;
    if (u != 0 && u < 0x80) {
      expected.assign(1, static_cast<char>(u));
    } else if (u >= 0x80) {
      char text[8];
      std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(u));
      expected = text;
    }

    GuardedBuffer<unsigned char> bytes(6 + 1);
    const size_t written = conv->fromUTF16(bytes.data(), src, 6, ILLCHAR_REPLACE, nullptr);
    ASSERT_EQ(written, expected.size()) << "unit " << u;
    ASSERT_EQ(bytes.prefix(written + 1), bytesOf(std::string(expected.c_str(), expected.size() + 1)))
        << "unit " << u;
    ASSERT_TRUE(bytes.guardsIntact()) << "unit " << u;
    ASSERT_EQ(conv->getNumBytes(src, kNpos), expected.size()) << "unit " << u;

    GuardedBuffer<char16_t> units(1 + 1);
    const size_t read = conv->toUTF16(units.data(), bytes.data(), 1, ILLCHAR_REPLACE, nullptr, -1);
    if (u == 0) {
      ASSERT_EQ(read, 0u);
      ASSERT_EQ(units[0], 0);
      ASSERT_TRUE(units.untouchedFrom(1));
    } else {
      ASSERT_EQ(read, 1u) << "unit " << u;
      ASSERT_EQ(units[0], u) << "unit " << u;
      ASSERT_EQ(units[1], 0) << "unit " << u;
      ASSERT_TRUE(units.guardsIntact()) << "unit " << u;
      ASSERT_EQ(conv->getNumUnits(bytes.data(), kNpos), 1u) << "unit " << u;
    }
  }
}

TEST_F(Utf16EscConverter, AllNonZeroUnitsInOneTextRoundTrip) {
  std::u16string text;
  std::string expected;
  for (uint32_t u = 1; u <= 0xFFFF; ++u) {
    text.push_back(static_cast<char16_t>(u));
    if (u < 0x80) {
      expected.push_back(static_cast<char>(u));
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "U+%04X", static_cast<unsigned>(u));
      expected += escape;
    }
  }
  ASSERT_EQ(conv->getNumBytes(text.c_str(), kNpos), expected.size());

  GuardedBuffer<unsigned char> bytes(expected.size() + 1);
  ASSERT_EQ(conv->fromUTF16(bytes.data(), text.c_str(), expected.size(), ILLCHAR_REPLACE, nullptr),
            expected.size());
  EXPECT_EQ(bytes.prefix(expected.size() + 1),
            bytesOf(std::string(expected.c_str(), expected.size() + 1)));
  EXPECT_TRUE(bytes.guardsIntact());

  EXPECT_EQ(conv->getNumUnits(bytes.data(), kNpos), text.size());
  GuardedBuffer<char16_t> units(text.size() + 1);
  ASSERT_EQ(conv->toUTF16(units.data(), bytes.data(), text.size(), ILLCHAR_REPLACE, nullptr, -1),
            text.size());
  EXPECT_TRUE(unitsOf(units, text.size()) == text);
  EXPECT_EQ(units[text.size()], 0);
  EXPECT_TRUE(units.guardsIntact());
}

}  // namespace
