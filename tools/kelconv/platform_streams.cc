#include "tools/kelconv/platform_streams.h"

#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#include <KelULib.h>
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace kelconv {

#if defined(_WIN32)

// Windows' wide text is UTF-16: wchar_t is the library's wchar16 there.
static_assert(sizeof(wchar_t) == sizeof(wchar16), "wchar_t holds UTF-16 units");

std::wstring wideName(const std::string& utf8Name) {
  const KelUString text(utf8Name.c_str(), KelCS_UTF8);
  const auto* units = reinterpret_cast<const wchar_t*>(text.c_wstr());
  return std::wstring(units, units + text.size());
}

std::string utf8Name(const std::wstring& wideName) {
  return KelUString(reinterpret_cast<const wchar16*>(wideName.c_str())).c_str(KelCS_UTF8);
}

bool isTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

void useBinaryMode(std::FILE* stream) { _setmode(_fileno(stream), _O_BINARY); }

std::FILE* openFile(const std::string& utf8Name, const char* mode) {
  return _wfopen(wideName(utf8Name).c_str(), wideName(mode).c_str());
}

std::vector<std::string> utf8Arguments(int argc, wchar_t** argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(utf8Name(argv[i]));
  return arguments;
}

#else

bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

void useBinaryMode(std::FILE*) {}

std::FILE* openFile(const std::string& utf8Name, const char* mode) {
  return std::fopen(utf8Name.c_str(), mode);
}

#endif

std::optional<uint64_t> regularFileSize(const std::string& utf8Name) {
  // A path made from UTF-8 names the same file on every system.
  const std::filesystem::path path = std::filesystem::u8path(utf8Name);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  const uintmax_t size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  return static_cast<uint64_t>(size);
}

}  // namespace kelconv
