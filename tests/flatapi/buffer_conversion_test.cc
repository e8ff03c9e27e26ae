// Tests of the flat buffer functions: LocalToUTF8, UTF8ToLocal, LocalToUTF16,
// UTF16ToLocal, UTF8ToUTF16, UTF16ToUTF8, the path pair, and the counting and
// unit-size functions.
//
// Every output goes into a GuardedBuffer of exactly dstSize elements, so a
// write past room + terminator shows up as a broken guard. Expected texts
// come from glibc iconv where it has an opinion, otherwise from the
// converters' rules (replacement "?" / U+FFFD, the "U+XXXX" escape, room).
//
// The path functions and KelCS_OS_DEFAULT follow the code page this process
// was started with; tests that need a particular one skip under any other.
// The OsCodePageProcess tests run those cases in child processes with a
// controlled locale.
#include <KelULib.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/iconv_oracle.h"

namespace {

using kelulib_test::bytesToUnits;
using kelulib_test::GuardedBuffer;
using kelulib_test::iconvConvert;
using kelulib_test::unitsToBytes;

// Ids that never get a converter of their own: they read and write UTF-8.
constexpr KelCharSet kCp437 = static_cast<KelCharSet>(437);
constexpr KelCharSet kIso2022Jp = KelCS_ISO_2022JP;  // 50220

// A length above the 32 KiB up to which the scratch text stays on the stack.
constexpr size_t kLongLength = 100000;

// ---------------------------------------------------------------------------
// Helpers

bool littleEndian() {
  const uint16_t one = 1;
  unsigned char first = 0;
  std::memcpy(&first, &one, 1);
  return first == 1;
}

// iconv's names of UTF-16 and UTF-32 in this machine's byte order, without
// a byte-order mark.
const char* machineUtf16() { return littleEndian() ? "UTF-16LE" : "UTF-16BE"; }
const char* machineUtf32() { return littleEndian() ? "UTF-32LE" : "UTF-32BE"; }

// The first n bytes / units of a buffer.
std::string bytesOf(const GuardedBuffer<char>& buffer, size_t n) {
  const std::vector<char> prefix = buffer.prefix(n);
  return std::string(prefix.begin(), prefix.end());
}
std::u16string unitsOf(const GuardedBuffer<wchar16>& buffer, size_t n) {
  const std::vector<wchar16> prefix = buffer.prefix(n);
  return std::u16string(prefix.begin(), prefix.end());
}

// `text` followed by `nullSize` zero bytes: what a narrow output must hold.
std::string terminated(std::string text, size_t nullSize = 1) {
  text.append(nullSize, '\0');
  return text;
}
std::u16string terminated16(std::u16string text) {
  text.push_back(u'\0');
  return text;
}

// UTF-16 units as machine-order bytes with a zero unit after them: a UTF-16
// "local" text.
std::string utf16Text(const std::u16string& units) { return unitsToBytes(terminated16(units)); }

// 32-bit values as machine-order bytes with a zero value after them: a
// UTF-32 "local" text.
std::string utf32Text(std::initializer_list<uint32_t> values) {
  std::string bytes;
  for (uint32_t value : values) {
    char raw[4];
    std::memcpy(raw, &value, 4);
    bytes.append(raw, 4);
  }
  bytes.append(4, '\0');
  return bytes;
}

std::string repeated(const std::string& chunk, size_t count) {
  std::string text;
  text.reserve(chunk.size() * count);
  for (size_t i = 0; i < count; ++i) text += chunk;
  return text;
}

// Every byte 0x01-0xFF that Windows-1252 maps: all but 0x81, 0x8D, 0x8F,
// 0x90 and 0x9D.
std::string windows1252MappedBytes() {
  std::string bytes;
  for (int b = 1; b <= 0xFF; ++b) {
    if (b == 0x81 || b == 0x8D || b == 0x8F || b == 0x90 || b == 0x9D) continue;
    bytes.push_back(static_cast<char>(b));
  }
  return bytes;
}

// Every byte 0x01-0xFF (all of them are ISO 8859-1 characters).
std::string latin1Bytes() {
  std::string bytes;
  for (int b = 1; b <= 0xFF; ++b) bytes.push_back(static_cast<char>(b));
  return bytes;
}

// iconv's answer, or a failed assertion in the caller (ASSERT_TRUE on the
// optional).
std::optional<std::string> oracle(const std::string& input, const char* from, const char* to) {
  return iconvConvert(input, from, to);
}

// iconv's answer to a long input: its size, and whether a candidate is it.
kelulib_test::OracleAnswer longOracle(const std::string& input, const char* from, const char* to) {
  return kelulib_test::iconvAnswer(input, from, to);
}

int sizeArg(size_t size) { return static_cast<int>(size); }

// Which converter KelCS_OS_DEFAULT resolved to in this process.
enum class OsSet { kUtf8, kWindows1252, kLatin1, kOther };

OsSet osSet() {
  KelCharSetConverter* os = KelCharSetConverter::getConverter(KelCS_OS_DEFAULT);
  if (os == KelCharSetConverter::getConverter(KelCS_UTF8)) return OsSet::kUtf8;
  if (os == KelCharSetConverter::getConverter(KelCS_WCP1252)) return OsSet::kWindows1252;
  if (os == KelCharSetConverter::getConverter(KelCS_ISO_8859_1)) return OsSet::kLatin1;
  return OsSet::kOther;
}

const char* osSetName(OsSet set) {
  switch (set) {
    case OsSet::kUtf8:
      return "UTF-8 (e.g. LC_ALL=C.UTF-8)";
    case OsSet::kWindows1252:
      return "Windows-1252 (e.g. LC_ALL=en_US.CP1252)";
    case OsSet::kLatin1:
      return "ISO 8859-1 (e.g. LC_ALL=de_DE.ISO-8859-1)";
    case OsSet::kOther:
      break;
  }
  return "another converter";
}

std::string skipReason(OsSet needed) {
  return std::string("needs the OS code page to resolve to ") + osSetName(needed) +
         "; this process resolved it to " + osSetName(osSet());
}

// Converters that keep ASCII bytes as they are and have one-byte
// terminators, so that ASCII paths pass through them unchanged.
bool osIsAsciiTransparent() { return osSet() != OsSet::kOther; }

const char* const kAsciiTransparentReason =
    "needs an OS code page of UTF-8, Windows-1252 or ISO 8859-1 (ASCII kept as it is); "
    "this process resolved KelCS_OS_DEFAULT to another converter";

// ===========================================================================
// Null pointers: every converting function returns 0 for a null dst or a
// null src, and writes nothing.

struct FlatConversion {
  const char* name;
  // Calls the function with `dst` (room for 8 units of its output) and the
  // source "abc" in its input form, or a null source.
  size_t (*call)(void* dst, bool withSource);
};

const FlatConversion kFlatConversions[] = {
    {"LocalToUTF8",
     [](void* dst, bool withSource) {
       return LocalToUTF8(static_cast<char*>(dst), withSource ? "abc" : nullptr, 8, KelCS_WCP1252);
     }},
    {"UTF8ToLocal",
     [](void* dst, bool withSource) {
       return UTF8ToLocal(static_cast<char*>(dst), withSource ? "abc" : nullptr, 8, KelCS_WCP1252);
     }},
    {"LocalToUTF16",
     [](void* dst, bool withSource) {
       return LocalToUTF16(static_cast<wchar16*>(dst), withSource ? "abc" : nullptr, 8,
                           KelCS_WCP1252);
     }},
    {"UTF16ToLocal",
     [](void* dst, bool withSource) {
       return UTF16ToLocal(static_cast<char*>(dst), withSource ? u"abc" : nullptr, 8,
                           KelCS_WCP1252);
     }},
    {"UTF8ToUTF16",
     [](void* dst, bool withSource) {
       return UTF8ToUTF16(static_cast<wchar16*>(dst), withSource ? "abc" : nullptr, 8);
     }},
    {"UTF16ToUTF8",
     [](void* dst, bool withSource) {
       return UTF16ToUTF8(static_cast<char*>(dst), withSource ? u"abc" : nullptr, 8);
     }},
    {"LocalPathToUTF8",
     [](void* dst, bool withSource) {
       return LocalPathToUTF8(static_cast<char*>(dst), withSource ? "abc" : nullptr, 8);
     }},
    {"UTF8ToLocalPath",
     [](void* dst, bool withSource) {
       return UTF8ToLocalPath(static_cast<char*>(dst), withSource ? "abc" : nullptr, 8);
     }},
};

class BufferConversionNullPointers : public testing::TestWithParam<FlatConversion> {};

TEST_P(BufferConversionNullPointers, NullDstReturnsZero) {
  EXPECT_EQ(GetParam().call(nullptr, true), 0u);
}

TEST_P(BufferConversionNullPointers, NullSrcReturnsZeroAndWritesNothing) {
  GuardedBuffer<wchar16> dst(8);
  EXPECT_EQ(GetParam().call(dst.data(), false), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

INSTANTIATE_TEST_SUITE_P(EveryConvertingFunction, BufferConversionNullPointers,
                         testing::ValuesIn(kFlatConversions),
                         [](const testing::TestParamInfo<FlatConversion>& info) {
                           return std::string(info.param.name);
                         });

// ===========================================================================
// LocalToUTF8

TEST(BufferConversionLocalToUTF8, DstSizeZeroReturnsZeroAndWritesNothing) {
  GuardedBuffer<char> dst(0);
  EXPECT_EQ(LocalToUTF8(dst.data(), "abc", 0, KelCS_WCP1252), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionLocalToUTF8, DstSizeOneWritesOnlyTheTerminator) {
  for (KelCharSet charSet : {KelCS_WCP1252, KelCS_UTF8}) {
    GuardedBuffer<char> dst(1);
    EXPECT_EQ(LocalToUTF8(dst.data(), "abc", 1, charSet), 0u) << charSet;
    EXPECT_EQ(dst[0], '\0') << charSet;
    EXPECT_TRUE(dst.guardsIntact()) << charSet;
  }
}

TEST(BufferConversionLocalToUTF8, EmptySrcWritesOneZeroByte) {
  // The output is UTF-8 whatever the local set, so one zero byte even for
  // sets with wider terminators.
  for (KelCharSet charSet : {KelCS_WCP1252, KelCS_UTF8, KelCS_UTF16, KelCS_UTF32}) {
    GuardedBuffer<char> dst(4);
    EXPECT_EQ(LocalToUTF8(dst.data(), "", 4, charSet), 0u) << charSet;
    EXPECT_EQ(dst[0], '\0') << charSet;
    EXPECT_TRUE(dst.untouchedFrom(1)) << charSet;
  }
}

TEST(BufferConversionLocalToUTF8, ConvertsWindows1252LikeIconv) {
  const std::string src = windows1252MappedBytes();
  const auto expected = oracle(src, "CP1252", "UTF-8");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, ConvertsLatin1LikeIconv) {
  const std::string src = latin1Bytes();
  const auto expected = oracle(src, "ISO-8859-1", "UTF-8");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_ISO_8859_1),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, ValidUtf8PassesThrough) {
  const std::string src = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80";  // a é 中 😀
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_UTF8), src.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, InvalidUtf8FallsBackToLatin1) {
  // 0xE9 alone is not UTF-8; read as ISO 8859-1 it is U+00E9.
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(LocalToUTF8(dst.data(), "\xE9", 3, KelCS_UTF8), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("\xC3\xA9"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, FallbackReadsTheWholeTextAsLatin1) {
  // The valid "é" (C3 A9) is read as two ISO 8859-1 characters as well, not
  // only the stray 0xE9.
  const std::string src = "caf\xC3\xA9 \xE9t\xE9";
  const auto expected = oracle(src, "ISO-8859-1", "UTF-8");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_UTF8),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, UnmappedWindows1252ByteFallsBackToLatin1) {
  // 0x81 has no Windows-1252 character, so the whole text is ISO 8859-1:
  // 0x80 becomes U+0080, not the euro sign.
  const std::string src = "\x80\x81";
  const auto expected = oracle(src, "ISO-8859-1", "UTF-8");
  ASSERT_TRUE(expected.has_value());
  ASSERT_EQ(*expected, "\xC2\x80\xC2\x81");
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, IdWithoutConverterReadsUtf8) {
  // In code page 437 the bytes C3 A9 would be two characters; the UTF-8
  // fallback reads them as one.
  for (KelCharSet charSet : {kCp437, kIso2022Jp}) {
    GuardedBuffer<char> dst(3);
    EXPECT_EQ(LocalToUTF8(dst.data(), "\xC3\xA9", 3, charSet), 2u) << charSet;
    EXPECT_EQ(bytesOf(dst, 3), terminated("\xC3\xA9")) << charSet;
    EXPECT_TRUE(dst.guardsIntact()) << charSet;
  }
}

TEST(BufferConversionLocalToUTF8, UnitEscapeFormIsDecoded) {
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(LocalToUTF8(dst.data(), "aU+00E9", 4, KelCS_UTF16ESC), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("a\xC3\xA9"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, UnitEscapeFormHighByteIsNotReadAsLatin1) {
  // The escape form reads 0xE9 as U+FFE9 (sign-extended) and never reports
  // a bad byte, so there is no ISO 8859-1 fallback: U+FFE9 is EF BF A9.
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(LocalToUTF8(dst.data(), "\xE9", 4, KelCS_UTF16ESC), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("\xEF\xBF\xA9"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, Utf16LocalSetGivesEmptyText) {
  // The UTF-16 converter copies nothing under the unbounded source limit
  // (-1) that these functions pass, so the result is an empty text.
  const std::string src = utf16Text(u"ab");
  GuardedBuffer<char> dst(8);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.data(), 8, KelCS_UTF16), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionLocalToUTF8, ScratchRoomIsTheInputLengthInBytes) {
  // The UTF-16 scratch holds as many units as the input has bytes before
  // its first zero byte. The UTF-32 text "AB" (41 00 00 00 42 00 00 00) has
  // one such byte, so only "A" is converted.
  const std::string src = utf32Text({0x41, 0x42});
  GuardedBuffer<char> dst(8);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.data(), 8, KelCS_UTF32), 1u);
  EXPECT_EQ(bytesOf(dst, 2), terminated("A"));
  EXPECT_TRUE(dst.untouchedFrom(2));
}

TEST(BufferConversionLocalToUTF8, RoomIsDstSizeMinusOne) {
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(LocalToUTF8(dst.data(), "abc", 3, KelCS_WCP1252), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, TruncatesBeforeACharacterThatDoesNotFit) {
  // "é" takes two UTF-8 bytes; with room 2 only "a" fits, with room 3 both.
  {
    GuardedBuffer<char> dst(3);
    EXPECT_EQ(LocalToUTF8(dst.data(), "a\xE9", 3, KelCS_ISO_8859_1), 1u);
    EXPECT_EQ(bytesOf(dst, 2), terminated("a"));
    EXPECT_TRUE(dst.untouchedFrom(2));
  }
  {
    GuardedBuffer<char> dst(4);
    EXPECT_EQ(LocalToUTF8(dst.data(), "a\xE9", 4, KelCS_ISO_8859_1), 3u);
    EXPECT_EQ(bytesOf(dst, 4), terminated("a\xC3\xA9"));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionLocalToUTF8, NegativeDstSizeIsUnboundedRoom) {
  const std::string src = "abc\xE9\x80";
  const auto expected = oracle(src, "CP1252", "UTF-8");
  ASSERT_TRUE(expected.has_value());
  for (int dstSize : {-1, INT_MIN}) {
    GuardedBuffer<char> dst(expected->size() + 1);
    EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), dstSize, KelCS_WCP1252), expected->size())
        << dstSize;
    EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected)) << dstSize;
    EXPECT_TRUE(dst.guardsIntact()) << dstSize;
  }
}

TEST(BufferConversionLocalToUTF8, OsDefaultUnderUtf8ReadsUtf8) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(LocalToUTF8(dst.data(), "\xE2\x82\xAC", 4, KelCS_OS_DEFAULT), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("\xE2\x82\xAC"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, OsDefaultUnderWindows1252ReadsWindows1252) {
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(LocalToUTF8(dst.data(), "\x80", 4, KelCS_OS_DEFAULT), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("\xE2\x82\xAC"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, LongInputIsConvertedWhole) {
  const std::string src = repeated("abc\xE9\x80\xDF Z\x9C\xFF", kLongLength / 10);
  ASSERT_EQ(src.size(), kLongLength);
  const kelulib_test::OracleAnswer expected = longOracle(src, "CP1252", "UTF-8");
  ASSERT_TRUE(expected.accepted());
  GuardedBuffer<char> dst(expected.size + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected.size);
  EXPECT_TRUE(expected.wrote(bytesOf(dst, expected.size)));
  EXPECT_EQ(dst[expected.size], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, LongInvalidInputFallsBackToLatin1) {
  // Valid UTF-8 throughout but for one stray 0xE9 at the very end.
  const std::string src = repeated("ab\xC3\xA9\xE2\x82\xAC" "cde", kLongLength / 10) + "\xE9";
  const kelulib_test::OracleAnswer expected = longOracle(src, "ISO-8859-1", "UTF-8");
  ASSERT_TRUE(expected.accepted());
  GuardedBuffer<char> dst(expected.size + 1);
  EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_UTF8),
            expected.size);
  EXPECT_TRUE(expected.wrote(bytesOf(dst, expected.size)));
  EXPECT_EQ(dst[expected.size], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF8, InputsAroundTheStackScratchLimitAreConvertedWhole) {
  for (size_t length : {size_t{32767}, size_t{32768}, size_t{32769}, size_t{32770}}) {
    std::string src(length, 'x');
    for (size_t i = 0; i < length; i += 7) src[i] = '\xE9';
    const kelulib_test::OracleAnswer expected = longOracle(src, "ISO-8859-1", "UTF-8");
    ASSERT_TRUE(expected.accepted());
    GuardedBuffer<char> dst(expected.size + 1);
    EXPECT_EQ(LocalToUTF8(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_ISO_8859_1),
              expected.size)
        << length;
    EXPECT_TRUE(expected.wrote(bytesOf(dst, expected.size))) << length;
    EXPECT_EQ(dst[expected.size], '\0') << length;
    EXPECT_TRUE(dst.guardsIntact()) << length;
  }
}

// ===========================================================================
// UTF8ToLocal

TEST(BufferConversionUTF8ToLocal, DstSizeBelowNullSizeReturnsZeroAndWritesNothing) {
  struct Row {
    KelCharSet charSet;
    int dstSize;
  };
  for (const Row& row : {Row{KelCS_WCP1252, 0}, Row{KelCS_UTF8, 0}, Row{KelCS_UTF16, 1},
                         Row{KelCS_UTF32, 3}}) {
    GuardedBuffer<char> dst(static_cast<size_t>(row.dstSize));
    EXPECT_EQ(UTF8ToLocal(dst.data(), "abc", row.dstSize, row.charSet), 0u) << row.charSet;
    EXPECT_TRUE(dst.untouchedFrom(0)) << row.charSet;
  }
}

TEST(BufferConversionUTF8ToLocal, EmptySrcWithDstBelowNullSizeWritesNothing) {
  // The size check comes before the empty-input case.
  GuardedBuffer<char> dst(1);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "", 1, KelCS_UTF16), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionUTF8ToLocal, EmptySrcZeroesNullSizeBytes) {
  struct Row {
    KelCharSet charSet;
    size_t nullSize;
  };
  for (const Row& row : {Row{KelCS_WCP1252, 1}, Row{KelCS_UTF8, 1}, Row{KelCS_UTF16ESC, 1},
                         Row{KelCS_UTF16, 2}, Row{KelCS_UTF32, 4}}) {
    GuardedBuffer<char> dst(8);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "", 8, row.charSet), 0u) << row.charSet;
    EXPECT_EQ(bytesOf(dst, row.nullSize), std::string(row.nullSize, '\0')) << row.charSet;
    EXPECT_TRUE(dst.untouchedFrom(row.nullSize)) << row.charSet;
  }
}

TEST(BufferConversionUTF8ToLocal, EmptySrcWithDstSizeEqualToNullSizeFillsIt) {
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "", 4, KelCS_UTF32), 0u);
  EXPECT_EQ(bytesOf(dst, 4), std::string(4, '\0'));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, RoomIsDstSizeMinusOneForWindows1252) {
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "abc", 3, KelCS_WCP1252), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, DstSizeEqualToNullSizeWritesOnlyTheTerminator) {
  GuardedBuffer<char> dst(1);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "abc", 1, KelCS_WCP1252), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, ConvertsToWindows1252LikeIconv) {
  const auto src = oracle(windows1252MappedBytes(), "CP1252", "UTF-8");
  ASSERT_TRUE(src.has_value());
  const auto expected = oracle(*src, "UTF-8", "CP1252");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(UTF8ToLocal(dst.data(), src->c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, ConvertsToLatin1LikeIconv) {
  const auto src = oracle(latin1Bytes(), "ISO-8859-1", "UTF-8");
  ASSERT_TRUE(src.has_value());
  const auto expected = oracle(*src, "UTF-8", "ISO-8859-1");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(UTF8ToLocal(dst.data(), src->c_str(), sizeArg(dst.size()), KelCS_ISO_8859_1),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, UnmappableCharacterBecomesQuestionMark) {
  {
    GuardedBuffer<char> dst(4);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "a\xE4\xB8\xAD" "b", 4, KelCS_WCP1252), 3u);  // a中b
    EXPECT_EQ(bytesOf(dst, 4), terminated("a?b"));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    GuardedBuffer<char> dst(2);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "\xE2\x82\xAC", 2, KelCS_ISO_8859_1), 1u);  // €
    EXPECT_EQ(bytesOf(dst, 2), terminated("?"));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionUTF8ToLocal, EachSurrogateOfAPairBecomesAQuestionMark) {
  // A single-byte set looks up each unit of U+1F600 (D83D DE00) alone.
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "\xF0\x9F\x98\x80", 3, KelCS_WCP1252), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("??"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, MalformedUtf8BecomesTheReplacementCharacter) {
  // C3 41: a two-byte lead without its continuation is U+FFFD, then "A".
  // UTF-8 input is not read as ISO 8859-1 here.
  {
    GuardedBuffer<char> dst(5);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "\xC3" "A", 5, KelCS_UTF8), 4u);
    EXPECT_EQ(bytesOf(dst, 5), terminated("\xEF\xBF\xBD" "A"));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    // Windows-1252 lacks U+FFFD, so it becomes "?".
    GuardedBuffer<char> dst(3);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "\xC3" "A", 3, KelCS_WCP1252), 2u);
    EXPECT_EQ(bytesOf(dst, 3), terminated("?A"));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionUTF8ToLocal, IdWithoutConverterWritesUtf8) {
  const std::string src = "\xC3\xA9\xE4\xB8\xAD";  // é中
  for (KelCharSet charSet : {kCp437, kIso2022Jp}) {
    GuardedBuffer<char> dst(src.size() + 1);
    EXPECT_EQ(UTF8ToLocal(dst.data(), src.c_str(), sizeArg(dst.size()), charSet), src.size())
        << charSet;
    EXPECT_EQ(bytesOf(dst, dst.size()), terminated(src)) << charSet;
    EXPECT_TRUE(dst.guardsIntact()) << charSet;
  }
}

TEST(BufferConversionUTF8ToLocal, Utf16LocalSetRoomIsDstSizeMinusTwo) {
  const auto ab = oracle("ab", "UTF-8", machineUtf16());
  const auto a = oracle("a", "UTF-8", machineUtf16());
  ASSERT_TRUE(ab.has_value());
  ASSERT_TRUE(a.has_value());
  {
    // Room 4: both units, then a two-byte zero.
    GuardedBuffer<char> dst(6);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "ab", 6, KelCS_UTF16), 4u);
    EXPECT_EQ(bytesOf(dst, 6), terminated(*ab, 2));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    // Room 3: one unit; the odd byte of room stays unused.
    GuardedBuffer<char> dst(5);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "ab", 5, KelCS_UTF16), 2u);
    EXPECT_EQ(bytesOf(dst, 4), terminated(*a, 2));
    EXPECT_TRUE(dst.untouchedFrom(4));
  }
}

TEST(BufferConversionUTF8ToLocal, Utf32LocalSetRoomIsDstSizeMinusFour) {
  const auto ab = oracle("ab", "UTF-8", machineUtf32());
  const auto a = oracle("a", "UTF-8", machineUtf32());
  ASSERT_TRUE(ab.has_value());
  ASSERT_TRUE(a.has_value());
  {
    GuardedBuffer<char> dst(12);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "ab", 12, KelCS_UTF32), 8u);
    EXPECT_EQ(bytesOf(dst, 12), terminated(*ab, 4));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    // Room 7: one value.
    GuardedBuffer<char> dst(11);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "ab", 11, KelCS_UTF32), 4u);
    EXPECT_EQ(bytesOf(dst, 8), terminated(*a, 4));
    EXPECT_TRUE(dst.untouchedFrom(8));
  }
}

TEST(BufferConversionUTF8ToLocal, UnitEscapeLocalSetWritesEscapesThatFitWhole) {
  {
    GuardedBuffer<char> dst(8);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "a\xC3\xA9", 8, KelCS_UTF16ESC), 7u);
    EXPECT_EQ(bytesOf(dst, 8), terminated("aU+00E9"));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    // Room 6: after "a" only 5 bytes are left, too few for the escape.
    GuardedBuffer<char> dst(7);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "a\xC3\xA9", 7, KelCS_UTF16ESC), 1u);
    EXPECT_EQ(bytesOf(dst, 2), terminated("a"));
    EXPECT_TRUE(dst.untouchedFrom(2));
  }
}

TEST(BufferConversionUTF8ToLocal, InputDecodingToNothingLeavesDstUntouched) {
  // Stray continuation bytes are dropped by the UTF-8 reader, leaving no
  // units at all.
  for (const char* src : {"\x80", "\x80\xBF\x9F"}) {
    for (KelCharSet charSet : {KelCS_WCP1252, KelCS_UTF8, KelCS_UTF16}) {
      GuardedBuffer<char> dst(8);
      EXPECT_EQ(UTF8ToLocal(dst.data(), src, 8, charSet), 0u) << charSet;
      EXPECT_TRUE(dst.untouchedFrom(0)) << charSet;
    }
  }
}

TEST(BufferConversionUTF8ToLocal, NegativeDstSizeIsUnboundedRoom) {
  {
    GuardedBuffer<char> dst(4);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "a\xC3\xA9\xE2\x82\xAC", -1, KelCS_WCP1252), 3u);
    EXPECT_EQ(bytesOf(dst, 4), terminated("a\xE9\x80"));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    const auto ab = oracle("ab", "UTF-8", machineUtf16());
    ASSERT_TRUE(ab.has_value());
    GuardedBuffer<char> dst(6);
    EXPECT_EQ(UTF8ToLocal(dst.data(), "ab", INT_MIN, KelCS_UTF16), 4u);
    EXPECT_EQ(bytesOf(dst, 6), terminated(*ab, 2));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionUTF8ToLocal, OsDefaultUnderUtf8WritesUtf8) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "\xE2\x82\xAC", 4, KelCS_OS_DEFAULT), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("\xE2\x82\xAC"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, OsDefaultUnderWindows1252WritesWindows1252) {
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  GuardedBuffer<char> dst(2);
  EXPECT_EQ(UTF8ToLocal(dst.data(), "\xE2\x82\xAC", 2, KelCS_OS_DEFAULT), 1u);
  EXPECT_EQ(bytesOf(dst, 2), terminated("\x80"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, LongInputIsConvertedWhole) {
  // "abc", "é", "€", "ß" = 3 + 2 + 3 + 2 bytes.
  const std::string src = repeated("abc\xC3\xA9\xE2\x82\xAC\xC3\x9F", kLongLength / 10);
  ASSERT_EQ(src.size(), kLongLength);
  const kelulib_test::OracleAnswer expected = longOracle(src, "UTF-8", "CP1252");
  ASSERT_TRUE(expected.accepted());
  GuardedBuffer<char> dst(expected.size + 1);
  EXPECT_EQ(UTF8ToLocal(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected.size);
  EXPECT_TRUE(expected.wrote(bytesOf(dst, expected.size)));
  EXPECT_EQ(dst[expected.size], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocal, InputsAroundTheStackScratchLimitAreConvertedWhole) {
  for (size_t length : {size_t{32767}, size_t{32768}, size_t{32769}, size_t{32770}}) {
    const std::string src(length, 'q');
    GuardedBuffer<char> dst(length + 1);
    EXPECT_EQ(UTF8ToLocal(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_ISO_8859_1),
              length);
    EXPECT_TRUE(bytesOf(dst, dst.size()) == terminated(src)) << length;
    EXPECT_TRUE(dst.guardsIntact()) << length;
  }
}

// ===========================================================================
// LocalToUTF16

TEST(BufferConversionLocalToUTF16, DstSizeZeroReturnsZeroAndWritesNothing) {
  GuardedBuffer<wchar16> dst(0);
  EXPECT_EQ(LocalToUTF16(dst.data(), "abc", 0, KelCS_WCP1252), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionLocalToUTF16, NegativeDstSizeIsRejected) {
  for (int dstSize : {-1, INT_MIN}) {
    GuardedBuffer<wchar16> dst(8);
    EXPECT_EQ(LocalToUTF16(dst.data(), "abc", dstSize, KelCS_WCP1252), 0u) << dstSize;
    EXPECT_TRUE(dst.untouchedFrom(0)) << dstSize;
  }
}

TEST(BufferConversionLocalToUTF16, DstSizeOneWritesOnlyTheTerminator) {
  GuardedBuffer<wchar16> dst(1);
  EXPECT_EQ(LocalToUTF16(dst.data(), "abc", 1, KelCS_WCP1252), 0u);
  EXPECT_EQ(dst[0], u'\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, EmptySrcWritesOneZeroUnit) {
  GuardedBuffer<wchar16> dst(4);
  EXPECT_EQ(LocalToUTF16(dst.data(), "", 4, KelCS_WCP1252), 0u);
  EXPECT_EQ(dst[0], u'\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionLocalToUTF16, ConvertsWindows1252LikeIconv) {
  const std::string src = windows1252MappedBytes();
  const auto expectedBytes = oracle(src, "CP1252", machineUtf16());
  ASSERT_TRUE(expectedBytes.has_value());
  const std::u16string expected = bytesToUnits(*expectedBytes);
  GuardedBuffer<wchar16> dst(expected.size() + 1);
  EXPECT_EQ(LocalToUTF16(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected.size());
  EXPECT_EQ(unitsOf(dst, dst.size()), terminated16(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, ConvertsUtf8LikeIconv) {
  const std::string src = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80";  // a é 中 😀
  const auto expectedBytes = oracle(src, "UTF-8", machineUtf16());
  ASSERT_TRUE(expectedBytes.has_value());
  const std::u16string expected = bytesToUnits(*expectedBytes);
  GuardedBuffer<wchar16> dst(expected.size() + 1);
  EXPECT_EQ(LocalToUTF16(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_UTF8),
            expected.size());
  EXPECT_EQ(unitsOf(dst, dst.size()), terminated16(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, RoomIsDstSizeMinusOne) {
  GuardedBuffer<wchar16> dst(3);
  EXPECT_EQ(LocalToUTF16(dst.data(), "abc", 3, KelCS_WCP1252), 2u);
  EXPECT_EQ(unitsOf(dst, 3), terminated16(u"ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, InvalidUtf8FallsBackToLatin1) {
  {
    GuardedBuffer<wchar16> dst(2);
    EXPECT_EQ(LocalToUTF16(dst.data(), "\xE9", 2, KelCS_UTF8), 1u);
    EXPECT_EQ(unitsOf(dst, 2), terminated16(u"\u00E9"));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    // The whole text is read again: the valid C3 A9 becomes two units too.
    const std::string src = "caf\xC3\xA9\xE9";
    const auto expectedBytes = oracle(src, "ISO-8859-1", machineUtf16());
    ASSERT_TRUE(expectedBytes.has_value());
    const std::u16string expected = bytesToUnits(*expectedBytes);
    GuardedBuffer<wchar16> dst(expected.size() + 1);
    EXPECT_EQ(LocalToUTF16(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_UTF8),
              expected.size());
    EXPECT_EQ(unitsOf(dst, dst.size()), terminated16(expected));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionLocalToUTF16, UnmappedWindows1252ByteFallsBackToLatin1) {
  GuardedBuffer<wchar16> dst(3);
  EXPECT_EQ(LocalToUTF16(dst.data(), "\x80\x81", 3, KelCS_WCP1252), 2u);
  EXPECT_EQ(unitsOf(dst, 3), terminated16(u"\u0080\u0081"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, FallbackKeepsTheSameRoom) {
  GuardedBuffer<wchar16> dst(3);
  EXPECT_EQ(LocalToUTF16(dst.data(), "\xE9\xE8\xE7\xE6", 3, KelCS_UTF8), 2u);
  EXPECT_EQ(unitsOf(dst, 3), terminated16(u"\u00E9\u00E8"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, SupplementaryCharacterWithoutRoomFallsBackToLatin1) {
  // With room for one unit the UTF-8 reader cannot write the pair of
  // U+1F600; it writes U+FFFD and reports the text as bad, so the text is
  // read again as ISO 8859-1, which fits its first byte, F0.
  GuardedBuffer<wchar16> dst(2);
  EXPECT_EQ(LocalToUTF16(dst.data(), "\xF0\x9F\x98\x80", 2, KelCS_UTF8), 1u);
  EXPECT_EQ(unitsOf(dst, 2), terminated16(u"\u00F0"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, Utf16LocalSetGivesEmptyText) {
  const std::string src = utf16Text(u"ab");
  GuardedBuffer<wchar16> dst(4);
  EXPECT_EQ(LocalToUTF16(dst.data(), src.data(), 4, KelCS_UTF16), 0u);
  EXPECT_EQ(dst[0], u'\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionLocalToUTF16, Utf32LocalSetIsConvertedStraightIntoDst) {
  // No narrow scratch here, so the zero bytes inside a 32-bit value do not
  // shorten the text.
  const std::string src = utf32Text({0x41, 0x1F600, 0x42});
  GuardedBuffer<wchar16> dst(5);
  EXPECT_EQ(LocalToUTF16(dst.data(), src.data(), 5, KelCS_UTF32), 4u);
  EXPECT_EQ(unitsOf(dst, 5), terminated16(u"A\U0001F600B"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalToUTF16, IdWithoutConverterReadsUtf8) {
  for (KelCharSet charSet : {kCp437, kIso2022Jp}) {
    GuardedBuffer<wchar16> dst(2);
    EXPECT_EQ(LocalToUTF16(dst.data(), "\xC3\xA9", 2, charSet), 1u) << charSet;
    EXPECT_EQ(unitsOf(dst, 2), terminated16(u"\u00E9")) << charSet;
    EXPECT_TRUE(dst.guardsIntact()) << charSet;
  }
}

TEST(BufferConversionLocalToUTF16, LongInputIsConvertedWhole) {
  const std::string src = repeated("abc\xE9\x80\xDF Z\x9C\xFF", kLongLength / 10);
  const kelulib_test::OracleAnswer expected = longOracle(src, "CP1252", machineUtf16());
  ASSERT_TRUE(expected.accepted());
  const size_t units = expected.size / 2;
  GuardedBuffer<wchar16> dst(units + 1);
  EXPECT_EQ(LocalToUTF16(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252), units);
  EXPECT_TRUE(expected.wrote(unitsToBytes(unitsOf(dst, units))));
  EXPECT_EQ(dst[units], 0);
  EXPECT_TRUE(dst.guardsIntact());
}

// ===========================================================================
// UTF16ToLocal

TEST(BufferConversionUTF16ToLocal, DstSizeBelowNullSizeReturnsZeroAndWritesNothing) {
  struct Row {
    KelCharSet charSet;
    int dstSize;
  };
  for (const Row& row : {Row{KelCS_WCP1252, 0}, Row{KelCS_UTF8, 0}, Row{KelCS_UTF16, 1},
                         Row{KelCS_UTF32, 3}}) {
    GuardedBuffer<char> dst(static_cast<size_t>(row.dstSize));
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"abc", row.dstSize, row.charSet), 0u) << row.charSet;
    EXPECT_TRUE(dst.untouchedFrom(0)) << row.charSet;
  }
}

TEST(BufferConversionUTF16ToLocal, DstSizeEqualToNullSizeWritesOnlyTheTerminator) {
  struct Row {
    KelCharSet charSet;
    size_t nullSize;
  };
  for (const Row& row : {Row{KelCS_WCP1252, 1}, Row{KelCS_UTF8, 1}, Row{KelCS_UTF16, 2},
                         Row{KelCS_UTF32, 4}}) {
    GuardedBuffer<char> dst(row.nullSize);
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"abc", sizeArg(row.nullSize), row.charSet), 0u)
        << row.charSet;
    EXPECT_EQ(bytesOf(dst, row.nullSize), std::string(row.nullSize, '\0')) << row.charSet;
    EXPECT_TRUE(dst.guardsIntact()) << row.charSet;
  }
}

TEST(BufferConversionUTF16ToLocal, EmptySrcWritesAZeroOfNullSize) {
  struct Row {
    KelCharSet charSet;
    size_t nullSize;
  };
  for (const Row& row : {Row{KelCS_WCP1252, 1}, Row{KelCS_UTF8, 1}, Row{KelCS_UTF16ESC, 1},
                         Row{KelCS_UTF16, 2}, Row{KelCS_UTF32, 4}}) {
    GuardedBuffer<char> dst(8);
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"", 8, row.charSet), 0u) << row.charSet;
    EXPECT_EQ(bytesOf(dst, row.nullSize), std::string(row.nullSize, '\0')) << row.charSet;
    EXPECT_TRUE(dst.untouchedFrom(row.nullSize)) << row.charSet;
  }
}

TEST(BufferConversionUTF16ToLocal, ConvertsToWindows1252LikeIconv) {
  const std::string local = windows1252MappedBytes();
  const auto srcBytes = oracle(local, "CP1252", machineUtf16());
  ASSERT_TRUE(srcBytes.has_value());
  const std::u16string src = bytesToUnits(*srcBytes);
  const auto expected = oracle(*srcBytes, machineUtf16(), "CP1252");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(UTF16ToLocal(dst.data(), src.c_str(), sizeArg(dst.size()), KelCS_WCP1252),
            expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToLocal, UnmappableUnitBecomesQuestionMark) {
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF16ToLocal(dst.data(), u"a\u4E2Db", 4, KelCS_WCP1252), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("a?b"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToLocal, RoomIsDstSizeMinusOneForByteSets) {
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(UTF16ToLocal(dst.data(), u"abc", 3, KelCS_WCP1252), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToLocal, Utf8LocalSetTruncatesBeforeACharacterThatDoesNotFit) {
  // Room 3: "a", then the euro sign needs 3 bytes with 2 left.
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF16ToLocal(dst.data(), u"a\u20AC", 4, KelCS_UTF8), 1u);
  EXPECT_EQ(bytesOf(dst, 2), terminated("a"));
  EXPECT_TRUE(dst.untouchedFrom(2));
}

TEST(BufferConversionUTF16ToLocal, Utf16LocalSetRoomIsDstSizeMinusTwo) {
  const std::string ab = unitsToBytes(u"ab");
  const std::string abc = unitsToBytes(u"abc");
  {
    GuardedBuffer<char> dst(6);  // room 4: two units
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"abc", 6, KelCS_UTF16), 4u);
    EXPECT_EQ(bytesOf(dst, 6), terminated(ab, 2));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    GuardedBuffer<char> dst(8);  // room 6: all three
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"abc", 8, KelCS_UTF16), 6u);
    EXPECT_EQ(bytesOf(dst, 8), terminated(abc, 2));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionUTF16ToLocal, Utf32LocalSetRoomIsDstSizeMinusFour) {
  const auto ab = oracle(unitsToBytes(u"ab"), machineUtf16(), machineUtf32());
  const auto a = oracle(unitsToBytes(u"a"), machineUtf16(), machineUtf32());
  ASSERT_TRUE(ab.has_value());
  ASSERT_TRUE(a.has_value());
  {
    GuardedBuffer<char> dst(12);
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"ab", 12, KelCS_UTF32), 8u);
    EXPECT_EQ(bytesOf(dst, 12), terminated(*ab, 4));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    GuardedBuffer<char> dst(11);  // room 7: one value
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"ab", 11, KelCS_UTF32), 4u);
    EXPECT_EQ(bytesOf(dst, 8), terminated(*a, 4));
    EXPECT_TRUE(dst.untouchedFrom(8));
  }
}

TEST(BufferConversionUTF16ToLocal, UnitEscapeLocalSetEscapesEveryNonAsciiUnit) {
  const std::u16string src = u"a\u00E9\U0001F600";
  GuardedBuffer<char> dst(20);
  EXPECT_EQ(UTF16ToLocal(dst.data(), src.c_str(), 20, KelCS_UTF16ESC), 19u);
  EXPECT_EQ(bytesOf(dst, 20), terminated("aU+00E9U+D83DU+DE00"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToLocal, IdWithoutConverterWritesUtf8) {
  for (KelCharSet charSet : {kCp437, kIso2022Jp}) {
    GuardedBuffer<char> dst(6);
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"\u00E9\u4E2D", 6, charSet), 5u) << charSet;
    EXPECT_EQ(bytesOf(dst, 6), terminated("\xC3\xA9\xE4\xB8\xAD")) << charSet;
    EXPECT_TRUE(dst.guardsIntact()) << charSet;
  }
}

TEST(BufferConversionUTF16ToLocal, NegativeDstSizeIsUnboundedRoom) {
  {
    GuardedBuffer<char> dst(3);
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"a\u20AC", -1, KelCS_WCP1252), 2u);
    EXPECT_EQ(bytesOf(dst, 3), terminated("a\x80"));
    EXPECT_TRUE(dst.guardsIntact());
  }
  {
    GuardedBuffer<char> dst(6);
    EXPECT_EQ(UTF16ToLocal(dst.data(), u"ab", INT_MIN, KelCS_UTF16), 4u);
    EXPECT_EQ(bytesOf(dst, 6), terminated(unitsToBytes(u"ab"), 2));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

// ===========================================================================
// UTF8ToUTF16

TEST(BufferConversionUTF8ToUTF16, DstSizeZeroReturnsZeroAndWritesNothing) {
  GuardedBuffer<wchar16> dst(0);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), "abc", 0), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionUTF8ToUTF16, DstSizeOneWritesOnlyTheTerminator) {
  GuardedBuffer<wchar16> dst(1);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), "abc", 1), 0u);
  EXPECT_EQ(dst[0], u'\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToUTF16, EmptySrcWritesOneZeroUnit) {
  GuardedBuffer<wchar16> dst(4);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), "", 4), 0u);
  EXPECT_EQ(dst[0], u'\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionUTF8ToUTF16, ConvertsLikeIconv) {
  const std::string src = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC \xE4\xB8\xAD\xE6\x96\x87 "
                          "\xF0\x9F\x98\x80\xF0\x90\x80\x80";
  const auto expectedBytes = oracle(src, "UTF-8", machineUtf16());
  ASSERT_TRUE(expectedBytes.has_value());
  const std::u16string expected = bytesToUnits(*expectedBytes);
  GuardedBuffer<wchar16> dst(expected.size() + 1);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), src.c_str(), dst.size()), expected.size());
  EXPECT_EQ(unitsOf(dst, dst.size()), terminated16(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToUTF16, RoomIsDstSizeMinusOne) {
  GuardedBuffer<wchar16> dst(3);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), "abc", 3), 2u);
  EXPECT_EQ(unitsOf(dst, 3), terminated16(u"ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToUTF16, SupplementaryCharacterWithOneUnitOfRoomBecomesReplacement) {
  // The pair of U+1F600 needs two units; with one left the UTF-8 reader
  // writes U+FFFD instead.
  GuardedBuffer<wchar16> dst(3);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), "a\xF0\x9F\x98\x80", 3), 2u);
  EXPECT_EQ(unitsOf(dst, 3), terminated16(u"a\uFFFD"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToUTF16, MalformedUtf8BecomesReplacementNotLatin1) {
  GuardedBuffer<wchar16> dst(4);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), "a\xE9" "b", 4), 3u);
  EXPECT_EQ(unitsOf(dst, 4), terminated16(u"a\uFFFDb"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToUTF16, LongInputIsConvertedWhole) {
  const std::string src = repeated("abc\xC3\xA9\xF0\x9F\x98\x80z", kLongLength / 10);
  const kelulib_test::OracleAnswer expected = longOracle(src, "UTF-8", machineUtf16());
  ASSERT_TRUE(expected.accepted());
  const size_t units = expected.size / 2;
  GuardedBuffer<wchar16> dst(units + 1);
  EXPECT_EQ(UTF8ToUTF16(dst.data(), src.c_str(), dst.size()), units);
  EXPECT_TRUE(expected.wrote(unitsToBytes(unitsOf(dst, units))));
  EXPECT_EQ(dst[units], 0);
  EXPECT_TRUE(dst.guardsIntact());
}

// ===========================================================================
// UTF16ToUTF8

TEST(BufferConversionUTF16ToUTF8, DstSizeZeroReturnsZeroAndWritesNothing) {
  GuardedBuffer<char> dst(0);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), u"abc", 0), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionUTF16ToUTF8, DstSizeOneWritesOnlyTheTerminator) {
  GuardedBuffer<char> dst(1);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), u"abc", 1), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToUTF8, EmptySrcWritesOneZeroByte) {
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), u"", 4), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionUTF16ToUTF8, ConvertsLikeIconv) {
  const std::u16string src = u"Gr\u00FC\u00DFe \u20AC \u4E2D\u6587 \U0001F600\U00010000";
  const auto expected = oracle(unitsToBytes(src), machineUtf16(), "UTF-8");
  ASSERT_TRUE(expected.has_value());
  GuardedBuffer<char> dst(expected->size() + 1);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), src.c_str(), dst.size()), expected->size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(*expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToUTF8, RoomIsDstSizeMinusOne) {
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), u"abc", 3), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToUTF8, TruncatesBeforeACharacterThatDoesNotFit) {
  // Room 3: "a", then U+1F600 needs 4 bytes.
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), u"a\U0001F600", 4), 1u);
  EXPECT_EQ(bytesOf(dst, 2), terminated("a"));
  EXPECT_TRUE(dst.untouchedFrom(2));
}

TEST(BufferConversionUTF16ToUTF8, UnpairedHighSurrogateBecomesQuestionMark) {
  const std::u16string src{char16_t{0xD800}, u'A'};
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), src.c_str(), 3), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("?A"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF16ToUTF8, UnpairedLowSurrogateIsEncodedAsItIs) {
  const std::u16string src{char16_t{0xDC00}};
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF16ToUTF8(dst.data(), src.c_str(), 4), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("\xED\xB0\x80"));
  EXPECT_TRUE(dst.guardsIntact());
}

// ===========================================================================
// LocalPathToUTF8

TEST(BufferConversionLocalPathToUTF8, DstSizeZeroReturnsZeroAndWritesNothing) {
  GuardedBuffer<char> dst(0);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "abc", 0), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionLocalPathToUTF8, EmptySrcWritesOneZeroByte) {
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "", 4), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionLocalPathToUTF8, DstSizeOneWritesOnlyTheTerminator) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  GuardedBuffer<char> dst(1);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "abc", 1), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalPathToUTF8, AsciiPathWithoutEscapesPassesThrough) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  const std::string src = "/home/user/U+/file_U+12.txt";
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), src.c_str(), sizeArg(dst.size())), src.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

// One escape-decoding case: an ASCII local path and its UTF-8 result.
struct EscapeCase {
  const char* name;
  const char* src;
  const char* expected;
};

void PrintTo(const EscapeCase& escapeCase, std::ostream* os) { *os << escapeCase.name; }

class BufferConversionLocalPathEscapes : public testing::TestWithParam<EscapeCase> {};

TEST_P(BufferConversionLocalPathEscapes, DecodesUpperCaseUnitEscapes) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  const std::string src = GetParam().src;
  const std::string expected = GetParam().expected;
  GuardedBuffer<char> dst(expected.size() + 1);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), src.c_str(), sizeArg(dst.size())), expected.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(
    BufferConversion, BufferConversionLocalPathEscapes,
    testing::Values(
        // "U+4E2D" is 中 (E4 B8 AD).
        EscapeCase{"WholeTextIsOneEscape", "U+4E2D", "\xE4\xB8\xAD"},
        EscapeCase{"EscapeBetweenText", "a/U+00E9.txt", "a/\xC3\xA9.txt"},
        EscapeCase{"ConsecutiveEscapes", "U+0055U+0041", "UA"},
        // The produced "U" is not looked at again, so "+0041" stays as it is.
        EscapeCase{"ProducedUnitIsNotExaminedAgain", "U+0055+0041", "U+0041"},
        // The escape spells "+"; that "+" and the "U" before it are not
        // joined into a new escape.
        EscapeCase{"ProducedPlusIsNotJoinedWithThePrecedingU", "UU+002B0041", "U+0041"},
        // Left to right: "U+U+00" is no escape, the second "U+0041" is.
        EscapeCase{"FirstCandidateThatIsNoEscapeIsSkipped", "U+U+0041", "U+A"},
        EscapeCase{"LowerCaseDigitsAreNotDecoded", "U+4e2d", "U+4e2d"},
        EscapeCase{"OneLowerCaseDigitSpoilsTheEscape", "U+00e9", "U+00e9"},
        EscapeCase{"LowerCaseUIsNotAnEscape", "u+00E9", "u+00E9"},
        EscapeCase{"NonHexDigitIsNotDecoded", "U+00G9", "U+00G9"},
        EscapeCase{"MissingPlusIsNotDecoded", "U-00E9", "U-00E9"},
        EscapeCase{"TextEndingInFiveEscapeCharactersIsUnchanged", "abU+004", "abU+004"},
        EscapeCase{"FiveEscapeCharactersAloneAreUnchanged", "U+004", "U+004"},
        EscapeCase{"EscapeEndingTheTextIsDecoded", "abU+0041", "abA"},
        // Two escaped surrogates become one character.
        EscapeCase{"EscapedSurrogatePairBecomesOneCharacter", "U+D83DU+DE00",
                   "\xF0\x9F\x98\x80"},
        // U+0000 ends the text, as a zero unit ends every UTF-16 text.
        EscapeCase{"EscapedZeroUnitEndsTheText", "aU+0000b", "a"}),
    [](const testing::TestParamInfo<EscapeCase>& info) { return std::string(info.param.name); });

TEST(BufferConversionLocalPathToUTF8, RoomIsDstSizeMinusOneAfterDecoding) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  {
    // The six input bytes become three output bytes; room 2 fits none.
    GuardedBuffer<char> dst(3);
    EXPECT_EQ(LocalPathToUTF8(dst.data(), "U+4E2D", 3), 0u);
    EXPECT_EQ(dst[0], '\0');
    EXPECT_TRUE(dst.untouchedFrom(1));
  }
  {
    GuardedBuffer<char> dst(4);
    EXPECT_EQ(LocalPathToUTF8(dst.data(), "U+4E2D", 4), 3u);
    EXPECT_EQ(bytesOf(dst, 4), terminated("\xE4\xB8\xAD"));
    EXPECT_TRUE(dst.guardsIntact());
  }
}

TEST(BufferConversionLocalPathToUTF8, NegativeDstSizeIsUnboundedRoom) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "aU+00E9", -1), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("a\xC3\xA9"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalPathToUTF8, LongPathIsConvertedWhole) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  const std::string src = repeated("dirU+00E9/", kLongLength / 10);
  ASSERT_EQ(src.size(), kLongLength);
  const std::string expected = repeated("dir\xC3\xA9/", kLongLength / 10);
  GuardedBuffer<char> dst(expected.size() + 1);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), src.c_str(), sizeArg(dst.size())), expected.size());
  EXPECT_TRUE(bytesOf(dst, dst.size()) == terminated(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalPathToUTF8, Utf8CodePagePassesUtf8Through) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  const std::string src = "/tmp/caf\xC3\xA9/\xE4\xB8\xAD\xF0\x9F\x98\x80.txt";
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), src.c_str(), sizeArg(dst.size())), src.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalPathToUTF8, Utf8CodePageHasNoLatin1Fallback) {
  // Unlike LocalToUTF8, a bad byte becomes U+FFFD (EF BF BD).
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(6);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "a\xE9" "b", 6), 5u);
  EXPECT_EQ(bytesOf(dst, 6), terminated("a\xEF\xBF\xBD" "b"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalPathToUTF8, InputDecodingToNothingLeavesDstUntouched) {
  // Under UTF-8 a lone continuation byte gives no units at all.
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(8);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "\x80", 8), 0u);
  EXPECT_TRUE(dst.untouchedFrom(0));
}

TEST(BufferConversionLocalPathToUTF8, Windows1252CodePageReadsWindows1252) {
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  const std::string src = "caf\xE9 \x80U+4E2D";
  const std::string expected = "caf\xC3\xA9 \xE2\x82\xAC\xE4\xB8\xAD";
  GuardedBuffer<char> dst(expected.size() + 1);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), src.c_str(), sizeArg(dst.size())), expected.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionLocalPathToUTF8, Windows1252CodePageHasNoLatin1Fallback) {
  // 0x81 has no Windows-1252 character: U+FFFD, and 0x80 stays the euro.
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  GuardedBuffer<char> dst(7);
  EXPECT_EQ(LocalPathToUTF8(dst.data(), "\x80\x81", 7), 6u);
  EXPECT_EQ(bytesOf(dst, 7), terminated("\xE2\x82\xAC\xEF\xBF\xBD"));
  EXPECT_TRUE(dst.guardsIntact());
}

// ===========================================================================
// UTF8ToLocalPath

TEST(BufferConversionUTF8ToLocalPath, DstSizeBelowNullSizeReturnsZeroAndWritesNothing) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  for (const char* src : {"abc", ""}) {
    GuardedBuffer<char> dst(0);
    EXPECT_EQ(UTF8ToLocalPath(dst.data(), src, 0), 0u);
    EXPECT_TRUE(dst.untouchedFrom(0));
  }
}

TEST(BufferConversionUTF8ToLocalPath, EmptySrcZeroesNullSizeBytes) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "", 4), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionUTF8ToLocalPath, DstSizeOneWritesOnlyTheTerminator) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  GuardedBuffer<char> dst(1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "abc", 1), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, InputDecodingToNothingLeavesDstUntouched) {
  for (const char* src : {"\x80", "\xBF\x80"}) {
    GuardedBuffer<char> dst(8);
    EXPECT_EQ(UTF8ToLocalPath(dst.data(), src, 8), 0u);
    EXPECT_TRUE(dst.untouchedFrom(0));
  }
}

TEST(BufferConversionUTF8ToLocalPath, AsciiPathPassesThrough) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  const std::string src = "/home/user/My Files/report-2024_v2.txt";
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), src.c_str(), sizeArg(dst.size())), src.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, RoomIsDstSizeMinusOne) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  GuardedBuffer<char> dst(3);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "abc", 3), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("ab"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, NegativeDstSizeIsUnboundedRoom) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  GuardedBuffer<char> dst(4);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "abc", -1), 3u);
  EXPECT_EQ(bytesOf(dst, 4), terminated("abc"));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, LongAsciiPathIsConvertedWhole) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  const std::string src = repeated("abcdefghi/", kLongLength / 10);
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), src.c_str(), sizeArg(dst.size())), src.size());
  EXPECT_TRUE(bytesOf(dst, dst.size()) == terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, RoundTripsThroughLocalPathToUTF8) {
  if (!osIsAsciiTransparent()) GTEST_SKIP() << kAsciiTransparentReason;
  // Whatever the code page keeps or escapes, the text comes back whole.
  const std::string path = "/data/Stra\xC3\x9F" "e/\xE6\x97\xA5\xE6\x9C\xAC \xE2\x82\xAC "
                           "\xF0\x9F\x98\x80.txt";
  GuardedBuffer<char> local(256);
  const size_t localLength = UTF8ToLocalPath(local.data(), path.c_str(), 256);
  ASSERT_GT(localLength, 0u);
  ASSERT_TRUE(local.guardsIntact());
  const std::string localText = bytesOf(local, localLength);
  GuardedBuffer<char> back(path.size() + 1);
  EXPECT_EQ(LocalPathToUTF8(back.data(), localText.c_str(), sizeArg(back.size())), path.size());
  EXPECT_EQ(bytesOf(back, back.size()), terminated(path));
  EXPECT_TRUE(back.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, Utf8CodePagePassesUtf8Through) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  const std::string src = "/tmp/caf\xC3\xA9/\xE4\xB8\xAD\xF0\x9F\x98\x80.txt";
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), src.c_str(), sizeArg(dst.size())), src.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, Utf8CodePageTruncatesBeforeACharacterThatDoesNotFit) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(3);  // room 2; 中 takes 3 bytes
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "\xE4\xB8\xAD", 3), 0u);
  EXPECT_EQ(dst[0], '\0');
  EXPECT_TRUE(dst.untouchedFrom(1));
}

TEST(BufferConversionUTF8ToLocalPath, Utf8CodePageLongPathIsConvertedWhole) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  const std::string src = repeated("ab\xC3\xA9\xE4\xB8\xAD/xy", kLongLength / 10);
  ASSERT_EQ(src.size(), kLongLength);
  GuardedBuffer<char> dst(src.size() + 1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), src.c_str(), sizeArg(dst.size())), src.size());
  EXPECT_TRUE(bytesOf(dst, dst.size()) == terminated(src));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, Utf8CodePageEscapesAnUnpairedSurrogateAndDropsTheNextUnit) {
  // Encoded surrogates decode to units as they are, so ED A0 80 is an
  // unpaired U+D800. The UTF-8 converter escapes it and drops the unit after
  // it: "U+D800" then "b".
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(8);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "\xED\xA0\x80" "ab", 8), 7u);
  EXPECT_EQ(bytesOf(dst, 8), terminated("U+D800b"));
  EXPECT_TRUE(dst.guardsIntact());
}

// Found by fuzzing: the UTF-8 converter counts five bytes against its room
// for the six of an escape, so with dstSize 7 (room 6) the output used to be
// "U+D800b", its terminator at dst[7], past the buffer. Now the output ends
// after the last whole character that fits: "U+D800" (the "a" after the
// surrogate is dropped by the escape).
TEST(BufferConversionUTF8ToLocalPath, Utf8CodePageEscapeNeverRunsPastDstSize) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  GuardedBuffer<char> dst(7);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "\xED\xA0\x80" "ab", 7), 6u);
  EXPECT_EQ(bytesOf(dst, 7), terminated("U+D800"));
  EXPECT_TRUE(dst.guardsIntact());
  // Two escapes, each one byte short in the converter's count: room 12
  // holds both, and the "c" after them would be the thirteenth byte.
  GuardedBuffer<char> two(13);
  EXPECT_EQ(UTF8ToLocalPath(two.data(), "\xED\xA0\x80" "a\xED\xA0\x81" "bc", 13), 12u);
  EXPECT_EQ(bytesOf(two, 13), terminated("U+D800U+D801"));
  EXPECT_TRUE(two.guardsIntact());
  // The four bytes of U+1F600 would end one byte past room 10: they are
  // left out whole.
  GuardedBuffer<char> pair(11);
  EXPECT_EQ(UTF8ToLocalPath(pair.data(), "\xED\xA0\x80" "ax\xF0\x9F\x98\x80", 11), 7u);
  EXPECT_EQ(bytesOf(pair, 8), terminated("U+D800x"));
  EXPECT_TRUE(pair.untouchedFrom(8));
}

// Fills a stretch of the stack with non-zero units, so that what a later
// call finds in its own uninitialised stack space is not zero.
wchar16 dirtyTheStack() {
  volatile wchar16 units[40000];
  for (size_t i = 0; i < 40000; ++i) units[i] = u'Z';
  return units[39999];
}
wchar16 (*volatile dirtyTheStackOutOfLine)() = dirtyTheStack;

// Found by fuzzing: an unpaired high surrogate right before the end of the
// text made the escape drop the terminator and read on into whatever
// followed the intermediate text.
TEST(BufferConversionUTF8ToLocalPath, Utf8CodePageUnpairedHighSurrogateAtTheEndIsNotReadPast) {
  if (osSet() != OsSet::kUtf8) GTEST_SKIP() << skipReason(OsSet::kUtf8);
  dirtyTheStackOutOfLine();
  GuardedBuffer<char> dst(64);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "a\xED\xA0\x80", 64), 7u);
  EXPECT_EQ(bytesOf(dst, 8), terminated("aU+D800"));
  // An input long enough for its intermediate text to be on the heap.
  const std::string longText = std::string(40000, 'a') + "\xED\xAF\xBF";
  GuardedBuffer<char> longDst(longText.size() + 16);
  EXPECT_EQ(UTF8ToLocalPath(longDst.data(), longText.c_str(), sizeArg(longDst.size())), 40006u);
  EXPECT_EQ(bytesOf(longDst, 40007), terminated(std::string(40000, 'a') + "U+DBFF"));
  EXPECT_TRUE(longDst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, Windows1252CodePageEscapesWhatItLacks) {
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  // 中 (U+4E2D) is not in Windows-1252; é and € are.
  const std::string src = "\xE4\xB8\xAD/caf\xC3\xA9 \xE2\x82\xAC";
  const std::string expected = "U+4E2D/caf\xE9 \x80";
  GuardedBuffer<char> dst(expected.size() + 1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), src.c_str(), sizeArg(dst.size())), expected.size());
  EXPECT_EQ(bytesOf(dst, dst.size()), terminated(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

TEST(BufferConversionUTF8ToLocalPath, Windows1252CodePageEscapeThatDoesNotFitEndsTheOutput) {
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  // Room 6: "a", "é", then 4 bytes left for a six-byte escape; the "b" after
  // it is not written either.
  GuardedBuffer<char> dst(7);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), "a\xC3\xA9\xE4\xB8\xAD" "b", 7), 2u);
  EXPECT_EQ(bytesOf(dst, 3), terminated("a\xE9"));
  EXPECT_TRUE(dst.untouchedFrom(3));
}

TEST(BufferConversionUTF8ToLocalPath, Windows1252CodePageLongPathIsConvertedWhole) {
  if (osSet() != OsSet::kWindows1252) GTEST_SKIP() << skipReason(OsSet::kWindows1252);
  const std::string src = repeated("ab\xC3\xA9\xE4\xB8\xAD/xy", kLongLength / 10);
  const std::string expected = repeated("ab\xE9U+4E2D/xy", kLongLength / 10);
  GuardedBuffer<char> dst(expected.size() + 1);
  EXPECT_EQ(UTF8ToLocalPath(dst.data(), src.c_str(), sizeArg(dst.size())), expected.size());
  EXPECT_TRUE(bytesOf(dst, dst.size()) == terminated(expected));
  EXPECT_TRUE(dst.guardsIntact());
}

// ===========================================================================
// GetNumUnits

TEST(BufferConversionGetNumUnits, NullSrcGivesZero) {
  for (KelCharSet charSet : {KelCS_UTF8, KelCS_WCP1252, KelCS_ISO_8859_1, KelCS_UTF16,
                             KelCS_UTF16ESC, KelCS_UTF32, kCp437, KelCS_OS_DEFAULT}) {
    EXPECT_EQ(GetNumUnits(nullptr, charSet), 0u) << charSet;
  }
}

TEST(BufferConversionGetNumUnits, EmptySrcGivesZero) {
  for (KelCharSet charSet : {KelCS_UTF8, KelCS_WCP1252, KelCS_UTF16ESC, kCp437}) {
    EXPECT_EQ(GetNumUnits("", charSet), 0u) << charSet;
  }
}

TEST(BufferConversionGetNumUnits, Utf8CountsCharactersWithSupplementaryAsOne) {
  EXPECT_EQ(GetNumUnits("a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", KelCS_UTF8), 4u);
}

TEST(BufferConversionGetNumUnits, Utf8CountStopsAtAStrayContinuationByte) {
  EXPECT_EQ(GetNumUnits("ab\x80" "cd", KelCS_UTF8), 2u);
}

TEST(BufferConversionGetNumUnits, SingleByteSetsCountBytes) {
  EXPECT_EQ(GetNumUnits("ab\x80\x81\xFF", KelCS_WCP1252), 5u);
  EXPECT_EQ(GetNumUnits("ab\x80\x81\xFF", KelCS_ISO_8859_1), 5u);
}

TEST(BufferConversionGetNumUnits, Utf16CountsUnitsUpToTheZeroUnit) {
  // The text has zero bytes inside its units; counting to the terminator
  // (not to the first zero byte) finds all three units.
  const std::string src = utf16Text(u"a\u4E2Db");
  EXPECT_EQ(GetNumUnits(src.data(), KelCS_UTF16), 3u);
}

TEST(BufferConversionGetNumUnits, Utf32CountsValuesUpToTheZeroValue) {
  const std::string src = utf32Text({0x41, 0x1F600, 0x42});
  EXPECT_EQ(GetNumUnits(src.data(), KelCS_UTF32), 3u);
}

TEST(BufferConversionGetNumUnits, UnitEscapeFormCountsAnEscapeAsOne) {
  EXPECT_EQ(GetNumUnits("aU+00E9b", KelCS_UTF16ESC), 3u);
  EXPECT_EQ(GetNumUnits("U+00E", KelCS_UTF16ESC), 5u);
}

TEST(BufferConversionGetNumUnits, IdWithoutConverterCountsUtf8) {
  for (KelCharSet charSet : {kCp437, kIso2022Jp}) {
    EXPECT_EQ(GetNumUnits("\xC3\xA9\xE4\xB8\xAD", charSet), 2u) << charSet;
  }
}

TEST(BufferConversionGetNumUnits, LongTextIsCountedToTheTerminator) {
  const std::string src = repeated("abcdefghij", kLongLength / 10);
  EXPECT_EQ(GetNumUnits(src.c_str(), KelCS_WCP1252), kLongLength);
  EXPECT_EQ(GetNumUnits(src.c_str(), KelCS_UTF8), kLongLength);
}

// ===========================================================================
// GetNumBytes

TEST(BufferConversionGetNumBytes, NullSrcGivesZero) {
  for (KelCharSet charSet : {KelCS_UTF8, KelCS_WCP1252, KelCS_ISO_8859_1, KelCS_UTF16,
                             KelCS_UTF16ESC, KelCS_UTF32, kCp437, KelCS_OS_DEFAULT}) {
    EXPECT_EQ(GetNumBytes(nullptr, charSet), 0u) << charSet;
  }
}

TEST(BufferConversionGetNumBytes, EmptySrcGivesZero) {
  for (KelCharSet charSet : {KelCS_UTF8, KelCS_WCP1252, KelCS_UTF16, KelCS_UTF32}) {
    EXPECT_EQ(GetNumBytes(u"", charSet), 0u) << charSet;
  }
}

TEST(BufferConversionGetNumBytes, Utf8CountsLikeIconv) {
  const std::u16string src = u"a\u00E9\u4E2D\U0001F600";
  const auto utf8 = oracle(unitsToBytes(src), machineUtf16(), "UTF-8");
  ASSERT_TRUE(utf8.has_value());
  EXPECT_EQ(GetNumBytes(src.c_str(), KelCS_UTF8), utf8->size());
  EXPECT_EQ(utf8->size(), 10u);
}

TEST(BufferConversionGetNumBytes, Utf8CountsOneByteForAnUnpairedHighSurrogate) {
  const std::u16string followed{char16_t{0xD800}, u'A'};
  EXPECT_EQ(GetNumBytes(followed.c_str(), KelCS_UTF8), 2u);
  const std::u16string last{u'A', char16_t{0xD800}};
  EXPECT_EQ(GetNumBytes(last.c_str(), KelCS_UTF8), 1u);
}

TEST(BufferConversionGetNumBytes, SingleByteSetsCountOneByteForEveryUnit) {
  EXPECT_EQ(GetNumBytes(u"A\u4E00", KelCS_WCP1252), 2u);
  EXPECT_EQ(GetNumBytes(u"A\u20AC\U0001F600", KelCS_ISO_8859_1), 4u);
}

TEST(BufferConversionGetNumBytes, Utf16CountsTwoBytesPerUnit) {
  EXPECT_EQ(GetNumBytes(u"a\U0001F600", KelCS_UTF16), 6u);
}

TEST(BufferConversionGetNumBytes, Utf32CountsFourBytesPerCharacter) {
  EXPECT_EQ(GetNumBytes(u"a\U0001F600", KelCS_UTF32), 8u);
}

TEST(BufferConversionGetNumBytes, UnitEscapeFormCountsSixBytesPerNonAsciiUnit) {
  EXPECT_EQ(GetNumBytes(u"a\u00E9\U0001F600", KelCS_UTF16ESC), 19u);
}

TEST(BufferConversionGetNumBytes, IdWithoutConverterCountsUtf8) {
  for (KelCharSet charSet : {kCp437, kIso2022Jp}) {
    EXPECT_EQ(GetNumBytes(u"\u00E9\u4E2D", charSet), 5u) << charSet;
  }
}

TEST(BufferConversionGetNumBytes, LongTextIsCountedToTheTerminator) {
  std::u16string src;
  for (size_t i = 0; i < kLongLength / 10; ++i) src += u"abcdefghi\u00E9";
  EXPECT_EQ(GetNumBytes(src.c_str(), KelCS_WCP1252), kLongLength);
  EXPECT_EQ(GetNumBytes(src.c_str(), KelCS_UTF8), kLongLength / 10 * 11);
}

// ===========================================================================
// GetMinUnitSize, GetMaxUnitSize, GetNullCharSize

struct UnitSizeRow {
  const char* name;
  KelCharSet charSet;
  size_t minSize;
  size_t maxSize;
  size_t nullSize;
};

void PrintTo(const UnitSizeRow& row, std::ostream* os) { *os << row.name; }

class BufferConversionUnitSizes : public testing::TestWithParam<UnitSizeRow> {};

TEST_P(BufferConversionUnitSizes, ReportTheConvertersSizes) {
  const UnitSizeRow& row = GetParam();
  EXPECT_EQ(GetMinUnitSize(row.charSet), row.minSize);
  EXPECT_EQ(GetMaxUnitSize(row.charSet), row.maxSize);
  EXPECT_EQ(GetNullCharSize(row.charSet), row.nullSize);
}

INSTANTIATE_TEST_SUITE_P(
    BufferConversion, BufferConversionUnitSizes,
    testing::Values(UnitSizeRow{"Utf8", KelCS_UTF8, 1, 3, 1},
                    UnitSizeRow{"Utf16", KelCS_UTF16, 2, 2, 2},
                    UnitSizeRow{"Utf16Escape", KelCS_UTF16ESC, 1, 6, 1},
                    UnitSizeRow{"Utf32", KelCS_UTF32, 4, 4, 4},
                    UnitSizeRow{"Windows1252", KelCS_WCP1252, 1, 1, 1},
                    UnitSizeRow{"Latin1", KelCS_ISO_8859_1, 1, 1, 1},
                    // Ids without a converter get UTF-8's sizes.
                    UnitSizeRow{"Cp437", kCp437, 1, 3, 1},
                    UnitSizeRow{"Iso2022Jp", kIso2022Jp, 1, 3, 1}),
    [](const testing::TestParamInfo<UnitSizeRow>& info) { return std::string(info.param.name); });

TEST(BufferConversionUnitSizesOsDefault, MatchTheOsConverter) {
  KelCharSetConverter* os = KelCharSetConverter::getConverter(KelCS_OS_DEFAULT);
  EXPECT_EQ(GetMinUnitSize(KelCS_OS_DEFAULT), os->getMinUnitSize());
  EXPECT_EQ(GetMaxUnitSize(KelCS_OS_DEFAULT), os->getMaxUnitSize());
  EXPECT_EQ(GetNullCharSize(KelCS_OS_DEFAULT), os->getNullCharSize());
  switch (osSet()) {
    case OsSet::kUtf8:
      EXPECT_EQ(GetMaxUnitSize(KelCS_OS_DEFAULT), 3u);
      EXPECT_EQ(GetNullCharSize(KelCS_OS_DEFAULT), 1u);
      break;
    case OsSet::kWindows1252:
    case OsSet::kLatin1:
      EXPECT_EQ(GetMaxUnitSize(KelCS_OS_DEFAULT), 1u);
      EXPECT_EQ(GetNullCharSize(KelCS_OS_DEFAULT), 1u);
      break;
    case OsSet::kOther:
      break;
  }
}

}  // namespace
