// The operating system's active code page, which KelCS_OS_DEFAULT stands for.
#ifndef KELULIB_PLATFORM_OS_CODE_PAGE_H_
#define KELULIB_PLATFORM_OS_CODE_PAGE_H_

#include <cstdint>

namespace kelulib {

// US-ASCII: what a locale without a known character set reads as. It has no
// converter of its own, so KelCS_OS_DEFAULT then falls back to UTF-8.
constexpr int32_t kAsciiCodePage = 20127;

// The code page named by the character-set part of a POSIX locale name (the
// text after '.' and before '@', compared case-insensitively with '-' and
// '_' ignored), e.g. "de_DE.ISO-8859-15@euro" -> 28605, "ja_JP.eucJP" ->
// 51932, "en_US.CP437" -> 437. A null or empty name, "C", "POSIX", a name
// without a character set and an unknown character set give kAsciiCodePage.
int32_t codePageFromLocaleName(const char* localeName);

// The active code page: GetACP() on Windows; elsewhere the code page of the
// first non-empty of LC_ALL, LC_CTYPE and LANG (no setlocale call is made).
int32_t readOsCodePage();

}  // namespace kelulib

#endif  // KELULIB_PLATFORM_OS_CODE_PAGE_H_
