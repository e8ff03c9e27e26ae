// kelconv's US-ASCII converter: bytes and characters 0x00-0x7F as they are,
// everything else invalid input or unrepresentable, under each policy of
// the converter interface.
#include "tools/kelconv/ascii_converter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kelconv::AsciiConverter;

struct Decoded {
  std::u16string units;
  bool illegal;
};

Decoded decode(const std::string& bytes, ILLCHAR_OPTYPE op, size_t room = 64) {
  wchar16 units[260];
  EXPECT_LT(room, sizeof units / sizeof units[0]);
  bool illegal = false;
  const size_t count =
      AsciiConverter::instance().toUTF16(units, bytes.c_str(), room, op, &illegal, -1);
  EXPECT_EQ(units[count], 0) << "terminator";
  return {std::u16string(units, count), illegal};
}

struct Encoded {
  std::string bytes;
  bool illegal;
};

Encoded encode(const std::u16string& units, ILLCHAR_OPTYPE op, size_t room = 64) {
  char bytes[80];
  EXPECT_LT(room, sizeof bytes);
  bool illegal = false;
  const size_t count =
      AsciiConverter::instance().fromUTF16(bytes, units.c_str(), room, op, &illegal);
  EXPECT_EQ(bytes[count], 0) << "terminator";
  return {std::string(bytes, count), illegal};
}

TEST(AsciiConverter, ReadsSevenBitBytesAsThemselves) {
  std::string all;
  std::u16string expected;
  for (int b = 1; b < 0x80; ++b) {
    all += static_cast<char>(b);
    expected += static_cast<char16_t>(b);
  }
  const Decoded decoded = decode(all, ILLCHAR_STOP, 200);
  EXPECT_EQ(decoded.units, expected);
  EXPECT_FALSE(decoded.illegal);
}

TEST(AsciiConverter, AnEightBitByteIsInvalid) {
  EXPECT_EQ(decode("a\xE9"
                   "b",
                   ILLCHAR_REPLACE)
                .units,
            u"a\uFFFDb");
  EXPECT_TRUE(decode("a\xE9"
                     "b",
                     ILLCHAR_REPLACE)
                  .illegal);
  EXPECT_EQ(decode("a\x80"
                   "b",
                   ILLCHAR_STOP)
                .units,
            u"a");
  EXPECT_EQ(decode("abc", ILLCHAR_STOP, 2).units, u"ab");
}

TEST(AsciiConverter, WritesSevenBitCharactersAsThemselves) {
  const Encoded encoded = encode(u"Plain text, DEL \x7F.", ILLCHAR_STOP);
  EXPECT_EQ(encoded.bytes, "Plain text, DEL \x7F.");
  EXPECT_FALSE(encoded.illegal);
}

TEST(AsciiConverter, WhatItLacksFollowsThePolicy) {
  EXPECT_EQ(encode(u"caf\u00E9!", ILLCHAR_REPLACE).bytes, "caf?!");
  EXPECT_TRUE(encode(u"caf\u00E9!", ILLCHAR_REPLACE).illegal);
  EXPECT_EQ(encode(u"caf\u00E9!", ILLCHAR_ESCAPE).bytes, "cafU+00E9!");
  EXPECT_EQ(encode(u"caf\u00E9!", ILLCHAR_STOP).bytes, "caf");
  // An escape that does not fit ends the output.
  EXPECT_EQ(encode(u"caf\u00E9!", ILLCHAR_ESCAPE, 8).bytes, "caf");
  EXPECT_EQ(encode(u"\U0001F600", ILLCHAR_ESCAPE).bytes, "U+D83DU+DE00");
}

TEST(AsciiConverter, SizesAndCounts) {
  AsciiConverter& ascii = AsciiConverter::instance();
  EXPECT_EQ(ascii.getMinUnitSize(), 1u);
  EXPECT_EQ(ascii.getMaxUnitSize(), 1u);
  EXPECT_EQ(ascii.getNullCharSize(), 1u);
  EXPECT_EQ(ascii.getNumUnits("abc\xE9"
                              "d",
                              static_cast<size_t>(-1)),
            3u);
  EXPECT_EQ(ascii.getNumBytes(u"ab\u00E9", static_cast<size_t>(-1)), 3u);
  EXPECT_EQ(ascii.toUTF16(nullptr, "a", 1, ILLCHAR_STOP, nullptr, -1), 0u);
}

}  // namespace
