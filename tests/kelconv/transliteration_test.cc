// //TRANSLIT's table: what the examples of the issue ask for, a table in
// order, and every entry against glibc's iconv (ASCII//TRANSLIT under the
// C.UTF-8 locale, its recorded answers), which agrees with it but for the
// few listed below.
#include "tools/kelconv/transliteration.h"

#include <gtest/gtest.h>

#include <clocale>
#include <optional>
#include <set>
#include <string>

#include "tests/support/iconv_oracle.h"

namespace {

using kelconv::kTransliterationCount;
using kelconv::kTransliterations;
using kelconv::transliterationOf;

std::string utf8Of(uint32_t c) {
  std::string s;
  if (c < 0x80) {
    s += static_cast<char>(c);
  } else if (c < 0x800) {
    s += static_cast<char>(0xC0 | c >> 6);
    s += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    s += static_cast<char>(0xE0 | c >> 12);
    s += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    s += static_cast<char>(0x80 | (c & 0x3F));
  }
  return s;
}

TEST(Transliteration, KnowsQuotesDashesEllipsisSpacesAndAccentedLetters) {
  EXPECT_STREQ(transliterationOf(0x201C), "\"");
  EXPECT_STREQ(transliterationOf(0x2019), "'");
  EXPECT_STREQ(transliterationOf(0x2013), "-");
  EXPECT_STREQ(transliterationOf(0x2026), "...");
  EXPECT_STREQ(transliterationOf(0x00A0), " ");
  EXPECT_STREQ(transliterationOf(0x00E9), "e");
  EXPECT_STREQ(transliterationOf(0x0150), "O");
  EXPECT_STREQ(transliterationOf(0x00DF), "ss");
  EXPECT_STREQ(transliterationOf(0x20AC), "EUR");
  EXPECT_EQ(transliterationOf(0x4E2D), nullptr);
  EXPECT_EQ(transliterationOf('a'), nullptr);
}

TEST(Transliteration, TheTableIsInOrderAndAscii) {
  ASSERT_GT(kTransliterationCount, 500u);
  for (size_t i = 0; i < kTransliterationCount; ++i) {
    if (i > 0) {
      EXPECT_LT(kTransliterations[i - 1].character, kTransliterations[i].character);
    }
    const std::string text = kTransliterations[i].text;
    EXPECT_FALSE(text.empty());
    for (const char c : text) EXPECT_TRUE(c >= 0x20 && c <= 0x7E) << kTransliterations[i].character;
  }
}

TEST(Transliteration, TheHandlerFillsUnitsOrGivesNone) {
  wchar16 units[16];
  EXPECT_EQ(kelconv::transliterate(nullptr, 0x2026, units, 16), 3u);
  EXPECT_EQ(std::u16string(units, 3), u"...");
  EXPECT_EQ(kelconv::transliterate(nullptr, 0x2026, units, 2), 0u);  // no room
  EXPECT_EQ(kelconv::transliterate(nullptr, 0x4E2D, units, 16), 0u);
}

// Where the table and glibc part: the DZ digraphs and the long s with dot,
// which glibc leaves as "?", and the figure space, a space to the table.
const std::set<uint32_t> kDifferentFromGlibc = {0x01C4, 0x01C5, 0x01C6, 0x1E9B, 0x2007};

TEST(Transliteration, AgreesWithGlibcIconv) {
  // glibc transliterates by the table of the locale's character type: the
  // answers are recorded under C.UTF-8.
  if (kelulib_test::OracleChannel::recording()) std::setlocale(LC_CTYPE, "C.UTF-8");
  kelulib_test::IconvConverter iconv("UTF-8", "ASCII//TRANSLIT");
  size_t agreeing = 0;
  for (size_t i = 0; i < kTransliterationCount; ++i) {
    const uint32_t c = kTransliterations[i].character;
    const std::optional<std::string> fromIconv = iconv.convert(utf8Of(c));
    ASSERT_TRUE(fromIconv.has_value()) << "iconv refuses U+" << std::hex << c;
    if (kDifferentFromGlibc.count(c) != 0) {
      EXPECT_NE(*fromIconv, kTransliterations[i].text) << std::hex << c << " agrees now";
      continue;
    }
    EXPECT_EQ(*fromIconv, kTransliterations[i].text) << "U+" << std::hex << c;
    ++agreeing;
  }
  EXPECT_EQ(agreeing + kDifferentFromGlibc.size(), kTransliterationCount);
}

}  // namespace
