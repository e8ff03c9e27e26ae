#include "platform/os_code_page.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kelulib {
namespace {

struct NamedCodePage {
  const char* codeset;  // normalised: upper case, no '-' or '_'
  int32_t codePage;
};

constexpr NamedCodePage kNamedCodePages[] = {
    {"UTF8", 65001},     {"KOI8R", 20866},    {"EUCJP", 51932},   {"EUCKR", 51949},
    {"EUCCN", 51936},    {"GB2312", 51936},   {"GBK", 936},       {"GB18030", 54936},
    {"BIG5", 950},       {"SJIS", 932},       {"SHIFTJIS", 932},  {"ISO88591", 28591},
    {"ISO88592", 28592}, {"ISO88593", 28593}, {"ISO88594", 28594}, {"ISO88595", 28595},
    {"ISO88596", 28596}, {"ISO88597", 28597}, {"ISO88598", 28598}, {"ISO88599", 28599},
    {"ISO885910", 28600}, {"ISO885911", 28601}, {"ISO885913", 28603}, {"ISO885914", 28604},
    {"ISO885915", 28605}, {"ISO885916", 28606}, {"WINDOWS1250", 1250}, {"WINDOWS1251", 1251},
    {"WINDOWS1252", 1252}, {"WINDOWS1253", 1253}, {"WINDOWS1254", 1254}, {"WINDOWS1255", 1255},
    {"WINDOWS1256", 1256}, {"WINDOWS1257", 1257}, {"WINDOWS1258", 1258},
};

// The character-set part of a locale name, upper-cased, without '-' and '_'.
std::string normalisedCodeset(const char* localeName) {
  const char* dot = std::strchr(localeName, '.');
  std::string codeset;
  if (dot == nullptr) return codeset;
  for (const char* p = dot + 1; *p != '\0' && *p != '@'; ++p) {
    if (*p == '-' || *p == '_') continue;
    codeset += static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  }
  return codeset;
}

// "CP" followed by decimal digits only, as a code page; 0 when it is not that.
int32_t numberedCodePage(const std::string& codeset) {
  if (codeset.size() < 3 || codeset.size() > 7 || codeset.compare(0, 2, "CP") != 0) return 0;
  int32_t value = 0;
  for (size_t i = 2; i < codeset.size(); ++i) {
    if (std::isdigit(static_cast<unsigned char>(codeset[i])) == 0) return 0;
    value = value * 10 + (codeset[i] - '0');
  }
  return value;
}

}  // namespace

int32_t codePageFromLocaleName(const char* localeName) {
  if (localeName == nullptr) return kAsciiCodePage;
  const std::string codeset = normalisedCodeset(localeName);
  for (const NamedCodePage& named : kNamedCodePages) {
    if (codeset == named.codeset) return named.codePage;
  }
  const int32_t numbered = numberedCodePage(codeset);
  return numbered != 0 ? numbered : kAsciiCodePage;
}

int32_t readOsCodePage() {
#if defined(_WIN32)
  return static_cast<int32_t>(GetACP());
#else
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return codePageFromLocaleName(value);
  }
  return kAsciiCodePage;
#endif
}

}  // namespace kelulib
