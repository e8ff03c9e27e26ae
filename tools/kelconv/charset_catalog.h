// The character sets kelconv knows: every KelCharSet id with the names a
// user may give it, and whether the library has a converter for it.
#ifndef KELULIB_TOOLS_KELCONV_CHARSET_CATALOG_H_
#define KELULIB_TOOLS_KELCONV_CHARSET_CATALOG_H_

#include <KelULib.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kelconv {

struct CharSetEntry {
  KelCharSet id;
  std::vector<std::string> aliases;  // common names, in upper case
};

// Every id, in the order of the library's name table.
const std::vector<CharSetEntry>& charSetCatalog();

// The id that `name` stands for: a KelCS_ name, a numeric id or an alias,
// matched without regard to case and to the characters '-' and '_' (so
// "utf8", "UTF-8" and "kelcs_utf8" are all KelCS_UTF8). nullopt for a name
// that names none.
std::optional<KelCharSet> charSetNamed(const std::string& name);

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

// Writes the table of `kelconv -l`: id, name, aliases, converter.
void writeCharSetList(std::ostream& out);

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_CHARSET_CATALOG_H_
