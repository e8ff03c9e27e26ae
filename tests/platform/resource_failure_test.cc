// The library when its mapping tables are not all there: this program links
// kelulib_resource_failure, built from the library's own objects with the
// library's tables less "CP1251" (single-byte) and "CP932" (double-byte),
// and with two cut short: "KOI8R" after 150 records and two stray bytes,
// "CP949" after 1,000 records and two stray bytes, neither with its end
// record. On Windows it is a DLL whose UNICODEMAP resources are these
// tables, found with FindResourceA on its own module as KelULibDll.dll
// finds its own; elsewhere a shared library that embeds them.
//
// A missing table is silent: a single-byte converter then converts nothing
// (and tries again at every call), a multi-byte one has empty tables (every
// sequence illegal, every character unmappable). A table cut short loads
// the whole records it has; the stray bytes are no record. The other tables
// load as ever.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

// The records of the committed table `name`: (code, UTF-16 unit).
std::vector<std::pair<uint16_t, uint16_t>> committedRecords(const char* name) {
  std::ifstream file(std::string(KELULIB_TABLES_DIR) + "/" + name, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<std::pair<uint16_t, uint16_t>> records;
  for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
    const auto byte = [&](size_t i) { return static_cast<uint16_t>(static_cast<unsigned char>(bytes[at + i])); };
    records.emplace_back(static_cast<uint16_t>(byte(0) | byte(1) << 8),
                         static_cast<uint16_t>(byte(2) | byte(3) << 8));
  }
  return records;
}

constexpr size_t kKoi8rRecordsKept = 150;
constexpr size_t kCp949RecordsKept = 1000;

struct Decoded {
  size_t count;
  std::u16string units;
  bool illegal;
};

Decoded decode(KelCharSet id, const std::string& bytes) {
  std::vector<wchar16> out(bytes.size() + 8, 0xAAAA);
  bool illegal = false;
  const size_t count = KelCharSetConverter::getConverter(id)->toUTF16(
      out.data(), bytes.c_str(), bytes.size() + 4, ILLCHAR_REPLACE, &illegal, -1);
  return {count, std::u16string(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(count)),
          illegal};
}

struct Encoded {
  size_t count;
  std::string bytes;
  bool illegal;
};

Encoded encode(KelCharSet id, const std::u16string& units) {
  std::string out(units.size() * 4 + 8, '\xAA');
  bool illegal = false;
  const size_t count = KelCharSetConverter::getConverter(id)->fromUTF16(
      out.data(), units.c_str(), units.size() * 4 + 4, ILLCHAR_REPLACE, &illegal);
  return {count, out.substr(0, count), illegal};
}

TEST(MissingMappingTable, SingleByteConverterConvertsNothing) {
  // Twice: the converter looks for its table again at every call.
  for (int call = 0; call < 2; ++call) {
    std::vector<wchar16> units(8, 0xAAAA);
    bool illegal = false;
    EXPECT_EQ(KelCharSetConverter::getConverter(KelCS_WCP1251)
                  ->toUTF16(units.data(), "abc", 4, ILLCHAR_REPLACE, &illegal, -1),
              0u);
    EXPECT_EQ(units[0], 0);
    std::string bytes(8, '\xAA');
    EXPECT_EQ(KelCharSetConverter::getConverter(KelCS_WCP1251)
                  ->fromUTF16(bytes.data(), u"abc", 4, ILLCHAR_REPLACE, &illegal),
              0u);
    EXPECT_EQ(bytes[0], '\0');
  }
}

TEST(MissingMappingTable, DoubleByteConverterMapsNothing) {
  // "A", then the pair of あ (82 A0): each a sequence without a mapping.
  const Decoded decoded = decode(KelCS_WCP932, "A\x82\xA0");
  EXPECT_EQ(decoded.units, u"\uFFFD\uFFFD");
  EXPECT_TRUE(decoded.illegal);
  const Encoded encoded = encode(KelCS_WCP932, u"A\u3042");
  EXPECT_EQ(encoded.bytes, "??");
  EXPECT_TRUE(encoded.illegal);
}

TEST(CutMappingTable, SingleByteTableMapsItsWholeRecordsOnly) {
  const auto records = committedRecords("KOI8R");
  ASSERT_GT(records.size(), kKoi8rRecordsKept + 1);
  for (size_t i = 0; i < records.size(); ++i) {
    const auto [code, unit] = records[i];
    if (code == 0 && unit == 0) break;
    const Decoded decoded = decode(KelCS_KOI8R, std::string(1, static_cast<char>(code)));
    const Encoded encoded = encode(KelCS_KOI8R, std::u16string(1, static_cast<char16_t>(unit)));
    if (i < kKoi8rRecordsKept) {
      EXPECT_EQ(decoded.units, std::u16string(1, static_cast<char16_t>(unit))) << "code " << code;
      EXPECT_EQ(encoded.bytes, std::string(1, static_cast<char>(code))) << "unit " << unit;
    } else {
      EXPECT_EQ(decoded.units, u"\uFFFD") << "code " << code;
      EXPECT_TRUE(decoded.illegal) << "code " << code;
      EXPECT_EQ(encoded.bytes, "?") << "unit " << unit;
    }
  }
}

TEST(CutMappingTable, DoubleByteTableMapsItsWholeRecordsOnly) {
  const auto records = committedRecords("CP949");
  ASSERT_GT(records.size(), kCp949RecordsKept + 1);
  size_t checked = 0;
  for (size_t i = 0; i < records.size(); ++i) {
    const auto [code, unit] = records[i];
    if (code == 0 && unit == 0) break;
    if (code < 0x100) continue;
    const std::string pair{static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
    const Decoded decoded = decode(KelCS_WCP949, pair);
    const Encoded encoded = encode(KelCS_WCP949, std::u16string(1, static_cast<char16_t>(unit)));
    if (i < kCp949RecordsKept) {
      EXPECT_EQ(decoded.units, std::u16string(1, static_cast<char16_t>(unit))) << "code " << code;
      EXPECT_EQ(encoded.bytes, pair) << "unit " << unit;
    } else {
      EXPECT_EQ(decoded.units, u"\uFFFD") << "code " << code;
      EXPECT_EQ(encoded.bytes, "?") << "unit " << unit;
    }
    ++checked;
  }
  EXPECT_GT(checked, kCp949RecordsKept);
}

TEST(OtherMappingTables, LoadAsEver) {
  // ą in Windows-1250 (B9), 가 in EUC-KR (B0 A1), 中 in GB18030 (D6 D0).
  EXPECT_EQ(decode(KelCS_WCP1250, "\xB9").units, u"\u0105");
  EXPECT_EQ(decode(KelCS_EUC_KR, "\xB0\xA1").units, u"\uAC00");
  EXPECT_EQ(encode(KelCS_EUC_KR, u"\uAC00").bytes, "\xB0\xA1");
  EXPECT_EQ(encode(KelCS_GB18030, u"\u4E2D").bytes, "\xD6\xD0");
}

#if defined(_WIN32)
// The converters above read the resources of the DLL they are in.
TEST(MissingMappingTable, TheDllsResourcesAreTheTablesAbove) {
  HMODULE module = GetModuleHandleW(L"kelulib_resource_failure.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(FindResourceA(module, "CP1251", "UNICODEMAP"), nullptr);
  EXPECT_EQ(FindResourceA(module, "CP932", "UNICODEMAP"), nullptr);
  HRSRC koi8r = FindResourceA(module, "KOI8R", "UNICODEMAP");
  ASSERT_NE(koi8r, nullptr);
  EXPECT_EQ(SizeofResource(module, koi8r), 4 * kKoi8rRecordsKept + 2);
  HRSRC cp949 = FindResourceA(module, "CP949", "UNICODEMAP");
  ASSERT_NE(cp949, nullptr);
  EXPECT_EQ(SizeofResource(module, cp949), 4 * kCp949RecordsKept + 2);
}
#endif

}  // namespace
