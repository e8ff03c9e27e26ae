// iconv's habits in kelconv: UTF-16 and UTF-32 with and without a
// byte-order mark, the big-endian forms, US-ASCII, GBK read whole, -c and
// the //IGNORE and //TRANSLIT suffixes with their exit statuses,
// --from-code= and --to-code=, -s, and messages that name a set as it was
// typed. Expected bytes come from the encodings' definitions and from
// glibc's iconv, run beside where it agrees (kelconv_iconv_test.cc compares
// whole texts).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "tests/kelconv/kelconv_test_support.h"
#include "tests/support/child_process.h"

namespace {

using kelulib_test::CommandResult;

CommandResult kelconv(std::vector<std::string> arguments, const std::string& input = {}) {
  arguments.insert(arguments.begin(), KELCONV_PROGRAM);
  return kelulib_test::runCommand(arguments, input);
}

template <typename Char>
std::string bytesOf(const std::basic_string<Char>& units) {
  return std::string(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Char));
}

std::string reversedUnits(std::string bytes, size_t unit) {
  for (size_t at = 0; at + unit <= bytes.size(); at += unit) {
    std::reverse(bytes.begin() + at, bytes.begin() + at + unit);
  }
  return bytes;
}

const std::u16string kUnits = u"a\u00E9\U0001F600";
const std::u32string kValues = U"a\u00E9\U0001F600";
const std::string kUtf8 = "a\xC3\xA9\xF0\x9F\x98\x80";
// This machine's order is little-endian (the tests of byte orders say so).
const std::string kUtf16Le = bytesOf(kUnits);
const std::string kUtf16Be = reversedUnits(kUtf16Le, 2);
const std::string kUtf32Le = bytesOf(kValues);
const std::string kUtf32Be = reversedUnits(kUtf32Le, 4);

void expectConverts(const std::vector<std::string>& arguments, const std::string& input,
                    const std::string& expected, int status = 0) {
  const CommandResult result = kelconv(arguments, input);
  EXPECT_EQ(result.exitStatus, status) << result.err;
  EXPECT_TRUE(result.out == expected) << testing::PrintToString(result.out);
}

// --- Byte orders and marks ---------------------------------------------------------------

TEST(KelconvByteOrder, TheMachineIsLittleEndian) {
  const uint16_t probe = 1;
  ASSERT_EQ(*reinterpret_cast<const unsigned char*>(&probe), 1) << "these tests expect it";
}

TEST(KelconvByteOrder, BigAndLittleEndianFormsBothWays) {
  expectConverts({"-f", "UTF-8", "-t", "UTF-16BE"}, kUtf8, kUtf16Be);
  expectConverts({"-f", "UTF-8", "-t", "UTF-16LE"}, kUtf8, kUtf16Le);
  expectConverts({"-f", "UTF-8", "-t", "UTF-32BE"}, kUtf8, kUtf32Be);
  expectConverts({"-f", "UTF-8", "-t", "utf_32le"}, kUtf8, kUtf32Le);
  expectConverts({"-f", "UTF-16BE", "-t", "UTF-8"}, kUtf16Be, kUtf8);
  expectConverts({"-f", "KelCS_UTF16BE", "-t", "UTF-8"}, kUtf16Be, kUtf8);
  expectConverts({"-f", "12001", "-t", "UTF-8"}, kUtf32Be, kUtf8);
  expectConverts({"-f", "UTF-32BE", "-t", "UTF-16BE"}, kUtf32Be, kUtf16Be);
}

TEST(KelconvByteOrder, BigEndianInputCutAnywhereInLargeInput) {
  std::string input;
  std::string expected;
  while (input.size() < 300 * 1024 + 1) {  // an odd number of chunks' worth
    input += kUtf16Be;
    expected += kUtf8;
  }
  input += kUtf16Be.substr(0, 3);  // and an incomplete unit at the end
  expectConverts({"-f", "UTF-16BE", "-t", "UTF-8"}, input, expected + "a\xEF\xBF\xBD");
}

TEST(KelconvByteOrder, UnmarkedForms) {
  // UTF-16LE and UTF-16BE never read or write a mark: U+FEFF is a character.
  expectConverts({"-f", "UTF-16LE", "-t", "UTF-8"},
                 std::string("\xFF\xFE"
                             "a\0",
                             4),
                 "\xEF\xBB\xBF"
                 "a");
  expectConverts({"-f", "UTF-8", "-t", "UTF-16BE"}, "\xEF\xBB\xBF", "\xFE\xFF");
}

TEST(KelconvByteOrder, AMarkChoosesTheOrderOfUtf16AndIsNotCopied) {
  expectConverts({"-f", "UTF-16", "-t", "UTF-8"}, "\xFE\xFF" + kUtf16Be, kUtf8);
  expectConverts({"-f", "UTF-16", "-t", "UTF-8"}, "\xFF\xFE" + kUtf16Le, kUtf8);
  expectConverts({"-f", "UTF-16", "-t", "UTF-8"}, kUtf16Le, kUtf8);  // none: the machine's
  // A second mark is a character.
  expectConverts({"-f", "UTF-16", "-t", "UTF-8"}, std::string("\xFE\xFF\xFE\xFF\0a", 6),
                 "\xEF\xBB\xBF"
                 "a");
  // Shorter than a mark.
  expectConverts({"-f", "UTF-16", "-t", "UTF-8"}, "\xFE", "\xEF\xBF\xBD");
  expectConverts({"-f", "UTF-16", "-t", "UTF-8"}, "", "");
}

TEST(KelconvByteOrder, AMarkChoosesTheOrderOfUtf32) {
  expectConverts({"-f", "UTF-32", "-t", "UTF-8"}, std::string("\0\0\xFE\xFF", 4) + kUtf32Be, kUtf8);
  expectConverts({"-f", "UTF-32", "-t", "UTF-8"}, std::string("\xFF\xFE\0\0", 4) + kUtf32Le, kUtf8);
  expectConverts({"-f", "UTF-32", "-t", "UTF-8"}, kUtf32Le, kUtf8);
}

TEST(KelconvByteOrder, EachFileHasItsOwnMark) {
  const std::string first = std::string(SCRATCH_DIR) + "/marks.first";
  const std::string second = std::string(SCRATCH_DIR) + "/marks.second";
  std::ofstream(first, std::ios::binary) << "\xFE\xFF" + kUtf16Be;
  std::ofstream(second, std::ios::binary) << "\xFF\xFE" + kUtf16Le;
  expectConverts({"-f", "UTF-16", "-t", "UTF-8", first, second}, "", kUtf8 + kUtf8);
  std::remove(first.c_str());
  std::remove(second.c_str());
}

TEST(KelconvByteOrder, Utf16AndUtf32OutputStartsWithAMarkInTheMachinesOrder) {
  expectConverts({"-f", "UTF-8", "-t", "UTF-16"}, kUtf8, "\xFF\xFE" + kUtf16Le);
  expectConverts({"-f", "UTF-8", "-t", "UTF-32"}, kUtf8, std::string("\xFF\xFE\0\0", 4) + kUtf32Le);
  // Whatever the text starts with, as iconv writes it; none for no text.
  expectConverts({"-f", "UTF-8", "-t", "UTF-16"}, "\xEF\xBB\xBF", "\xFF\xFE\xFF\xFE");
  expectConverts({"-f", "UTF-8", "-t", "UTF-16"}, "", "");
}

TEST(KelconvByteOrder, TheOffsetOfAStopCountsTheMark) {
  const CommandResult result =
      kelconv({"-f", "UTF-16", "-t", "LATIN1", "--strict"},
              "\xFE\xFF" + reversedUnits(bytesOf(std::u16string(u"ab\u20AC")), 2));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, "ab");
  EXPECT_EQ(result.err,
            kelconv_test::textModeLines(
                "kelconv: (standard input): offset 6: U+20AC cannot be converted to LATIN1\n"));
}

// --- US-ASCII -------------------------------------------------------------------------------

TEST(KelconvAscii, ItsNamesAndItsRange) {
  for (const char* name : {"ASCII", "US-ASCII", "ANSI_X3.4-1968", "ansi_x3.4-1968"}) {
    expectConverts({"-f", "UTF-8", "-t", name}, "plain \x7F", "plain \x7F");
    expectConverts({"-f", name, "-t", "UTF-8"}, "plain \x7F", "plain \x7F");
  }
}

TEST(KelconvAscii, WhatItLacksFollowsThePolicy) {
  expectConverts({"-f", "UTF-8", "-t", "ASCII"}, "caf\xC3\xA9", "caf?");
  expectConverts({"-f", "UTF-8", "-t", "ASCII", "--policy=escape"}, "caf\xC3\xA9", "cafU+00E9");
  expectConverts({"-f", "ASCII", "-t", "UTF-8"}, "caf\xE9", "caf\xEF\xBF\xBD");
  const CommandResult result = kelconv({"-f", "ascii", "-t", "UTF-8", "--strict"}, "caf\xE9");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(
      result.err,
      kelconv_test::textModeLines(
          "kelconv: (standard input): offset 3: invalid or incomplete ascii sequence 0xE9\n"));
}

// --- GBK ------------------------------------------------------------------------------------

TEST(KelconvGbk, ReadsEveryGbkPair) {
  // 0x81 0x80 is U+4E90 in GBK (code page 936 writes it so), but code page
  // 936's byte classes take 0x80 for no trail byte.
  for (const char* name : {"GBK", "CP936", "MS936", "windows-936"}) {
    expectConverts({"-f", name, "-t", "UTF-8"}, "\x81\x80\xB0\xA1", "\xE4\xBA\x90\xE5\x95\x8A");
  }
  // The library's name keeps the library's converter as it is.
  expectConverts({"-f", "KelCS_WCP936", "-t", "UTF-8"}, "\x81\x80", "\xEF\xBF\xBD\xE2\x82\xAC");
}

TEST(KelconvGbk, ReadsBackWhatItWrites) {
  // Code page 936 writes U+4E90 as 0x81 0x80 and the euro sign as 0x80.
  const std::string text = "\xE4\xBA\x90 \xE2\x82\xAC \xE5\x95\x8A";
  const CommandResult written = kelconv({"-f", "UTF-8", "-t", "GBK"}, text);
  EXPECT_EQ(written.out, "\x81\x80 \x80 \xB0\xA1");
  expectConverts({"-f", "GBK", "-t", "UTF-8"}, written.out, text);
}

// --- -c, //IGNORE, //TRANSLIT -------------------------------------------------------------

TEST(KelconvOmitting, MinusCLeavesOutWhatCannotBeConvertedAndEndsWithStatusOne) {
  const CommandResult result = kelconv({"-c", "-f", "UTF-8", "-t", "LATIN1"},
                                       "a\xFF"
                                       "b\xE2\x82\xAC"
                                       "c");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, "abc");
  EXPECT_EQ(result.err,
            kelconv_test::textModeLines(
                "kelconv: (standard input): 2 characters could not be converted and were "
                "left out\n"));
}

TEST(KelconvOmitting, NothingLeftOutIsSuccess) {
  expectConverts({"-c", "-f", "UTF-8", "-t", "LATIN1"}, "caf\xC3\xA9", "caf\xE9", 0);
}

TEST(KelconvOmitting, SilentKeepsTheStatusAndDropsTheWarning) {
  for (const std::vector<std::string>& flags :
       {std::vector<std::string>{"-c", "-s"}, {"-cs"}, {"-c", "--silent"}}) {
    std::vector<std::string> arguments = flags;
    arguments.insert(arguments.end(), {"-f", "UTF-8", "-t", "LATIN1"});
    const CommandResult result = kelconv(arguments, "a\xE2\x82\xAC");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "a");
    EXPECT_EQ(result.err, "");
  }
}

TEST(KelconvOmitting, IgnoreSuffixIsMinusC) {
  const CommandResult result = kelconv({"-f", "UTF-8", "-t", "latin1//ignore"},
                                       "a\xE2\x82\xAC"
                                       "b");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.out, "ab");
}

TEST(KelconvTransliteration, WritesTheClosestTextElseAQuestionMark) {
  // glibc's iconv writes the same for these under the C.UTF-8 locale.
  expectConverts({"-f", "UTF-8", "-t", "ASCII//TRANSLIT"},
                 "\xE2\x80\x9Cna\xC3\xAFve\xE2\x80\x9D \xE2\x80\x93 caf\xC3\xA9\xE2\x80\xA6 "
                 "5\xC2\xA0\xE2\x82\xAC \xE4\xB8\xAD",
                 "\"naive\" - cafe... 5 EUR ?");
  // Only what the target lacks is transliterated.
  expectConverts({"-f", "UTF-8", "-t", "LATIN1//TRANSLIT"}, "caf\xC3\xA9 \xC5\x91", "caf\xE9 o");
}

TEST(KelconvTransliteration, WithIgnoreWhatNoTextIsKnownForIsLeftOut) {
  for (const char* target : {"ASCII//TRANSLIT//IGNORE", "ascii//IGNORE//translit"}) {
    const CommandResult result =
        kelconv({"-f", "UTF-8", "-t", target}, "caf\xC3\xA9 \xE4\xB8\xAD!");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.out, "cafe !");
  }
  const CommandResult strict =
      kelconv({"-f", "UTF-8", "-t", "ASCII//TRANSLIT", "--strict"}, "caf\xC3\xA9 \xE4\xB8\xAD!");
  EXPECT_EQ(strict.exitStatus, 1);
  EXPECT_EQ(strict.out, "cafe ");
}

TEST(KelconvSuffixes, AreCheckedAndBelongToTheTarget) {
  expectConverts({"-f", "UTF-8//", "-t", "LATIN1//"}, "ab", "ab");
  const CommandResult unknown = kelconv({"-f", "UTF-8", "-t", "LATIN1//FAST"}, "ab");
  EXPECT_EQ(unknown.exitStatus, 2);
  EXPECT_EQ(unknown.err, kelconv_test::textModeLines(
                             "kelconv: unknown suffix '//FAST' in 'LATIN1//FAST' (TRANSLIT and "
                             "IGNORE are known)\nTry 'kelconv --help' for more information.\n"));
  const CommandResult source = kelconv({"-f", "UTF-8//IGNORE", "-t", "LATIN1"}, "ab");
  EXPECT_EQ(source.exitStatus, 2);
  EXPECT_EQ(source.err, kelconv_test::textModeLines(
                            "kelconv: '//IGNORE' applies to the output's set (-t), not to "
                            "'UTF-8//IGNORE'\nTry 'kelconv --help' for more information.\n"));
  // A suffix alone: the operating system's set (on Windows the ANSI code
  // page, which under en_US is Windows-1252, where U+201C is 0x93).
#if defined(_WIN32)
  kelulib_test::setEnvironmentVariable("LC_ALL", "en_US.UTF-8");
  const std::string quoteInTheSystemsSet = "\x93";
#else
  kelulib_test::setEnvironmentVariable("LC_ALL", "C.UTF-8");
  const std::string quoteInTheSystemsSet = "\xE2\x80\x9C";
#endif
  const CommandResult alone = kelconv({"-f", "UTF-8", "-t", "//TRANSLIT"}, "\xE2\x80\x9C");
  kelulib_test::setEnvironmentVariable("LC_ALL", nullptr);
  EXPECT_EQ(alone.exitStatus, 0);
  EXPECT_EQ(alone.out, quoteInTheSystemsSet);
}

// --- Names as typed ---------------------------------------------------------------------------

TEST(KelconvNames, LongOptionsWithEqualsSigns) {
  expectConverts({"--from-code=latin1", "--to-code=utf-8"}, "caf\xE9", "caf\xC3\xA9");
}

TEST(KelconvNames, MessagesNameTheSetAsTyped) {
  const CommandResult invalid = kelconv({"-f", "utf8", "-t", "Latin-1", "--strict"}, "\xC3(");
  EXPECT_EQ(invalid.err,
            kelconv_test::textModeLines(
                "kelconv: (standard input): offset 0: invalid or incomplete utf8 sequence 0xC3\n"));
  const CommandResult lacking =
      kelconv({"-f", "utf8", "-t", "Latin-1//TRANSLIT", "--strict"}, "\xE4\xB8\xAD");
  EXPECT_EQ(lacking.err,
            kelconv_test::textModeLines(
                "kelconv: (standard input): offset 0: U+4E2D cannot be converted to Latin-1\n"));
}

}  // namespace
