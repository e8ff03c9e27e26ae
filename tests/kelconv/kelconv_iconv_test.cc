// kelconv against glibc's iconv on real text: the translated country
// names of Debian's iso-codes (see data/README.md), each in the character
// sets of its script that both convert. Both directions against UTF-8, and
// `-f X -t Y` for every pair of sets of a text: kelconv writes the bytes
// iconv writes, and reads them as iconv reads them. iconv's answers are the
// recorded ones (tests/support/oracle_answers.h); its outputs are kept as
// digests, so kelconv's output is compared with them and then stands for
// them.
//
// The library's tables and glibc's agree on every character of these texts.
// Where the tables differ elsewhere (see the README's character-set notes),
// the texts do not touch it; one set is left out because iconv itself
// changes the text:
//   - Windows-1258: iconv composes a Vietnamese base letter and its tone
//     mark into one character when it reads, and splits them when it
//     writes; the library maps byte for byte.
// The escaped UTF-16 form is the library's own and has no iconv name.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/kelconv/kelconv_test_support.h"
#include "tests/support/child_process.h"
#include "tests/support/iconv_oracle.h"

namespace {

using kelulib_test::CommandResult;
using kelulib_test::IconvConverter;
using kelulib_test::runCommand;

struct DifferentialCase {
  const char* kelconvName;
  const char* language;  // data/text/LANGUAGE.txt
  const char* iconvName;
};

void PrintTo(const DifferentialCase& c, std::ostream* os) { *os << c.kelconvName; }

const DifferentialCase kCases[] = {
    {"KelCS_ISO_8859_1", "fr", "ISO-8859-1"},
    {"KelCS_ISO_8859_2", "pl", "ISO-8859-2"},
    {"KelCS_ISO_8859_3", "mt", "ISO-8859-3"},
    {"KelCS_ISO_8859_4", "lv", "ISO-8859-4"},
    {"KelCS_ISO_8859_5", "ru", "ISO-8859-5"},
    {"KelCS_ISO_8859_6", "ar", "ISO-8859-6"},
    {"KelCS_ISO_8859_7", "el", "ISO-8859-7"},
    {"KelCS_ISO_8859_8", "he", "ISO-8859-8"},
    {"KelCS_ISO_8859_9", "tr", "ISO-8859-9"},
    {"KelCS_ISO_8859_10", "is", "ISO-8859-10"},
    {"KelCS_ISO_8859_11", "th", "ISO-8859-11"},
    {"KelCS_ISO_8859_13", "lt", "ISO-8859-13"},
    {"KelCS_ISO_8859_14", "cy", "ISO-8859-14"},
    {"KelCS_ISO_8859_15", "et", "ISO-8859-15"},
    {"KelCS_ISO_8859_16", "ro", "ISO-8859-16"},
    {"KelCS_WCP1250", "cs", "CP1250"},
    {"KelCS_WCP1251", "uk", "CP1251"},
    {"KelCS_WCP1252", "de", "CP1252"},
    {"KelCS_WCP1253", "el", "CP1253"},
    {"KelCS_WCP1254", "tr", "CP1254"},
    {"KelCS_WCP1255", "he", "CP1255"},
    {"KelCS_WCP1256", "fa", "CP1256"},
    {"KelCS_WCP1257", "lv", "CP1257"},
    {"KelCS_WCP874", "th", "CP874"},
    {"KelCS_KOI8R", "ru", "KOI8-R"},
    {"KelCS_WCP932", "ja", "CP932"},
    {"KelCS_SHIFTJIS", "ja", "SHIFT_JIS"},
    {"KelCS_SJIS0213", "ja", "SHIFT_JISX0213"},
    {"KelCS_EUC_JP", "ja", "EUC-JP"},
    {"KelCS_WCP936", "zh_CN", "CP936"},
    {"GBK", "zh_CN", "GBK"},
    {"CP936", "zh_CN", "CP936"},
    {"KelCS_EUC_CN", "zh_CN", "EUC-CN"},
    {"KelCS_GB18030", "zh_CN", "GB18030"},
    {"KelCS_WCP950", "zh_TW", "CP950"},
    {"KelCS_BIG5", "zh_TW", "BIG5"},
    {"KelCS_WCP949", "ko", "CP949"},
    {"KelCS_EUC_KR", "ko", "EUC-KR"},
    {"US-ASCII", "fr", "ANSI_X3.4-1968"},
    {"KelCS_UTF8", "ja", "UTF-8"},
    {"KelCS_UTF16", "ko", "UTF-16LE"},
    {"UTF-16BE", "ko", "UTF-16BE"},
    {"UTF-16", "el", "UTF-16"},
    {"KelCS_UTF32", "zh_TW", "UTF-32LE"},
    {"UTF-32BE", "ar", "UTF-32BE"},
    {"UTF-32", "th", "UTF-32"},
};

std::string readText(const std::string& language) {
  return kelconv_test::readFile(kelconv_test::dataPath("text/" + language + ".txt"));
}

// The lines of `text` that iconv can write in every set of `iconvNames`.
std::string linesIn(const std::string& text, const std::vector<std::string>& iconvNames) {
  std::vector<std::unique_ptr<IconvConverter>> converters;
  for (const std::string& name : iconvNames) {
    converters.push_back(std::make_unique<IconvConverter>("UTF-8", name.c_str()));
  }
  std::istringstream lines(text);
  std::string kept;
  for (std::string line; std::getline(lines, line);) {
    bool writable = true;
    for (auto& converter : converters) writable = writable && converter->accepts(line);
    if (writable) kept += line + "\n";
  }
  return kept;
}

CommandResult run(const std::string& program, const std::string& from, const std::string& to,
                  const std::string& input) {
  return runCommand({program, "-f", from, "-t", to}, input);
}

class KelconvIconvTest : public testing::TestWithParam<DifferentialCase> {};

TEST_P(KelconvIconvTest, AgreesBothWaysOnRealText) {
  const DifferentialCase& c = GetParam();
  const std::string text = linesIn(readText(c.language), {c.iconvName});
  ASSERT_GT(text.size(), 500u);

  const CommandResult written = run(KELCONV_PROGRAM, "UTF-8", c.kelconvName, text);
  EXPECT_EQ(written.exitStatus, 0) << written.err;
  ASSERT_TRUE(IconvConverter("UTF-8", c.iconvName).writes(text, written.out))
      << "kelconv writes other bytes than iconv";
  // From here on kelconv's bytes are iconv's.
  const std::string& fromIconv = written.out;

  const CommandResult read = run(KELCONV_PROGRAM, c.kelconvName, "UTF-8", fromIconv);
  EXPECT_EQ(read.exitStatus, 0) << read.err;
  EXPECT_TRUE(IconvConverter(c.iconvName, "UTF-8").writes(fromIconv, read.out))
      << "kelconv reads the bytes otherwise than iconv";
  EXPECT_TRUE(read.out == text);
}

INSTANTIATE_TEST_SUITE_P(RealText, KelconvIconvTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<DifferentialCase>& info) {
                           std::string name;
                           for (const char c : std::string(info.param.kelconvName)) {
                             if (std::isalnum(static_cast<unsigned char>(c))) name += c;
                           }
                           return name;
                         });

// Every ordered pair of the sets of a text (UTF-8 among them):
// kelconv -f X -t Y writes what iconv -f X -t Y writes, from what iconv
// writes in X (which kelconv's output is, once checked).
class KelconvIconvPairsTest : public testing::TestWithParam<std::string> {};

TEST_P(KelconvIconvPairsTest, EveryPairOfSetsOfTheText) {
  std::vector<DifferentialCase> sets = {{"UTF-8", GetParam().c_str(), "UTF-8"}};
  std::vector<std::string> iconvNames;
  for (const DifferentialCase& c : kCases) {
    if (c.language == GetParam() && std::string(c.iconvName) != "UTF-8") {
      sets.push_back(c);
      iconvNames.push_back(c.iconvName);
    }
  }
  const std::string text = linesIn(readText(GetParam()), iconvNames);
  ASSERT_GT(text.size(), 200u);
  size_t pairs = 0;
  for (const DifferentialCase& from : sets) {
    const CommandResult input = run(KELCONV_PROGRAM, "UTF-8", from.kelconvName, text);
    ASSERT_EQ(input.exitStatus, 0) << input.err;
    ASSERT_TRUE(IconvConverter("UTF-8", from.iconvName).writes(text, input.out))
        << "kelconv writes other bytes than iconv in " << from.iconvName;
    for (const DifferentialCase& to : sets) {
      if (&from == &to) continue;
      const CommandResult got = run(KELCONV_PROGRAM, from.kelconvName, to.kelconvName, input.out);
      EXPECT_EQ(got.exitStatus, 0) << got.err;
      EXPECT_TRUE(IconvConverter(from.iconvName, to.iconvName).writes(input.out, got.out))
          << "kelconv -f " << from.kelconvName << " -t " << to.kelconvName
          << " writes other bytes than iconv -f " << from.iconvName << " -t " << to.iconvName;
      ++pairs;
    }
  }
  EXPECT_EQ(pairs, sets.size() * (sets.size() - 1));
}

std::vector<std::string> languagesWithSeveralSets() {
  std::map<std::string, int> count;
  for (const DifferentialCase& c : kCases) ++count[c.language];
  std::vector<std::string> languages;
  for (const auto& [language, sets] : count) {
    if (sets >= 2) languages.push_back(language);
  }
  return languages;
}

INSTANTIATE_TEST_SUITE_P(RealText, KelconvIconvPairsTest,
                         testing::ValuesIn(languagesWithSeveralSets()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           return info.param;
                         });

}  // namespace
