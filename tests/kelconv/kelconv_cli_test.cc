// kelconv as a user runs it: golden conversions of every character set,
// input larger than a chunk, the options, and the exit status and message
// of every error.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <cstdio>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "tests/kelconv/kelconv_test_support.h"
#include "tests/support/child_process.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

using kelconv_test::goldenPath;
using kelconv_test::goldenText;
using kelconv_test::textModeLines;
using kelulib_test::CommandResult;

CommandResult kelconv(std::vector<std::string> arguments, const std::string& input = {}) {
  arguments.insert(arguments.begin(), KELCONV_PROGRAM);
  return kelulib_test::runCommand(arguments, input);
}

std::string nameOf(KelCharSet id) { return kelconv::charSetName(id); }

// A file in the test's scratch folder, removed at the end of the test.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string& contents) : m_path(std::string(SCRATCH_DIR) + "/") {
    const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
    m_path += std::string(test->test_suite_name()) + "." + test->name() + "." +
              std::to_string(s_count++);
    std::ofstream(m_path, std::ios::binary) << contents;
  }
  ~ScratchFile() { std::remove(m_path.c_str()); }
  const std::string& path() const { return m_path; }

 private:
  static inline int s_count = 0;
  std::string m_path;
};

template <typename Char>
std::string bytesOf(const std::basic_string<Char>& units) {
  return std::string(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Char));
}

std::string repeated(const std::string& text, size_t atLeast) {
  std::string result;
  while (result.size() < atLeast) result += text;
  return result;
}

// --- Golden conversions ------------------------------------------------------------

class KelconvGoldenTest : public testing::TestWithParam<KelCharSet> {};

TEST_P(KelconvGoldenTest, ReadsTheSetIntoUtf8) {
  SKIP_WITHOUT_CONVERTER(GetParam());
  const CommandResult result = kelconv({"-f", nameOf(GetParam()), "-t", "UTF-8", goldenPath(GetParam(), "txt")});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, goldenText(GetParam(), "utf8"));
}

TEST_P(KelconvGoldenTest, WritesTheSetFromUtf8) {
  SKIP_WITHOUT_CONVERTER(GetParam());
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", nameOf(GetParam()), goldenPath(GetParam(), "utf8")});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(result.out, goldenText(GetParam(), "txt"));
}

INSTANTIATE_TEST_SUITE_P(EveryCharSet, KelconvGoldenTest,
                         testing::ValuesIn(kelconv_test::convertedCharSets()),
                         kelconv_test::charSetTestName);

// --- Input larger than a chunk -----------------------------------------------------------

// Characters of every length in UTF-8, repeated so that chunk boundaries fall
// in all their places.
const std::u16string kMixedUnits = u"a\u00E9\u20AC\u65E5\U0001F600b\U00020BB7\n";
const std::string kMixedUtf8 = "a\xC3\xA9\xE2\x82\xAC\xE6\x97\xA5\xF0\x9F\x98\x80" "b\xF0\xA0\xAE\xB7\n";
constexpr size_t kSeveralChunks = 300 * 1024;

TEST(KelconvChunks, Utf8LargerThanAChunkToUtf16) {
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "UTF-16LE"}, repeated(kMixedUtf8, kSeveralChunks));
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_TRUE(result.out == repeated(bytesOf(kMixedUnits), result.out.size()));
  EXPECT_EQ(result.out.size() % bytesOf(kMixedUnits).size(), 0u);
}

TEST(KelconvChunks, Utf16LargerThanAChunkToUtf8) {
  // 19 units a round: chunk ends fall between the units of pairs too.
  const CommandResult result =
      kelconv({"-f", "UTF-16", "-t", "UTF-8"}, repeated(bytesOf(kMixedUnits), kSeveralChunks));
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_TRUE(result.out == repeated(kMixedUtf8, result.out.size()));
}

class KelconvChunksGoldenTest : public testing::TestWithParam<KelCharSet> {};

TEST_P(KelconvChunksGoldenTest, TheSetLargerThanAChunkToUtf8) {
  SKIP_WITHOUT_CONVERTER(GetParam());
  std::string input;
  std::string expected;
  while (input.size() < kSeveralChunks) {
    input += goldenText(GetParam(), "txt");
    expected += goldenText(GetParam(), "utf8");
  }
  const CommandResult result = kelconv({"-f", nameOf(GetParam()), "-t", "UTF-8"}, input);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_TRUE(result.out == expected) << "not the golden text repeated";
}

INSTANTIATE_TEST_SUITE_P(MultiByteSets, KelconvChunksGoldenTest,
                         testing::Values(KelCS_WCP932, KelCS_SHIFTJIS, KelCS_SJIS0213,
                                         KelCS_EUC_JP, KelCS_WCP936, KelCS_EUC_CN, KelCS_GB18030,
                                         KelCS_WCP950, KelCS_BIG5, KelCS_WCP949, KelCS_EUC_KR,
                                         KelCS_UTF16ESC, KelCS_UTF32),
                         kelconv_test::charSetTestName);

TEST(KelconvChunks, ZeroBytesAreCarriedThrough) {
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "UTF-16LE"}, std::string("a\0b\0", 4));
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.out, bytesOf(std::u16string(u"a\0b\0", 4)));
}

// --- Names, files and options -----------------------------------------------------------

TEST(KelconvOptions, AcceptsNamesNumbersAndAliasesInAnyCase) {
  for (const char* from : {"KelCS_WCP1252", "kelcs_wcp1252", "1252", "windows-1252", "Cp1252"}) {
    const CommandResult result = kelconv({"-f", from, "-t", "utf8"}, "caf\xE9");
    EXPECT_EQ(result.exitStatus, 0) << from;
    EXPECT_EQ(result.out, "caf\xC3\xA9") << from;
  }
}

// A character set that KelCS_OS_DEFAULT may stand for, and a word in it.
struct OsSetSample {
  const char* locale;  // a POSIX locale whose code set it is
  unsigned codePage;
  const char* bytes;  // a word in the set
  const char* utf8;   // the same word in UTF-8
  const char* name;   // as kelconv -l names the OS set
};

const OsSetSample kOsSetSamples[] = {
    {"en_US.CP1252", 1252, "caf\xE9", "caf\xC3\xA9", "KelCS_WCP1252"},
    {"ru_RU.CP1251", 1251, "\xEC\xE8\xF0", "\xD0\xBC\xD0\xB8\xD1\x80", "KelCS_WCP1251"},  // мир
    {"ja_JP.SJIS", 932, "\x93\xFA\x96\x7B", "\xE6\x97\xA5\xE6\x9C\xAC", "KelCS_WCP932"},  // 日本
};

// Without -f or -t kelconv reads and writes `sample`'s set.
void expectOsSetIsTheDefault(const OsSetSample& sample) {
  const CommandResult toUtf8 = kelconv({"-t", "UTF-8"}, sample.bytes);
  const CommandResult fromUtf8 = kelconv({"-f", "UTF-8"}, sample.utf8);
  const CommandResult list = kelconv({"-l"});
  EXPECT_EQ(toUtf8.out, sample.utf8) << sample.codePage;
  EXPECT_EQ(fromUtf8.out, sample.bytes) << sample.codePage;
  EXPECT_NE(list.out.find(std::string("(the operating system's: ") + sample.name + ")"),
            std::string::npos)
      << sample.codePage;
}

TEST(KelconvOptions, DefaultsToTheOperatingSystemsCharacterSet) {
#if defined(_WIN32)
  // A Windows child has the ANSI code page of this process tree: under
  // Wine, the one that the LC_ALL of the test run gives (the test list runs
  // this test under several).
  for (const OsSetSample& sample : kOsSetSamples) {
    if (sample.codePage == GetACP()) return expectOsSetIsTheDefault(sample);
  }
  GTEST_SKIP() << "no sample word for the ANSI code page " << GetACP()
               << " (the runs under LC_ALL=en_US.UTF-8, ru_RU.UTF-8 and ja_JP.UTF-8 have one)";
#else
  for (const OsSetSample& sample : kOsSetSamples) {
    kelulib_test::setEnvironmentVariable("LC_ALL", sample.locale);
    expectOsSetIsTheDefault(sample);
  }
  kelulib_test::setEnvironmentVariable("LC_ALL", nullptr);
#endif
}

// Names in any script open, whatever the OS character set (on Windows the
// command line and the file names go through UTF-16).
TEST(KelconvOptions, FileNamesInAnyScript) {
  const std::string folder = std::string(SCRATCH_DIR) + "/";
  const std::string input = folder + "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \xC3\xBC.txt";  // 日本語 ü
  const std::string output = folder + "\xD0\xBC\xD0\xB8\xD1\x80 \xCE\xB1.out";  // мир α
  kelconv_test::writeFileNamed(input, "caf\xE9\n");
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", output, input});
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(kelconv_test::readFileNamed(output), "caf\xC3\xA9\n");
  // In place: the temporary beside it takes the name's place.
  const CommandResult inPlace =
      kelconv({"-f", "UTF-8", "-t", "UTF-16LE", "-o", output, output});
  EXPECT_EQ(inPlace.exitStatus, 0) << inPlace.err;
  EXPECT_EQ(kelconv_test::readFileNamed(output), bytesOf(std::u16string(u"caf\u00E9\n")));
  const CommandResult missing = kelconv({"-f", "LATIN1", "-t", "UTF-8", input + ".missing"});
  EXPECT_EQ(missing.err, textModeLines("kelconv: " + input +
                                       ".missing: cannot open: No such file or directory\n"));
  kelconv_test::removeFileNamed(input);
  kelconv_test::removeFileNamed(output);
}

TEST(KelconvOptions, WritesTheOutputFile) {
  const ScratchFile output("");
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "UTF-8", "-o", output.path()}, "\xE9");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(kelconv_test::readFile(output.path()), "\xC3\xA9");
}

TEST(KelconvOptions, EscapePolicyWritesUnitEscapes) {
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "LATIN1", "--policy", "escape"}, "5 \xE2\x82\xAC");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.out, "5 U+20AC");
}

TEST(KelconvOptions, ReplacePolicyReplacesAndSucceeds) {
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "LATIN1"}, "\xE2\x82\xAC \xC3(");
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.out, "? ?(");
  EXPECT_EQ(result.err, "");
}

TEST(KelconvOptions, BomStartsTheOutputWithAByteOrderMark) {
  EXPECT_EQ(kelconv({"-f", "LATIN1", "-t", "UTF-8", "--bom"}, "a").out, "\xEF\xBB\xBF" "a");
  EXPECT_EQ(kelconv({"-f", "LATIN1", "-t", "UTF-16", "--bom"}, "a").out,
            bytesOf(std::u16string(u"\uFEFFa")));
}

// The list's groups and order are the catalog's (charset_catalog_test.cc):
// here, that the program writes it, and that the sets kelconv builds on the
// library's converters are among those it converts.
TEST(KelconvOptions, ListShowsEverySetAndWhetherItConverts) {
  const CommandResult result = kelconv({"-l"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_NE(result.out.find(textModeLines("\n  UTF-8 (KelCS_UTF8, 65001)\n")), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find(textModeLines("\n  UTF-16BE (KelCS_UTF16BE, 1201)\n")),
            std::string::npos);
  EXPECT_LT(result.out.find("UTF-16BE"), result.out.find("Known, but not converted"));
  EXPECT_GT(result.out.find("ISO-2022-JP (KelCS_ISO_2022JP, 50220)"),
            result.out.find("Known, but not converted"));
}

TEST(KelconvOptions, HelpAndVersion) {
  const CommandResult help = kelconv({"--help"});
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.out.rfind("Usage: kelconv", 0), 0u);
  const CommandResult version = kelconv({"--version"});
  EXPECT_EQ(version.exitStatus, 0);
  EXPECT_TRUE(std::regex_match(
      version.out, std::regex(textModeLines("kelconv \\(KelULib\\) [0-9]+\\.[0-9]+\\.[0-9]+\n"))))
      << version.out;
}

TEST(KelconvOptions, ProgressForcedShowsTheBarOnStandardError) {
  const ScratchFile input("abc");
  const CommandResult result =
      kelconv({"-f", "LATIN1", "-t", "UTF-8", "--progress", input.path()});
  EXPECT_EQ(result.out, "abc");
  EXPECT_NE(result.err.find(input.path() + " ["), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("100%"), std::string::npos) << result.err;
}

TEST(KelconvOptions, NoBarWhenStandardErrorIsNoTerminal) {
  const ScratchFile input(std::string(17 * 1024 * 1024, 'a'));
  const CommandResult result = kelconv({"-f", "LATIN1", "-t", "LATIN1", input.path()});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.out.size(), 17u * 1024 * 1024);
  EXPECT_EQ(result.err, "");
}

TEST(KelconvOptions, BarForALargeFileWhenStandardErrorIsATerminal) {
#if defined(_WIN32)
  GTEST_SKIP() << "needs a pseudo-terminal (script(1)); a Windows program cannot be run on one";
#endif
  if (std::string(SCRIPT_PROGRAM).empty()) GTEST_SKIP() << "script(1) is not installed";
  const ScratchFile input(std::string(17 * 1024 * 1024, 'a'));
  // script(1) runs the command on a pseudo-terminal and copies what it shows.
  const CommandResult result = kelulib_test::runCommand(
      {SCRIPT_PROGRAM, "-qec",
       std::string(KELCONV_PROGRAM) + " -f LATIN1 -t LATIN1 -o /dev/null " + input.path(),
       "/dev/null"});
  EXPECT_EQ(result.exitStatus, 0) << result.out;
  EXPECT_NE(result.out.find("100% 17.0/17.0 MiB"), std::string::npos) << result.out;
}

// --- Errors ---------------------------------------------------------------------------

void expectUsageError(const CommandResult& result, const std::string& message) {
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            textModeLines("kelconv: " + message + "\nTry 'kelconv --help' for more information.\n"));
}

TEST(KelconvErrors, UnknownCharacterSet) {
  expectUsageError(kelconv({"-f", "EBCDIC", "-t", "UTF-8"}, "x"),
                   "unknown character set 'EBCDIC' ('kelconv -l' lists the known ones)");
}

TEST(KelconvErrors, CharacterSetWithoutAConverter) {
  expectUsageError(kelconv({"-f", "UTF-8", "-t", "iso-2022-jp"}, "x"),
                   "character set 'iso-2022-jp' (KelCS_ISO_2022JP) has no converter in this "
                   "library ('kelconv -l' lists those that have)");
}

TEST(KelconvErrors, UnknownOption) {
  expectUsageError(kelconv({"-q"}), "unknown option '-q'");
}

TEST(KelconvErrors, MissingValue) {
  expectUsageError(kelconv({"-f", "UTF-8", "-t"}), "option '-t' needs a character set");
}

TEST(KelconvErrors, UnknownPolicy) {
  expectUsageError(kelconv({"--policy", "skip"}),
                   "--policy takes replace, escape or stop, not 'skip'");
}

TEST(KelconvErrors, ByteOrderMarkForANonUnicodeTarget) {
  expectUsageError(kelconv({"-f", "UTF-8", "-t", "KOI8-R", "--bom"}),
                   "--bom needs UTF-8, UTF-16 or UTF-32 output, not KOI8-R");
}

TEST(KelconvErrors, MissingFileIsReportedAndTheOthersConverted) {
  const ScratchFile present("ok\n");
  const std::string missing = std::string(SCRATCH_DIR) + "/no-such-file";
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "UTF-8", missing, present.path()});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.out, "ok\n");
  EXPECT_EQ(result.err,
            textModeLines("kelconv: " + missing + ": cannot open: No such file or directory\n"));
}

TEST(KelconvErrors, DirectoryCannotBeRead) {
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "UTF-8", SCRATCH_DIR});
  EXPECT_EQ(result.exitStatus, 2);
#if defined(_WIN32)
  // Windows' C runtime refuses to open a folder as a file.
  EXPECT_EQ(result.err, textModeLines(std::string("kelconv: ") + SCRATCH_DIR +
                                      ": cannot open: Permission denied\n"));
#else
  EXPECT_EQ(result.err, std::string("kelconv: ") + SCRATCH_DIR + ": cannot read: Is a directory\n");
#endif
}

TEST(KelconvErrors, OutputFileCannotBeCreated) {
  const std::string output = std::string(SCRATCH_DIR) + "/no-such-folder/out";
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "UTF-8", "-o", output}, "x");
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.err, textModeLines("kelconv: " + output + ": No such file or directory\n"));
}

TEST(KelconvErrors, OutputCannotBeWritten) {
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "UTF-8", "-o", "/dev/full"}, std::string(100000, 'x'));
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.err, textModeLines("kelconv: /dev/full: cannot write: No space left on device\n"));
}

TEST(KelconvErrors, InvalidInputUnderTheStopPolicy) {
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "UTF-16LE", "--policy=stop"}, "ab\xC3(cd");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, bytesOf(std::u16string(u"ab")));
  EXPECT_EQ(result.err, textModeLines("kelconv: (standard input): offset 2: invalid or incomplete "
                                      "UTF-8 sequence 0xC3\n"));
}

TEST(KelconvErrors, UnrepresentableCharacterUnderStrictNamesTheFileAndOffset) {
  const ScratchFile first("fine\n");
  const ScratchFile second("5 \xE2\x82\xAC and more");
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "LATIN1", "--strict", first.path(), second.path()});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, "fine\n5 ");
  EXPECT_EQ(result.err, textModeLines("kelconv: " + second.path() +
                                      ": offset 2: U+20AC cannot be converted to LATIN1\n"));
}

TEST(KelconvErrors, StrictOverridesTheEscapePolicy) {
  const CommandResult result =
      kelconv({"-f", "UTF-8", "-t", "LATIN1", "--policy", "escape", "--strict"}, "x\xC4\x80");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, "x");
  EXPECT_EQ(result.err, textModeLines("kelconv: (standard input): offset 1: U+0100 cannot be "
                                      "converted to LATIN1\n"));
}

TEST(KelconvErrors, IncompleteSequenceAtTheEndUnderStrict) {
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "UTF-8", "--strict"}, "abc\xE2\x82");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, "abc");
  EXPECT_EQ(result.err, textModeLines("kelconv: (standard input): offset 3: invalid or incomplete "
                                      "UTF-8 sequence 0xE2 0x82\n"));
}

TEST(KelconvErrors, UnreadableFileOutranksAStop) {
  const std::string missing = std::string(SCRATCH_DIR) + "/no-such-file";
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "LATIN1", "--strict", missing, "-"},
                                       "\xE2\x82\xAC");
  EXPECT_EQ(result.exitStatus, 2);
}

}  // namespace
