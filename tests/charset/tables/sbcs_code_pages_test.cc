// Every single-byte code page of the library, all bytes to UTF-16 and all
// UTF-16 units back, against glibc iconv as the oracle. Where the library's
// tables deliberately differ from glibc's, the difference is listed below;
// any other difference fails, and so does a listed one that is not there.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/iconv_oracle.h"

namespace {

using kelulib_test::GuardedBuffer;
using kelulib_test::IconvConverter;

// A byte (to UTF-16) or a unit (from UTF-16) where the library and iconv
// disagree: what each gives for it, 0 meaning unmapped.
template <typename From, typename To>
struct Difference {
  From from;
  To library;
  To iconv;
};
using ByteDifference = Difference<unsigned char, wchar16>;
using UnitDifference = Difference<wchar16, unsigned char>;

// What the library must give for `from`: iconv's value, unless `from` is a
// listed difference (then iconv must give the listed value).
template <typename From, typename To>
To expectedValue(const std::vector<Difference<From, To>>& differences, From from, To fromIconv) {
  for (const Difference<From, To>& difference : differences) {
    if (difference.from != from) continue;
    EXPECT_EQ(unsigned{fromIconv}, unsigned{difference.iconv})
        << "listed difference at " << unsigned{from};
    return difference.library;
  }
  return fromIconv;
}

struct SingleByteCodePage {
  const char* name;  // for test names
  KelCharSet id;
  const char* iconvName;
  std::vector<ByteDifference> bytes;
  std::vector<UnitDifference> units;
};

void PrintTo(const SingleByteCodePage& codePage, std::ostream* os) { *os << codePage.name; }

// The C1 bytes that a Windows code page leaves undefined map to U+0080-U+009F
// in the library's tables, both ways; iconv rejects them.
SingleByteCodePage windowsCodePage(const char* name, KelCharSet id, const char* iconvName,
                                   std::initializer_list<unsigned char> c1Identity,
                                   std::vector<ByteDifference> bytes = {},
                                   std::vector<UnitDifference> units = {}) {
  for (unsigned char byte : c1Identity) {
    bytes.push_back({byte, byte, 0});
    units.push_back({byte, byte, 0});
  }
  return {name, id, iconvName, bytes, units};
}

SingleByteCodePage sameAsIconv(const char* name, KelCharSet id, const char* iconvName) {
  return {name, id, iconvName, {}, {}};
}

std::vector<SingleByteCodePage> codePages() {
  return {
      sameAsIconv("WCP1252", KelCS_WCP1252, "CP1252"),
      sameAsIconv("ISO_8859_1", KelCS_ISO_8859_1, "ISO-8859-1"),
      windowsCodePage("WCP1250", KelCS_WCP1250, "CP1250", {0x81, 0x83, 0x88, 0x90, 0x98}),
      windowsCodePage("WCP1251", KelCS_WCP1251, "CP1251", {0x98}),
      // IBM's table for 1253 also maps 0xAA to U+00AA.
      windowsCodePage("WCP1253", KelCS_WCP1253, "CP1253",
                      {0x81, 0x88, 0x8A, 0x8C, 0x8D, 0x8E, 0x8F, 0x90, 0x98, 0x9A, 0x9C, 0x9D,
                       0x9E, 0x9F},
                      {{0xAA, 0x00AA, 0}}, {{0x00AA, 0xAA, 0}}),
      windowsCodePage("WCP1254", KelCS_WCP1254, "CP1254",
                      {0x81, 0x8D, 0x8E, 0x8F, 0x90, 0x9D, 0x9E}),
      windowsCodePage("WCP1255", KelCS_WCP1255, "CP1255",
                      {0x81, 0x8A, 0x8C, 0x8D, 0x8E, 0x8F, 0x90, 0x9A, 0x9C, 0x9D, 0x9E, 0x9F}),
      windowsCodePage("WCP1256", KelCS_WCP1256, "CP1256", {}),
      windowsCodePage("WCP1257", KelCS_WCP1257, "CP1257",
                      {0x81, 0x83, 0x88, 0x8A, 0x8C, 0x90, 0x98, 0x9A, 0x9C, 0x9F}),
      // glibc also writes the combining tone marks U+0340 and U+0341 as the
      // grave and acute tone marks of 1258.
      windowsCodePage("WCP1258", KelCS_WCP1258, "CP1258",
                      {0x81, 0x8A, 0x8D, 0x8E, 0x8F, 0x90, 0x9A, 0x9D, 0x9E}, {},
                      {{0x0340, 0, 0xCC}, {0x0341, 0, 0xEC}}),
      // The library's 874 is IBM's TIS-620 form: no Windows punctuation at
      // 0x80-0x97 and 0xA0, and four IBM symbols at 0xFC-0xFF.
      {"WCP874",
       KelCS_WCP874,
       "CP874",
       {{0x80, 0, 0x20AC},
        {0x85, 0, 0x2026},
        {0x91, 0, 0x2018},
        {0x92, 0, 0x2019},
        {0x93, 0, 0x201C},
        {0x94, 0, 0x201D},
        {0x95, 0, 0x2022},
        {0x96, 0, 0x2013},
        {0x97, 0, 0x2014},
        {0xA0, 0, 0x00A0},
        {0xFC, 0x00A2, 0},
        {0xFD, 0x00AC, 0},
        {0xFE, 0x00A6, 0},
        {0xFF, 0x00A0, 0}},
       {{0x00A0, 0xFF, 0xA0},
        {0x00A2, 0xFC, 0},
        {0x00A6, 0xFE, 0},
        {0x00AC, 0xFD, 0},
        {0x2013, 0, 0x96},
        {0x2014, 0, 0x97},
        {0x2018, 0, 0x91},
        {0x2019, 0, 0x92},
        {0x201C, 0, 0x93},
        {0x201D, 0, 0x94},
        {0x2022, 0, 0x95},
        {0x2026, 0, 0x85},
        {0x20AC, 0, 0x80}}},
      sameAsIconv("ISO_8859_2", KelCS_ISO_8859_2, "ISO-8859-2"),
      sameAsIconv("ISO_8859_3", KelCS_ISO_8859_3, "ISO-8859-3"),
      sameAsIconv("ISO_8859_4", KelCS_ISO_8859_4, "ISO-8859-4"),
      sameAsIconv("ISO_8859_5", KelCS_ISO_8859_5, "ISO-8859-5"),
      sameAsIconv("ISO_8859_6", KelCS_ISO_8859_6, "ISO-8859-6"),
      sameAsIconv("ISO_8859_7", KelCS_ISO_8859_7, "ISO-8859-7"),
      sameAsIconv("ISO_8859_8", KelCS_ISO_8859_8, "ISO-8859-8"),
      sameAsIconv("ISO_8859_9", KelCS_ISO_8859_9, "ISO-8859-9"),
      sameAsIconv("ISO_8859_10", KelCS_ISO_8859_10, "ISO-8859-10"),
      sameAsIconv("ISO_8859_11", KelCS_ISO_8859_11, "ISO-8859-11"),
      sameAsIconv("ISO_8859_13", KelCS_ISO_8859_13, "ISO-8859-13"),
      sameAsIconv("ISO_8859_14", KelCS_ISO_8859_14, "ISO-8859-14"),
      sameAsIconv("ISO_8859_15", KelCS_ISO_8859_15, "ISO-8859-15"),
      sameAsIconv("ISO_8859_16", KelCS_ISO_8859_16, "ISO-8859-16"),
      sameAsIconv("KOI8R", KelCS_KOI8R, "KOI8-R"),
  };
}

// What iconv makes of one byte: the unit, or 0 when it rejects the byte or
// gives anything but one unit.
wchar16 iconvUnitOf(IconvConverter& decoder, unsigned char byte) {
  const std::optional<std::string> out = decoder.convert(std::string(1, static_cast<char>(byte)));
  if (!out) return 0;
  const std::u16string units = kelulib_test::bytesToUnits(*out);
  return units.size() == 1 ? units[0] : 0;
}

// What iconv makes of one unit: the byte, or 0 when it rejects the unit or
// gives anything but one byte.
unsigned char iconvByteOf(IconvConverter& encoder, wchar16 unit) {
  if (unit >= 0xD800 && unit <= 0xDFFF) return 0;  // not text for iconv
  const std::optional<std::string> out =
      encoder.convert(kelulib_test::unitsToBytes(std::u16string(1, unit)));
  return out && out->size() == 1 ? static_cast<unsigned char>((*out)[0]) : 0;
}

class SbcsCodePage : public testing::TestWithParam<SingleByteCodePage> {
 protected:
  KelCharSetConverter* converter() { return KelCharSetConverter::getConverter(GetParam().id); }

  wchar16 expectedUnit(IconvConverter& decoder, unsigned char byte) {
    return expectedValue(GetParam().bytes, byte, iconvUnitOf(decoder, byte));
  }

  unsigned char expectedByte(IconvConverter& encoder, wchar16 unit) {
    return expectedValue(GetParam().units, unit, iconvByteOf(encoder, unit));
  }

  IconvConverter decoder{GetParam().iconvName, "UTF-16LE"};
  IconvConverter encoder{"UTF-16LE", GetParam().iconvName};
};

// Each byte alone: a mapped byte gives its unit, an unmapped one U+FFFD
// with the flag set.
TEST_P(SbcsCodePage, EveryByteToUtf16) {
  ASSERT_TRUE(decoder.isOpen());
  for (unsigned byte = 1; byte < 256; ++byte) {
    const wchar16 expected = expectedUnit(decoder, static_cast<unsigned char>(byte));
    const char input[] = {static_cast<char>(byte), 0};
    GuardedBuffer<wchar16> out(2);
    bool illegal = false;
    ASSERT_EQ(converter()->toUTF16(out.data(), input, 1, ILLCHAR_REPLACE, &illegal, -1), 1u);
    EXPECT_EQ(out[0], expected != 0 ? expected : 0xFFFD) << "byte " << byte;
    EXPECT_EQ(illegal, expected == 0) << "byte " << byte;
    EXPECT_EQ(out[1], 0);
    EXPECT_TRUE(out.guardsIntact());
  }
}

// Each unit alone, surrogates included: a mapped unit gives its byte, an
// unmapped one "?".
TEST_P(SbcsCodePage, EveryUnitFromUtf16) {
  ASSERT_TRUE(encoder.isOpen());
  for (unsigned unit = 1; unit < 0x10000; ++unit) {
    const unsigned char expected = expectedByte(encoder, static_cast<wchar16>(unit));
    const wchar16 input[] = {static_cast<wchar16>(unit), 0};
    GuardedBuffer<char> out(2);
    ASSERT_EQ(converter()->fromUTF16(out.data(), input, 1, ILLCHAR_REPLACE, nullptr), 1u);
    EXPECT_EQ(static_cast<unsigned char>(out[0]), expected != 0 ? expected : '?') << "unit " << unit;
    EXPECT_EQ(out[1], '\0');
    EXPECT_TRUE(out.guardsIntact());
  }
}

// Every mapped byte in one text, to UTF-16 and back.
TEST_P(SbcsCodePage, AllMappedBytesRoundTripInOneText) {
  ASSERT_TRUE(decoder.isOpen());
  std::string bytes;
  std::u16string units;
  for (unsigned byte = 1; byte < 256; ++byte) {
    const wchar16 unit = expectedUnit(decoder, static_cast<unsigned char>(byte));
    if (unit == 0) continue;
    bytes += static_cast<char>(byte);
    units += unit;
  }
  GuardedBuffer<wchar16> decoded(bytes.size() + 1);
  ASSERT_EQ(converter()->toUTF16(decoded.data(), bytes.c_str(), bytes.size(), ILLCHAR_STOP, nullptr,
                                 -1),
            bytes.size());
  EXPECT_EQ(std::u16string(decoded.data()), units);
  GuardedBuffer<char> encoded(bytes.size() + 1);
  ASSERT_EQ(converter()->fromUTF16(encoded.data(), decoded.data(), bytes.size(), ILLCHAR_STOP,
                                   nullptr),
            bytes.size());
  EXPECT_EQ(std::string(encoded.data()), bytes);
  EXPECT_TRUE(decoded.guardsIntact());
  EXPECT_TRUE(encoded.guardsIntact());
}

TEST_P(SbcsCodePage, LoneSurrogatesAreUnmappable) {
  const wchar16 text[] = {0xD83D, 0xDE00, 0xDC00, 0xDBFF, 0};
  GuardedBuffer<char> out(5);
  EXPECT_EQ(converter()->fromUTF16(out.data(), text, 4, ILLCHAR_REPLACE, nullptr), 4u);
  EXPECT_EQ(std::string(out.data()), "????");
  EXPECT_TRUE(out.guardsIntact());
}

TEST_P(SbcsCodePage, IsASingleByteConverter) {
  EXPECT_NE(dynamic_cast<KelCharSetConverterSBCS*>(converter()), nullptr);
  EXPECT_EQ(converter()->getMinUnitSize(), 1u);
  EXPECT_EQ(converter()->getMaxUnitSize(), 1u);
  EXPECT_EQ(converter()->getNullCharSize(), 1u);
}

INSTANTIATE_TEST_SUITE_P(AllSingleByteSets, SbcsCodePage, testing::ValuesIn(codePages()),
                         [](const testing::TestParamInfo<SingleByteCodePage>& info) {
                           return std::string(info.param.name);
                         });

// ISO 8859-11's table has 247 records: the eight bytes it lacks are
// unmapped both ways.
TEST(SbcsCodePageIso885911, MissingBytesAreUnmappedBothWays) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(KelCS_ISO_8859_11);
  const std::string missing = "\xDB\xDC\xDD\xDE\xFC\xFD\xFE\xFF";
  GuardedBuffer<wchar16> units(missing.size() + 1);
  bool illegal = false;
  ASSERT_EQ(converter->toUTF16(units.data(), missing.c_str(), missing.size(), ILLCHAR_REPLACE,
                               &illegal, -1),
            missing.size());
  EXPECT_EQ(std::u16string(units.data()), std::u16string(missing.size(), u'\uFFFD'));
  EXPECT_TRUE(illegal);
  EXPECT_TRUE(units.guardsIntact());
  for (unsigned unit = 1; unit < 0x10000; ++unit) {
    const wchar16 input[] = {static_cast<wchar16>(unit), 0};
    GuardedBuffer<char> out(2);
    converter->fromUTF16(out.data(), input, 1, ILLCHAR_STOP, nullptr);
    ASSERT_EQ(missing.find(out[0]), std::string::npos) << "unit " << unit;
  }
}

TEST(SbcsCodePageIso885911, MappedByteCountIs247) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(KelCS_ISO_8859_11);
  size_t mapped = 0;
  for (unsigned byte = 1; byte < 256; ++byte) {
    const char input[] = {static_cast<char>(byte), 0};
    GuardedBuffer<wchar16> out(2);
    bool illegal = false;
    converter->toUTF16(out.data(), input, 1, ILLCHAR_REPLACE, &illegal, -1);
    mapped += !illegal;
  }
  EXPECT_EQ(mapped, 247u);
}

}  // namespace
