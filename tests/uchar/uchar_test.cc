// KelUChar: construction, conversions, surrogate arithmetic, the class bits
// of example units of every bit and the case-mapping rules. Expected
// values come from the rules of the interface and from the Unicode 2.1
// properties of each unit, never from the library's tables.
#include "uchar/uchar.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace {

constexpr unsigned int kFirstSupplementary = 0x10000;

// --- Types and constants ----------------------------------------------------

TEST(KelUCharTypes, CharTypeIsSixteenBitsAndMasksAsAnInteger) {
  static_assert(sizeof(KelUChar::KelCharType) == 2, "class bits take 16 bits");
  static_assert(std::is_same_v<std::underlying_type_t<KelUChar::KelCharType>, uint16_t>);
  const unsigned int letterBit = KelUChar::getCharClass(u'A') & 0x0004;
  EXPECT_EQ(letterBit, 0x0004u);
}

TEST(KelUCharTypes, LimitsAreTheLastUnitAndTheLastScalar) {
  EXPECT_EQ(KelUChar::UTF16_MAX, 0xFFFFu);
  EXPECT_EQ(KelUChar::UTF32_MAX, 0x10FFFFu);
}

// --- Construction and conversion --------------------------------------------

TEST(KelUCharConstruction, DefaultIsZero) { EXPECT_EQ(static_cast<unsigned int>(KelUChar()), 0u); }

TEST(KelUCharConstruction, FromUnitKeepsTheUnitSurrogatesIncluded) {
  for (const wchar16 unit : {u'\0', u'A', u'\xD800', u'\xDFFF', u'\xFFFF'}) {
    EXPECT_EQ(static_cast<unsigned int>(KelUChar(unit)), static_cast<unsigned int>(unit));
  }
}

TEST(KelUCharConstruction, FromScalarIsTakenWithoutCheck) {
  for (const unsigned int value : {0u, 0x41u, 0x1F600u, 0x10FFFFu, 0x110000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(static_cast<unsigned int>(KelUChar(value)), value);
  }
}

TEST(KelUCharConstruction, FromSurrogatePairCombinesEveryValidPair) {
  for (unsigned int high = 0xD800; high <= 0xDBFF; ++high) {
    for (unsigned int low = 0xDC00; low <= 0xDFFF; ++low) {
      const unsigned int expected = 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
      ASSERT_EQ(static_cast<unsigned int>(
                    KelUChar(static_cast<wchar16>(high), static_cast<wchar16>(low))),
                expected)
          << std::hex << high << " " << low;
    }
  }
}

TEST(KelUCharConstruction, FromPairIsZeroUnlessHighThenLow) {
  struct Pair {
    wchar16 high;
    wchar16 low;
  };
  const Pair invalid[] = {
      {0xD800, 0x0041},  // low is no surrogate
      {0x0041, 0xDC00},  // high is no surrogate
      {0xDC00, 0xD800},  // swapped
      {0xD800, 0xD800},  // two high units
      {0xDC00, 0xDC00},  // two low units
      {0xD7FF, 0xDC00},  // just below the high range
      {0xDBFF, 0xE000},  // just above the low range
  };
  for (const Pair& pair : invalid) {
    EXPECT_EQ(static_cast<unsigned int>(KelUChar(pair.high, pair.low)), 0u)
        << std::hex << pair.high << " " << pair.low;
  }
}

TEST(KelUCharConstruction, LastPairGivesLastScalar) {
  EXPECT_EQ(static_cast<unsigned int>(KelUChar(0xDBFF, 0xDFFF)), 0x10FFFFu);
}

TEST(KelUCharConversion, ToUnitGivesTheLow16Bits) {
  EXPECT_EQ(static_cast<wchar16>(KelUChar(0x41u)), u'A');
  EXPECT_EQ(static_cast<wchar16>(KelUChar(0x1F600u)), 0xF600);
  EXPECT_EQ(static_cast<wchar16>(KelUChar(0x10FFFFu)), 0xFFFF);
}

TEST(KelUCharConversion, AssignmentCopiesTheValue) {
  KelUChar target(u'x');
  const KelUChar source(0x1F600u);
  target = source;
  EXPECT_EQ(static_cast<unsigned int>(target), 0x1F600u);
}

// --- Surrogate arithmetic ---------------------------------------------------

TEST(KelUCharSurrogates, IsSurrogateMeansNeedsAPair) {
  struct Case {
    unsigned int value;
    bool needsPair;
  };
  const Case cases[] = {{0x0000, false}, {0xD800, false},  {0xFFFF, false},   {0x10000, true},
                        {0x1F600, true}, {0x10FFFF, true}, {0x110000, false}, {0xFFFFFFFF, false}};
  for (const Case& c : cases) {
    EXPECT_EQ(KelUChar::isSurrogate(c.value), c.needsPair) << std::hex << c.value;
    EXPECT_EQ(KelUChar(c.value).isSurrogate(), c.needsPair) << std::hex << c.value;
  }
}

TEST(KelUCharSurrogates, HighAndLowUnitRanges) {
  for (unsigned int unit = 0; unit <= KelUChar::UTF16_MAX; ++unit) {
    const auto c = static_cast<wchar16>(unit);
    ASSERT_EQ(KelUChar::isSurrogateHigh(c), unit >= 0xD800 && unit <= 0xDBFF) << std::hex << unit;
    ASSERT_EQ(KelUChar::isSurrogateLow(c), unit >= 0xDC00 && unit <= 0xDFFF) << std::hex << unit;
  }
}

TEST(KelUCharSurrogates, ToUTF32OfAUnitIsTheUnit) {
  for (unsigned int unit = 0; unit <= KelUChar::UTF16_MAX; ++unit) {
    ASSERT_EQ(KelUChar::toUTF32(static_cast<wchar16>(unit)), unit);
  }
}

TEST(KelUCharSurrogates, ToUTF32OfAPairIsTheStandardCombination) {
  for (unsigned int high = 0xD800; high <= 0xDBFF; ++high) {
    for (unsigned int low = 0xDC00; low <= 0xDFFF; ++low) {
      const unsigned int expected = 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
      ASSERT_EQ(KelUChar::toUTF32(static_cast<wchar16>(high), static_cast<wchar16>(low)), expected);
    }
  }
}

TEST(KelUCharSurrogates, ToUTF32OfAPairDoesNotCheckItsUnits) {
  // ((high - 0xD7F7) << 10) + low in unsigned arithmetic, whatever the units.
  EXPECT_EQ(KelUChar::toUTF32(0x0041, 0x0042), ((0x41u - 0xD7F7u) << 10) + 0x42u);
  EXPECT_EQ(KelUChar::toUTF32(0xDC00, 0xD800), ((0xDC00u - 0xD7F7u) << 10) + 0xD800u);
}

TEST(KelUCharSurrogates, FirstSupplementaryScalarGivesFirstUnits) {
  wchar16 high = 0;
  wchar16 low = 0;
  KelUChar::toSurrogatePair(0x10000, high, low);
  EXPECT_EQ(high, 0xD800);
  EXPECT_EQ(low, 0xDC00);
}

TEST(KelUCharSurrogates, EverySupplementaryScalarSplitsIntoItsStandardPair) {
  for (unsigned int scalar = kFirstSupplementary; scalar <= KelUChar::UTF32_MAX; ++scalar) {
    wchar16 high = 0;
    wchar16 low = 0;
    KelUChar::toSurrogatePair(scalar, high, low);
    ASSERT_EQ(high, 0xD800 + ((scalar - 0x10000) >> 10)) << std::hex << scalar;
    ASSERT_EQ(low, 0xDC00 + ((scalar - 0x10000) & 0x3FF)) << std::hex << scalar;
  }
}

// --- Classification ---------------------------------------------------------

// Example units of every class bit, with the class that their Unicode 2.1
// properties give under the class rules.
struct ClassExample {
  wchar16 first;
  wchar16 last;
  unsigned int expected;
};

const ClassExample kClassExamples[] = {
    // white space: tab, LF, CR, space, no-break space, en quad, zero width
    // space (a space separator in Unicode 2.1), line separator
    {0x0009, 0x000A, 0x0001},
    {0x000D, 0x000D, 0x0001},
    {0x0020, 0x0020, 0x0001},
    {0x00A0, 0x00A0, 0x0001},
    {0x2000, 0x2000, 0x0001},
    {0x200B, 0x200B, 0x0001},
    {0x2028, 0x2028, 0x0001},
    // digits: ASCII, superscript two, Arabic-Indic zero
    {0x0030, 0x0039, 0x0002},
    {0x00B2, 0x00B2, 0x0002},
    {0x0660, 0x0660, 0x0002},
    // letters (a Latin letter without case)
    {0x01BB, 0x01BB, 0x0004},
    // combining marks
    {0x0300, 0x0345, 0x0008},
    {0x0483, 0x0486, 0x0008},
    // punctuation
    {0x0021, 0x0023, 0x0010},
    {0x002D, 0x002D, 0x0010},
    {0x005F, 0x005F, 0x0010},
    // right-to-left: Hebrew and Arabic letters, the right-to-left mark
    {0x05D0, 0x05EA, 0x0024},
    {0x0627, 0x0627, 0x0024},
    {0x200F, 0x200F, 0x0020},
    // upper, lower and title case
    {0x0041, 0x005A, 0x0044},
    {0x0061, 0x007A, 0x0084},
    {0x01C5, 0x01C5, 0x0104},
    {0x01C8, 0x01C8, 0x0104},
    {0x01CB, 0x01CB, 0x0104},
    {0x01F2, 0x01F2, 0x0104},
    // modifiers
    {0x02B0, 0x02B8, 0x0204},
    {0x3005, 0x3005, 0x0604},
    {0x30FC, 0x30FC, 0x0604},
    // East Asian ideographic: ideographs, Hangul syllables, Yi, Hangzhou numerals
    {0x4E00, 0x4E00, 0x0404},
    {0x9FA5, 0x9FA5, 0x0404},
    {0xAC00, 0xAC00, 0x0404},
    {0xD7A3, 0xD7A3, 0x0404},
    {0xA000, 0xA000, 0x0404},
    {0x3021, 0x3029, 0x0402},
    // surrogate units
    {0xD800, 0xD800, 0x1000},
    {0xDBFF, 0xDC00, 0x1000},
    {0xDFFF, 0xDFFF, 0x1000},
    // half-width forms, half-width Hangul
    {0xFFE8, 0xFFEE, 0x4000},
    {0xFFCA, 0xFFCF, 0x4404},
    // full-width forms
    {0x3000, 0x3000, 0x8001},
    {0xFF10, 0xFF19, 0x8002},
    {0xFF21, 0xFF3A, 0x8044},
    {0xFF41, 0xFF5A, 0x8084},
    // no class: symbols and controls ("$", "+", section sign, next line),
    // and characters that Unicode 2.1 does not have
    {0x0024, 0x0024, 0x0000},
    {0x002B, 0x002B, 0x0000},
    {0x00A7, 0x00A7, 0x0000},
    {0x0085, 0x0085, 0x0000},
    {0x0220, 0x0220, 0x0000},
    {0x03F4, 0x03F4, 0x0000},
    {0xFA30, 0xFA30, 0x0000},
    {0x0000, 0x0000, 0x0000},
    {0xFFFF, 0xFFFF, 0x0000},
};

TEST(KelUCharClass, ExampleUnitsOfEveryBitHaveTheirClass) {
  for (const ClassExample& example : kClassExamples) {
    for (unsigned int unit = example.first; unit <= example.last; ++unit) {
      EXPECT_EQ(static_cast<unsigned int>(KelUChar::getCharClass(static_cast<wchar16>(unit))),
                example.expected)
          << "U+" << std::hex << unit;
    }
  }
}

TEST(KelUCharClass, EveryIdeographRangeIsLetterAndIdeographic) {
  const wchar16 rangeEnds[] = {0x2E80, 0x2E99, 0x2E9B, 0x2EF3, 0x2F00, 0x2FD5, 0x3400, 0x4DB5,
                               0x4E00, 0x9FA5, 0xA000, 0xA48C, 0xAC00, 0xD7A3, 0xF900, 0xFA2D};
  for (const wchar16 unit : rangeEnds) {
    EXPECT_EQ(KelUChar::getCharClass(unit), 0x0404) << "U+" << std::hex << unit;
    EXPECT_TRUE(KelUChar::isLetter(unit)) << "U+" << std::hex << unit;
  }
}

TEST(KelUCharClass, BitsThatAreNeverSet) {
  for (unsigned int unit = 0; unit <= KelUChar::UTF16_MAX; ++unit) {
    ASSERT_EQ(KelUChar::getCharClass(static_cast<wchar16>(unit)) & 0x2800, 0) << std::hex << unit;
  }
}

TEST(KelUCharClass, IsLetterOfFirstIdeographIsTrue) { EXPECT_TRUE(KelUChar::isLetter(0x4E00)); }

TEST(KelUCharClass, IsLetterOfHighSurrogateIsFalse) { EXPECT_FALSE(KelUChar::isLetter(0xD800)); }

TEST(KelUCharClass, ClassOfLowSurrogateIsSurrogateBit) {
  EXPECT_EQ(KelUChar::getCharClass(0xDC00), 0x1000);
}

TEST(KelUCharClass, DollarSignIsNonChar) { EXPECT_TRUE(KelUChar::isNonChar(u'$')); }

TEST(KelUCharClass, ZeroUnitIsNonChar) { EXPECT_TRUE(KelUChar::isNonChar(0)); }

TEST(KelUCharClass, SurrogateUnitsPassNoTest) {
  for (const wchar16 unit : {0xD800, 0xDBFF, 0xDC00, 0xDFFF}) {
    EXPECT_FALSE(KelUChar::isWhiteSpace(unit));
    EXPECT_FALSE(KelUChar::isDigit(unit));
    EXPECT_FALSE(KelUChar::isLetter(unit));
    EXPECT_FALSE(KelUChar::isPunctuation(unit));
    EXPECT_FALSE(KelUChar::isNonChar(unit));
  }
}

TEST(KelUCharClass, IdeographsAreOnlyLetters) {
  for (const wchar16 unit : {0x2E80, 0x3400, 0x4E00, 0xA000, 0xAC00, 0xF900}) {
    EXPECT_FALSE(KelUChar::isWhiteSpace(unit));
    EXPECT_FALSE(KelUChar::isDigit(unit));
    EXPECT_TRUE(KelUChar::isLetter(unit));
    EXPECT_FALSE(KelUChar::isPunctuation(unit));
    EXPECT_FALSE(KelUChar::isNonChar(unit));
  }
}

TEST(KelUCharClass, SupplementaryScalarHasSurrogateClassAndPassesNoTest) {
  const KelUChar emoji(0x1F600u);
  EXPECT_EQ(emoji.getCharClass(), 0x1000);
  EXPECT_FALSE(emoji.isLetter());
  EXPECT_FALSE(emoji.isDigit());
  EXPECT_FALSE(emoji.isPunctuation());
  EXPECT_FALSE(emoji.isWhiteSpace());
  EXPECT_FALSE(emoji.isNonChar());
}

TEST(KelUCharClass, MemberFormsBeyondLastScalarUseTheLow16Bits) {
  // 0x110041 needs no surrogate pair: it is classified as U+0041.
  const KelUChar beyond(0x110041u);
  EXPECT_EQ(beyond.getCharClass(), 0x0044);
  EXPECT_TRUE(beyond.isLetter());
  EXPECT_FALSE(beyond.isNonChar());
  EXPECT_TRUE(KelUChar(0x110024u).isNonChar());
}

TEST(KelUCharClass, MemberFormsOfUnitsEqualStaticForms) {
  for (unsigned int unit = 0; unit <= KelUChar::UTF16_MAX; ++unit) {
    const auto c = static_cast<wchar16>(unit);
    const KelUChar character(c);
    ASSERT_EQ(character.getCharClass(), KelUChar::getCharClass(c)) << std::hex << unit;
    ASSERT_EQ(character.isDigit(), KelUChar::isDigit(c)) << std::hex << unit;
    ASSERT_EQ(character.isLetter(), KelUChar::isLetter(c)) << std::hex << unit;
    ASSERT_EQ(character.isPunctuation(), KelUChar::isPunctuation(c)) << std::hex << unit;
    ASSERT_EQ(character.isWhiteSpace(), KelUChar::isWhiteSpace(c)) << std::hex << unit;
    ASSERT_EQ(character.isNonChar(), KelUChar::isNonChar(c)) << std::hex << unit;
  }
}

TEST(KelUCharClass, TestsAreTheirClassBitsOverTheBmp) {
  for (unsigned int unit = 0; unit <= KelUChar::UTF16_MAX; ++unit) {
    const auto c = static_cast<wchar16>(unit);
    const unsigned int bits = KelUChar::getCharClass(c);
    ASSERT_EQ(KelUChar::isWhiteSpace(c), (bits & 0x0001) != 0) << std::hex << unit;
    ASSERT_EQ(KelUChar::isDigit(c), (bits & 0x0002) != 0) << std::hex << unit;
    ASSERT_EQ(KelUChar::isLetter(c), (bits & 0x0004) != 0) << std::hex << unit;
    ASSERT_EQ(KelUChar::isPunctuation(c), (bits & 0x0010) != 0) << std::hex << unit;
    ASSERT_EQ(KelUChar::isNonChar(c), bits == 0) << std::hex << unit;
  }
}

// --- Case mapping -----------------------------------------------------------

TEST(KelUCharCase, UpperCaseOfYWithDiaeresisIsCapitalYWithDiaeresis) {
  EXPECT_EQ(KelUChar::toUpperCase(0x00FF), 0x0178);
}

TEST(KelUCharCase, UpperCaseOfSharpSIsItself) { EXPECT_EQ(KelUChar::toUpperCase(0x00DF), 0x00DF); }

TEST(KelUCharCase, UpperCaseOfDeleteIsItself) { EXPECT_EQ(KelUChar::toUpperCase(0x007F), 0x007F); }

TEST(KelUCharCase, LowerCaseOfDeleteIsItself) { EXPECT_EQ(KelUChar::toLowerCase(0x007F), 0x007F); }

TEST(KelUCharCase, AsciiUpperCaseMovesOnlySmallLetters) {
  for (unsigned int unit = 0; unit <= 0x7E; ++unit) {
    const unsigned int expected = unit >= 0x61 && unit <= 0x7A ? unit - 0x20 : unit;
    EXPECT_EQ(KelUChar::toUpperCase(static_cast<wchar16>(unit)), expected) << std::hex << unit;
  }
}

TEST(KelUCharCase, AsciiLowerCaseMovesOnlyCapitalLetters) {
  for (unsigned int unit = 0; unit <= 0x7E; ++unit) {
    const unsigned int expected = unit >= 0x41 && unit <= 0x5A ? unit + 0x20 : unit;
    EXPECT_EQ(KelUChar::toLowerCase(static_cast<wchar16>(unit)), expected) << std::hex << unit;
  }
}

// One-to-one mappings of whole ranges: unit first + k maps to target + k.
struct CaseRange {
  wchar16 first;
  wchar16 last;
  wchar16 target;
};

template <size_t kCount>
void expectCaseRanges(wchar16 (*map)(wchar16), const CaseRange (&ranges)[kCount]) {
  for (const CaseRange& range : ranges) {
    for (unsigned int unit = range.first; unit <= range.last; ++unit) {
      EXPECT_EQ(map(static_cast<wchar16>(unit)), range.target + (unit - range.first))
          << std::hex << unit;
    }
  }
}

TEST(KelUCharCase, UpperCaseOfWholeRanges) {
  const CaseRange ranges[] = {{0x0061, 0x007A, 0x0041}, {0x00E0, 0x00F6, 0x00C0},
                              {0x00F8, 0x00FE, 0x00D8}, {0x00FF, 0x00FF, 0x0178},
                              {0x2170, 0x217F, 0x2160}, {0x24D0, 0x24E9, 0x24B6},
                              {0xFF41, 0xFF5A, 0xFF21}};
  expectCaseRanges(KelUChar::toUpperCase, ranges);
}

TEST(KelUCharCase, LowerCaseOfWholeRanges) {
  const CaseRange ranges[] = {{0x0041, 0x005A, 0x0061}, {0x00C0, 0x00D6, 0x00E0},
                              {0x00D8, 0x00DE, 0x00F8}, {0x0178, 0x0178, 0x00FF},
                              {0x2160, 0x216F, 0x2170}, {0x24B6, 0x24CF, 0x24D0},
                              {0xFF21, 0xFF3A, 0xFF41}};
  expectCaseRanges(KelUChar::toLowerCase, ranges);
}

TEST(KelUCharCase, TitleCaseLettersAndMarksAreNotMapped) {
  // Their mappings are not one-to-one case pairs: U+01C5 would go up to
  // U+01C4 and down to U+01C6, U+0345 up to U+0399.
  for (const wchar16 unit : {0x01C5, 0x01C8, 0x01CB, 0x01F2, 0x0345}) {
    EXPECT_EQ(KelUChar::toUpperCase(unit), unit) << std::hex << unit;
    EXPECT_EQ(KelUChar::toLowerCase(unit), unit) << std::hex << unit;
  }
}

TEST(KelUCharCase, MicroSignHasNoUpperCase) { EXPECT_EQ(KelUChar::toUpperCase(0x00B5), 0x00B5); }

TEST(KelUCharCase, SurrogatesAndIdeographsAreUnchanged) {
  for (const wchar16 unit : {0xD800, 0xDFFF, 0x4E00, 0xAC00}) {
    EXPECT_EQ(KelUChar::toUpperCase(unit), unit) << std::hex << unit;
    EXPECT_EQ(KelUChar::toLowerCase(unit), unit) << std::hex << unit;
  }
}

}  // namespace
