// The library's embedded mapping tables: each one's size, record count,
// terminator and SHA-256, and the multi-byte loaders on the real tables.
//
// The sizes and counts are the ones the converters are built for. The
// SHA-256 values are those of the tables made by tools/make_mapping_tables.py
// with Python 3.11.7 and ICU 72.1, reproduced independently when the tables
// were first made; a difference means the generator or its inputs changed.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "charset/tables/mapping_records.h"
#include "charset/tables/mbcs_tables.h"
#include "platform/embedded_resources.h"
#include "tests/support/mapping_table_list.h"
#include "tests/support/sha256.h"

namespace {

struct TableFacts {
  const char* name;
  size_t recordSize;  // 4, or 6 for 32-bit scalars
  size_t records;     // without the terminator
  size_t bytes;
  const char* sha256;
};

void PrintTo(const TableFacts& facts, std::ostream* os) { *os << facts.name; }

const std::vector<TableFacts>& tableFacts() {
  static const std::vector<TableFacts> facts = {
      {"CP1250", 4, 255, 1024, "9c5bac797890cf9d4374b7f963204a8da294885af2bb219911c79fcb977dd99f"},
      {"CP1251", 4, 255, 1024, "c15fb5465bd102c9f5947a994e74f1833769ec952f8a78b0f0fd074cb805496c"},
      {"CP1253", 4, 253, 1016, "23c048a4b4718cb1df992b43a7ae8d4011dbcbfa2deda83b6eac5cbe3991005d"},
      {"CP1254", 4, 255, 1024, "ee98f8de4a858fbe3e8e6889f94982c68978a5d148654c4317c8fafc6d9972e1"},
      {"CP1255", 4, 244, 980, "c96e338e9f0d774b2352c66b08f677767ff5fc6997c21a7390b6eda4742ecad7"},
      {"CP1256", 4, 255, 1024, "c561cd83e01aa6ccc29c803fac209680e0617a6c867dd037018ad217e6248f35"},
      {"CP1257", 4, 253, 1016, "67b63a008ee5839ee44dfc5f834e77f54548b31b4a1fc6630980891c09a671bb"},
      {"CP1258", 4, 255, 1024, "ec3ab5ef22bdb957b6a4dbdc16588ed55c7e89654164775582239d4f2c2cefc3"},
      {"CP874", 4, 218, 876, "f828ea4303d6965dfbbcb13bfd52ec1839c0d8fa5d70355872244cf11fafa2c5"},
      {"8859-2", 4, 255, 1024, "2ff057f21fd7d90a96adf8d6d359759c212d4ba81e7f272c109060d05878299e"},
      {"8859-3", 4, 248, 996, "41fe0fe209cd396188768bed3faf25f39124834eb5f22429023a1d1d87381d7e"},
      {"8859-4", 4, 255, 1024, "83db5e5dcaf8e036a943863a08011f1b947f66c704f43f4a7e452215973c02c8"},
      {"8859-5", 4, 255, 1024, "c6699a370b8eb09d9c24ab8d9c73364babe5386b0690f109b03ca032b98a1943"},
      {"8859-6", 4, 210, 844, "bff0674d3964308ad81cc3505be5a612dd4198d64ed86e31a69b3f9573df6cdd"},
      {"8859-7", 4, 252, 1012, "34b4982cfe2883917902e1ba91bb809640fecb2b0776eb897d40bc7f66c19c52"},
      {"8859-8", 4, 219, 880, "a292c0ce50c1edb0f4834f0897718c2e5c2921bd23956f0e7b41c6b672026000"},
      {"8859-9", 4, 255, 1024, "6e43058cf1c4209c9bc7bafd93252ce74686777acea8c475d035a540695da803"},
      {"8859-10", 4, 255, 1024, "4985145cc4dd3242b90be22349cd8478ee346699bf0ef83b692447767341220c"},
      {"8859-11", 4, 247, 992, "8d9f9e8977ddbe659ce787dbd3ad30ffe0682b28e0e74a76f9dfb5c5f1505717"},
      {"8859-13", 4, 255, 1024, "9dc1c2e234baef6a22c6201606eb0915c04dda26385d03e7f3515c88c9265dc2"},
      {"8859-14", 4, 255, 1024, "45d791f96850d49336740555e21d8c0fa7d84640e85f2cee371022c66bda0b68"},
      {"8859-15", 4, 255, 1024, "90555b85cec4abd1ad88745881d59a436484b191680e06e65f9119ce6b41c831"},
      {"8859-16", 4, 255, 1024, "e24c105daf95dfdea543857e2115439da31835d3cf61a60c469992ae96372a61"},
      {"KOI8R", 4, 255, 1024, "d724e027c40963c8bc6f28225fa64d95350f8eaae3f072f83ad450ffd050285f"},
      {"JIS0201", 4, 189, 760, "03dc1f68c16b9ecdc016926b6d6e1b40246082e9afa6015ba1866b5fa18bb0bd"},
      {"CP932", 4, 9338, 37356, "fcba38b14bde87c4d7e28364226c026993753af79ffa5d4b2047f26f295b9864"},
      {"CP936", 4, 24069, 96280, "e5002a3b10f2aac1132c67802ebf0b265b8a222d702dc2cab5d3bc6ef2ce6f2d"},
      {"CP949", 4, 17365, 69464, "1cd53b16ab47eb8c90626a022436e7e5df985f450128a38cdcdb62fef34d920e"},
      {"CP950", 4, 20202, 80812, "90c76ec1442e8977f0ea5dbbe2534eb0f85f01d06160b986e22f70cb336de751"},
      {"BIG5", 4, 13837, 55352, "147dbbfcdbc0545021a5c816ab46dca818bf86f09e008768591ebb43246e5fb0"},
      {"SHIFTJIS", 4, 7068, 28276, "142c40ef952e7220b47bead09503273e7201faa89d3cfe23d5e2c86e36adac08"},
      {"SJIS0213", 6, 11398, 68394, "8b0db38e0a415d2706cee4904664c978aef105b513d7f8a4ec3617148ae8e47d"},
      {"GBK", 4, 24067, 96272, "89e047265d2923d0d6c21d59bd0830797dd5784e77189aa2f989f0e54072f671"},
      {"GB2312", 4, 7445, 29784, "143382ebfa64819beb71d507bc11b4427dca031957dd1b2bff0ea182a7f52790"},
      {"KSX1001", 4, 8224, 32900, "0c6efab69f2d43c5003752709aa8065f8392151c3bd76d9288fb521147f8a5c0"},
      {"JIS0208", 4, 6879, 27520, "979d354659d7f5696378f7dc333357a65a5ca3f5cfba20cc8295230cedc04cee"},
      {"JIS0212", 4, 6067, 24272, "675c6bac27502efe1fb194948103454d2148ec30fe81785896d32a90958ef464"},
  };
  return facts;
}

kelulib::ResourceBytes tableBytes(const char* name) {
  kelulib::ResourceBytes bytes;
  kelulib::findMappingTable(name, &bytes);
  return bytes;
}

bool isAllZero(const unsigned char* at, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    if (at[i] != 0) return false;
  }
  return true;
}

class EmbeddedMappingTable : public testing::TestWithParam<TableFacts> {};

TEST_P(EmbeddedMappingTable, IsFoundByName) {
  kelulib::ResourceBytes bytes;
  EXPECT_TRUE(kelulib::findMappingTable(GetParam().name, &bytes));
}

TEST_P(EmbeddedMappingTable, HasItsSize) { EXPECT_EQ(tableBytes(GetParam().name).size, GetParam().bytes); }

TEST_P(EmbeddedMappingTable, FirstAllZeroRecordIsItsLastRecord) {
  const kelulib::ResourceBytes bytes = tableBytes(GetParam().name);
  const size_t recordSize = GetParam().recordSize;
  ASSERT_EQ(bytes.size % recordSize, 0u);
  size_t records = 0;
  while (!isAllZero(bytes.data + records * recordSize, recordSize)) ++records;
  EXPECT_EQ(records, GetParam().records);
  EXPECT_EQ((records + 1) * recordSize, bytes.size);
}

TEST_P(EmbeddedMappingTable, HasItsSha256) {
  const kelulib::ResourceBytes bytes = tableBytes(GetParam().name);
  const std::string sha256 = kelulib_test::sha256Hex(bytes.data, bytes.size);
  RecordProperty("sha256", sha256);
  EXPECT_EQ(sha256, GetParam().sha256) << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(AllTables, EmbeddedMappingTable, testing::ValuesIn(tableFacts()),
                         [](const testing::TestParamInfo<TableFacts>& info) {
                           std::string name = info.param.name;
                           for (char& c : name) {
                             if (c == '-') c = '_';
                           }
                           return name;
                         });

TEST(EmbeddedMappingTables, LibraryEmbedsExactlyTheseTables) {
  std::set<std::string> expected;
  for (const TableFacts& facts : tableFacts()) expected.insert(facts.name);
  EXPECT_EQ(kelulib_test::mappingTableNames(), expected);
}

// The lookup takes the platform's path: on Windows the bytes are the
// UNICODEMAP resource itself (FindResourceA, LoadResource, LockResource on
// the module), used in place; elsewhere the embedded array.
TEST_P(EmbeddedMappingTable, IsReadInPlaceFromTheModule) {
  const kelulib::ResourceBytes own = kelulib_test::modulesOwnTable(GetParam().name);
  const kelulib::ResourceBytes found = tableBytes(GetParam().name);
  ASSERT_NE(own.data, nullptr);
  EXPECT_EQ(found.data, own.data);
  EXPECT_EQ(found.size, own.size);
}

TEST(Sha256, KnownVectors) {
  // FIPS 180-4 examples, and the empty message.
  const std::string abc = "abc";
  EXPECT_EQ(kelulib_test::sha256Hex(reinterpret_cast<const unsigned char*>(abc.data()), abc.size()),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  const std::string twoBlocks = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
  EXPECT_EQ(kelulib_test::sha256Hex(reinterpret_cast<const unsigned char*>(twoBlocks.data()),
                                    twoBlocks.size()),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(kelulib_test::sha256Hex(nullptr, 0),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

// --- the multi-byte loaders on the real tables ------------------------------

// Every record of a table maps its code to its value once the table is
// loaded, and every value maps back to the highest code that has it (the
// only code, in all tables but BIG5).
template <typename Tables>
void expectEveryRecordBothWays(const char* name) {
  using Record = typename Tables::MappingRecord;
  Tables tables;
  ASSERT_TRUE(tables.load(name));
  const kelulib::ResourceBytes bytes = tableBytes(name);
  std::map<uint32_t, uint16_t> highestCode;
  size_t checked = 0;
  kelulib::forEachRecord<Record>(bytes.data, bytes.size, [&](Record record) {
    if (record.code == 0 && record.unicode == 0) return false;
    EXPECT_EQ(tables.toUnicode(record.code), record.unicode) << name << " code " << record.code;
    uint16_t& highest = highestCode[record.unicode];
    if (record.code > highest) highest = record.code;
    ++checked;
    return true;
  });
  EXPECT_EQ(checked * Record::kSize + Record::kSize, bytes.size) << name;
  size_t shared = checked - highestCode.size();
  EXPECT_EQ(shared, std::string(name) == "BIG5" ? 4u : 0u) << name;
  for (const auto& [value, code] : highestCode) {
    EXPECT_EQ(tables.fromUnicode(value), code) << name << " value " << value;
  }
}

class MbcsLoaderOnTable : public testing::TestWithParam<const char*> {};

TEST_P(MbcsLoaderOnTable, EveryRecordMapsBothWays) {
  expectEveryRecordBothWays<kelulib::KelMbcsTables>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(DoubleByteTables, MbcsLoaderOnTable,
                         testing::Values("CP932", "CP936", "CP949", "CP950", "BIG5", "SHIFTJIS",
                                         "GBK", "GB2312", "KSX1001", "JIS0208", "JIS0212",
                                         "JIS0201"));

TEST(MbcsExLoaderOnTable, EverySjis0213RecordMapsBothWays) {
  expectEveryRecordBothWays<kelulib::KelMbcsExTables>("SJIS0213");
}

TEST(MbcsExLoaderOnTable, Sjis0213ScalarsBeyondTheBmpLoadIntoPlaneTwo) {
  // Python's shift_jis_2004 codec: F040 is U+20089 and FCF4 is U+2A6B2.
  kelulib::KelMbcsExTables tables;
  ASSERT_TRUE(tables.load("SJIS0213"));
  EXPECT_EQ(tables.toUnicode(0xF040), 0x20089u);
  EXPECT_EQ(tables.fromUnicode(0x20089), 0xF040);
  EXPECT_EQ(tables.toUnicode(0xFCF4), 0x2A6B2u);
  EXPECT_EQ(tables.fromUnicode(0x2A6B2), 0xFCF4);
  EXPECT_EQ(tables.fromUnicode(0x0089), 0);
}

// Mappings the converters rely on, one per row.
struct KnownMapping {
  const char* table;
  uint16_t code;
  uint16_t unit;
};

void PrintTo(const KnownMapping& mapping, std::ostream* os) {
  *os << mapping.table << " " << std::hex << mapping.code << " U+" << mapping.unit;
}

class MbcsKnownMapping : public testing::TestWithParam<KnownMapping> {};

TEST_P(MbcsKnownMapping, MapsBothWays) {
  kelulib::KelMbcsTables tables;
  ASSERT_TRUE(tables.load(GetParam().table));
  EXPECT_EQ(tables.toUnicode(GetParam().code), GetParam().unit);
  EXPECT_EQ(tables.fromUnicode(GetParam().unit), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Tables, MbcsKnownMapping,
    testing::Values(KnownMapping{"GBK", 0x8180, 0x4E90}, KnownMapping{"GBK", 0xA2E3, 0x20AC},
                    KnownMapping{"CP936", 0x8180, 0x4E90}, KnownMapping{"CP936", 0x0080, 0x20AC},
                    KnownMapping{"CP932", 0x82A0, 0x3042}, KnownMapping{"GB2312", 0x2121, 0x3000},
                    KnownMapping{"KSX1001", 0x3021, 0xAC00}, KnownMapping{"JIS0212", 0x222F, 0x02D8},
                    KnownMapping{"JIS0212", 0x2237, 0x007E}, KnownMapping{"JIS0201", 0x005C, 0x00A5},
                    KnownMapping{"JIS0201", 0x007E, 0x203E}, KnownMapping{"JIS0201", 0x00B1, 0xFF71},
                    KnownMapping{"JIS0208", 0x2140, 0x005C},
                    KnownMapping{"SHIFTJIS", 0x815F, 0x005C},
                    // Python's big5: the higher of the two codes of each.
                    KnownMapping{"BIG5", 0xA241, 0xFF0F}, KnownMapping{"BIG5", 0xA242, 0xFF3C},
                    KnownMapping{"BIG5", 0xA451, 0x5341}, KnownMapping{"BIG5", 0xA4CA, 0x5345}),
    [](const testing::TestParamInfo<KnownMapping>& info) {
      char code[8];
      std::snprintf(code, sizeof code, "%04X", info.param.code);
      return std::string(info.param.table) + "_" + code;
    });

}  // namespace
