#include "tools/kelconv/charset_catalog.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace kelconv {
namespace {

using Group = CharSetGroup;
using Form = CharSetForm;
using Order = ByteOrder;

constexpr KelCharSet kNoName = static_cast<KelCharSet>(0);

struct CatalogRow {
  Group group;
  const char* names;        // the name -l shows first, then the aliases, separated by spaces
  KelCharSet libraryName;   // kNoName: none
  KelCharSet id;
  Form form;
  Order order;
};

// The names people type, as glibc's iconv and the code pages spell them.
const CatalogRow kCatalogRows[] = {
    {Group::kUnicode, "UTF-8", KelCS_UTF8, KelCS_UTF8, Form::kLibrary, Order::kMachine},
    {Group::kUnicode, "UTF-16", kNoName, KelCS_UTF16, Form::kLibrary, Order::kMarked},
    {Group::kUnicode, "UTF-16LE", kNoName, KelCS_UTF16, Form::kLibrary, Order::kLittle},
    {Group::kUnicode, "UTF-16BE", KelCS_UTF16BE, KelCS_UTF16, Form::kLibrary, Order::kBig},
    {Group::kUnicode, "KelCS_UTF16", KelCS_UTF16, KelCS_UTF16, Form::kLibrary, Order::kMachine},
    {Group::kUnicode, "UTF-32", kNoName, KelCS_UTF32, Form::kLibrary, Order::kMarked},
    {Group::kUnicode, "UTF-32LE", kNoName, KelCS_UTF32, Form::kLibrary, Order::kLittle},
    {Group::kUnicode, "UTF-32BE", KelCS_UTF32BE, KelCS_UTF32, Form::kLibrary, Order::kBig},
    {Group::kUnicode, "KelCS_UTF32", KelCS_UTF32, KelCS_UTF32, Form::kLibrary, Order::kMachine},
    {Group::kUnicode, "KelCS_UTF16ESC", KelCS_UTF16ESC, KelCS_UTF16ESC, Form::kLibrary,
     Order::kMachine},
    {Group::kAsciiAndIso8859, "US-ASCII ASCII ANSI_X3.4-1968", kNoName, KelCS_ISO_8859_1,
     Form::kAscii, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-1 LATIN1", KelCS_ISO_8859_1, KelCS_ISO_8859_1,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-2 LATIN2", KelCS_ISO_8859_2, KelCS_ISO_8859_2,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-3 LATIN3", KelCS_ISO_8859_3, KelCS_ISO_8859_3,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-4 LATIN4", KelCS_ISO_8859_4, KelCS_ISO_8859_4,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-5", KelCS_ISO_8859_5, KelCS_ISO_8859_5, Form::kLibrary,
     Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-6", KelCS_ISO_8859_6, KelCS_ISO_8859_6, Form::kLibrary,
     Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-7", KelCS_ISO_8859_7, KelCS_ISO_8859_7, Form::kLibrary,
     Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-8", KelCS_ISO_8859_8, KelCS_ISO_8859_8, Form::kLibrary,
     Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-9 LATIN5", KelCS_ISO_8859_9, KelCS_ISO_8859_9,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-10 LATIN6", KelCS_ISO_8859_10, KelCS_ISO_8859_10,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-11", KelCS_ISO_8859_11, KelCS_ISO_8859_11,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-13 LATIN7", KelCS_ISO_8859_13, KelCS_ISO_8859_13,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-14 LATIN8", KelCS_ISO_8859_14, KelCS_ISO_8859_14,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-15 LATIN9", KelCS_ISO_8859_15, KelCS_ISO_8859_15,
     Form::kLibrary, Order::kMachine},
    {Group::kAsciiAndIso8859, "ISO-8859-16 LATIN10", KelCS_ISO_8859_16, KelCS_ISO_8859_16,
     Form::kLibrary, Order::kMachine},
    {Group::kWindows, "WINDOWS-1250 CP1250", KelCS_WCP1250, KelCS_WCP1250, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1251 CP1251", KelCS_WCP1251, KelCS_WCP1251, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1252 CP1252", KelCS_WCP1252, KelCS_WCP1252, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1253 CP1253", KelCS_WCP1253, KelCS_WCP1253, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1254 CP1254", KelCS_WCP1254, KelCS_WCP1254, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1255 CP1255", KelCS_WCP1255, KelCS_WCP1255, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1256 CP1256", KelCS_WCP1256, KelCS_WCP1256, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1257 CP1257", KelCS_WCP1257, KelCS_WCP1257, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-1258 CP1258", KelCS_WCP1258, KelCS_WCP1258, Form::kLibrary,
     Order::kMachine},
    {Group::kWindows, "WINDOWS-874 CP874", KelCS_WCP874, KelCS_WCP874, Form::kLibrary,
     Order::kMachine},
    {Group::kCyrillic, "KOI8-R", KelCS_KOI8R, KelCS_KOI8R, Form::kLibrary, Order::kMachine},
    {Group::kJapanese, "CP932 WINDOWS-31J", KelCS_WCP932, KelCS_WCP932, Form::kLibrary,
     Order::kMachine},
    {Group::kJapanese, "SHIFT_JIS SJIS", KelCS_SHIFTJIS, KelCS_SHIFTJIS, Form::kLibrary,
     Order::kMachine},
    {Group::kJapanese, "SHIFT_JISX0213", KelCS_SJIS0213, KelCS_SJIS0213, Form::kLibrary,
     Order::kMachine},
    {Group::kJapanese, "EUC-JP", KelCS_EUC_JP, KelCS_EUC_JP, Form::kLibrary, Order::kMachine},
    {Group::kSimplifiedChinese, "GBK CP936 MS936 WINDOWS-936", kNoName, KelCS_WCP936, Form::kGbk,
     Order::kMachine},
    {Group::kSimplifiedChinese, "KelCS_WCP936", KelCS_WCP936, KelCS_WCP936, Form::kLibrary,
     Order::kMachine},
    {Group::kSimplifiedChinese, "GB18030", KelCS_GB18030, KelCS_GB18030, Form::kLibrary,
     Order::kMachine},
    {Group::kSimplifiedChinese, "EUC-CN GB2312", KelCS_EUC_CN, KelCS_EUC_CN, Form::kLibrary,
     Order::kMachine},
    {Group::kTraditionalChinese, "BIG5", KelCS_BIG5, KelCS_BIG5, Form::kLibrary, Order::kMachine},
    {Group::kTraditionalChinese, "CP950", KelCS_WCP950, KelCS_WCP950, Form::kLibrary,
     Order::kMachine},
    {Group::kKorean, "CP949 UHC", KelCS_WCP949, KelCS_WCP949, Form::kLibrary, Order::kMachine},
    {Group::kKorean, "EUC-KR", KelCS_EUC_KR, KelCS_EUC_KR, Form::kLibrary, Order::kMachine},
    {Group::kOperatingSystem, "KelCS_OS_DEFAULT", KelCS_OS_DEFAULT, KelCS_OS_DEFAULT,
     Form::kLibrary, Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-JP", KelCS_ISO_2022JP, KelCS_ISO_2022JP, Form::kNone,
     Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-JP-1", KelCS_ISO_2022JP_1, KelCS_ISO_2022JP_1,
     Form::kNone, Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-JP-2", KelCS_ISO_2022JP_2, KelCS_ISO_2022JP_2,
     Form::kNone, Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-JP-3", KelCS_ISO_2022JP_3, KelCS_ISO_2022JP_3,
     Form::kNone, Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-JP-2004", KelCS_ISO_2022JP_2004, KelCS_ISO_2022JP_2004,
     Form::kNone, Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-KR", KelCS_ISO_2022KR, KelCS_ISO_2022KR, Form::kNone,
     Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-CN", KelCS_ISO_2022CN, KelCS_ISO_2022CN, Form::kNone,
     Order::kMachine},
    {Group::kWithoutConverter, "ISO-2022-CN-EXT", KelCS_ISO_2022CN_EXT, KelCS_ISO_2022CN_EXT,
     Form::kNone, Order::kMachine},
    {Group::kWithoutConverter, "KelCS_ISO_2022TW", KelCS_ISO_2022TW, KelCS_ISO_2022TW,
     Form::kNone, Order::kMachine},
    {Group::kWithoutConverter, "EUC-TW", KelCS_EUC_TW, KelCS_EUC_TW, Form::kNone,
     Order::kMachine},
};

const char* groupTitle(Group group) {
  switch (group) {
    case Group::kUnicode:
      return "Unicode";
    case Group::kAsciiAndIso8859:
      return "ASCII and ISO 8859";
    case Group::kWindows:
      return "Windows code pages";
    case Group::kCyrillic:
      return "Cyrillic";
    case Group::kJapanese:
      return "Japanese";
    case Group::kSimplifiedChinese:
      return "Chinese, simplified";
    case Group::kTraditionalChinese:
      return "Chinese, traditional";
    case Group::kKorean:
      return "Korean";
    case Group::kOperatingSystem:
      return "The operating system's";
    case Group::kWithoutConverter:
      return "Known, but not converted (no converter in this library)";
  }
  return "";
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

// Names in the order people expect: numbers by their value (ISO-8859-2
// before ISO-8859-10), the rest by its upper case.
bool comesBefore(const std::string& a, const std::string& b) {
  const std::string x = normalised(a);
  const std::string y = normalised(b);
  size_t i = 0;
  size_t j = 0;
  while (i < x.size() && j < y.size()) {
    if (std::isdigit(static_cast<unsigned char>(x[i])) &&
        std::isdigit(static_cast<unsigned char>(y[j]))) {
      size_t iEnd = i;
      size_t jEnd = j;
      while (iEnd < x.size() && std::isdigit(static_cast<unsigned char>(x[iEnd]))) ++iEnd;
      while (jEnd < y.size() && std::isdigit(static_cast<unsigned char>(y[jEnd]))) ++jEnd;
      const long left = std::stol(x.substr(i, iEnd - i));
      const long right = std::stol(y.substr(j, jEnd - j));
      if (left != right) return left < right;
      i = iEnd;
      j = jEnd;
    } else {
      if (x[i] != y[j]) return x[i] < y[j];
      ++i;
      ++j;
    }
  }
  return x.size() - i < y.size() - j;
}

std::vector<CharSetEntry> buildCatalog() {
  std::vector<CharSetEntry> catalog;
  for (const CatalogRow& row : kCatalogRows) {
    CharSetEntry entry{{}, {}, std::nullopt, row.id, row.form, row.order, row.group};
    if (row.libraryName != kNoName) entry.libraryName = row.libraryName;
    std::istringstream names(row.names);
    names >> entry.name;
    for (std::string alias; names >> alias;) entry.aliases.push_back(alias);
    catalog.push_back(entry);
  }
  std::stable_sort(catalog.begin(), catalog.end(),
                   [](const CharSetEntry& a, const CharSetEntry& b) {
                     if (a.group != b.group) return a.group < b.group;
                     return comesBefore(a.name, b.name);
                   });
  return catalog;
}

// A decimal number, optionally negative, and nothing else.
std::optional<long> numberIn(const std::string& text) {
  if (text.empty() || text.size() > 12) return std::nullopt;
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0' || !std::isdigit(static_cast<unsigned char>(text.back()))) return std::nullopt;
  return value;
}

std::string notesOn(const CharSetEntry& entry) {
  if (entry.group == Group::kOperatingSystem) {
    return "(the operating system's: " + charSetName(resolvedCharSet(entry.id)) + ")";
  }
  if (entry.form == Form::kGbk) {
    return "read through GB18030's two-byte table, written as code page 936";
  }
  if (entry.form == Form::kAscii) return "bytes and characters 0x00-0x7F";
  switch (entry.order) {
    case Order::kMarked:
      return "a byte-order mark chooses the order when reading; written first";
    case Order::kMachine:
      if (entry.id == KelCS_UTF16 || entry.id == KelCS_UTF32) return "the machine's byte order";
      break;
    default:
      break;
  }
  return "";
}

}  // namespace

const std::vector<CharSetEntry>& charSetCatalog() {
  static const std::vector<CharSetEntry> catalog = buildCatalog();
  return catalog;
}

const CharSetEntry* charSetNamed(const std::string& name) {
  if (const std::optional<long> number = numberIn(name)) {
    for (const CharSetEntry& entry : charSetCatalog()) {
      if (entry.libraryName && *entry.libraryName == *number) return &entry;
    }
    return nullptr;
  }
  const std::string wanted = normalised(name);
  if (wanted.empty()) return nullptr;
  for (const CharSetEntry& entry : charSetCatalog()) {
    if (normalised(entry.name) == wanted) return &entry;
    if (entry.libraryName && normalised(charSetName(*entry.libraryName)) == wanted) return &entry;
    for (const std::string& alias : entry.aliases) {
      if (normalised(alias) == wanted) return &entry;
    }
  }
  return nullptr;
}

const CharSetEntry& charSetEntryOf(KelCharSet id) {
  for (const CharSetEntry& entry : charSetCatalog()) {
    if (entry.libraryName == id) return entry;
  }
  return *charSetNamed("KelCS_OS_DEFAULT");
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
    if (!entry.libraryName || entry.form != Form::kLibrary || entry.id == KelCS_OS_DEFAULT ||
        !hasConverter(entry.id)) {
      continue;
    }
    if (KelCharSetConverter::getConverter(entry.id) == converter) return entry.id;
  }
  return KelCS_UTF8;
}

void writeCharSetList(std::ostream& out) {
  std::optional<Group> group;
  for (const CharSetEntry& entry : charSetCatalog()) {
    if (group != entry.group) {
      group = entry.group;
      out << (entry.group == Group::kUnicode ? "" : "\n") << groupTitle(entry.group) << ":\n";
    }
    std::string line = "  " + entry.name;
    for (const std::string& alias : entry.aliases) line += ", " + alias;
    if (entry.libraryName && charSetName(*entry.libraryName) != entry.name) {
      line += " (" + charSetName(*entry.libraryName) + ", " +
              std::to_string(*entry.libraryName) + ")";
    } else if (entry.libraryName) {
      line += " (" + std::to_string(*entry.libraryName) + ")";
    }
    const std::string notes = notesOn(entry);
    if (!notes.empty()) {
      if (line.size() < 40) line.resize(40, ' ');
      line += "  " + notes;
    }
    out << line << "\n";
  }
}

}  // namespace kelconv
