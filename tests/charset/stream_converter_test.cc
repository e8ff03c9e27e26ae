// KelStreamConverter and its C functions: the same output however the input
// is cut, for every converter (against the whole text converted by the
// converters in one call, and against the golden files that Python's codecs
// made); zero characters; surrogate pairs cut between pieces; the policies
// and handlers with the offset of what could not be converted; the C
// interface; a converter of the program's own. Expected bytes come from the
// golden files, the encodings' definitions (u"" and U"" literals) or the
// converter contract.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/charset_sets.h"

namespace {

class StringSink : public KelStreamSink {
 public:
  bool write(const void* bytes, size_t size) override {
    text.append(static_cast<const char*>(bytes), size);
    ++writes;
    return true;
  }
  std::string text;
  size_t writes = 0;
};

struct Converted {
  std::string output;
  KelStreamStatus status;
  KelStreamFailure failure;
  uint64_t skipped;
};

struct Settings {
  KelCharSet from;
  KelCharSet to;
  KelStreamPolicy policy = KEL_STREAM_REPLACE;
};

// Converts `pieces`, each one convert(), as one text.
Converted convertPieces(const Settings& how, const std::vector<std::string>& pieces) {
  StringSink sink;
  KelStreamConverter converter(how.from, how.to, how.policy, sink);
  for (const std::string& piece : pieces) {
    if (converter.convert(piece.data(), piece.size()) != KEL_STREAM_OK) break;
  }
  converter.finish();
  return {sink.text, converter.status(), converter.failure(), converter.skippedCount()};
}

std::string convert(const Settings& how, const std::string& input) {
  return convertPieces(how, {input}).output;
}

std::string convertCut(const Settings& how, const std::string& input, size_t at) {
  return convertPieces(how, {input.substr(0, at), input.substr(at)}).output;
}

std::string convertBytewise(const Settings& how, const std::string& input) {
  std::vector<std::string> pieces;
  for (const char byte : input) pieces.emplace_back(1, byte);
  return convertPieces(how, pieces).output;
}

// `input` cut into pieces of random sizes up to `largest` bytes.
std::vector<std::string> randomPieces(const std::string& input, size_t largest, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<std::string> pieces;
  for (size_t at = 0; at < input.size();) {
    const size_t size = std::min(input.size() - at, 1 + random() % largest);
    pieces.push_back(input.substr(at, size));
    at += size;
  }
  return pieces;
}

// Expects `input` to convert to `expected` whole, cut in two at every
// position, and byte by byte.
void expectSameAtEveryCut(const Settings& how, const std::string& input,
                          const std::string& expected) {
  EXPECT_EQ(convert(how, input), expected) << "whole";
  for (size_t at = 0; at <= input.size(); ++at) {
    if (convertCut(how, input, at) != expected) {
      ADD_FAILURE() << "cut after byte " << at;
      return;
    }
  }
  EXPECT_EQ(convertBytewise(how, input), expected) << "byte by byte";
}

template <typename Char>
std::string bytesOf(const std::basic_string<Char>& units) {
  return std::string(reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Char));
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << "cannot read " << path;
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string goldenText(KelCharSet id, const std::string& extension) {
  return readFile(std::string(KELULIB_GOLDEN_DIR) + "/" + KelCharSetToString(id) + "." + extension);
}

// Every character set with a converter of its own.
std::vector<KelCharSet> everyConverter() {
  std::vector<KelCharSet> sets = {KelCS_UTF8, KelCS_UTF16, KelCS_UTF16ESC, KelCS_UTF32};
  sets.insert(sets.end(), std::begin(kelulib_test::kTableDrivenCharSets),
              std::end(kelulib_test::kTableDrivenCharSets));
  return sets;
}

size_t unitOf(KelCharSet id) { return id == KelCS_UTF16 ? 2 : id == KelCS_UTF32 ? 4 : 1; }

// The text converted by the two converters in one call each, under
// ILLCHAR_REPLACE: what the stream must write for a text without zero
// characters whose UTF-16 holds no high surrogate without its low one.
std::string wholeConversion(KelCharSet from, KelCharSet to, const std::string& input) {
  KelCharSetConverter* decoder = KelCharSetConverter::getConverter(from);
  KelCharSetConverter* encoder = KelCharSetConverter::getConverter(to);
  const size_t unit = unitOf(from);
  std::string terminated = input + std::string(4, '\0');
  std::vector<wchar16> units(input.size() + 2);
  const size_t count =
      decoder->toUTF16(units.data(), terminated.data(), input.size() + 1, ILLCHAR_REPLACE, nullptr,
                       static_cast<int>(input.size() / unit));
  const size_t room = count * encoder->getMaxUnitSize();
  std::string output(room + 4, '\0');
  const size_t written =
      encoder->fromUTF16(&output[0], units.data(), room, ILLCHAR_REPLACE, nullptr);
  output.resize(written);
  return output;
}

std::string setName(const testing::TestParamInfo<KelCharSet>& info) {
  return std::string(KelCharSetToString(info.param)).substr(6);
}

// --- Every converter, every cut --------------------------------------------------------

class StreamEveryConverterTest : public testing::TestWithParam<KelCharSet> {};

// The first `bytes` of a golden text, cut after a whole line.
std::string linesOf(const std::string& text, size_t bytes, size_t unit) {
  const std::string newline = unit == 1   ? "\n"
                              : unit == 2 ? std::string("\n\0", 2)
                                          : std::string("\n\0\0\0", 4);
  size_t end = text.size();
  for (size_t at = 0; at < text.size(); at += unit) {
    if (text.compare(at, unit, newline) == 0 && at + unit >= bytes) {
      end = at + unit;
      break;
    }
  }
  return text.substr(0, end);
}

TEST_P(StreamEveryConverterTest, ReadsItsTextAsTheConverterDoesAtEveryCut) {
  const KelCharSet id = GetParam();
  const std::string text = goldenText(id, "txt");
  EXPECT_EQ(convert({id, KelCS_UTF8}, text), goldenText(id, "utf8"));
  const std::string shortText = linesOf(text, 120, unitOf(id));
  expectSameAtEveryCut({id, KelCS_UTF8}, shortText, wholeConversion(id, KelCS_UTF8, shortText));
  expectSameAtEveryCut({id, KelCS_UTF16}, shortText, wholeConversion(id, KelCS_UTF16, shortText));
}

TEST_P(StreamEveryConverterTest, WritesItsTextAsTheConverterDoesAtEveryCut) {
  const KelCharSet id = GetParam();
  const std::string text = goldenText(id, "utf8");
  EXPECT_EQ(convert({KelCS_UTF8, id}, text), goldenText(id, "txt"));
  const std::string shortText = linesOf(text, 120, 1);
  expectSameAtEveryCut({KelCS_UTF8, id}, shortText, wholeConversion(KelCS_UTF8, id, shortText));
}

TEST_P(StreamEveryConverterTest, LongTextInRandomPieces) {
  const KelCharSet id = GetParam();
  const std::string text = goldenText(id, "txt");
  std::string input;
  std::string expected;
  while (input.size() < 3 * KelStreamConverter::kSliceBytes) {
    input += text;
    expected += goldenText(id, "utf8");
  }
  for (const size_t largest : {size_t{7}, size_t{1000}, 3 * KelStreamConverter::kSliceBytes}) {
    EXPECT_TRUE(convertPieces({id, KelCS_UTF8}, randomPieces(input, largest, 17)).output ==
                expected)
        << "pieces of up to " << largest << " bytes";
  }
  EXPECT_TRUE(convert({id, KelCS_UTF8}, input) == expected) << "one piece";
}

// Random bytes, most of them no valid text: the stream reads them as the
// converter reads the whole text, however they are cut. (No zero bytes: a
// converter's text ends there.)
TEST_P(StreamEveryConverterTest, ReadsRandomBytesAsTheConverterDoesAtEveryCut) {
  const KelCharSet id = GetParam();
  std::mt19937 random(id);
  for (int round = 0; round < 6; ++round) {
    std::string input;
    // Bytes of every kind, or bytes of the upper half where the lead bytes are.
    for (size_t i = 0; i < 48; ++i) {
      input += static_cast<char>(round % 2 == 0 ? 1 + random() % 255 : 0x80 + random() % 128);
    }
    input.resize(input.size() - input.size() % unitOf(id));
    for (const KelCharSet to : {KelCS_UTF8, KelCS_UTF16}) {
      expectSameAtEveryCut({id, to}, input, wholeConversion(id, to, input));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryConverter, StreamEveryConverterTest,
                         testing::ValuesIn(everyConverter()), setName);

// --- Sequences and surrogate pairs cut between pieces ----------------------------------

// "é" (2 bytes in UTF-8), "€" and "日" (3), "😀" and "𠮷" (4, surrogate pairs).
const std::u16string kMixedUnits = u"a\u00E9\u20AC\u65E5\U0001F600b\U00020BB7";
const std::string kMixedUtf8 =
    "a\xC3\xA9\xE2\x82\xAC\xE6\x97\xA5\xF0\x9F\x98\x80"
    "b\xF0\xA0\xAE\xB7";

TEST(StreamCuts, Utf8SequencesOfEveryLengthToUtf16) {
  expectSameAtEveryCut({KelCS_UTF8, KelCS_UTF16}, kMixedUtf8, bytesOf(kMixedUnits));
}

TEST(StreamCuts, Utf16UnitsAndSurrogatePairsToUtf8) {
  expectSameAtEveryCut({KelCS_UTF16, KelCS_UTF8}, bytesOf(kMixedUnits), kMixedUtf8);
}

TEST(StreamCuts, Utf32ToUtf8) {
  const std::u32string text = U"a\u00E9\u20AC\u65E5\U0001F600b\U00020BB7";
  expectSameAtEveryCut({KelCS_UTF32, KelCS_UTF8}, bytesOf(text), kMixedUtf8);
}

TEST(StreamCuts, EscapedUnitsAndEscapedPairsToUtf8) {
  expectSameAtEveryCut({KelCS_UTF16ESC, KelCS_UTF8}, "aU+00E9U+20ACU+65E5U+D83DU+DE00bU+D842U+DFB7",
                       kMixedUtf8);
}

TEST(StreamCuts, EncodedSurrogatesInUtf8JoinAcrossACut) {
  // The UTF-8 converter reads three-byte forms of surrogates as those
  // units; a pair of them is one character, wherever the input is cut.
  expectSameAtEveryCut({KelCS_UTF8, KelCS_UTF16}, "\xED\xA0\xBD\xED\xB8\x80",
                       bytesOf(std::u16string(u"\U0001F600")));
}

TEST(StreamCuts, InvalidUtf8IsReplacedTheSameAtEveryCut) {
  // A lead byte followed by a non-continuation, a stray continuation byte
  // (dropped by the converter) and a truncated sequence at the end, whose
  // lead byte is replaced and whose continuation byte is then dropped.
  expectSameAtEveryCut({KelCS_UTF8, KelCS_UTF16},
                       "\xC3"
                       "A\x80"
                       "B\xE2\x82",
                       bytesOf(std::u16string(u"\uFFFDAB\uFFFD")));
}

// F5 D1 lies in the 94x94 rows but names no JIS X 0208 character, so the
// converter reads F5 alone and pairs D1 with the next byte.
TEST(StreamCuts, EucJapaneseUnmappedPairBeforeACutIsReadAsTheConverterReadsIt) {
  // Python's codecs: F5 is illegal, D1 D0 is U+51A9.
  expectSameAtEveryCut({KelCS_EUC_JP, KelCS_UTF8},
                       "\xF5\xD1\xD0"
                       "Q",
                       "\xEF\xBF\xBD\xE5\x86\xA9"
                       "Q");
}

// Code page 936's byte classes read 0x81 0x80 as 0x81 alone and 0x80 (the
// euro sign) after it, and GB18030 reads the pair as U+4E90.
TEST(StreamCuts, EachDoubleByteSetPairsItsOwnTrailBytes) {
  expectSameAtEveryCut({KelCS_WCP936, KelCS_UTF16},
                       "\x81\x80"
                       "a",
                       bytesOf(std::u16string(u"\uFFFD\u20ACa")));
  expectSameAtEveryCut({KelCS_GB18030, KelCS_UTF16},
                       "\x81\x80"
                       "a",
                       bytesOf(std::u16string(u"\u4E90a")));
  expectSameAtEveryCut({KelCS_GB18030, KelCS_UTF16}, "\x81\x30\x81\x30\x90\x30\x81\x30",
                       bytesOf(std::u16string(u"\u0080\U00010000")));
}

TEST(StreamCuts, LargePiecesGoThroughInSlices) {
  std::string input;
  std::string expected;
  while (input.size() < 3 * KelStreamConverter::kSliceBytes) {
    input += kMixedUtf8;
    expected += bytesOf(kMixedUnits);
  }
  StringSink sink;
  KelStreamConverter converter(KelCS_UTF8, KelCS_UTF16, KEL_STREAM_REPLACE, sink);
  EXPECT_EQ(converter.convert(input.data(), input.size()), KEL_STREAM_OK);
  EXPECT_EQ(converter.finish(), KEL_STREAM_OK);
  EXPECT_TRUE(sink.text == expected);
  EXPECT_GE(sink.writes, 3u);  // delivered slice by slice
}

TEST(StreamCuts, WholeCharactersOfAPieceAreDeliveredAtOnce) {
  StringSink sink;
  KelStreamConverter converter(KelCS_UTF8, KelCS_UTF16, KEL_STREAM_REPLACE, sink);
  converter.convert("ab\xE2\x82", 4);
  EXPECT_EQ(sink.text, bytesOf(std::u16string(u"ab")));
  converter.convert("\xAC", 1);
  EXPECT_EQ(sink.text, bytesOf(std::u16string(u"ab\u20AC")));
}

// --- Zero characters ---------------------------------------------------------------

TEST(StreamZeros, ZeroBytesBecomeTheTargetsZeroUnits) {
  const std::string input("\0a\0\0b\xC3\xA9\0", 8);
  expectSameAtEveryCut({KelCS_UTF8, KelCS_UTF16}, input,
                       bytesOf(std::u16string(u"\0a\0\0b\u00E9\0", 7)));
}

TEST(StreamZeros, ZeroUnitsOfUtf16BecomeZeroBytes) {
  const std::u16string input(u"a\0\u00E9\0", 4);
  expectSameAtEveryCut({KelCS_UTF16, KelCS_UTF8}, bytesOf(input), std::string("a\0\xC3\xA9\0", 5));
}

TEST(StreamZeros, ZeroValuesOfUtf32BecomeZeroValues) {
  const std::u32string input(U"\0\U0001F600\0", 3);
  expectSameAtEveryCut({KelCS_UTF32, KelCS_UTF32}, bytesOf(input), bytesOf(input));
}

TEST(StreamZeros, AZeroEndsAnIncompleteSequence) {
  expectSameAtEveryCut({KelCS_UTF8, KelCS_UTF16}, std::string("\xE2\x82\0A", 4),
                       bytesOf(std::u16string(u"\uFFFD\0A", 3)));
}

TEST(StreamZeros, AnEncodedZeroInUtf8BecomesAZeroToo) {
  // The UTF-8 converter reads the overlong C0 80 as U+0000.
  expectSameAtEveryCut({KelCS_UTF8, KelCS_WCP1252},
                       "a\xC0\x80"
                       "b",
                       std::string("a\0b", 3));
}

// --- Whole units -----------------------------------------------------------------

TEST(StreamUnits, AnOddByteAtTheEndOfUtf16IsReplaced) {
  EXPECT_EQ(convert({KelCS_UTF16, KelCS_UTF8}, std::string("a\0b", 3)), "a\xEF\xBF\xBD");
}

TEST(StreamUnits, AnIncompleteUnitAtTheEndStopsUnderTheStopPolicy) {
  const Converted result =
      convertPieces({KelCS_UTF32, KelCS_UTF8, KEL_STREAM_STOP}, {std::string("a\0\0\0b\0", 6)});
  EXPECT_EQ(result.output, "a");
  EXPECT_EQ(result.status, KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(result.failure.offset, 4u);
  EXPECT_EQ(
      std::string(reinterpret_cast<const char*>(result.failure.bytes), result.failure.byteCount),
      std::string("b\0", 2));
}

// --- Policies ----------------------------------------------------------------------

std::string failureBytes(const KelStreamFailure& failure) {
  return std::string(reinterpret_cast<const char*>(failure.bytes), failure.byteCount);
}

TEST(StreamPolicies, ReplaceWritesAQuestionMarkForWhatTheTargetLacks) {
  EXPECT_EQ(convert({KelCS_UTF8, KelCS_ISO_8859_1}, "5 \xE2\x82\xAC"), "5 ?");
}

TEST(StreamPolicies, EscapeWritesTheUnitInTheLibrarysForm) {
  EXPECT_EQ(convert({KelCS_UTF8, KelCS_ISO_8859_1, KEL_STREAM_ESCAPE}, "5 \xE2\x82\xAC"),
            "5 U+20AC");
}

TEST(StreamPolicies, EscapeInUtf32WritesSixValues) {
  EXPECT_EQ(
      convert({KelCS_UTF16, KelCS_UTF32, KEL_STREAM_ESCAPE}, bytesOf(std::u16string(u"a\xD800"))),
      bytesOf(std::u32string(U"aU+D800")));
}

TEST(StreamPolicies, ReplaceReadsInvalidInputAsTheReplacementCharacter) {
  EXPECT_EQ(convert({KelCS_WCP1252, KelCS_UTF8}, "a\x81z"), "a\xEF\xBF\xBDz");
}

TEST(StreamPolicies, StopEndsBeforeInvalidInputAndGivesItsOffset) {
  const Converted result = convertPieces({KelCS_UTF8, KelCS_UTF16, KEL_STREAM_STOP}, {"abc",
                                                                                      "d\xC3\xA9"
                                                                                      "e\xC3",
                                                                                      "(f"});
  EXPECT_EQ(result.output, bytesOf(std::u16string(u"abcd\u00E9e")));
  EXPECT_EQ(result.status, KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(result.failure.offset, 7u);
  EXPECT_EQ(failureBytes(result.failure), "\xC3");
}

TEST(StreamPolicies, StopEndsBeforeAStrayContinuationByte) {
  const Converted result = convertPieces({KelCS_UTF8, KelCS_UTF8, KEL_STREAM_STOP}, {"ab\x80"
                                                                                     "c"});
  EXPECT_EQ(result.output, "ab");
  EXPECT_EQ(result.failure.offset, 2u);
  EXPECT_EQ(failureBytes(result.failure), "\x80");
}

TEST(StreamPolicies, StopEndsBeforeAnUnrepresentableCharacterAndGivesItsOffset) {
  const Converted result = convertPieces({KelCS_UTF8, KelCS_WCP1252, KEL_STREAM_STOP},
                                         {"caf\xC3\xA9 ", "\xE2\x82\xAC 5 \xE2\x82\x82"});
  EXPECT_EQ(result.output, "caf\xE9 \x80 5 ");
  EXPECT_EQ(result.status, KEL_STREAM_UNREPRESENTABLE);
  EXPECT_EQ(result.failure.offset, 12u);
  EXPECT_EQ(result.failure.character, 0x2082u);
}

TEST(StreamPolicies, StopNamesACharacterBeyondTheBasicPlane) {
  const Converted result =
      convertPieces({KelCS_UTF8, KelCS_KOI8R, KEL_STREAM_STOP}, {"x\xF0\x9F\x98\x80"});
  EXPECT_EQ(result.output, "x");
  EXPECT_EQ(result.failure.offset, 1u);
  EXPECT_EQ(result.failure.character, 0x1F600u);
}

TEST(StreamPolicies, StopEndsBeforeAnUnpairedSurrogateAtTheEnd) {
  const Converted result = convertPieces({KelCS_UTF16, KelCS_UTF8, KEL_STREAM_STOP},
                                         {bytesOf(std::u16string(u"ab\xD83D"))});
  EXPECT_EQ(result.output, "ab");
  EXPECT_EQ(result.status, KEL_STREAM_UNREPRESENTABLE);
  EXPECT_EQ(result.failure.offset, 4u);
  EXPECT_EQ(result.failure.character, 0xD83Du);
}

// GB18030 ends its whole text at a high surrogate that no low surrogate
// follows; the stream leaves out only the surrogate (it has no GB18030
// form), wherever the input is cut.
TEST(StreamPolicies, Gb18030UnpairedHighSurrogateLeavesOutOnlyItselfAtEveryCut) {
  expectSameAtEveryCut({KelCS_UTF16, KelCS_GB18030},
                       bytesOf(std::u16string(u"a\xD800"
                                              u"bc\u00E9")),
                       "abc\xA8\xA6");  // Python's codecs: U+00E9 is A8 A6
}

TEST(StreamPolicies, StopEndsBeforeAnUnpairedHighSurrogateInGb18030) {
  const Converted result = convertPieces({KelCS_UTF16, KelCS_GB18030, KEL_STREAM_STOP},
                                         {bytesOf(std::u16string(u"a\xD800"
                                                                 u"b"))});
  EXPECT_EQ(result.output, "a");
  EXPECT_EQ(result.status, KEL_STREAM_UNREPRESENTABLE);
  EXPECT_EQ(result.failure.offset, 2u);
  EXPECT_EQ(result.failure.character, 0xD800u);
}

// The UTF-8 converter's escape of an unpaired high surrogate drops the unit
// after it; the stream escapes the surrogate alone, so nothing after it is
// lost or read twice.
TEST(StreamPolicies, EscapeOfAnUnpairedHighSurrogateInUtf8KeepsWhatFollows) {
  expectSameAtEveryCut({KelCS_UTF16, KelCS_UTF8, KEL_STREAM_ESCAPE},
                       bytesOf(std::u16string(u"\xD800"
                                              u"AB")),
                       "U+D800AB");
  const std::string zero("\0", 1);
  expectSameAtEveryCut({KelCS_UTF8, KelCS_UTF8, KEL_STREAM_ESCAPE},
                       "\xED\xA0\x80" + zero + "A\xED\xA0\x80", "U+D800" + zero + "AU+D800");
}

TEST(StreamPolicies, StopGivesTheSameFailureWhereverTheInputIsCut) {
  const std::string input = "\xFF\xA2\xFF\xFF\xA2";
  for (size_t at = 0; at <= input.size(); ++at) {
    const Converted result = convertPieces({KelCS_UTF8, KelCS_UTF8, KEL_STREAM_STOP},
                                           {input.substr(0, at), input.substr(at)});
    EXPECT_EQ(result.output, "") << "cut after byte " << at;
    EXPECT_EQ(result.status, KEL_STREAM_INVALID_INPUT) << "cut after byte " << at;
    EXPECT_EQ(result.failure.offset, 0u) << "cut after byte " << at;
    EXPECT_EQ(failureBytes(result.failure), "\xFF") << "cut after byte " << at;
  }
}

TEST(StreamPolicies, StopKeepsGoingOverAPairCutBetweenPieces) {
  const std::string input = bytesOf(std::u16string(u"a\U0001F600"));
  const Converted result = convertPieces({KelCS_UTF16, KelCS_UTF8, KEL_STREAM_STOP},
                                         {input.substr(0, 4), input.substr(4)});
  EXPECT_EQ(result.output, "a\xF0\x9F\x98\x80");
  EXPECT_EQ(result.status, KEL_STREAM_OK);
}

TEST(StreamPolicies, StopWritesNothingMoreAfterTheFailure) {
  StringSink sink;
  KelStreamConverter converter(KelCS_UTF8, KelCS_ISO_8859_1, KEL_STREAM_STOP, sink);
  EXPECT_EQ(converter.convert("a\xE2\x82\xAC", 4), KEL_STREAM_UNREPRESENTABLE);
  EXPECT_EQ(converter.convert("b", 1), KEL_STREAM_UNREPRESENTABLE);
  EXPECT_EQ(converter.finish(), KEL_STREAM_UNREPRESENTABLE);
  EXPECT_EQ(sink.text, "a");
}

TEST(StreamPolicies, IncompleteSequenceAtTheEndIsOneInvalidCharacter) {
  const Converted result =
      convertPieces({KelCS_UTF8, KelCS_UTF8, KEL_STREAM_STOP}, {"abc\xE2\x82"});
  EXPECT_EQ(result.output, "abc");
  EXPECT_EQ(result.failure.offset, 3u);
  EXPECT_EQ(failureBytes(result.failure), "\xE2\x82");
}

TEST(StreamPolicies, SkipLeavesOutWhatCannotBeConvertedAndCountsIt) {
  // Invalid bytes, a character Windows-1252 lacks, an incomplete sequence.
  const std::string input =
      "a\xFF"
      "b\xE2\x88\x9E"
      "c\xC3\xA9\xE2\x82";
  for (size_t at = 0; at <= input.size(); ++at) {
    const Converted result = convertPieces({KelCS_UTF8, KelCS_WCP1252, KEL_STREAM_SKIP},
                                           {input.substr(0, at), input.substr(at)});
    EXPECT_EQ(result.output, "abc\xE9") << "cut after byte " << at;
    EXPECT_EQ(result.status, KEL_STREAM_OK);
    EXPECT_EQ(result.skipped, 3u) << "cut after byte " << at;
  }
}

TEST(StreamPolicies, SkipLeavesOutABrokenUnitOfUtf16) {
  const Converted result =
      convertPieces({KelCS_UTF16, KelCS_UTF8, KEL_STREAM_SKIP}, {std::string("a\0b", 3)});
  EXPECT_EQ(result.output, "a");
  EXPECT_EQ(result.skipped, 1u);
}

// --- Handlers ------------------------------------------------------------------------

// Writes "EUR" for the euro sign, nothing for anything else.
size_t euroAsLetters(void* context, uint32_t character, wchar16* units, size_t room) {
  ++*static_cast<int*>(context);
  if (character != 0x20AC || room < 3) return 0;
  units[0] = 'E';
  units[1] = 'U';
  units[2] = 'R';
  return 3;
}

TEST(StreamHandlers, SubstitutionComesBeforeThePolicy) {
  for (const KelStreamPolicy policy : {KEL_STREAM_REPLACE, KEL_STREAM_STOP, KEL_STREAM_SKIP}) {
    StringSink sink;
    int calls = 0;
    KelStreamConverter converter(KelCS_UTF8, KelCS_ISO_8859_1, policy, sink);
    converter.setSubstitution(euroAsLetters, &calls);
    converter.convert("5 \xE2\x82\xAC, 6 \xE2\x88\x9E.", 13);
    converter.finish();
    const std::string expected = policy == KEL_STREAM_REPLACE ? "5 EUR, 6 ?."
                                 : policy == KEL_STREAM_SKIP  ? "5 EUR, 6 ."
                                                              : "5 EUR, 6 ";
    EXPECT_EQ(sink.text, expected) << policy;
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(converter.status(),
              policy == KEL_STREAM_STOP ? KEL_STREAM_UNREPRESENTABLE : KEL_STREAM_OK);
  }
}

// A substitute the target cannot take either is no substitute.
size_t infinityForEuro(void*, uint32_t, wchar16* units, size_t) {
  units[0] = 0x221E;
  return 1;
}

TEST(StreamHandlers, ASubstituteTheTargetLacksLeavesItToThePolicy) {
  StringSink sink;
  KelStreamConverter converter(KelCS_UTF8, KelCS_ISO_8859_1, KEL_STREAM_ESCAPE, sink);
  converter.setSubstitution(infinityForEuro, nullptr);
  converter.convert("\xE2\x82\xAC", 3);
  converter.finish();
  EXPECT_EQ(sink.text, "U+20AC");
}

// Reads what code page 936 makes of bytes alone.
size_t readAs936(void* context, const unsigned char* bytes, size_t count, wchar16* units,
                 size_t room) {
  ++*static_cast<int*>(context);
  std::string text(reinterpret_cast<const char*>(bytes), count);
  bool illegal = false;
  std::vector<wchar16> read(count + 1);
  const size_t got = KelCharSetConverter::getConverter(KelCS_WCP936)
                         ->toUTF16(read.data(), text.c_str(), count, ILLCHAR_STOP, &illegal, -1);
  if (illegal || got > room) return 0;
  std::copy(read.begin(), read.begin() + got, units);
  return got;
}

TEST(StreamHandlers, InvalidInputHandlerGivesTheTextToRead) {
  // GB18030 lacks the single byte 0x80, which code page 936 reads as the
  // euro sign; a lead byte before a space is invalid in both.
  StringSink sink;
  int calls = 0;
  KelStreamConverter converter(KelCS_GB18030, KelCS_UTF16, KEL_STREAM_STOP, sink);
  converter.setInvalidInputHandler(readAs936, &calls);
  const std::string input =
      "a\x80\x81\x80"
      "b\x81 ";
  EXPECT_EQ(converter.convert(input.data(), input.size()), KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(sink.text, bytesOf(std::u16string(u"a\u20AC\u4E90b")));
  EXPECT_EQ(converter.failure().offset, 5u);
  EXPECT_EQ(calls, 2);
}

// --- A text after a text, reset --------------------------------------------------------

TEST(StreamTexts, EachTextEndsItsOwnSequencesAndCountsFromZero) {
  StringSink sink;
  KelStreamConverter converter(KelCS_UTF8, KelCS_UTF8, KEL_STREAM_STOP, sink);
  EXPECT_EQ(converter.convert("ab", 2), KEL_STREAM_OK);
  EXPECT_EQ(converter.finish(), KEL_STREAM_OK);
  EXPECT_EQ(converter.convert("c\xC3", 2), KEL_STREAM_OK);
  EXPECT_EQ(converter.finish(), KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(sink.text, "abc");
  EXPECT_EQ(converter.failure().offset, 1u);
  converter.reset();
  EXPECT_EQ(converter.status(), KEL_STREAM_OK);
  EXPECT_EQ(converter.convert("d", 1), KEL_STREAM_OK);
  EXPECT_EQ(converter.finish(), KEL_STREAM_OK);
  EXPECT_EQ(sink.text, "abcd");
}

class RefusingSink : public KelStreamSink {
 public:
  bool write(const void*, size_t) override { return false; }
};

TEST(StreamTexts, ASinkThatRefusesEndsTheConversion) {
  RefusingSink sink;
  KelStreamConverter converter(KelCS_UTF8, KelCS_UTF16, KEL_STREAM_REPLACE, sink);
  EXPECT_EQ(converter.convert("abc", 3), KEL_STREAM_OUTPUT_FAILED);
  EXPECT_EQ(converter.convert("d", 1), KEL_STREAM_OUTPUT_FAILED);
  EXPECT_EQ(converter.finish(), KEL_STREAM_OUTPUT_FAILED);
}

// --- The C interface -----------------------------------------------------------------

int appendTo(void* context, const void* bytes, size_t size) {
  static_cast<std::string*>(context)->append(static_cast<const char*>(bytes), size);
  return 0;
}

TEST(StreamCInterface, CreateConvertFinishDestroy) {
  std::string output;
  KelStreamConverter* stream =
      KelStreamCreate(KelCS_SHIFTJIS, KelCS_UTF8, KEL_STREAM_STOP, appendTo, &output);
  ASSERT_NE(stream, nullptr);
  // "あい" in Shift_JIS, cut inside the second character.
  EXPECT_EQ(KelStreamConvert(stream, "\x82\xA0\x82", 3), KEL_STREAM_OK);
  EXPECT_EQ(KelStreamConvert(stream, "\xA2\x82", 2), KEL_STREAM_OK);
  EXPECT_EQ(KelStreamFinish(stream), KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(output, "\xE3\x81\x82\xE3\x81\x84");
  KelStreamFailure failure;
  EXPECT_EQ(KelStreamGetFailure(stream, &failure), KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(failure.offset, 4u);
  EXPECT_EQ(failure.byteCount, 1u);
  EXPECT_EQ(failure.bytes[0], 0x82);
  KelStreamDestroy(stream);
}

TEST(StreamCInterface, RefusesWhatItCannotUse) {
  std::string output;
  EXPECT_EQ(KelStreamCreate(KelCS_UTF8, KelCS_UTF8, KEL_STREAM_STOP, nullptr, nullptr), nullptr);
  EXPECT_EQ(
      KelStreamCreate(KelCS_UTF8, KelCS_UTF8, static_cast<KelStreamPolicy>(7), appendTo, &output),
      nullptr);
  EXPECT_EQ(KelStreamConvert(nullptr, "a", 1), KEL_STREAM_OUTPUT_FAILED);
  EXPECT_EQ(KelStreamFinish(nullptr), KEL_STREAM_OUTPUT_FAILED);
  EXPECT_EQ(KelStreamSkippedCount(nullptr), 0u);
  KelStreamDestroy(nullptr);
}

int refuse(void*, const void*, size_t) { return 1; }

TEST(StreamCInterface, SkipCountAndAWriteFunctionThatRefuses) {
  std::string output;
  KelStreamConverter* stream =
      KelStreamCreate(KelCS_UTF8, KelCS_ISO_8859_1, KEL_STREAM_SKIP, appendTo, &output);
  KelStreamConvert(stream,
                   "x\xE2\x82\xAC"
                   "y",
                   5);
  KelStreamFinish(stream);
  EXPECT_EQ(output, "xy");
  EXPECT_EQ(KelStreamSkippedCount(stream), 1u);
  KelStreamReset(stream);
  EXPECT_EQ(KelStreamSkippedCount(stream), 0u);
  KelStreamDestroy(stream);

  stream = KelStreamCreate(KelCS_UTF8, KelCS_UTF8, KEL_STREAM_REPLACE, refuse, nullptr);
  EXPECT_EQ(KelStreamConvert(stream, "x", 1), KEL_STREAM_OUTPUT_FAILED);
  KelStreamDestroy(stream);
}

// --- A converter of the program's own --------------------------------------------------

// Letters shifted by one: 'a' is read as 'b'; bytes above 0x7E are invalid.
class ShiftConverter : public KelCharSetConverter {
 public:
  ShiftConverter() : KelCharSetConverter(static_cast<KelCharSet>(0)) {}
  size_t getNumUnits(void const* src, size_t srcBytes) override {
    return src == nullptr ? 0 : strnlen(static_cast<const char*>(src), srcBytes);
  }
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int) override {
    const auto* in = static_cast<const unsigned char*>(src);
    if (illegal != nullptr) *illegal = false;
    size_t n = 0;
    for (; n < dstUnits && *in != 0; ++in) {
      if (*in > 0x7E) {
        if (illegal != nullptr) *illegal = true;
        if (op == ILLCHAR_STOP) break;
        dst[n++] = 0xFFFD;
      } else {
        dst[n++] = static_cast<wchar16>(*in + 1);
      }
    }
    dst[n] = 0;
    return n;
  }
  size_t getNumBytes(wchar16 const*, size_t) override { return 0; }
  size_t fromUTF16(void*, wchar16 const*, size_t, ILLCHAR_OPTYPE, bool*) override { return 0; }
  size_t getMinUnitSize() const override { return 1; }
  size_t getMaxUnitSize() const override { return 1; }
  size_t getNullCharSize() const override { return 1; }
};

TEST(StreamOwnConverter, ReadsThroughAConverterOfOneByteCharacters) {
  ShiftConverter shift;
  StringSink sink;
  KelStreamConverter converter(&shift, KelCharSetConverter::getConverter(KelCS_UTF8),
                               KEL_STREAM_STOP, sink);
  converter.convert("HAL", 3);
  converter.convert("\xFF", 1);
  converter.finish();
  EXPECT_EQ(sink.text, "IBM");
  EXPECT_EQ(converter.status(), KEL_STREAM_INVALID_INPUT);
  EXPECT_EQ(converter.failure().offset, 3u);
}

// Characters of one or two bytes, like the double-byte sets.
class VariableConverter : public ShiftConverter {
 public:
  size_t getMaxUnitSize() const override { return 2; }
};

TEST(StreamOwnConverter, RefusesASourceWhoseCharactersVaryInSize) {
  VariableConverter variable;
  StringSink sink;
  KelCharSetConverter* utf8 = KelCharSetConverter::getConverter(KelCS_UTF8);
  EXPECT_THROW(KelStreamConverter(&variable, utf8, KEL_STREAM_STOP, sink), std::invalid_argument);
  EXPECT_THROW(KelStreamConverter(nullptr, utf8, KEL_STREAM_STOP, sink), std::invalid_argument);
  // As a target, any converter will do.
  EXPECT_NO_THROW(KelStreamConverter(utf8, &variable, KEL_STREAM_STOP, sink));
}

}  // namespace
