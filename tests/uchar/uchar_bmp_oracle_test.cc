// The class bits, upper case and lower case of every BMP unit against
// tests/uchar/oracle/bmp_properties.txt, which tools/make_uchar_oracle.py
// works out from Python's Unicode 3.2 database and Unicode's own
// DerivedAge.txt and UnicodeData.txt: other data than the library's tables
// come from, restricted to the characters of Unicode 2.1.
//
// The library follows Unicode 2.1, and a few characters changed between 2.1
// and the oracle's data. kKnownDifferences lists each of them, with what
// Unicode 2.1 says and therefore what the library must give; every other
// unit must agree with the oracle exactly.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "uchar/uchar.h"

namespace {

constexpr size_t kBmpUnits = 0x10000;

enum class Property { kClass, kUpper, kLower };

struct Expectations {
  std::array<std::vector<unsigned int>, 3> values;  // indexed by Property

  std::vector<unsigned int>& of(Property property) { return values[static_cast<size_t>(property)]; }
  const std::vector<unsigned int>& of(Property property) const {
    return values[static_cast<size_t>(property)];
  }
};

// What the oracle file says: runs "FIRST LAST CLASS UPPER_DELTA LOWER_DELTA".
Expectations readOracle() {
  Expectations oracle;
  for (std::vector<unsigned int>& values : oracle.values) values.assign(kBmpUnits, 0);
  std::ifstream file(KELULIB_UCHAR_ORACLE_FILE);
  EXPECT_TRUE(file) << "cannot read " << KELULIB_UCHAR_ORACLE_FILE;
  size_t covered = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    unsigned int first = 0;
    unsigned int last = 0;
    unsigned int bits = 0;
    int upperDelta = 0;
    int lowerDelta = 0;
    fields >> std::hex >> first >> last >> bits >> std::dec >> upperDelta >> lowerDelta;
    EXPECT_TRUE(fields && first <= last && last < kBmpUnits) << line;
    for (unsigned int unit = first; unit <= last && unit < kBmpUnits; ++unit) {
      oracle.of(Property::kClass)[unit] = bits;
      oracle.of(Property::kUpper)[unit] =
          static_cast<unsigned int>(static_cast<int>(unit) + upperDelta);
      oracle.of(Property::kLower)[unit] =
          static_cast<unsigned int>(static_cast<int>(unit) + lowerDelta);
      ++covered;
    }
  }
  EXPECT_EQ(covered, kBmpUnits) << "the oracle must cover every unit once";
  return oracle;
}

// Units whose Unicode 2.1 properties differ from the oracle's data. With
// `increment`, unit first + k expects value + k; otherwise every unit of
// the range expects value.
struct KnownDifference {
  Property property;
  wchar16 first;
  wchar16 last;
  unsigned int value;
  bool increment;
  const char* reason;
};

const KnownDifference kKnownDifferences[] = {
    // Class bits.
    {Property::kClass, 0x01AA, 0x01AA, 0x0004, false, "Lo in Unicode 2.1, Ll in 3.2"},
    {Property::kClass, 0x01BE, 0x01BF, 0x0004, false, "Lo in Unicode 2.1, Ll in 3.2"},
    {Property::kClass, 0x03F3, 0x03F3, 0x0004, false, "Lo in Unicode 2.1, Ll in 3.2"},
    {Property::kClass, 0x04C0, 0x04C0, 0x0004, false, "Lo in Unicode 2.1, Lu in 3.2"},
    {Property::kClass, 0x06DD, 0x06DD, 0x0008, false,
     "Arabic end of ayah: Me with bidi ON in Unicode 2.1, Cf with bidi AL in 3.2"},
    {Property::kClass, 0x0B83, 0x0B83, 0x0008, false,
     "Tamil visarga: Mc in Unicode 2.1, Lo in 3.2"},
    {Property::kClass, 0x0E4F, 0x0E4F, 0x0000, false, "Thai fongman: So in Unicode 2.1, Po in 3.2"},
    {Property::kClass, 0x10D0, 0x10F6, 0x0084, false,
     "Georgian small letters: Ll in Unicode 2.1, Lo in 3.0 to 10.0"},
    {Property::kClass, 0x1F88, 0x1F8F, 0x0044, false,
     "Greek capitals with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kClass, 0x1F98, 0x1F9F, 0x0044, false,
     "Greek capitals with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kClass, 0x1FA8, 0x1FAF, 0x0044, false,
     "Greek capitals with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kClass, 0x1FBC, 0x1FBC, 0x0044, false,
     "Greek capital with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kClass, 0x1FCC, 0x1FCC, 0x0044, false,
     "Greek capital with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kClass, 0x1FFC, 0x1FFC, 0x0044, false,
     "Greek capital with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kClass, 0x202B, 0x202B, 0x0020, false,
     "right-to-left embedding: bidi R in Unicode 2.1, a bidi class of its own (RLE) since 3.0"},
    {Property::kClass, 0x202E, 0x202E, 0x0020, false,
     "right-to-left override: bidi R in Unicode 2.1, a bidi class of its own (RLO) since 3.0"},
    {Property::kClass, 0x2118, 0x2118, 0x0084, false,
     "script capital P: Ll in Unicode 2.1, So in 3.2"},
    {Property::kClass, 0x212E, 0x212E, 0x0084, false,
     "estimated symbol: Ll in Unicode 2.1, So in 3.2"},
    // Upper case.
    {Property::kUpper, 0x00B5, 0x00B5, 0x00B5, false,
     "micro sign: no upper case in Unicode 2.1, U+039C since 3.0"},
    {Property::kUpper, 0x03F2, 0x03F2, 0x03A3, false,
     "lunate sigma: U+03A3 in Unicode 2.1, later the new U+03F9, which Unicode 2.1 lacks"},
    // Lower case.
    {Property::kLower, 0x10A0, 0x10C5, 0x10D0, true,
     "Georgian capitals: lower case U+10D0.. in Unicode 2.1, none from 3.0 (later U+2D00..)"},
    {Property::kLower, 0x1F88, 0x1F8F, 0x1F80, true,
     "Greek capitals with prosgegrammeni: Lu with a lower case in Unicode 2.1, Lt (not mapped) "
     "since 3.0"},
    {Property::kLower, 0x1F98, 0x1F9F, 0x1F90, true,
     "Greek capitals with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kLower, 0x1FA8, 0x1FAF, 0x1FA0, true,
     "Greek capitals with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kLower, 0x1FBC, 0x1FBC, 0x1FB3, true,
     "Greek capital with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kLower, 0x1FCC, 0x1FCC, 0x1FC3, true,
     "Greek capital with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kLower, 0x1FFC, 0x1FFC, 0x1FF3, true,
     "Greek capital with prosgegrammeni: Lu in Unicode 2.1, Lt since 3.0"},
    {Property::kLower, 0x2126, 0x2126, 0x2126, false,
     "ohm sign: no lower case in Unicode 2.1, U+03C9 later"},
    {Property::kLower, 0x212A, 0x212B, 0x212A, true,
     "kelvin and angstrom signs: no lower case in Unicode 2.1, U+006B and U+00E5 later"},
};

const Expectations& oracle() {
  static const Expectations values = readOracle();
  return values;
}

// The oracle with the known differences put in.
const Expectations& expectations() {
  static const Expectations values = [] {
    Expectations expected = oracle();
    for (const KnownDifference& difference : kKnownDifferences) {
      for (unsigned int unit = difference.first; unit <= difference.last; ++unit) {
        const unsigned int offset = difference.increment ? unit - difference.first : 0;
        expected.of(difference.property)[unit] = difference.value + offset;
      }
    }
    return expected;
  }();
  return values;
}

unsigned int actual(Property property, wchar16 unit) {
  switch (property) {
    case Property::kClass:
      return KelUChar::getCharClass(unit);
    case Property::kUpper:
      return KelUChar::toUpperCase(unit);
    case Property::kLower:
      return KelUChar::toLowerCase(unit);
  }
  return 0;
}

// Every unit whose value differs from the expectation, the first few named.
void expectEveryUnitAsExpected(Property property) {
  const std::vector<unsigned int>& expected = expectations().of(property);
  size_t mismatches = 0;
  std::ostringstream listing;
  for (unsigned int unit = 0; unit < kBmpUnits; ++unit) {
    const unsigned int value = actual(property, static_cast<wchar16>(unit));
    if (value == expected[unit]) continue;
    if (++mismatches <= 20) {
      listing << std::hex << " U+" << unit << ": 0x" << value << " expected 0x" << expected[unit]
              << "\n";
    }
  }
  EXPECT_EQ(mismatches, 0u) << listing.str();
}

TEST(KelUCharBmpOracle, ClassOfEveryUnit) { expectEveryUnitAsExpected(Property::kClass); }

TEST(KelUCharBmpOracle, UpperCaseOfEveryUnit) { expectEveryUnitAsExpected(Property::kUpper); }

TEST(KelUCharBmpOracle, LowerCaseOfEveryUnit) { expectEveryUnitAsExpected(Property::kLower); }

TEST(KelUCharBmpOracle, EveryKnownDifferenceStillDiffers) {
  // A listed unit that the oracle now agrees on must leave the list.
  for (const KnownDifference& difference : kKnownDifferences) {
    const std::vector<unsigned int>& fromOracle = oracle().of(difference.property);
    const std::vector<unsigned int>& expected = expectations().of(difference.property);
    for (unsigned int unit = difference.first; unit <= difference.last; ++unit) {
      EXPECT_NE(fromOracle[unit], expected[unit])
          << "U+" << std::hex << unit << ": " << difference.reason;
    }
  }
}

}  // namespace
