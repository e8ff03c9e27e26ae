// The character sets kelconv knows and the names a user may give them. Most
// are the library's sets as its converters read and write them; a few are
// built here on the library's converters, as iconv users know them:
//   UTF-16BE, UTF-16LE, UTF-32BE, UTF-32LE  the library's UTF-16 and UTF-32
//       with the bytes of each unit in that order;
//   UTF-16, UTF-32  a byte-order mark at the start of the input chooses the
//       order (and is not copied), without one the machine's order; output
//       starts with a mark, in the machine's order;
//   US-ASCII  bytes and characters 0x00-0x7F only;
//   GBK (CP936, MS936, WINDOWS-936)  written as code page 936; read through
//       GB18030's two-byte table, which holds every GBK pair (code page
//       936's byte classes cannot read the pairs whose trail byte is
//       0x80-0xA0), and its single bytes 0x80 and 0xFF as code page 936
//       reads them.
#ifndef KELULIB_TOOLS_KELCONV_CHARSET_CATALOG_H_
#define KELULIB_TOOLS_KELCONV_CHARSET_CATALOG_H_

#include <KelULib.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kelconv {

// How a set is built on the library's converter of its id.
enum class CharSetForm {
  kLibrary,  // the converter as it is
  kAscii,    // US-ASCII
  kGbk,      // GBK: code page 936, read through GB18030 (see above)
  kNone,     // a set the library names but has no converter for
};

// The order of the bytes of a UTF-16 or UTF-32 unit.
enum class ByteOrder {
  kMachine,  // the library's, the machine's own
  kLittle,
  kBig,
  kMarked,  // chosen by a byte-order mark, as iconv reads and writes UTF-16 and UTF-32
};

// The groups of `kelconv -l`.
enum class CharSetGroup {
  kUnicode,
  kAsciiAndIso8859,
  kWindows,
  kCyrillic,
  kJapanese,
  kSimplifiedChinese,
  kTraditionalChinese,
  kKorean,
  kOperatingSystem,
  kWithoutConverter,
};

struct CharSetEntry {
  std::string name;                  // the name -l shows first
  std::vector<std::string> aliases;  // other names, in upper case
  // The library's id whose KelCS_ name and number also name this entry,
  // or nullopt.
  std::optional<KelCharSet> libraryName;
  KelCharSet id;  // whose converter does the work
  CharSetForm form;
  ByteOrder order;
  CharSetGroup group;
};

// Every entry, in -l order: by group, then by name.
const std::vector<CharSetEntry>& charSetCatalog();

// The entry that `name` stands for: a KelCS_ name, a number or another
// name, matched without regard to case and to the characters '-' and '_'
// ("utf8", "UTF-8" and "kelcs_utf8" are all UTF-8). nullptr for a name that
// names none.
const CharSetEntry* charSetNamed(const std::string& name);

// The entry of the library's set `id` as its converter reads and writes it.
const CharSetEntry& charSetEntryOf(KelCharSet id);

// The library's name of `id` ("KelCS_UTF8").
std::string charSetName(KelCharSet id);

// Whether the library converts `id` itself, rather than through the UTF-8
// converter it hands out for every id it has no converter for.
// KelCS_OS_DEFAULT always has one: the library resolves it.
bool hasConverter(KelCharSet id);

// The id whose converter KelCS_OS_DEFAULT resolves to; KelCS_UTF8 when the
// operating system's character set has no converter of its own. Any other
// id is returned as it is.
KelCharSet resolvedCharSet(KelCharSet id);

// Writes the list of `kelconv -l`.
void writeCharSetList(std::ostream& out);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_CHARSET_CATALOG_H_
