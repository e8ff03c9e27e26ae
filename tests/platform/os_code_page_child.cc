// A child process for the OsCodePageProcess tests. The parent starts it with
// a chosen set of locale variables; the library reads the operating system's
// code page from them when it is loaded, and this program reports what came
// of it.
//
//   kelulib_os_code_page_child identity <code page>
//       KelCS_OS_DEFAULT must resolve to the very converter that
//       getConverter(<code page>) returns, and the unit-size functions for
//       KelCS_OS_DEFAULT must report that converter's sizes. On Windows
//       the process's ANSI code page (GetACP) must be <code page> too.
//   kelulib_os_code_page_child path-1252
//       The path conversions and KelCS_OS_DEFAULT under Windows-1252.
//   kelulib_os_code_page_child path-utf8
//       The same under UTF-8 (also what an ASCII locale falls back to).
//
// Exit status: 0 when everything was as expected, 1 when a check failed
// (each failure is printed on standard output), 2 for bad arguments.
#include <KelULib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

int g_failures = 0;

void fail(const std::string& message) {
  ++g_failures;
  std::printf("FAILED: %s\n", message.c_str());
}

std::string hex(const std::string& bytes) {
  std::string text;
  char digits[4];
  for (unsigned char byte : bytes) {
    std::snprintf(digits, sizeof digits, "%02X", byte);
    if (!text.empty()) text += ' ';
    text += digits;
  }
  return text.empty() ? "(empty)" : text;
}

// A shortened hex dump for long texts.
std::string shortHex(const std::string& bytes) {
  if (bytes.size() <= 48) return hex(bytes);
  return hex(bytes.substr(0, 48)) + " ... (" + std::to_string(bytes.size()) + " bytes)";
}

const char* describe(KelCharSetConverter* converter) {
  struct Known {
    KelCharSet id;
    const char* name;
  };
  static const Known kKnown[] = {{KelCS_UTF8, "the UTF-8 converter"},
                                 {KelCS_WCP1252, "the Windows-1252 converter"},
                                 {KelCS_ISO_8859_1, "the ISO 8859-1 converter"},
                                 {KelCS_UTF16, "the UTF-16 converter"},
                                 {KelCS_UTF16ESC, "the UTF-16 escape converter"},
                                 {KelCS_UTF32, "the UTF-32 converter"}};
  for (const Known& known : kKnown) {
    if (converter == KelCharSetConverter::getConverter(known.id)) return known.name;
  }
  return "some other converter";
}

using PathFunction = size_t (*)(char*, char const*, int);

// Runs `function` on `src` into a buffer of exactly `dstSize` bytes followed
// by guard bytes, and checks the result, the output with its terminator,
// and that nothing was written past dstSize.
void expectConversion(const char* name, PathFunction function, const std::string& src,
                      int dstSize, const std::string& expected) {
  const size_t usable = static_cast<size_t>(dstSize);
  std::vector<char> buffer(usable + 16, '\xA5');
  const size_t result = function(buffer.data(), src.c_str(), dstSize);
  const std::string what = std::string(name) + "(" + shortHex(src) + ", dstSize " +
                           std::to_string(dstSize) + ")";
  // What it wrote, as far as the buffer goes.
  const std::string written(buffer.data(), result < usable ? result : usable);
  if (result != expected.size() || written != expected) {
    fail(what + " returned " + std::to_string(result) + " and wrote " + shortHex(written) +
         ", expected " + std::to_string(expected.size()) + " and " + shortHex(expected));
  } else if (buffer[result] != '\0') {
    fail(what + " wrote no terminator after its output");
  }
  for (size_t i = usable; i < buffer.size(); ++i) {
    if (buffer[i] != '\xA5') {
      fail(what + " wrote past dstSize (at " + std::to_string(i) + ")");
      break;
    }
  }
}

void expectPath(PathFunction function, const char* name, const std::string& src,
                const std::string& expected) {
  expectConversion(name, function, src, static_cast<int>(expected.size() + 1), expected);
}

// The same for the functions that take a character set.
void expectWithOsDefault(const char* name, size_t (*function)(char*, char const*, int, KelCharSet),
                         const std::string& src, const std::string& expected) {
  std::vector<char> buffer(expected.size() + 1 + 16, '\xA5');
  const size_t result = function(buffer.data(), src.c_str(),
                                 static_cast<int>(expected.size() + 1), KelCS_OS_DEFAULT);
  const std::string written(buffer.data(), result);
  if (result != expected.size() || written != expected || buffer[result] != '\0') {
    fail(std::string(name) + "(" + hex(src) + ", KelCS_OS_DEFAULT) returned " +
         std::to_string(result) + " and wrote " + hex(written) + ", expected " + hex(expected));
  }
}

void expectSizes(size_t minSize, size_t maxSize, size_t nullSize) {
  if (GetMinUnitSize(KelCS_OS_DEFAULT) != minSize) {
    fail("GetMinUnitSize(KelCS_OS_DEFAULT) is " + std::to_string(GetMinUnitSize(KelCS_OS_DEFAULT)) +
         ", expected " + std::to_string(minSize));
  }
  if (GetMaxUnitSize(KelCS_OS_DEFAULT) != maxSize) {
    fail("GetMaxUnitSize(KelCS_OS_DEFAULT) is " + std::to_string(GetMaxUnitSize(KelCS_OS_DEFAULT)) +
         ", expected " + std::to_string(maxSize));
  }
  if (GetNullCharSize(KelCS_OS_DEFAULT) != nullSize) {
    fail("GetNullCharSize(KelCS_OS_DEFAULT) is " +
         std::to_string(GetNullCharSize(KelCS_OS_DEFAULT)) + ", expected " +
         std::to_string(nullSize));
  }
}

void expectOsConverter(KelCharSet expectedId) {
  KelCharSetConverter* os = KelCharSetConverter::getConverter(KelCS_OS_DEFAULT);
  KelCharSetConverter* expected = KelCharSetConverter::getConverter(expectedId);
  if (os != expected) {
    fail(std::string("KelCS_OS_DEFAULT resolved to ") + describe(os) +
         ", not to the converter of " +
         std::to_string(static_cast<int>(expectedId)) + " (" + describe(expected) + ")");
  }
}

std::string repeated(const std::string& chunk, size_t count) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += chunk;
  return text;
}

int runIdentity(const char* codePageText) {
  char* end = nullptr;
  const long codePage = std::strtol(codePageText, &end, 10);
  if (end == codePageText || *end != '\0') {
    std::printf("not a code page number: %s\n", codePageText);
    return 2;
  }
  const auto expectedId = static_cast<KelCharSet>(codePage);
#if defined(_WIN32)
  if (static_cast<long>(GetACP()) != codePage) {
    fail("the ANSI code page of this process is " + std::to_string(GetACP()) + ", not " +
         codePageText);
  }
#endif
  expectOsConverter(expectedId);
  KelCharSetConverter* expected = KelCharSetConverter::getConverter(expectedId);
  expectSizes(expected->getMinUnitSize(), expected->getMaxUnitSize(),
              expected->getNullCharSize());
  return g_failures == 0 ? 0 : 1;
}

int runPath1252() {
  expectOsConverter(KelCS_WCP1252);
  expectSizes(1, 1, 1);

  // 中 (E4 B8 AD) is not in Windows-1252: it goes out as its escape ...
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", "\xE4\xB8\xAD", "U+4E2D");
  // ... which must fit whole: room 5 writes nothing.
  expectConversion("UTF8ToLocalPath", UTF8ToLocalPath, "\xE4\xB8\xAD", 6, "");
  // ... and comes back.
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "U+4E2D", "\xE4\xB8\xAD");
  // Lower-case digits are not an escape.
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "U+4e2d", "U+4e2d");
  // é and € are Windows-1252 characters: E9 and 80.
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", "\xC3\xA9", "\xE9");
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "\xE9", "\xC3\xA9");
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", "\xE2\x82\xAC", "\x80");
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "\x80", "\xE2\x82\xAC");
  // A byte without a Windows-1252 character is U+FFFD (no ISO 8859-1
  // reading for paths).
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "\x81", "\xEF\xBF\xBD");

  // A whole name: ß, é, € kept; 日本 and 😀 (as its two surrogates)
  // escaped; and back again.
  const std::string name =
      "/data/Stra\xC3\x9F" "e/caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC "
      "\xE2\x82\xAC\xF0\x9F\x98\x80.txt";
  const std::string local = "/data/Stra\xDF" "e/caf\xE9 U+65E5U+672C \x80U+D83DU+DE00.txt";
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", name, local);
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", local, name);

  // A long name (beyond the 32 KiB kept on the stack), both ways.
  const std::string longName = repeated("ab\xC3\xA9\xE4\xB8\xAD/xy", 10000);
  const std::string longLocal = repeated("ab\xE9U+4E2D/xy", 10000);
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", longName, longLocal);
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", longLocal, longName);

  // KelCS_OS_DEFAULT as the local set of the other functions.
  expectWithOsDefault("LocalToUTF8", LocalToUTF8, "\x80\xE9", "\xE2\x82\xAC\xC3\xA9");
  expectWithOsDefault("UTF8ToLocal", UTF8ToLocal, "\xE2\x82\xAC\xC3\xA9", "\x80\xE9");
  return g_failures == 0 ? 0 : 1;
}

int runPathUtf8() {
  expectOsConverter(KelCS_UTF8);
  expectSizes(1, 3, 1);

  // UTF-8 passes through both ways.
  const std::string name =
      "/data/caf\xC3\xA9/\xE6\x97\xA5\xE6\x9C\xAC \xE2\x82\xAC\xF0\x9F\x98\x80.txt";
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", name, name);
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", name, name);
  // Escapes are still read back.
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "U+4E2D", "\xE4\xB8\xAD");
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "U+4e2d", "U+4e2d");
  // A bad byte is U+FFFD (no ISO 8859-1 reading for paths).
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", "\xE9", "\xEF\xBF\xBD");

  // A text that decodes to nothing leaves the buffer alone.
  {
    std::vector<char> buffer(8, '\xA5');
    const size_t result = LocalPathToUTF8(buffer.data(), "\x80", 8);
    bool untouched = true;
    for (char c : buffer) untouched = untouched && c == '\xA5';
    if (result != 0 || !untouched) {
      fail("LocalPathToUTF8(80) returned " + std::to_string(result) +
           (untouched ? "" : " and wrote to the buffer") + ", expected 0 and nothing written");
    }
  }

  const std::string longName = repeated("ab\xC3\xA9\xE4\xB8\xAD/xy", 10000);
  expectPath(UTF8ToLocalPath, "UTF8ToLocalPath", longName, longName);
  expectPath(LocalPathToUTF8, "LocalPathToUTF8", longName, longName);

  expectWithOsDefault("LocalToUTF8", LocalToUTF8, "\xE2\x82\xAC", "\xE2\x82\xAC");
  expectWithOsDefault("UTF8ToLocal", UTF8ToLocal, "\xE2\x82\xAC", "\xE2\x82\xAC");
  return g_failures == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "identity") == 0) return runIdentity(argv[2]);
  if (argc == 2 && std::strcmp(argv[1], "path-1252") == 0) return runPath1252();
  if (argc == 2 && std::strcmp(argv[1], "path-utf8") == 0) return runPathUtf8();
  std::printf("usage: %s identity <code page> | path-1252 | path-utf8\n",
              argc > 0 ? argv[0] : "kelulib_os_code_page_child");
  return 2;
}
