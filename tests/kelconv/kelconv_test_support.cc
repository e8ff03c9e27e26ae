#include "tests/kelconv/kelconv_test_support.h"

#include <fstream>
#include <iterator>

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

std::string charSetTestName(const testing::TestParamInfo<KelCharSet>& info) {
  return kelconv::charSetName(info.param).substr(6);
}

}  // namespace kelconv_test
