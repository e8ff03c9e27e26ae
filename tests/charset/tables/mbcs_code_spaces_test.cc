// Every multi-byte converter over its whole code space, in both directions,
// against an independent converter: ICU where ICU has the very code page
// (IBM's 932 and 950, Windows' 936 and 949, GB18030), glibc's iconv for the
// others. Where the library deliberately differs from the oracle, the
// difference is listed below with its reason; any other difference fails,
// and so does a listed one that the oracle does not show.
//
// Decoding: every single byte, every lead byte with every byte after it,
// every three- and four-byte form the set has (for GB18030 every four-byte
// sequence of the BMP and a sample of the supplementary planes), each
// followed by the terminator. A sequence maps when it gives exactly one
// character without the illegal flag; a sequence the oracle decodes to
// several characters (a base and a combining mark) is one the tables leave
// out.
//
// Encoding: every BMP character (and for the sets beyond the BMP the
// supplementary characters named below). The library's tables map one to
// one, so it writes a character as the oracle does when the oracle's bytes
// decode back to that character, and writes nothing for the oracle's
// one-way ("best fit") mappings.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "tests/support/conversion_runs.h"
#include "tests/support/iconv_oracle.h"
#include "tests/support/icu_oracle.h"

namespace {

using kelulib_test::decodeRun;
using kelulib_test::encodeRun;

// --- oracles -------------------------------------------------------------------------------

class Oracle {
 public:
  virtual ~Oracle() = default;
  virtual bool isOpen() const = 0;
  // The one character `bytes` decode to; 0 when the oracle rejects them or
  // they are not exactly one character.
  virtual char32_t decodeOne(const std::string& bytes) = 0;
  // The bytes of `scalar`; empty when the oracle cannot write it.
  virtual std::string encodeOne(char32_t scalar) = 0;
};

char32_t onlyCharacter(const std::optional<std::u32string>& text) {
  return text && text->size() == 1 ? (*text)[0] : 0;
}

class IcuOracle : public Oracle {
 public:
  explicit IcuOracle(const char* name) : m_converter(name) {}
  bool isOpen() const override { return m_converter.isOpen(); }
  char32_t decodeOne(const std::string& bytes) override {
    return onlyCharacter(m_converter.decode(bytes));
  }
  std::string encodeOne(char32_t scalar) override {
    return m_converter.encode(std::u32string(1, scalar)).value_or("");
  }

 private:
  kelulib_test::IcuConverter m_converter;
};

class IconvOracle : public Oracle {
 public:
  explicit IconvOracle(const char* name)
      : m_decoder(name, "UTF-32LE"), m_encoder("UTF-32LE", name) {}
  bool isOpen() const override { return m_decoder.isOpen() && m_encoder.isOpen(); }
  char32_t decodeOne(const std::string& bytes) override {
    const std::optional<std::string> out = m_decoder.convert(bytes);
    if (!out || out->size() != 4) return 0;
    const auto* b = reinterpret_cast<const unsigned char*>(out->data());
    return static_cast<char32_t>(b[0] | b[1] << 8 | b[2] << 16 | uint32_t{b[3]} << 24);
  }
  std::string encodeOne(char32_t scalar) override {
    const char le[4] = {static_cast<char>(scalar), static_cast<char>(scalar >> 8),
                        static_cast<char>(scalar >> 16), static_cast<char>(scalar >> 24)};
    return m_encoder.convert(std::string(le, 4)).value_or("");
  }

 private:
  kelulib_test::IconvConverter m_decoder;
  kelulib_test::IconvConverter m_encoder;
};

// --- byte sequences and codes -------------------------------------------------------------

// A sequence's code: its bytes read as a big-endian number.
uint32_t codeOf(const std::string& bytes) {
  uint32_t code = 0;
  for (char b : bytes) code = code << 8 | static_cast<unsigned char>(b);
  return code;
}

std::string hexCode(uint32_t code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(code));
  return text;
}

std::u16string utf16Of(char32_t scalar) {
  if (scalar < 0x10000) return std::u16string(1, static_cast<char16_t>(scalar));
  return {static_cast<char16_t>(0xD7C0 + (scalar >> 10)),
          static_cast<char16_t>(0xDC00 + (scalar & 0x3FF))};
}

// --- what each code space differs in ----------------------------------------------------

// Any character: the oracle maps each code of the run, to no value in line.
constexpr char32_t kSomeCharacter = 0xFFFFFFFF;

// Codes first..last (big-endian numbers of the byte sequences) that the
// library decodes to library + (code - first) and the oracle to
// oracle + (code - first); 0 means unmapped throughout.
struct DecodeDifference {
  uint32_t first;
  uint32_t last;
  char32_t library;
  char32_t oracle;
};

// Characters first..last that the library writes as code library +
// (c - first) and the oracle as oracle + (c - first); 0 means unmappable.
struct EncodeDifference {
  char32_t first;
  char32_t last;
  uint32_t library;
  uint32_t oracle;
};

// A mapped sequence whose character is written back as other bytes.
struct OneWay {
  uint32_t code;
  uint32_t writtenAs;
};

enum class LeadRule { kByteClasses, kEucPair, kGb18030, kNone };

char32_t valueInRun(char32_t first, uint32_t offset) {
  return first == 0 || first == kSomeCharacter ? first : first + offset;
}

struct CodeSpace {
  const char* name;
  KelCharSet id;
  bool icu;  // else iconv
  const char* oracleName;
  std::vector<std::string> (*sequences)();
  std::vector<DecodeDifference> decodeDifferences;
  std::vector<EncodeDifference> encodeDifferences;
  std::vector<OneWay> oneWay;
  size_t mappedSequences;  // sequences the library decodes
  // Characters beyond the BMP to encode (none for the sets without any).
  std::vector<char32_t> (*supplementary)();
  // The EUC sets write 0x01-0x7E as themselves, without the table.
  bool asciiPassesThrough;
  // Which bytes start a sequence and which may follow such a byte (none for
  // EUC-JP, whose bytes 0x7F-0xFF take any byte after them).
  LeadRule leadRule;
  // Pairs of a lead byte and a byte the rule does not let follow it that
  // the oracle maps both ways: in the table, written but never read.
  size_t pairsWrittenNeverRead;
};

void PrintTo(const CodeSpace& space, std::ostream* os) { *os << space.name; }

// --- the sequences of each kind of set -----------------------------------------------------

std::string bytes(std::initializer_list<unsigned> values) {
  std::string text;
  for (unsigned v : values) text += static_cast<char>(v);
  return text;
}

// Every single byte, and every pair of a lead byte and a trail byte of the
// converter's byte classes.
template <KelCharSet kId>
std::vector<std::string> doubleByteSequences() {
  const auto* classes =
      dynamic_cast<const KelCharSetConverterDBCSBase*>(KelCharSetConverter::getConverter(kId));
  std::vector<std::string> sequences;
  for (unsigned b = 1; b < 256; ++b) {
    sequences.push_back(bytes({b}));
    if (!classes->isLeadByte(static_cast<unsigned char>(b))) continue;
    for (unsigned t = 1; t < 256; ++t) {
      if (classes->isTrailByte(static_cast<unsigned char>(t))) sequences.push_back(bytes({b, t}));
    }
  }
  return sequences;
}

std::vector<std::string> eucCnKrSequences() {
  std::vector<std::string> sequences;
  for (unsigned b = 1; b < 256; ++b) sequences.push_back(bytes({b}));
  for (unsigned b = 0xA1; b <= 0xFE; ++b) {
    for (unsigned t = 0xA1; t <= 0xFE; ++t) sequences.push_back(bytes({b, t}));
  }
  return sequences;
}

std::vector<std::string> eucJpSequences() {
  std::vector<std::string> sequences = eucCnKrSequences();
  for (unsigned t = 0xA1; t <= 0xDF; ++t) sequences.push_back(bytes({0x8E, t}));
  for (unsigned b = 0xA1; b <= 0xFE; ++b) {
    for (unsigned t = 0xA1; t <= 0xFE; ++t) sequences.push_back(bytes({0x8F, b, t}));
  }
  // The two JIS X 0201 characters beyond ASCII's range that are written
  // after 0x80.
  sequences.push_back(bytes({0x80, 0xDC}));
  sequences.push_back(bytes({0x80, 0xFE}));
  return sequences;
}

std::string gbFourBytes(uint32_t gbScalar) {
  const uint32_t i = gbScalar - 0x10000;
  return bytes({0x81 + i / 12600, 0x30 + i / 1260 % 10, 0x81 + i / 10 % 126, 0x30 + i % 10});
}

// U+10000, U+10FFFF and 10,000 supplementary characters picked by a fixed
// seed.
std::vector<char32_t> supplementarySample() {
  std::vector<char32_t> sample = {0x10000, 0x10FFFF};
  std::mt19937 random(18030);
  for (int i = 0; i < 10000; ++i) sample.push_back(0x10000 + random() % 0x100000);
  return sample;
}

// Plane 2, where Shift_JIS-2004's characters beyond the BMP are, whole, and
// the sample of the other planes.
std::vector<char32_t> sjis2004Supplementary() {
  std::vector<char32_t> scalars = supplementarySample();
  for (char32_t c = 0x20000; c < 0x30000; ++c) scalars.push_back(c);
  return scalars;
}

std::vector<char32_t> noSupplementary() { return {}; }

std::vector<std::string> gb18030Sequences() {
  std::vector<std::string> sequences;
  for (unsigned b = 1; b < 256; ++b) sequences.push_back(bytes({b}));
  for (unsigned b = 0x81; b <= 0xFE; ++b) {
    for (unsigned t = 0x40; t <= 0xFE; ++t) {
      if (t != 0x7F) sequences.push_back(bytes({b, t}));
    }
  }
  // The BMP's four-byte sequences, and the ten after them (unassigned).
  for (uint32_t s = 0x10000; s < 0x199FC + 10; ++s) sequences.push_back(gbFourBytes(s));
  for (char32_t c : supplementarySample()) sequences.push_back(gbFourBytes(c + 189000));
  return sequences;
}

// --- the code spaces ---------------------------------------------------------------------

// ICU's IBM tables rotate three ASCII controls (0x1A, 0x1C, 0x7F, the IBM PC
// convention); the library's tables keep ASCII as it is.
const std::vector<DecodeDifference> kIbmControlsDecode = {
    {0x1A, 0x1A, 0x1A, 0x1C}, {0x1C, 0x1C, 0x1C, 0x7F}, {0x7F, 0x7F, 0x7F, 0x1A}};

std::vector<DecodeDifference> withIbmControls(std::vector<DecodeDifference> differences) {
  differences.insert(differences.begin(), kIbmControlsDecode.begin(), kIbmControlsDecode.end());
  return differences;
}

const std::vector<EncodeDifference> kIbmControlsEncode = {
    {0x1A, 0x1A, 0x1A, 0x7F}, {0x1C, 0x1C, 0x1C, 0x1A}, {0x7F, 0x7F, 0x7F, 0x1C}};

// Glibc's Big5 follows the later Big5 tables, the library's table the
// classic unicode.org one (Python's big5), whole.
const std::vector<DecodeDifference> kBig5Differences = {
    // glibc passes 0x80 through.
    {0x80, 0x80, 0, 0x80},
    // Variant mappings of symbols.
    {0xA145, 0xA145, 0x2022, 0x2027},
    {0xA14E, 0xA14E, 0xFF64, 0xFE51},
    {0xA1C2, 0xA1C2, 0x203E, 0x00AF},
    {0xA1E3, 0xA1E3, 0x223C, 0xFF5E},
    {0xA1F2, 0xA1F2, 0x2641, 0x2295},
    {0xA1F3, 0xA1F3, 0x2609, 0x2299},
    {0xA244, 0xA244, 0x00A5, 0xFFE5},
    {0xA246, 0xA247, 0x00A2, 0xFFE0},
    // In the classic table A241 and A242 are a second code for the slash
    // and the backslash of A1FE and A240; glibc reads them as U+2215 and
    // U+FE68.
    {0xA241, 0xA241, 0xFF0F, 0x2215},
    {0xA242, 0xA242, 0xFF3C, 0xFE68},
    // The euro sign, added to Big5 later.
    {0xA3E1, 0xA3E1, 0, 0x20AC},
    // Rows C6A1-C7FC: the ETEN kana, Cyrillic and circled numbers in the
    // classic table; glibc has them in the private use area, as it has the
    // rest of rows C6-C8.
    {0xC6A1, 0xC6A1, 0x30FE, 0xF6B1},
    {0xC6A2, 0xC6A3, 0x309D, 0xF6B2},
    {0xC6A4, 0xC6A4, 0x3005, 0xF6B4},
    {0xC6A5, 0xC6F7, 0x3041, 0xF6B5},
    {0xC6F8, 0xC6FE, 0x30A1, 0xF708},
    {0xC740, 0xC77E, 0x30A8, 0xF70F},
    {0xC7A1, 0xC7B0, 0x30E7, 0xF74E},
    {0xC7B1, 0xC7B2, 0x0414, 0xF75E},
    {0xC7B3, 0xC7B3, 0x0401, 0xF760},
    {0xC7B4, 0xC7BA, 0x0416, 0xF761},
    {0xC7BB, 0xC7CD, 0x0423, 0xF768},
    {0xC7CE, 0xC7CE, 0x0451, 0xF77B},
    {0xC7CF, 0xC7E8, 0x0436, 0xF77C},
    {0xC7E9, 0xC7F2, 0x2460, 0xF796},
    {0xC7F3, 0xC7FC, 0x2474, 0xF7A0},
    {0xC7FD, 0xC7FE, 0, 0xF7AA},
    {0xC840, 0xC87E, 0, 0xF7AC},
    {0xC8A1, 0xC8FE, 0, 0xF7EB},
    // The ETEN extensions after F9D5 (seven hanzi, box drawing).
    {0xF9D6, 0xF9FE, 0, kSomeCharacter},
};

// The library's JIS tables map JIS X 0208 0x2140 (Shift-JIS 0x815F, EUC
// 0xA1C0) to U+005C, as the unicode.org tables do; glibc to U+FF3C.
constexpr DecodeDifference kShiftJisBackslash = {0x815F, 0x815F, 0x005C, 0xFF3C};

std::vector<CodeSpace> codeSpaces() {
  return {
      {"WCP932",
       KelCS_WCP932,
       true,
       "ibm-942_P12A-1999",
       doubleByteSequences<KelCS_WCP932>,
       withIbmControls({
           // ICU decodes 0xFE and 0xFF as the backslash and tilde one way
           // only; they are no round-trip mapping of the table.
           {0xFE, 0xFE, 0, 0x5C},
           {0xFF, 0xFF, 0, 0x7E},
       }),
       kIbmControlsEncode,
       {},
       9338,
       noSupplementary,
       false,
       LeadRule::kByteClasses,
       0},
      // The table's 24,069 codes less the 4,158 pairs whose second byte
      // (0x80-0xA0) the byte classes do not count as a trail byte: those are
      // written but never read.
      {"WCP936",
       KelCS_WCP936,
       true,
       "windows-936-2000",
       doubleByteSequences<KelCS_WCP936>,
       {},
       {},
       {},
       24069 - 4158,
       noSupplementary,
       false,
       LeadRule::kByteClasses,
       4158},
      {"WCP949",
       KelCS_WCP949,
       true,
       "windows-949-2000",
       doubleByteSequences<KelCS_WCP949>,
       {},
       {},
       {},
       17365,
       noSupplementary,
       false,
       LeadRule::kByteClasses,
       0},
      // The table's 20,202 codes less the 418 pairs with a second byte in
      // 0x80-0xA0 (written, never read, as for 936).
      {"WCP950",
       KelCS_WCP950,
       true,
       "ibm-950_P110-1999",
       doubleByteSequences<KelCS_WCP950>,
       withIbmControls({
           // ICU decodes these two one way only (its round trips for the
           // characters are 0xA451 and 0xA4CA).
           {0xA2CC, 0xA2CC, 0, 0x5341},
           {0xA2CE, 0xA2CE, 0, 0x5345},
       }),
       kIbmControlsEncode,
       {},
       20202 - 418,
       noSupplementary,
       false,
       LeadRule::kByteClasses,
       418},
      {"BIG5",
       KelCS_BIG5,
       false,
       "BIG5",
       doubleByteSequences<KelCS_BIG5>,
       kBig5Differences,
       {},
       // Four characters have two codes each; the higher one is written.
       {{0xA1FE, 0xA241}, {0xA240, 0xA242}, {0xA2CC, 0xA451}, {0xA2CE, 0xA4CA}},
       13837,
       noSupplementary,
       false,
       LeadRule::kByteClasses,
       0},
      {"SHIFTJIS",
       KelCS_SHIFTJIS,
       false,
       "SHIFT_JIS",
       doubleByteSequences<KelCS_SHIFTJIS>,
       {
           // JIS X 0201 has no DEL; glibc passes it through.
           {0x7F, 0x7F, 0, 0x7F},
           kShiftJisBackslash,
       },
       {},
       {},
       7068,
       noSupplementary,
       false,
       LeadRule::kByteClasses,
       0},
      // Python's shift_jis_2004 (the table's source) and glibc differ in
      // five codes.
      {"SJIS0213",
       KelCS_SJIS0213,
       false,
       "SHIFT_JISX0213",
       doubleByteSequences<KelCS_SJIS0213>,
       {
           {0x815C, 0x815C, 0x2015, 0x2014},
           kShiftJisBackslash,
           {0x81B0, 0x81B0, 0x007E, 0xFF5E},
           {0x81D4, 0x81D5, 0x2985, 0xFF5F},
       },
       {},
       {},
       11398,
       sjis2004Supplementary,
       false,
       LeadRule::kByteClasses,
       0},
      // ASCII (126 bytes, DEL excluded) and the 7,445 codes of GB 2312.
      {"EUC_CN",
       KelCS_EUC_CN,
       false,
       "EUC-CN",
       eucCnKrSequences,
       {
           // DEL is illegal in the library's EUC; glibc passes it through.
           {0x7F, 0x7F, 0, 0x7F},
       },
       {},
       {},
       126 + 7445,
       noSupplementary,
       true,
       LeadRule::kEucPair,
       0},
      // ASCII and the 8,224 codes of KS X 1001:1992.
      {"EUC_KR",
       KelCS_EUC_KR,
       false,
       "EUC-KR",
       eucCnKrSequences,
       {
           // glibc passes DEL and the C1 controls through.
           {0x7F, 0x9F, 0, 0x7F},
           // The euro and registered signs of KS X 1001:1998 and glibc's
           // later addition at 0xA2E8 are not in the 1992 set.
           {0xA2E6, 0xA2E6, 0, 0x20AC},
           {0xA2E7, 0xA2E7, 0, 0x00AE},
           {0xA2E8, 0xA2E8, 0, 0x327E},
       },
       {},
       {},
       126 + 8224,
       noSupplementary,
       true,
       LeadRule::kEucPair,
       0},
      // ASCII, JIS X 0208 (6,879), the half-width katakana (63), JIS X 0212
      // (6,067) and the yen sign and overline after 0x80.
      {"EUC_JP",
       KelCS_EUC_JP,
       false,
       "EUC-JP",
       eucJpSequences,
       {
           // A byte 0x7F-0xFF starts a pair in the library's EUC-JP, so it
           // is illegal alone; glibc passes DEL and the C1 controls but the
           // single shifts through.
           {0x7F, 0x8D, 0, 0x7F},
           {0x90, 0x9F, 0, 0x90},
           // JIS X 0201's yen sign and overline, which the library writes
           // after 0x80 and glibc writes as ASCII.
           {0x80DC, 0x80DC, 0x00A5, 0},
           {0x80FE, 0x80FE, 0x203E, 0},
           // JIS X 0208 0x2140 and JIS X 0212 0x2237 are U+005C and U+007E
           // in the unicode.org tables, U+FF3C and U+FF5E in glibc's.
           {0xA1C0, 0xA1C0, 0x005C, 0xFF3C},
           {0x8FA2B7, 0x8FA2B7, 0x007E, 0xFF5E},
       },
       {},
       // ...and U+005C and U+007E are ASCII when written.
       {{0xA1C0, 0x5C}, {0x8FA2B7, 0x7E}},
       126 + 6879 + 63 + 6067 + 2,
       noSupplementary,
       true,
       LeadRule::kNone,
       0},
      // ASCII, the 23,940 pairs, the BMP's 39,420 four-byte sequences and
      // the supplementary sample (10,002 sequences).
      {"GB18030",
       KelCS_GB18030,
       true,
       "gb18030",
       gb18030Sequences,
       {
           // The library's GB18030 is the 2000 edition; ICU's the 2005 one,
           // which swaps these two.
           {0xA8BC, 0xA8BC, 0xE7C7, 0x1E3F},
           {0x8135F437, 0x8135F437, 0x1E3F, 0xE7C7},
       },
       {},
       {},
       127 + 23940 + 39420 + 10002,
       supplementarySample,
       false,
       LeadRule::kGb18030,
       0},
  };
}

// --- the tests ---------------------------------------------------------------------------

class MbcsCodeSpace : public testing::TestWithParam<CodeSpace> {
 protected:
  void SetUp() override {
    const CodeSpace& space = GetParam();
    if (space.icu) {
      m_oracle = std::make_unique<IcuOracle>(space.oracleName);
    } else {
      m_oracle = std::make_unique<IconvOracle>(space.oracleName);
    }
    ASSERT_TRUE(m_oracle->isOpen()) << space.oracleName;
  }

  KelCharSetConverter& converter() { return *KelCharSetConverter::getConverter(GetParam().id); }

  // The one character the library decodes `sequence` to; 0 when it is
  // illegal or anything but one character.
  char32_t libraryDecode(const std::string& sequence) {
    const kelulib_test::DecodeRun run = decodeRun(converter(), sequence, sequence.size() + 2);
    EXPECT_TRUE(run.guardsIntact && run.terminated) << hexCode(codeOf(sequence));
    if (run.illegal) return 0;
    const std::u16string& units = run.output;
    if (units.size() == 1) return units[0];
    if (units.size() == 2 && units[0] >= 0xD800 && units[0] <= 0xDBFF && units[1] >= 0xDC00 &&
        units[1] <= 0xDFFF) {
      return 0x10000 + ((char32_t{units[0]} - 0xD800) << 10) + (units[1] - 0xDC00);
    }
    return 0;
  }

  // The code the library writes `scalar` as; 0 when it cannot.
  uint32_t libraryEncode(char32_t scalar) {
    const kelulib_test::EncodeRun run = encodeRun(converter(), utf16Of(scalar), 8, ILLCHAR_STOP);
    EXPECT_TRUE(run.guardsIntact && run.terminated) << hexCode(scalar);
    EXPECT_EQ(run.illegal, run.output.empty()) << hexCode(scalar);
    return codeOf(run.output);
  }

  const DecodeDifference* decodeDifferenceOf(uint32_t code) const {
    for (const DecodeDifference& difference : GetParam().decodeDifferences) {
      if (code >= difference.first && code <= difference.last) return &difference;
    }
    return nullptr;
  }

  // What the library must decode `code` to, given the oracle's `value`.
  char32_t expectedDecode(uint32_t code, char32_t oracleValue) {
    const DecodeDifference* difference = decodeDifferenceOf(code);
    if (difference == nullptr) return oracleValue;
    const uint32_t offset = code - difference->first;
    const char32_t listed = valueInRun(difference->oracle, offset);
    if (listed == kSomeCharacter) {
      EXPECT_NE(oracleValue, 0u) << "listed difference at " << hexCode(code);
    } else {
      EXPECT_EQ(oracleValue, listed) << "listed difference at " << hexCode(code);
    }
    return valueInRun(difference->library, offset);
  }

  // What the library must write `scalar` as (see the head of this file).
  uint32_t expectedEncode(char32_t scalar) {
    const CodeSpace& space = GetParam();
    const std::string oracleBytes = m_oracle->encodeOne(scalar);
    for (const EncodeDifference& difference : space.encodeDifferences) {
      if (scalar < difference.first || scalar > difference.last) continue;
      const uint32_t offset = scalar - difference.first;
      EXPECT_EQ(codeOf(oracleBytes), difference.oracle == 0 ? 0 : difference.oracle + offset)
          << "listed difference at " << hexCode(scalar);
      return difference.library == 0 ? 0 : difference.library + offset;
    }
    if (space.asciiPassesThrough && scalar >= 0x01 && scalar <= 0x7E) return scalar;
    for (const DecodeDifference& difference : space.decodeDifferences) {
      if (difference.library == 0 || difference.library == kSomeCharacter) continue;
      const char32_t last = difference.library + (difference.last - difference.first);
      if (scalar >= difference.library && scalar <= last) {
        return difference.first + (scalar - difference.library);
      }
    }
    if (oracleBytes.empty() || decodeDifferenceOf(codeOf(oracleBytes)) != nullptr) return 0;
    return m_oracle->decodeOne(oracleBytes) == scalar ? codeOf(oracleBytes) : 0;
  }

  std::unique_ptr<Oracle> m_oracle;
};

class MbcsLoneLead : public MbcsCodeSpace {};

constexpr int kReportedMismatches = 40;

TEST_P(MbcsCodeSpace, DecodesEverySequenceAsTheOracleDoes) {
  int mismatches = 0;
  size_t mapped = 0;
  for (const std::string& sequence : GetParam().sequences()) {
    const uint32_t code = codeOf(sequence);
    const char32_t library = libraryDecode(sequence);
    const char32_t expected = expectedDecode(code, m_oracle->decodeOne(sequence));
    mapped += library != 0;
    if (library != expected && ++mismatches <= kReportedMismatches) {
      ADD_FAILURE() << GetParam().name << " " << hexCode(code) << ": library " << hexCode(library)
                    << ", expected " << hexCode(expected);
    }
  }
  EXPECT_EQ(mismatches, 0);
  EXPECT_EQ(mapped, GetParam().mappedSequences);
}

TEST_P(MbcsCodeSpace, EncodesEveryCharacterAsTheOracleDoes) {
  std::vector<char32_t> scalars;
  for (char32_t c = 1; c < 0x10000; ++c) {
    if (c < 0xD800 || c > 0xDFFF) scalars.push_back(c);
  }
  for (char32_t c : GetParam().supplementary()) scalars.push_back(c);
  int mismatches = 0;
  for (char32_t scalar : scalars) {
    const uint32_t library = libraryEncode(scalar);
    const uint32_t expected = expectedEncode(scalar);
    if (library != expected && ++mismatches <= kReportedMismatches) {
      ADD_FAILURE() << GetParam().name << " U+" << hexCode(scalar) << ": library "
                    << hexCode(library) << ", expected " << hexCode(expected);
    }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST_P(MbcsCodeSpace, EveryDecodedCharacterIsWrittenBackAsItsBytes) {
  int mismatches = 0;
  for (const std::string& sequence : GetParam().sequences()) {
    const char32_t scalar = libraryDecode(sequence);
    if (scalar == 0) continue;
    uint32_t expected = codeOf(sequence);
    for (const OneWay& oneWay : GetParam().oneWay) {
      if (oneWay.code == expected) expected = oneWay.writtenAs;
    }
    const uint32_t written = libraryEncode(scalar);
    if (written != expected && ++mismatches <= kReportedMismatches) {
      ADD_FAILURE() << GetParam().name << " " << hexCode(codeOf(sequence)) << " -> U+"
                    << hexCode(scalar) << " -> " << hexCode(written);
    }
  }
  EXPECT_EQ(mismatches, 0);
}

// Whether `next` may follow the lead byte `lead` under the set's rule.
bool mayFollow(LeadRule rule, KelCharSetConverter& converter, unsigned char next) {
  switch (rule) {
    case LeadRule::kByteClasses:
      return dynamic_cast<KelCharSetConverterDBCSBase&>(converter).isTrailByte(next);
    case LeadRule::kEucPair:
      return KelCharSetConverterEUC_CN_KR::isLeadCS1(next);
    default:
      return KelCharSetConverterGB18030::isTrailDBCS(next);
  }
}

bool isLead(LeadRule rule, KelCharSetConverter& converter, unsigned char b) {
  switch (rule) {
    case LeadRule::kByteClasses:
      return dynamic_cast<KelCharSetConverterDBCSBase&>(converter).isLeadByte(b);
    case LeadRule::kEucPair:
      return KelCharSetConverterEUC_CN_KR::isLeadCS1(b);
    default:
      return KelCharSetConverterGB18030::isLeadMBCS(b);
  }
}

// A lead byte before a byte that may not follow it is illegal alone, and
// the byte after it is read on its own: every such pair decodes as U+FFFD
// and then what the second byte gives alone. (Under GB18030 this covers a
// lead before a digit, whose four-byte sequence the terminator cuts.) The
// pairs of this kind that the oracle maps both ways, which only the byte
// classes of 936 and 950 make, are written as the oracle writes them.
TEST_P(MbcsLoneLead, LeadBeforeAByteThatMayNotFollowItIsIllegalAlone) {
  const LeadRule rule = GetParam().leadRule;
  KelCharSetConverter& set = converter();
  int mismatches = 0;
  size_t writtenNeverRead = 0;
  for (unsigned lead = 1; lead < 256; ++lead) {
    if (!isLead(rule, set, static_cast<unsigned char>(lead))) continue;
    for (unsigned next = 1; next < 256; ++next) {
      if (mayFollow(rule, set, static_cast<unsigned char>(next))) continue;
      const std::string pair = bytes({lead, next});
      const kelulib_test::DecodeRun alone = decodeRun(set, pair.substr(1));
      const kelulib_test::DecodeRun run = decodeRun(set, pair);
      if (!kelulib_test::wrote(run, u"\uFFFD" + alone.output, true) &&
          ++mismatches <= kReportedMismatches) {
        ADD_FAILURE() << GetParam().name << " " << hexCode(codeOf(pair)) << ": "
                      << kelulib_test::wrote(run, u"\uFFFD" + alone.output, true).message();
      }
      // A pair the oracle maps both ways is in the table too: the library
      // writes it, although it never reads it.
      const char32_t character = m_oracle->decodeOne(pair);
      if (character != 0 && m_oracle->encodeOne(character) == pair) {
        ++writtenNeverRead;
        EXPECT_EQ(libraryEncode(character), codeOf(pair))
            << GetParam().name << " " << hexCode(codeOf(pair));
      }
    }
  }
  EXPECT_EQ(mismatches, 0);
  EXPECT_EQ(writtenNeverRead, GetParam().pairsWrittenNeverRead);
}

std::vector<CodeSpace> codeSpacesWithLeadBytes() {
  std::vector<CodeSpace> spaces;
  for (const CodeSpace& space : codeSpaces()) {
    if (space.leadRule != LeadRule::kNone) spaces.push_back(space);
  }
  return spaces;
}

INSTANTIATE_TEST_SUITE_P(SetsWithLeadBytes, MbcsLoneLead,
                         testing::ValuesIn(codeSpacesWithLeadBytes()),
                         [](const testing::TestParamInfo<CodeSpace>& info) {
                           return std::string(info.param.name);
                         });

INSTANTIATE_TEST_SUITE_P(AllMultiByteSets, MbcsCodeSpace, testing::ValuesIn(codeSpaces()),
                         [](const testing::TestParamInfo<CodeSpace>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
