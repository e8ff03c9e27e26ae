#include "platform/os_code_page.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace {

struct LocaleRow {
  const char* locale;
  int32_t codePage;
};

// Test names from the locale: letters and digits kept, the rest as '_'.
std::string localeTestName(const testing::TestParamInfo<LocaleRow>& info) {
  std::string name = "L" + std::to_string(info.index) + "_";
  for (const char* p = info.param.locale; *p != '\0'; ++p) {
    name += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
  }
  return name;
}

class CodePageFromLocaleName : public testing::TestWithParam<LocaleRow> {};

TEST_P(CodePageFromLocaleName, MapsCodesetToCodePage) {
  EXPECT_EQ(kelulib::codePageFromLocaleName(GetParam().locale), GetParam().codePage)
      << GetParam().locale;
}

INSTANTIATE_TEST_SUITE_P(
    Codesets, CodePageFromLocaleName,
    testing::Values(
        LocaleRow{"en_US.UTF-8", 65001}, LocaleRow{"C.utf8", 65001}, LocaleRow{"de_DE.utf_8", 65001},
        LocaleRow{"de_DE.ISO-8859-1", 28591}, LocaleRow{"de_DE.ISO-8859-15@euro", 28605},
        LocaleRow{"pl_PL.ISO8859-2", 28592}, LocaleRow{"th_TH.ISO-8859-11", 28601},
        LocaleRow{"lt_LT.ISO-8859-13", 28603}, LocaleRow{"ro_RO.ISO-8859-16", 28606},
        LocaleRow{"xx.ISO-8859-10", 28600}, LocaleRow{"en_US.CP1252", 1252},
        LocaleRow{"en_US.WINDOWS-1250", 1250}, LocaleRow{"vi_VN.cp1258", 1258},
        LocaleRow{"th_TH.CP874", 874}, LocaleRow{"ru_RU.KOI8-R", 20866},
        LocaleRow{"ja_JP.eucJP", 51932}, LocaleRow{"ko_KR.EUC-KR", 51949},
        LocaleRow{"zh_CN.eucCN", 51936}, LocaleRow{"zh_CN.GB2312", 51936},
        LocaleRow{"zh_CN.GBK", 936}, LocaleRow{"zh_CN.CP936", 936},
        LocaleRow{"zh_CN.GB18030", 54936}, LocaleRow{"zh_TW.BIG5", 950},
        LocaleRow{"ja_JP.SJIS", 932}, LocaleRow{"ja_JP.Shift_JIS", 932},
        LocaleRow{"en_US.CP437", 437}, LocaleRow{"en_US.cp65001", 65001}),
    localeTestName);

INSTANTIATE_TEST_SUITE_P(
    NoKnownCodeset, CodePageFromLocaleName,
    testing::Values(LocaleRow{"C", 20127}, LocaleRow{"POSIX", 20127}, LocaleRow{"", 20127},
                    LocaleRow{"en_US", 20127}, LocaleRow{"en_US.", 20127},
                    LocaleRow{"en_US.ISO-8859-12", 20127}, LocaleRow{"en_US.KLINGON", 20127},
                    LocaleRow{"en_US.CP", 20127}, LocaleRow{"en_US.CP12a", 20127},
                    LocaleRow{"de_DE@euro", 20127}),
    localeTestName);

TEST(CodePageFromLocaleNameNull, NullNameIsAscii) {
  EXPECT_EQ(kelulib::codePageFromLocaleName(nullptr), kelulib::kAsciiCodePage);
  EXPECT_EQ(kelulib::kAsciiCodePage, 20127);
}

}  // namespace
