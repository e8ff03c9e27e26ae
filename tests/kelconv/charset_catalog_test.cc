// Character-set names on kelconv's command line, which sets convert, and
// the list of `kelconv -l`.
#include "tools/kelconv/charset_catalog.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

namespace {

using kelconv::ByteOrder;
using kelconv::CharSetEntry;
using kelconv::CharSetForm;
using kelconv::charSetNamed;

// The library's set that `name` names.
std::optional<KelCharSet> idNamed(const std::string& name) {
  const CharSetEntry* entry = charSetNamed(name);
  if (entry == nullptr) return std::nullopt;
  return entry->id;
}

TEST(CharSetCatalog, NamesEveryIdOfTheLibraryOnce) {
  std::set<KelCharSet> ids;
  for (const CharSetEntry& entry : kelconv::charSetCatalog()) {
    if (!entry.libraryName) continue;
    EXPECT_TRUE(ids.insert(*entry.libraryName).second) << *entry.libraryName;
    EXPECT_EQ(KelCharSetFromString(kelconv::charSetName(*entry.libraryName).c_str()),
              *entry.libraryName);
    EXPECT_EQ(charSetNamed(kelconv::charSetName(*entry.libraryName)), &entry);
    EXPECT_EQ(charSetNamed(std::to_string(*entry.libraryName)), &entry);
  }
  EXPECT_EQ(ids.size(), 54u);
}

TEST(CharSetCatalog, NoTwoSetsShareAName) {
  std::set<std::string> seen;
  for (const CharSetEntry& entry : kelconv::charSetCatalog()) {
    EXPECT_EQ(charSetNamed(entry.name), &entry) << entry.name;
    EXPECT_TRUE(seen.insert(entry.name).second) << entry.name;
    for (const std::string& alias : entry.aliases) {
      EXPECT_EQ(charSetNamed(alias), &entry) << alias;
      EXPECT_TRUE(seen.insert(alias).second) << alias;
    }
  }
}

TEST(CharSetCatalog, TakesTheLibrarysNamesInAnyCase) {
  EXPECT_EQ(idNamed("KelCS_UTF8"), KelCS_UTF8);
  EXPECT_EQ(idNamed("kelcs_wcp1252"), KelCS_WCP1252);
  EXPECT_EQ(idNamed("KELCS_OS_DEFAULT"), KelCS_OS_DEFAULT);
}

TEST(CharSetCatalog, TakesNumericIds) {
  EXPECT_EQ(idNamed("65001"), KelCS_UTF8);
  EXPECT_EQ(idNamed("874"), KelCS_WCP874);
  EXPECT_EQ(idNamed("-2"), KelCS_OS_DEFAULT);
  EXPECT_EQ(idNamed("437"), std::nullopt);
  EXPECT_EQ(idNamed("12a"), std::nullopt);
}

TEST(CharSetCatalog, TakesCommonNamesIgnoringCaseDashesAndUnderscores) {
  EXPECT_EQ(idNamed("utf-8"), KelCS_UTF8);
  EXPECT_EQ(idNamed("UTF8"), KelCS_UTF8);
  EXPECT_EQ(idNamed("Latin1"), KelCS_ISO_8859_1);
  EXPECT_EQ(idNamed("iso_8859-15"), KelCS_ISO_8859_15);
  EXPECT_EQ(idNamed("windows-1252"), KelCS_WCP1252);
  EXPECT_EQ(idNamed("cp1251"), KelCS_WCP1251);
  EXPECT_EQ(idNamed("koi8-r"), KelCS_KOI8R);
  EXPECT_EQ(idNamed("Shift_JIS"), KelCS_SHIFTJIS);
  EXPECT_EQ(idNamed("sjis"), KelCS_SHIFTJIS);
  EXPECT_EQ(idNamed("CP932"), KelCS_WCP932);
  EXPECT_EQ(idNamed("windows-31j"), KelCS_WCP932);
  EXPECT_EQ(idNamed("shift_jisx0213"), KelCS_SJIS0213);
  EXPECT_EQ(idNamed("euc-jp"), KelCS_EUC_JP);
  EXPECT_EQ(idNamed("EUC-KR"), KelCS_EUC_KR);
  EXPECT_EQ(idNamed("gb2312"), KelCS_EUC_CN);
  EXPECT_EQ(idNamed("gbk"), KelCS_WCP936);
  EXPECT_EQ(idNamed("GB18030"), KelCS_GB18030);
  EXPECT_EQ(idNamed("big5"), KelCS_BIG5);
  EXPECT_EQ(idNamed("cp950"), KelCS_WCP950);
  EXPECT_EQ(idNamed("uhc"), KelCS_WCP949);
  EXPECT_EQ(idNamed("ISO-2022-JP"), KelCS_ISO_2022JP);
}

TEST(CharSetCatalog, UnicodeFormsByTheirByteOrder) {
  EXPECT_EQ(charSetNamed("UTF-16")->order, ByteOrder::kMarked);
  EXPECT_EQ(charSetNamed("utf-32")->order, ByteOrder::kMarked);
  EXPECT_EQ(charSetNamed("UTF-16LE")->order, ByteOrder::kLittle);
  EXPECT_EQ(charSetNamed("UTF-16BE")->order, ByteOrder::kBig);
  EXPECT_EQ(charSetNamed("KelCS_UTF16BE")->order, ByteOrder::kBig);
  EXPECT_EQ(charSetNamed("1201")->id, KelCS_UTF16);
  EXPECT_EQ(charSetNamed("UTF-32BE")->id, KelCS_UTF32);
  EXPECT_EQ(charSetNamed("KelCS_UTF16")->order, ByteOrder::kMachine);
  EXPECT_EQ(charSetNamed("12000")->order, ByteOrder::kMachine);
}

TEST(CharSetCatalog, AsciiAndGbkAreBuiltOnTheLibrarysSets) {
  for (const char* name : {"ASCII", "US-ASCII", "ANSI_X3.4-1968", "us_ascii"}) {
    ASSERT_NE(charSetNamed(name), nullptr) << name;
    EXPECT_EQ(charSetNamed(name)->form, CharSetForm::kAscii) << name;
  }
  for (const char* name : {"GBK", "CP936", "MS936", "windows-936"}) {
    EXPECT_EQ(charSetNamed(name)->form, CharSetForm::kGbk) << name;
  }
  // The library's own names of code page 936 keep its converter as it is.
  EXPECT_EQ(charSetNamed("KelCS_WCP936")->form, CharSetForm::kLibrary);
  EXPECT_EQ(charSetNamed("936")->form, CharSetForm::kLibrary);
}

TEST(CharSetCatalog, RejectsUnknownNames) {
  EXPECT_EQ(charSetNamed("UTF-7"), nullptr);
  EXPECT_EQ(charSetNamed(""), nullptr);
  EXPECT_EQ(charSetNamed("--"), nullptr);
}

TEST(CharSetCatalog, SetsWithoutAConverterAreKnownButNotConverted) {
  for (const KelCharSet id : {KelCS_ISO_2022JP, KelCS_ISO_2022TW, KelCS_EUC_TW}) {
    EXPECT_FALSE(kelconv::hasConverter(id)) << id;
    EXPECT_EQ(kelconv::charSetEntryOf(id).form, CharSetForm::kNone) << id;
  }
  // The library has no converters for UTF-16BE and UTF-32BE; kelconv
  // builds them on those of UTF-16 and UTF-32.
  for (const KelCharSet id : {KelCS_UTF16BE, KelCS_UTF32BE}) {
    EXPECT_FALSE(kelconv::hasConverter(id)) << id;
    EXPECT_EQ(kelconv::charSetEntryOf(id).form, CharSetForm::kLibrary) << id;
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

TEST(CharSetCatalog, TheListIsGroupedAndSortedWithTheAliases) {
  std::ostringstream list;
  kelconv::writeCharSetList(list);
  const std::string text = list.str();
  // One line per entry and a title per group (groups apart by an empty line).
  size_t groups = 0;
  for (size_t at = text.find(":\n"); at != std::string::npos; at = text.find(":\n", at + 1)) {
    ++groups;
  }
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'),
            static_cast<long>(kelconv::charSetCatalog().size() + 2 * groups - 1));
  EXPECT_NE(text.find("\n  UTF-8 (KelCS_UTF8, 65001)\n"), std::string::npos);
  EXPECT_NE(text.find("\n  SHIFT_JIS, SJIS (KelCS_SHIFTJIS, 30932)\n"), std::string::npos);
  EXPECT_NE(text.find("\n  ISO-2022-JP (KelCS_ISO_2022JP, 50220)\n"), std::string::npos);
  // Numbers in names by their value, groups in their order.
  EXPECT_LT(text.find("  ISO-8859-2,"), text.find("  ISO-8859-10,"));
  EXPECT_LT(text.find("  WINDOWS-874,"), text.find("  WINDOWS-1250,"));
  EXPECT_LT(text.find("Japanese:"), text.find("  EUC-JP"));
  EXPECT_LT(text.find("  EUC-JP"), text.find("Korean:"));
  EXPECT_LT(text.find("Korean:"), text.find("Known, but not converted"));
}

}  // namespace
