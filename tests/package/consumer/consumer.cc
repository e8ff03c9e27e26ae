// Uses the library the way a C++ user does: one header, a converter by id,
// a dynamic_cast across the library boundary, a flat function, a string
// list (its standard-library members are the program's own), one header
// on its own from the KelULib folder, and the classes' constants.
#include <KelULib.h>
#include <KelULib/ustring/ustring_list.h>

#include <cstdio>
#include <cstring>

// The include path holds only the folder of KelULib.h: none of the
// library's own folder names can be reached from it.
#if __has_include(<platform/export.h>) || __has_include(<charset/converter.h>) || \
    __has_include(<ustring/ustring.h>)
#error "a folder of the library's own is on the include path"
#endif

int main() {
  int failures = 0;
  KelCharSetConverter* utf8 = KelCharSetConverter::getConverter(KelCS_UTF8);
  if (dynamic_cast<KelCharSetConverterUTF8*>(utf8) == nullptr) {
    std::puts("getConverter(KelCS_UTF8) is not a KelCharSetConverterUTF8");
    ++failures;
  }
  wchar16 units[4];
  if (utf8->toUTF16(units, "\xC3\xA9", 3, ILLCHAR_REPLACE, nullptr, -1) != 1 || units[0] != 0xE9) {
    std::puts("UTF-8 C3 A9 did not decode to U+00E9");
    ++failures;
  }
  char cp1252[4];
  if (UTF8ToLocal(cp1252, "\xE2\x82\xAC", sizeof cp1252, KelCS_WCP1252) != 1 ||
      std::strcmp(cp1252, "\x80") != 0) {
    std::puts("UTF8ToLocal of the euro sign to 1252 did not give 0x80");
    ++failures;
  }
  KelUStringList words = KelUString(u"one,two,three").split(u',');
  words += KelUString(u"four");
  if (words.size() != 4 || !words[3].equal(KelUString(u"four"))) {
    std::puts("KelUStringList did not hold four words");
    ++failures;
  }
  // The classes' constants, bound by reference: the program links them (on
  // Windows, KelULibDll.dll exports them as data).
  const unsigned int& utf32Max = KelUChar::UTF32_MAX;
  const size_t& localCapacity = KelUString::kLocalCapacity;
  if (utf32Max != 0x10FFFF || localCapacity != 257 || KelUChar::UTF16_MAX != 0xFFFF) {
    std::puts("the class constants have other values");
    ++failures;
  }
  if (failures == 0) std::puts("consumer_cpp: ok");
  return failures == 0 ? 0 : 1;
}
