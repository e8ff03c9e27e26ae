#include "tests/kelconv/kelconv_test_support.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kelconv_test {

const std::vector<KelCharSet>& convertedCharSets() {
  static const std::vector<KelCharSet> sets = {
      KelCS_ISO_8859_1,  KelCS_ISO_8859_2,  KelCS_ISO_8859_3,  KelCS_ISO_8859_4,
      KelCS_ISO_8859_5,  KelCS_ISO_8859_6,  KelCS_ISO_8859_7,  KelCS_ISO_8859_8,
      KelCS_ISO_8859_9,  KelCS_ISO_8859_10, KelCS_ISO_8859_11, KelCS_ISO_8859_13,
      KelCS_ISO_8859_14, KelCS_ISO_8859_15, KelCS_ISO_8859_16, KelCS_WCP1250,
      KelCS_WCP1251,     KelCS_WCP1252,     KelCS_WCP1253,     KelCS_WCP1254,
      KelCS_WCP1255,     KelCS_WCP1256,     KelCS_WCP1257,     KelCS_WCP1258,
      KelCS_WCP874,      KelCS_KOI8R,       KelCS_WCP932,      KelCS_WCP936,
      KelCS_WCP949,      KelCS_WCP950,      KelCS_GB18030,     KelCS_BIG5,
      KelCS_SHIFTJIS,    KelCS_SJIS0213,    KelCS_EUC_JP,      KelCS_EUC_CN,
      KelCS_EUC_KR,      KelCS_UTF8,        KelCS_UTF16,       KelCS_UTF16ESC,
      KelCS_UTF32,
  };
  return sets;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << "cannot read " << path;
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string dataPath(const std::string& relative) {
  return std::string(KELCONV_TEST_DATA_DIR) + "/" + relative;
}

std::string goldenPath(KelCharSet id, const std::string& extension) {
  return dataPath("golden/" + kelconv::charSetName(id) + "." + extension);
}

std::string goldenText(KelCharSet id, const std::string& extension) {
  return readFile(goldenPath(id, extension));
}

std::string textModeLines(const std::string& text) {
#if defined(_WIN32)
  std::string lines;
  for (char c : text) {
    if (c == '\n') lines += '\r';
    lines += c;
  }
  return lines;
#else
  return text;
#endif
}

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

#if defined(_WIN32)
std::wstring wideName(const std::string& utf8Name) {
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8Name.c_str(), -1, nullptr, 0);
  std::wstring name(static_cast<size_t>(units), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8Name.c_str(), -1, name.data(), units);
  return name;
}
#endif

std::unique_ptr<std::FILE, FileCloser> openNamed(const std::string& utf8Name, bool forWriting) {
#if defined(_WIN32)
  return std::unique_ptr<std::FILE, FileCloser>(
      _wfopen(wideName(utf8Name).c_str(), forWriting ? L"wb" : L"rb"));
#else
  return std::unique_ptr<std::FILE, FileCloser>(std::fopen(utf8Name.c_str(), forWriting ? "wb" : "rb"));
#endif
}

}  // namespace

void writeFileNamed(const std::string& utf8Name, const std::string& contents) {
  const auto file = openNamed(utf8Name, true);
  ASSERT_NE(file, nullptr) << "cannot write " << utf8Name;
  ASSERT_EQ(std::fwrite(contents.data(), 1, contents.size(), file.get()), contents.size());
}

std::string readFileNamed(const std::string& utf8Name) {
  const auto file = openNamed(utf8Name, false);
  EXPECT_NE(file, nullptr) << "cannot read " << utf8Name;
  if (file == nullptr) return std::string();
  std::string contents;
  char chunk[4096];
  for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, file.get())) > 0;) {
    contents.append(chunk, got);
  }
  return contents;
}

void removeFileNamed(const std::string& utf8Name) {
#if defined(_WIN32)
  _wremove(wideName(utf8Name).c_str());
#else
  std::remove(utf8Name.c_str());
#endif
}

std::string charSetTestName(const testing::TestParamInfo<KelCharSet>& info) {
  return kelconv::charSetName(info.param).substr(6);
}

}  // namespace kelconv_test
