// The stream converter: the same output however the input is cut into
// writes, zero characters carried through, whole units, the policies and
// the byte-order mark. Expected bytes come from the golden files (Python's
// codecs) or from the encodings' definitions (u"" and U"" literals).
#include "tools/kelconv/stream_converter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/kelconv/kelconv_test_support.h"

namespace {

using kelconv::ConversionFailure;
using kelconv::Policy;
using kelconv::StreamConverter;
using kelconv::StreamSettings;
using kelconv_test::goldenText;

class StringSink : public kelconv::ByteSink {
 public:
  void write(const unsigned char* data, size_t size) override {
    text.append(reinterpret_cast<const char*>(data), size);
  }
  std::string text;
};

StreamSettings settings(KelCharSet from, KelCharSet to, Policy policy = Policy::kReplace) {
  StreamSettings result;
  result.from = from;
  result.to = to;
  result.policy = policy;
  return result;
}

struct Converted {
  std::string output;
  ConversionFailure failure;
};

// Converts `pieces`, each one write, as one input.
Converted convertPieces(const StreamSettings& how, const std::vector<std::string>& pieces) {
  StringSink sink;
  StreamConverter converter(how, sink);
  for (const std::string& piece : pieces) {
    if (!converter.write(piece.data(), piece.size())) break;
  }
  if (!converter.stopped()) converter.finishInput();
  converter.finishOutput();
  return {sink.text, converter.failure()};
}

std::string convert(const StreamSettings& how, const std::string& input) {
  return convertPieces(how, {input}).output;
}

// The input written in two pieces, cut after `at` bytes.
std::string convertCut(const StreamSettings& how, const std::string& input, size_t at) {
  return convertPieces(how, {input.substr(0, at), input.substr(at)}).output;
}

// The input written one byte at a time.
std::string convertBytewise(const StreamSettings& how, const std::string& input) {
  std::vector<std::string> pieces;
  for (const char byte : input) pieces.emplace_back(1, byte);
  return convertPieces(how, pieces).output;
}

// Expects `input` to convert to `expected` whole, cut at every position and
// byte by byte.
void expectSameAtEveryCut(const StreamSettings& how, const std::string& input,
                          const std::string& expected) {
  EXPECT_EQ(convert(how, input), expected) << "whole";
  for (size_t at = 0; at <= input.size(); ++at) {
    const std::string output = convertCut(how, input, at);
    if (output != expected) {
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

// --- Golden texts cut at every position ------------------------------------------

class StreamConverterGoldenTest : public testing::TestWithParam<KelCharSet> {};

TEST_P(StreamConverterGoldenTest, ReadsTheSetCutAtEveryPosition) {
  SKIP_WITHOUT_CONVERTER(GetParam());
  expectSameAtEveryCut(settings(GetParam(), KelCS_UTF8), goldenText(GetParam(), "txt"),
                       goldenText(GetParam(), "utf8"));
}

TEST_P(StreamConverterGoldenTest, WritesTheSetCutAtEveryPosition) {
  SKIP_WITHOUT_CONVERTER(GetParam());
  expectSameAtEveryCut(settings(KelCS_UTF8, GetParam()), goldenText(GetParam(), "utf8"),
                       goldenText(GetParam(), "txt"));
}

INSTANTIATE_TEST_SUITE_P(EveryCharSet, StreamConverterGoldenTest,
                         testing::ValuesIn(kelconv_test::convertedCharSets()),
                         kelconv_test::charSetTestName);

// --- Two-, three- and four-byte sequences and surrogate pairs --------------------

// "é" (2 bytes in UTF-8), "€" and "日" (3), "😀" and "𠮷" (4, surrogate pairs).
const std::u16string kMixedUnits = u"a\u00E9\u20AC\u65E5\U0001F600b\U00020BB7";
const std::string kMixedUtf8 = "a\xC3\xA9\xE2\x82\xAC\xE6\x97\xA5\xF0\x9F\x98\x80" "b\xF0\xA0\xAE\xB7";

TEST(StreamConverterCuts, Utf8SequencesOfEveryLengthToUtf16) {
  expectSameAtEveryCut(settings(KelCS_UTF8, KelCS_UTF16), kMixedUtf8, bytesOf(kMixedUnits));
}

TEST(StreamConverterCuts, Utf16UnitsAndSurrogatePairsToUtf8) {
  expectSameAtEveryCut(settings(KelCS_UTF16, KelCS_UTF8), bytesOf(kMixedUnits), kMixedUtf8);
}

TEST(StreamConverterCuts, Utf32ToUtf8) {
  const std::u32string text = U"a\u00E9\u20AC\u65E5\U0001F600b\U00020BB7";
  expectSameAtEveryCut(settings(KelCS_UTF32, KelCS_UTF8), bytesOf(text), kMixedUtf8);
}

TEST(StreamConverterCuts, EscapedUnitsAndEscapedPairsToUtf8) {
  expectSameAtEveryCut(settings(KelCS_UTF16ESC, KelCS_UTF8),
                       "aU+00E9U+20ACU+65E5U+D83DU+DE00bU+D842U+DFB7", kMixedUtf8);
}

TEST(StreamConverterCuts, EncodedSurrogatesInUtf8JoinAcrossACut) {
  // The UTF-8 converter reads three-byte forms of surrogates as those
  // units; a pair of them is one character, wherever the input is cut.
  expectSameAtEveryCut(settings(KelCS_UTF8, KelCS_UTF16), "\xED\xA0\xBD\xED\xB8\x80",
                       bytesOf(std::u16string(u"\U0001F600")));
}

TEST(StreamConverterCuts, InvalidUtf8IsReplacedTheSameAtEveryCut) {
  // A lead byte followed by a non-continuation, a stray continuation byte
  // (dropped by the converter) and a truncated sequence at the end, whose
  // lead byte is replaced and whose continuation byte is then dropped.
  expectSameAtEveryCut(settings(KelCS_UTF8, KelCS_UTF16), "\xC3" "A\x80" "B\xE2\x82",
                       bytesOf(std::u16string(u"\uFFFDAB\uFFFD")));
}

// Found by fuzzing: F5 D1 lies in the 94x94 rows but names no JIS X 0208
// character (row 0x75), so the converter reads F5 alone and pairs D1 with
// the next byte. A cut after D1 used to end the text there, reading D1
// alone too.
TEST(StreamConverterCuts, EucJapaneseUnmappedPairBeforeACutIsReadAsTheConverterReadsIt) {
  // Python's codecs: F5 is illegal, D1 D0 is U+51A9.
  expectSameAtEveryCut(settings(KelCS_EUC_JP, KelCS_UTF8), "\xF5\xD1\xD0" "Q",
                       "\xEF\xBF\xBD\xE5\x86\xA9" "Q");
}

TEST(StreamConverterCuts, LargeWritesGoThroughInSlices) {
  std::string input;
  std::string expected;
  while (input.size() < 3 * StreamConverter::kSliceBytes) {
    input += kMixedUtf8;
    expected += bytesOf(kMixedUnits);
  }
  EXPECT_EQ(convert(settings(KelCS_UTF8, KelCS_UTF16), input), expected);
}

// --- Zero characters ---------------------------------------------------------------

TEST(StreamConverterZeros, ZeroBytesBecomeTheTargetsZeroUnits) {
  const std::string input("\0a\0\0b\xC3\xA9\0", 8);
  expectSameAtEveryCut(settings(KelCS_UTF8, KelCS_UTF16), input,
                       bytesOf(std::u16string(u"\0a\0\0b\u00E9\0", 7)));
}

TEST(StreamConverterZeros, ZeroUnitsOfUtf16BecomeZeroBytes) {
  const std::u16string input(u"a\0\u00E9\0", 4);
  expectSameAtEveryCut(settings(KelCS_UTF16, KelCS_UTF8), bytesOf(input),
                       std::string("a\0\xC3\xA9\0", 5));
}

TEST(StreamConverterZeros, ZeroValuesOfUtf32BecomeZeroValues) {
  const std::u32string input(U"\0\U0001F600\0", 3);
  expectSameAtEveryCut(settings(KelCS_UTF32, KelCS_UTF32), bytesOf(input), bytesOf(input));
}

TEST(StreamConverterZeros, AZeroEndsAnIncompleteSequence) {
  // The text before the zero is converted on its own: its cut-off
  // sequence is invalid there, as at the end of any text.
  expectSameAtEveryCut(settings(KelCS_UTF8, KelCS_UTF16), std::string("\xE2\x82\0A", 4),
                       bytesOf(std::u16string(u"\uFFFD\0A", 3)));
}

TEST(StreamConverterZeros, AnEncodedZeroInUtf8BecomesAZeroToo) {
  // The UTF-8 converter reads the overlong C0 80 as U+0000.
  EXPECT_EQ(convert(settings(KelCS_UTF8, KelCS_WCP1252), "a\xC0\x80" "b"), std::string("a\0b", 3));
}

// --- Whole units -----------------------------------------------------------------

TEST(StreamConverterUnits, AnOddByteAtTheEndOfUtf16IsReplaced) {
  EXPECT_EQ(convert(settings(KelCS_UTF16, KelCS_UTF8), std::string("a\0b", 3)),
            "a\xEF\xBF\xBD");
}

TEST(StreamConverterUnits, AnIncompleteUnitAtTheEndStopsUnderTheStopPolicy) {
  const Converted result =
      convertPieces(settings(KelCS_UTF32, KelCS_UTF8, Policy::kStop), {std::string("a\0\0\0b\0", 6)});
  EXPECT_EQ(result.output, "a");
  EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kInvalidInput);
  EXPECT_EQ(result.failure.offset, 4u);
  EXPECT_EQ(result.failure.bytes, std::string("b\0", 2));
}

// --- Policies ----------------------------------------------------------------------

TEST(StreamConverterPolicies, ReplaceWritesAQuestionMarkForWhatTheTargetLacks) {
  EXPECT_EQ(convert(settings(KelCS_UTF8, KelCS_ISO_8859_1), "5 \xE2\x82\xAC"), "5 ?");
}

TEST(StreamConverterPolicies, EscapeWritesTheUnitInTheLibrarysForm) {
  EXPECT_EQ(convert(settings(KelCS_UTF8, KelCS_ISO_8859_1, Policy::kEscape), "5 \xE2\x82\xAC"),
            "5 U+20AC");
}

TEST(StreamConverterPolicies, EscapeInUtf32WritesSixValues) {
  // Only an unpaired high surrogate is unconvertible in UTF-32.
  const std::u16string input(u"a\xD800");
  EXPECT_EQ(convert(settings(KelCS_UTF16, KelCS_UTF32, Policy::kEscape), bytesOf(input)),
            bytesOf(std::u32string(U"aU+D800")));
}

TEST(StreamConverterPolicies, ReplaceReadsInvalidInputAsTheReplacementCharacter) {
  EXPECT_EQ(convert(settings(KelCS_WCP1252, KelCS_UTF8), "a\x81z"), "a\xEF\xBF\xBDz");
}

TEST(StreamConverterPolicies, StopEndsBeforeInvalidInputAndGivesItsOffset) {
  const Converted result = convertPieces(settings(KelCS_UTF8, KelCS_UTF16, Policy::kStop),
                                         {"abc", "d\xC3\xA9" "e\xC3", "(f"});
  EXPECT_EQ(result.output, bytesOf(std::u16string(u"abcd\u00E9e")));
  EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kInvalidInput);
  EXPECT_EQ(result.failure.offset, 7u);
  EXPECT_EQ(result.failure.bytes, "\xC3");
}

TEST(StreamConverterPolicies, StopEndsBeforeAStrayContinuationByte) {
  const Converted result =
      convertPieces(settings(KelCS_UTF8, KelCS_UTF8, Policy::kStop), {"ab\x80" "c"});
  EXPECT_EQ(result.output, "ab");
  EXPECT_EQ(result.failure.offset, 2u);
  EXPECT_EQ(result.failure.bytes, "\x80");
}

TEST(StreamConverterPolicies, StopEndsBeforeAnUnrepresentableCharacterAndGivesItsOffset) {
  const Converted result = convertPieces(settings(KelCS_UTF8, KelCS_WCP1252, Policy::kStop),
                                         {"caf\xC3\xA9 ", "\xE2\x82\xAC 5 \xE2\x82\x82"});
  EXPECT_EQ(result.output, "caf\xE9 \x80 5 ");
  EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kUnrepresentable);
  EXPECT_EQ(result.failure.offset, 12u);
  EXPECT_EQ(result.failure.character, U'\u2082');
}

TEST(StreamConverterPolicies, StopNamesACharacterBeyondTheBasicPlane) {
  const Converted result =
      convertPieces(settings(KelCS_UTF8, KelCS_KOI8R, Policy::kStop), {"x\xF0\x9F\x98\x80"});
  EXPECT_EQ(result.output, "x");
  EXPECT_EQ(result.failure.offset, 1u);
  EXPECT_EQ(result.failure.character, U'\U0001F600');
}

TEST(StreamConverterPolicies, StopEndsBeforeAnUnpairedSurrogateAtTheEnd) {
  const std::u16string input(u"ab\xD83D");
  const Converted result =
      convertPieces(settings(KelCS_UTF16, KelCS_UTF8, Policy::kStop), {bytesOf(input)});
  EXPECT_EQ(result.output, "ab");
  EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kUnrepresentable);
  EXPECT_EQ(result.failure.offset, 4u);
  EXPECT_EQ(result.failure.character, 0xD83Du);
}

// Found by fuzzing: GB18030 ends its whole text at a high surrogate that no
// low surrogate follows, so what came out after one depended on where the
// input was cut (each write ending its own text). The surrogate alone has
// no GB18030 form and is left out; the text after it is converted.
TEST(StreamConverterCuts, Gb18030UnpairedHighSurrogateLeavesOutOnlyItselfAtEveryCut) {
  expectSameAtEveryCut(settings(KelCS_UTF16, KelCS_GB18030),
                       bytesOf(std::u16string(u"a\xD800" u"bc\u00E9")),
                       "abc\xA8\xA6");  // Python's codecs: U+00E9 is A8 A6
}

TEST(StreamConverterPolicies, StopEndsBeforeAnUnpairedHighSurrogateInGb18030) {
  const Converted result = convertPieces(settings(KelCS_UTF16, KelCS_GB18030, Policy::kStop),
                                         {bytesOf(std::u16string(u"a\xD800" u"b"))});
  EXPECT_EQ(result.output, "a");
  EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kUnrepresentable);
  EXPECT_EQ(result.failure.offset, 2u);
  EXPECT_EQ(result.failure.character, 0xD800u);
}

// The UTF-8 converter's escape of an unpaired high surrogate drops the unit
// after it, and before a zero unit reads on past that zero; the stream
// escapes the surrogate alone, so nothing after it is lost or read twice.
TEST(StreamConverterPolicies, EscapeOfAnUnpairedHighSurrogateInUtf8KeepsWhatFollows) {
  expectSameAtEveryCut(settings(KelCS_UTF16, KelCS_UTF8, Policy::kEscape),
                       bytesOf(std::u16string(u"\xD800" u"AB")), "U+D800AB");
  const std::string zero("\0", 1);
  expectSameAtEveryCut(settings(KelCS_UTF8, KelCS_UTF8, Policy::kEscape),
                       "\xED\xA0\x80" + zero + "A\xED\xA0\x80", "U+D800" + zero + "AU+D800");
}

// Found by fuzzing: the bytes of the invalid sequence were measured only
// up to the end of the write, so a cut after FF A2 reported both bytes.
// The converter reads FF alone (A2 then FF do not continue it).
TEST(StreamConverterPolicies, StopGivesTheSameInvalidBytesWhereverTheInputIsCut) {
  const std::string input = "\xFF\xA2\xFF\xFF\xA2";
  for (size_t at = 0; at <= input.size(); ++at) {
    const Converted result = convertPieces(settings(KelCS_UTF8, KelCS_UTF8, Policy::kStop),
                                           {input.substr(0, at), input.substr(at)});
    EXPECT_EQ(result.output, "") << "cut after byte " << at;
    EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kInvalidInput) << "cut after byte " << at;
    EXPECT_EQ(result.failure.offset, 0u) << "cut after byte " << at;
    EXPECT_EQ(result.failure.bytes, "\xFF") << "cut after byte " << at;
  }
}

TEST(StreamConverterPolicies, StopKeepsGoingOverAPairCutBetweenWrites) {
  const std::string input = bytesOf(std::u16string(u"a\U0001F600"));
  const Converted result = convertPieces(settings(KelCS_UTF16, KelCS_UTF8, Policy::kStop),
                                         {input.substr(0, 4), input.substr(4)});
  EXPECT_EQ(result.output, "a\xF0\x9F\x98\x80");
  EXPECT_EQ(result.failure.kind, ConversionFailure::Kind::kNone);
}

TEST(StreamConverterPolicies, StopWritesNothingMoreAfterTheFailure) {
  StringSink sink;
  StreamConverter converter(settings(KelCS_UTF8, KelCS_ISO_8859_1, Policy::kStop), sink);
  EXPECT_FALSE(converter.write("a\xE2\x82\xAC", 4));
  EXPECT_FALSE(converter.write("b", 1));
  EXPECT_FALSE(converter.finishInput());
  EXPECT_EQ(sink.text, "a");
}

// --- Inputs and the byte-order mark --------------------------------------------------

TEST(StreamConverterInputs, EachInputEndsItsOwnSequencesAndCountsFromZero) {
  StringSink sink;
  StreamConverter converter(settings(KelCS_UTF8, KelCS_UTF8, Policy::kStop), sink);
  EXPECT_TRUE(converter.write("ab", 2));
  EXPECT_TRUE(converter.finishInput());
  EXPECT_TRUE(converter.write("c\xC3", 2));
  EXPECT_FALSE(converter.finishInput());
  EXPECT_EQ(sink.text, "abc");
  EXPECT_EQ(converter.failure().offset, 1u);
}

StreamSettings withByteOrderMark(KelCharSet from, KelCharSet to) {
  StreamSettings result = settings(from, to);
  result.addByteOrderMark = true;
  return result;
}

TEST(StreamConverterByteOrderMark, ComesFirst) {
  EXPECT_EQ(convert(withByteOrderMark(KelCS_WCP1252, KelCS_UTF8), "caf\xE9"),
            "\xEF\xBB\xBF" "caf\xC3\xA9");
}

TEST(StreamConverterByteOrderMark, IsNotDoubled) {
  EXPECT_EQ(convert(withByteOrderMark(KelCS_UTF8, KelCS_UTF16), "\xEF\xBB\xBF" "a"),
            bytesOf(std::u16string(u"\uFEFFa")));
}

TEST(StreamConverterByteOrderMark, IsWrittenForAnEmptyText) {
  EXPECT_EQ(convert(withByteOrderMark(KelCS_UTF8, KelCS_UTF32), ""),
            bytesOf(std::u32string(U"\uFEFF")));
}

TEST(StreamConverterByteOrderMark, GoesBeforeALeadingZero) {
  EXPECT_EQ(convert(withByteOrderMark(KelCS_UTF8, KelCS_UTF8), std::string("\0a", 2)),
            std::string("\xEF\xBB\xBF\0a", 5));
}

TEST(StreamConverterByteOrderMark, IsNeitherAddedNorRemovedOtherwise) {
  EXPECT_EQ(convert(settings(KelCS_UTF8, KelCS_UTF16), "\xEF\xBB\xBF" "a"),
            bytesOf(std::u16string(u"\uFEFFa")));
  EXPECT_EQ(convert(settings(KelCS_WCP1252, KelCS_UTF8), "a"), "a");
}

}  // namespace
