#include "tools/kelconv/charset_catalog.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <sstream>

namespace kelconv {
namespace {

struct CatalogRow {
  KelCharSet id;
  const char* aliases;  // separated by spaces
};

// The aliases people type, as glibc's iconv and the code-page names spell
// them. UTF-16 and UTF-32 are in the machine's byte order, written here for
// a little-endian machine (see inMachineOrder).
const CatalogRow kCatalogRows[] = {
    {KelCS_ISO_8859_1, "ISO-8859-1 LATIN1"},
    {KelCS_ISO_8859_2, "ISO-8859-2 LATIN2"},
    {KelCS_ISO_8859_3, "ISO-8859-3 LATIN3"},
    {KelCS_ISO_8859_4, "ISO-8859-4 LATIN4"},
    {KelCS_ISO_8859_5, "ISO-8859-5"},
    {KelCS_ISO_8859_6, "ISO-8859-6"},
    {KelCS_ISO_8859_7, "ISO-8859-7"},
    {KelCS_ISO_8859_8, "ISO-8859-8"},
    {KelCS_ISO_8859_9, "ISO-8859-9 LATIN5"},
    {KelCS_ISO_8859_10, "ISO-8859-10 LATIN6"},
    {KelCS_ISO_8859_11, "ISO-8859-11"},
    {KelCS_ISO_8859_13, "ISO-8859-13 LATIN7"},
    {KelCS_ISO_8859_14, "ISO-8859-14 LATIN8"},
    {KelCS_ISO_8859_15, "ISO-8859-15 LATIN9"},
    {KelCS_ISO_8859_16, "ISO-8859-16 LATIN10"},
    {KelCS_ISO_2022JP, "ISO-2022-JP"},
    {KelCS_ISO_2022JP_1, "ISO-2022-JP-1"},
    {KelCS_ISO_2022JP_2, "ISO-2022-JP-2"},
    {KelCS_ISO_2022JP_3, "ISO-2022-JP-3"},
    {KelCS_ISO_2022JP_2004, "ISO-2022-JP-2004"},
    {KelCS_ISO_2022KR, "ISO-2022-KR"},
    {KelCS_ISO_2022CN, "ISO-2022-CN"},
    {KelCS_ISO_2022CN_EXT, "ISO-2022-CN-EXT"},
    {KelCS_ISO_2022TW, ""},
    {KelCS_WCP1250, "WINDOWS-1250 CP1250"},
    {KelCS_WCP1251, "WINDOWS-1251 CP1251"},
    {KelCS_WCP1252, "WINDOWS-1252 CP1252"},
    {KelCS_WCP1253, "WINDOWS-1253 CP1253"},
    {KelCS_WCP1254, "WINDOWS-1254 CP1254"},
    {KelCS_WCP1255, "WINDOWS-1255 CP1255"},
    {KelCS_WCP1256, "WINDOWS-1256 CP1256"},
    {KelCS_WCP1257, "WINDOWS-1257 CP1257"},
    {KelCS_WCP1258, "WINDOWS-1258 CP1258"},
    {KelCS_WCP874, "CP874 WINDOWS-874"},
    {KelCS_WCP932, "CP932 WINDOWS-31J"},
    {KelCS_WCP936, "GBK CP936"},
    {KelCS_WCP949, "CP949 UHC"},
    {KelCS_WCP950, "CP950"},
    {KelCS_KOI8R, "KOI8-R"},
    {KelCS_GB18030, "GB18030"},
    {KelCS_BIG5, "BIG5"},
    {KelCS_SHIFTJIS, "SHIFT_JIS SJIS"},
    {KelCS_SJIS0213, "SHIFT_JISX0213"},
    {KelCS_EUC_JP, "EUC-JP"},
    {KelCS_EUC_CN, "EUC-CN GB2312"},
    {KelCS_EUC_KR, "EUC-KR"},
    {KelCS_EUC_TW, "EUC-TW"},
    {KelCS_UTF8, "UTF-8"},
    {KelCS_UTF16, "UTF-16 UTF-16LE"},
    {KelCS_UTF16BE, "UTF-16BE"},
    {KelCS_UTF16ESC, ""},
    {KelCS_UTF32, "UTF-32 UTF-32LE"},
    {KelCS_UTF32BE, "UTF-32BE"},
    {KelCS_OS_DEFAULT, ""},
};

bool machineIsLittleEndian() {
  const uint16_t probe = 1;
  return *reinterpret_cast<const unsigned char*>(&probe) == 1;
}

// On a big-endian machine the library's UTF-16 and UTF-32 are big-endian:
// the "LE" and "BE" names trade places.
std::string inMachineOrder(std::string alias) {
  if (machineIsLittleEndian() || alias.size() < 2) return alias;
  const std::string suffix = alias.substr(alias.size() - 2);
  if (suffix == "LE") alias.replace(alias.size() - 2, 2, "BE");
  if (suffix == "BE") alias.replace(alias.size() - 2, 2, "LE");
  return alias;
}

std::vector<CharSetEntry> buildCatalog() {
  std::vector<CharSetEntry> catalog;
  for (const CatalogRow& row : kCatalogRows) {
    CharSetEntry entry{row.id, {}};
    std::istringstream aliases(row.aliases);
    for (std::string alias; aliases >> alias;) entry.aliases.push_back(inMachineOrder(alias));
    catalog.push_back(entry);
  }
  return catalog;
}

// Upper case, without '-' and '_'.
std::string normalised(const std::string& name) {
  std::string result;
  for (const char c : name) {
    if (c == '-' || c == '_') continue;
    result += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return result;
}

// A decimal number, optionally negative, and nothing else.
std::optional<long> numberIn(const std::string& text) {
  if (text.empty() || text.size() > 12) return std::nullopt;
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0' || !(std::isdigit(static_cast<unsigned char>(text.back())))) return std::nullopt;
  return value;
}

const CharSetEntry* entryOf(KelCharSet id) {
  for (const CharSetEntry& entry : charSetCatalog()) {
    if (entry.id == id) return &entry;
  }
  return nullptr;
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

const std::vector<CharSetEntry>& charSetCatalog() {
  static const std::vector<CharSetEntry> catalog = buildCatalog();
  return catalog;
}

std::optional<KelCharSet> charSetNamed(const std::string& name) {
  if (const std::optional<long> number = numberIn(name)) {
    const CharSetEntry* entry = entryOf(static_cast<KelCharSet>(*number));
    if (entry == nullptr || entry->id != *number) return std::nullopt;
    return entry->id;
  }
  const std::string wanted = normalised(name);
  if (wanted.empty()) return std::nullopt;
  for (const CharSetEntry& entry : charSetCatalog()) {
    if (normalised(charSetName(entry.id)) == wanted) return entry.id;
    for (const std::string& alias : entry.aliases) {
      if (normalised(alias) == wanted) return entry.id;
    }
  }
  return std::nullopt;
}

std::string charSetName(KelCharSet id) { return KelCharSetToString(id); }

bool hasConverter(KelCharSet id) {
  if (id == KelCS_OS_DEFAULT || id == KelCS_UTF8) return true;
  return KelCharSetConverter::getConverter(id) != KelCharSetConverter::getConverter(KelCS_UTF8);
}

KelCharSet resolvedCharSet(KelCharSet id) {
  if (id != KelCS_OS_DEFAULT) return id;
  const KelCharSetConverter* converter = KelCharSetConverter::getConverter(KelCS_OS_DEFAULT);
  for (const CharSetEntry& entry : charSetCatalog()) {
    if (entry.id == KelCS_OS_DEFAULT || !hasConverter(entry.id)) continue;
    if (KelCharSetConverter::getConverter(entry.id) == converter) return entry.id;
  }
  return KelCS_UTF8;
}

void writeCharSetList(std::ostream& out) {
  out << "    Id  Name                    Converter  Aliases\n";
  for (const CharSetEntry& entry : charSetCatalog()) {
    std::string aliases = joined(entry.aliases);
    if (entry.id == KelCS_OS_DEFAULT) {
      aliases = "(the operating system's: " + charSetName(resolvedCharSet(entry.id)) + ")";
    }
    std::ostringstream line;
    line << std::setw(6) << entry.id << "  " << std::left << std::setw(24) << charSetName(entry.id)
         << std::setw(11) << (hasConverter(entry.id) ? "yes" : "no") << aliases;
    std::string text = line.str();
    text.erase(text.find_last_not_of(' ') + 1);
    out << text << "\n";
  }
}

}  // namespace kelconv
