// Character-set names on kelconv's command line, and which sets convert.
#include "tools/kelconv/charset_catalog.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

namespace {

using kelconv::charSetNamed;

TEST(CharSetCatalog, ListsEveryIdOfTheLibraryOnce) {
  std::set<KelCharSet> ids;
  for (const kelconv::CharSetEntry& entry : kelconv::charSetCatalog()) {
    EXPECT_TRUE(ids.insert(entry.id).second) << entry.id;
    EXPECT_EQ(KelCharSetFromString(kelconv::charSetName(entry.id).c_str()), entry.id);
  }
  EXPECT_EQ(ids.size(), 54u);
}

TEST(CharSetCatalog, NoTwoSetsShareAName) {
  std::set<std::string> seen;
  for (const kelconv::CharSetEntry& entry : kelconv::charSetCatalog()) {
    for (const std::string& alias : entry.aliases) {
      EXPECT_EQ(charSetNamed(alias), entry.id) << alias;
      EXPECT_TRUE(seen.insert(alias).second) << alias;
    }
  }
}

TEST(CharSetCatalog, TakesTheLibrarysNamesInAnyCase) {
  EXPECT_EQ(charSetNamed("KelCS_UTF8"), KelCS_UTF8);
  EXPECT_EQ(charSetNamed("kelcs_wcp1252"), KelCS_WCP1252);
  EXPECT_EQ(charSetNamed("KELCS_OS_DEFAULT"), KelCS_OS_DEFAULT);
}

TEST(CharSetCatalog, TakesNumericIds) {
  EXPECT_EQ(charSetNamed("65001"), KelCS_UTF8);
  EXPECT_EQ(charSetNamed("874"), KelCS_WCP874);
  EXPECT_EQ(charSetNamed("-2"), KelCS_OS_DEFAULT);
  EXPECT_EQ(charSetNamed("437"), std::nullopt);
  EXPECT_EQ(charSetNamed("12a"), std::nullopt);
}

TEST(CharSetCatalog, TakesCommonNamesIgnoringCaseDashesAndUnderscores) {
  EXPECT_EQ(charSetNamed("utf-8"), KelCS_UTF8);
  EXPECT_EQ(charSetNamed("UTF8"), KelCS_UTF8);
  EXPECT_EQ(charSetNamed("Latin1"), KelCS_ISO_8859_1);
  EXPECT_EQ(charSetNamed("iso_8859-15"), KelCS_ISO_8859_15);
  EXPECT_EQ(charSetNamed("windows-1252"), KelCS_WCP1252);
  EXPECT_EQ(charSetNamed("cp1251"), KelCS_WCP1251);
  EXPECT_EQ(charSetNamed("koi8-r"), KelCS_KOI8R);
  EXPECT_EQ(charSetNamed("Shift_JIS"), KelCS_SHIFTJIS);
  EXPECT_EQ(charSetNamed("sjis"), KelCS_SHIFTJIS);
  EXPECT_EQ(charSetNamed("CP932"), KelCS_WCP932);
  EXPECT_EQ(charSetNamed("windows-31j"), KelCS_WCP932);
  EXPECT_EQ(charSetNamed("shift_jisx0213"), KelCS_SJIS0213);
  EXPECT_EQ(charSetNamed("euc-jp"), KelCS_EUC_JP);
  EXPECT_EQ(charSetNamed("EUC-KR"), KelCS_EUC_KR);
  EXPECT_EQ(charSetNamed("gb2312"), KelCS_EUC_CN);
  EXPECT_EQ(charSetNamed("gbk"), KelCS_WCP936);
  EXPECT_EQ(charSetNamed("GB18030"), KelCS_GB18030);
  EXPECT_EQ(charSetNamed("big5"), KelCS_BIG5);
  EXPECT_EQ(charSetNamed("cp950"), KelCS_WCP950);
  EXPECT_EQ(charSetNamed("uhc"), KelCS_WCP949);
  EXPECT_EQ(charSetNamed("ISO-2022-JP"), KelCS_ISO_2022JP);
}

TEST(CharSetCatalog, UnicodeFormsAreInTheMachinesByteOrder) {
  const uint16_t probe = 1;
  const bool littleEndian = *reinterpret_cast<const unsigned char*>(&probe) == 1;
  EXPECT_EQ(charSetNamed("UTF-16"), KelCS_UTF16);
  EXPECT_EQ(charSetNamed("UTF-32"), KelCS_UTF32);
  EXPECT_EQ(charSetNamed("UTF-16LE"), littleEndian ? KelCS_UTF16 : KelCS_UTF16BE);
  EXPECT_EQ(charSetNamed("UTF-32BE"), littleEndian ? KelCS_UTF32BE : KelCS_UTF32);
}

TEST(CharSetCatalog, RejectsUnknownNames) {
  EXPECT_EQ(charSetNamed("UTF-7"), std::nullopt);
  EXPECT_EQ(charSetNamed(""), std::nullopt);
  EXPECT_EQ(charSetNamed("--"), std::nullopt);
}

TEST(CharSetCatalog, SetsWithoutAConverterAreKnownButNotConverted) {
  for (const KelCharSet id : {KelCS_ISO_2022JP, KelCS_ISO_2022TW, KelCS_EUC_TW, KelCS_UTF16BE,
                              KelCS_UTF32BE}) {
    EXPECT_FALSE(kelconv::hasConverter(id)) << id;
  }
  for (const KelCharSet id : {KelCS_UTF8, KelCS_UTF16, KelCS_UTF16ESC, KelCS_UTF32,
                              KelCS_WCP1252, KelCS_ISO_8859_1, KelCS_KOI8R, KelCS_OS_DEFAULT}) {
    EXPECT_TRUE(kelconv::hasConverter(id)) << id;
  }
}

TEST(CharSetCatalog, TheOperatingSystemsSetResolvesToASetWithThatConverter) {
  const KelCharSet resolved = kelconv::resolvedCharSet(KelCS_OS_DEFAULT);
  EXPECT_NE(resolved, KelCS_OS_DEFAULT);
  EXPECT_EQ(KelCharSetConverter::getConverter(resolved),
            KelCharSetConverter::getConverter(KelCS_OS_DEFAULT));
  EXPECT_EQ(kelconv::resolvedCharSet(KelCS_WCP1250), KelCS_WCP1250);
}

TEST(CharSetCatalog, TheListHasOneLinePerSetAndSaysWhichConvert) {
  std::ostringstream list;
  kelconv::writeCharSetList(list);
  const std::string text = list.str();
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 55);
  EXPECT_NE(text.find("\n 65001  KelCS_UTF8              yes        UTF-8\n"), std::string::npos);
  EXPECT_NE(text.find("\n 50220  KelCS_ISO_2022JP        no         ISO-2022-JP\n"),
            std::string::npos);
}

}  // namespace
