// The little kelconv needs to know about the operating system: its streams,
// its file names and its command line.
#ifndef KELULIB_TOOLS_KELCONV_PLATFORM_STREAMS_H_
#define KELULIB_TOOLS_KELCONV_PLATFORM_STREAMS_H_

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace kelconv {

// Whether `stream` is connected to a terminal.
bool isTerminal(std::FILE* stream);

// Makes `stream` pass bytes through unchanged (no newline translation),
// where the platform distinguishes text from binary streams.
void useBinaryMode(std::FILE* stream);

// Opens the file named `utf8Name` (UTF-8) with fopen's `mode`. On Windows
// the name goes to _wfopen as UTF-16, so that any file name opens whatever
// the ANSI code page; elsewhere to fopen as it is. Null, with errno set,
// when the file cannot be opened.
std::FILE* openFile(const std::string& utf8Name, const char* mode);

// The size of the regular file named `utf8Name`; nullopt for a file of
// another kind or one that cannot be examined.
std::optional<uint64_t> regularFileSize(const std::string& utf8Name);

#if defined(_WIN32)
// A UTF-8 file name as Windows' wide functions take it (UTF-16).
std::wstring wideName(const std::string& utf8Name);

// A wide (UTF-16) name from Windows in UTF-8.
std::string utf8Name(const std::wstring& wideName);

// wmain's arguments, argument 0 left out, in UTF-8: Windows hands a program
// its command line in UTF-16, whatever the ANSI code page.
std::vector<std::string> utf8Arguments(int argc, wchar_t** argv);
#endif

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_PLATFORM_STREAMS_H_
