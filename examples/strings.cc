// KelUString in a few steps: text made from narrow bytes, rendered in other
// character sets, searched without regard to case, split and joined.
#include <KelULib.h>

#include <cstring>
#include <iostream>

namespace {

// Where `needle` first occurs in `text`, upper and lower case alike: both
// are upper-cased through the library's case tables, then searched.
size_t findNoCase(KelUString text, KelUString needle) {
  text.toUpper();
  needle.toUpper();
  return text.find(needle);
}

}  // namespace

int main() {
  // Windows-1252 bytes in; the string holds UTF-16.
  KelUString menu("Caf\xE9 cr\xE8me, Cr\xEApe SUZETTE,th\xE9 \x80 3", KelCS_WCP1252);
  std::cout << "Menu: " << menu.c_str(KelCS_UTF8) << "\n";
  std::cout << menu.size() << " UTF-16 units, " << menu.size(KelCS_UTF8) << " bytes of UTF-8\n";

  // Narrow text out: ISO 8859-1 has no euro sign, which becomes "?".
  const char* latin1 = menu.c_str(KelCS_ISO_8859_1);
  std::cout << "In ISO 8859-1: " << std::strlen(latin1) << " bytes, the euro sign as '"
            << latin1[std::strlen(latin1) - 3] << "'\n";

  // Searching and comparing without regard to case.
  const KelUString wanted("CR\xC3\x8APE suzette", KelCS_UTF8);
  std::cout << "\"" << KelUString(wanted).c_str(KelCS_UTF8) << "\" is at unit "
            << findNoCase(menu, wanted) << "\n";
  std::cout << "\"caf\xC3\xA9\" equals \"CAF\xC3\x89\" ignoring case: " << std::boolalpha
            << KelUString("caf\xC3\xA9", KelCS_UTF8).equalNoCase("CAF\xC3\x89", KelCS_UTF8)
            << "\n";

  // Splitting at the commas, trimming each piece, and joining again.
  const KelUStringList dishes = menu.split(u',');
  for (const KelUString& dish : dishes) {
    KelUString trimmed(dish);
    trimmed.trim();
    std::cout << "- " << trimmed.c_str(KelCS_UTF8) << "\n";
  }
  std::cout << "Joined: " << dishes.combine(u'|').c_str(KelCS_UTF8) << "\n";
  return 0;
}
