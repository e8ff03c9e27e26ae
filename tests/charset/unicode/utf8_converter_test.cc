// KelCharSetConverterUTF8: counting and converting between UTF-8 and UTF-16.
//
// The converter is lenient: it decodes without validating ranges (overlong
// forms, encoded surrogates and lead bytes 0xF8-0xFF all decode as their bits
// say), turns malformed sequences into U+FFFD whatever the policy, and encodes
// every UTF-16 unit it is given, unpaired low surrogates included. Expected
// values are written from the converter's rules or taken from glibc iconv
// (tests/support/iconv_oracle.h); literals marked "Python" were derived with
// Python's codecs.
//
// Every conversion writes into a GuardedBuffer sized room + terminator and
// must leave the guards alone, except where the escape of an unpaired high
// surrogate is allowed to run past the room; those tests size the buffer for
// the overrun and check exactly where the terminator lands.
#include <KelULib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "tests/support/iconv_oracle.h"

namespace {

using kelulib_test::bytesToUnits;
using kelulib_test::GuardedBuffer;
using kelulib_test::iconvConvert;
using kelulib_test::unitsToBytes;

KelCharSetConverter* utf8() { return KelCharSetConverter::getConverter(KelCS_UTF8); }

// A byte string from byte values (avoids the sign and greedy-escape traps of
// "\x.." literals).
std::string bytes(std::initializer_list<unsigned> values) {
  std::string text;
  for (unsigned value : values) text.push_back(static_cast<char>(value));
  return text;
}

// A UTF-16 text from unit values.
std::u16string units(std::initializer_list<unsigned> values) {
  std::u16string text;
  for (unsigned value : values) text.push_back(static_cast<char16_t>(value));
  return text;
}

// Outcome of one conversion, shared by both directions.
template <typename Text>
struct Outcome {
  size_t returned = 0;
  Text output;                    // the `returned` elements before the terminator
  bool terminated = false;        // a zero element right after the output
  bool restUntouched = false;     // nothing written after the terminator, guards included
  bool guardsIntact = false;      // nothing written past the buffer's usable size
  bool illegalFromClear = false;  // the flag after the call when it was false on entry
  bool illegalFromSet = false;    // the flag after the call when it was true on entry
};

using Decoded = Outcome<std::u16string>;
using Encoded = Outcome<std::string>;

template <typename T, typename Text>
void record(const GuardedBuffer<T>& out, size_t returned, Outcome<Text>* outcome) {
  outcome->returned = returned;
  const size_t shown = std::min(returned, out.size());
  const std::vector<T> prefix = out.prefix(shown);
  outcome->output.assign(prefix.begin(), prefix.end());
  outcome->terminated = returned < out.size() && out[returned] == 0;
  outcome->restUntouched = returned < out.size() && out.untouchedFrom(returned + 1);
  outcome->guardsIntact = out.guardsIntact();
}

// toUTF16 of the zero-terminated `source` with `room` units of room, into a
// buffer of room + 1 units. Run twice, with the flag false and true on entry.
Decoded decode(const std::string& source, size_t room, int srcLimit = -1,
               ILLCHAR_OPTYPE op = ILLCHAR_REPLACE) {
  Decoded outcome;
  {
    GuardedBuffer<wchar16> out(room + 1);
    bool illegal = false;
    const size_t returned =
        utf8()->toUTF16(out.data(), source.c_str(), room, op, &illegal, srcLimit);
    record(out, returned, &outcome);
    outcome.illegalFromClear = illegal;
  }
  {
    GuardedBuffer<wchar16> out(room + 1);
    bool illegal = true;
    utf8()->toUTF16(out.data(), source.c_str(), room, op, &illegal, srcLimit);
    outcome.illegalFromSet = illegal;
  }
  return outcome;
}

// fromUTF16 of the zero-terminated `source` with `room` bytes of room, into a
// buffer of room + 1 + `overrun` bytes. Run twice, with the flag false and
// true on entry. `source` may carry units after an embedded zero unit: the
// converter must not reach them.
Encoded encode(const std::u16string& source, size_t room, ILLCHAR_OPTYPE op = ILLCHAR_REPLACE,
               size_t overrun = 0) {
  Encoded outcome;
  {
    GuardedBuffer<unsigned char> out(room + 1 + overrun);
    bool illegal = false;
    const size_t returned = utf8()->fromUTF16(out.data(), source.c_str(), room, op, &illegal);
    record(out, returned, &outcome);
    outcome.illegalFromClear = illegal;
  }
  {
    GuardedBuffer<unsigned char> out(room + 1 + overrun);
    bool illegal = true;
    utf8()->fromUTF16(out.data(), source.c_str(), room, op, &illegal);
    outcome.illegalFromSet = illegal;
  }
  return outcome;
}

// Terminator right after the output, nothing written after it.
template <typename Text>
testing::AssertionResult cleanlyTerminated(const Outcome<Text>& outcome) {
  if (!outcome.terminated) {
    return testing::AssertionFailure() << "no zero terminator at index " << outcome.returned;
  }
  if (!outcome.restUntouched) {
    return testing::AssertionFailure()
           << "something written after the terminator at index " << outcome.returned;
  }
  if (!outcome.guardsIntact) return testing::AssertionFailure() << "guard elements overwritten";
  return testing::AssertionSuccess();
}

template <typename Text>
testing::AssertionResult flagged(const Outcome<Text>& outcome) {
  if (outcome.illegalFromClear && outcome.illegalFromSet) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "illegal flag: " << outcome.illegalFromClear << " when clear on entry, "
         << outcome.illegalFromSet << " when set on entry (want true, true)";
}

template <typename Text>
testing::AssertionResult notFlagged(const Outcome<Text>& outcome) {
  if (!outcome.illegalFromClear && !outcome.illegalFromSet) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "illegal flag: " << outcome.illegalFromClear << " when clear on entry, "
         << outcome.illegalFromSet << " when set on entry (want false, false)";
}

// Splits well-formed UTF-8 (as iconv writes it) into its characters.
std::vector<std::string> splitUtf8Characters(const std::string& text) {
  std::vector<std::string> characters;
  for (char byte : text) {
    if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80 || characters.empty()) {
      characters.emplace_back();
    }
    characters.back().push_back(byte);
  }
  return characters;
}

// The three bytes the encoder writes for a unit outside the surrogate-pair
// path: 0xE0 | u >> 12, 0x80 | (u >> 6) & 0x3F, 0x80 | u & 0x3F.
std::string threeByteForm(unsigned unit) {
  return bytes({0xE0 | unit >> 12, 0x80 | ((unit >> 6) & 0x3F), 0x80 | (unit & 0x3F)});
}

const char16_t kReplacement = 0xFFFD;

// ---------------------------------------------------------------------------
// The converter object and its constants.

TEST(Utf8ConverterBasics, RegistryServesTheUtf8ConverterClass) {
  KelCharSetConverter* converter = utf8();
  ASSERT_NE(converter, nullptr);
  EXPECT_NE(dynamic_cast<KelCharSetConverterUTF8*>(converter), nullptr);
}

// ---------------------------------------------------------------------------
// getNumUnits: characters in UTF-8 text, one per lead byte.

TEST(Utf8ConverterGetNumUnits, NullSourceGivesZero) {
  EXPECT_EQ(utf8()->getNumUnits(nullptr, 10), 0u);
  EXPECT_EQ(utf8()->getNumUnits(nullptr, static_cast<size_t>(-1)), 0u);
}

TEST(Utf8ConverterGetNumUnits, ZeroByteCountGivesZero) {
  EXPECT_EQ(utf8()->getNumUnits("abc", 0), 0u);
}

TEST(Utf8ConverterGetNumUnits, AllOnesCountReadsUpToTheZeroByte) {
  const std::string text = bytes({'A', 'B', 0, 'C', 'D'});
  EXPECT_EQ(utf8()->getNumUnits(text.data(), static_cast<size_t>(-1)), 2u);
  EXPECT_EQ(utf8()->getNumUnits("hello", static_cast<size_t>(-1)), 5u);
  EXPECT_EQ(utf8()->getNumUnits("", static_cast<size_t>(-1)), 0u);
}

TEST(Utf8ConverterGetNumUnits, ExplicitCountBoundsTheBytesRead) {
  EXPECT_EQ(utf8()->getNumUnits("ABCDE", 3), 3u);
  EXPECT_EQ(utf8()->getNumUnits("ABCDE", 1), 1u);
}

TEST(Utf8ConverterGetNumUnits, StopsAtTheZeroByteWithinTheCount) {
  const std::string text = bytes({'A', 'B', 0, 'C', 'D'});
  EXPECT_EQ(utf8()->getNumUnits(text.data(), text.size()), 2u);
}

TEST(Utf8ConverterGetNumUnits, CountsOneForEachSequenceLength) {
  // A, U+00E9, U+20AC, U+1F600 (UTF-8 bytes from Python).
  const std::string text = bytes({'A', 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), text.size()), 4u);
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 4u);
}

TEST(Utf8ConverterGetNumUnits, FourByteSequenceCountsOne) {
  const std::string text = bytes({0xF0, 0x9F, 0x98, 0x80});  // U+1F600
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), 4), 1u);
}

TEST(Utf8ConverterGetNumUnits, UndercountsFourByteSequencesAgainstToUtf16) {
  // "A", U+1F600, "B": three characters counted, four units decoded.
  const std::string text = bytes({'A', 0xF0, 0x9F, 0x98, 0x80, 'B'});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 3u);
  const Decoded decoded = decode(text, 8);
  EXPECT_EQ(decoded.returned, 4u);
  EXPECT_EQ(decoded.output, units({'A', 0xD83D, 0xDE00, 'B'}));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterGetNumUnits, TextSizedByTheCountLosesItsLastSupplementaryCharacter) {
  // U+00E9, U+1F600: counted as 2, so the pair finds one unit of room left.
  const std::string text = bytes({0xC3, 0xA9, 0xF0, 0x9F, 0x98, 0x80});
  const size_t counted = utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1));
  ASSERT_EQ(counted, 2u);
  const Decoded decoded = decode(text, counted);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({0xE9, kReplacement}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterGetNumUnits, StopsAtALeadingStrayContinuationByte) {
  const std::string text = bytes({0x80, 'A'});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 0u);
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), text.size()), 0u);
}

TEST(Utf8ConverterGetNumUnits, StopsForGoodAtAStrayContinuationByte) {
  // toUTF16 would drop the 0xBF and go on to "BC"; the count does not.
  const std::string text = bytes({'A', 0xBF, 'B', 'C'});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 1u);
  const Decoded decoded = decode(text, 8);
  EXPECT_EQ(decoded.output, u"ABC");
}

TEST(Utf8ConverterGetNumUnits, StopsAtASequenceLongerThanTheBytesLeft) {
  const std::string twoByte = bytes({'A', 0xC3, 0xA9});
  EXPECT_EQ(utf8()->getNumUnits(twoByte.c_str(), 2), 1u);
  EXPECT_EQ(utf8()->getNumUnits(twoByte.c_str(), 3), 2u);
  const std::string threeByte = bytes({0xE2, 0x82, 0xAC});
  EXPECT_EQ(utf8()->getNumUnits(threeByte.c_str(), 2), 0u);
  const std::string fourByte = bytes({'x', 0xF0, 0x9F, 0x98, 0x80});
  EXPECT_EQ(utf8()->getNumUnits(fourByte.c_str(), 4), 1u);
}

TEST(Utf8ConverterGetNumUnits, StopsAtASequenceCutByTheZeroByte) {
  // With (size_t)-1 the bytes left end at the zero byte.
  const std::string text = bytes({'A', 0xE2, 0x82});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 1u);
}

TEST(Utf8ConverterGetNumUnits, SkipsSequencesWithoutExaminingTheirContinuationBytes) {
  // The lead 0xC3 claims two bytes; the "A" it swallows is not looked at.
  const std::string text = bytes({0xC3, 'A', 'B'});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 2u);
  // Likewise a zero byte inside a claimed sequence is skipped.
  const std::string withZero = bytes({0xC3, 0, 'B'});
  EXPECT_EQ(utf8()->getNumUnits(withZero.data(), 3), 2u);
}

TEST(Utf8ConverterGetNumUnits, LeadBytesF8ToFFCountAsFourByteSequences) {
  const std::string text = bytes({0xF8, 0x80, 0x80, 0x80, 0xFF, 0xBF, 0xBF, 0xBF, 'A'});
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), 3u);
}

// ---------------------------------------------------------------------------
// toUTF16: decoding.

TEST(Utf8ConverterToUtf16, NullDestinationGivesZeroAndTouchesNothing) {
  bool illegal = true;
  EXPECT_EQ(utf8()->toUTF16(nullptr, "abc", 10, ILLCHAR_REPLACE, &illegal, -1), 0u);
  EXPECT_TRUE(illegal);  // returns before the flag is cleared
}

TEST(Utf8ConverterToUtf16, NullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<wchar16> out(11);
  bool illegal = true;
  EXPECT_EQ(utf8()->toUTF16(out.data(), nullptr, 10, ILLCHAR_REPLACE, &illegal, -1), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
  EXPECT_TRUE(illegal);
}

TEST(Utf8ConverterToUtf16, ZeroRoomWritesOnlyTheTerminator) {
  const Decoded decoded = decode("abc", 0);
  EXPECT_EQ(decoded.returned, 0u);
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, ZeroRoomWritesOnlyTheTerminatorEvenForMalformedInput) {
  const Decoded decoded = decode(bytes({0xC3, 'A'}), 0);
  EXPECT_EQ(decoded.returned, 0u);
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, EmptyTextGivesAnEmptyTerminatedOutput) {
  const Decoded decoded = decode("", 4);
  EXPECT_EQ(decoded.returned, 0u);
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, DecodesOneByteSequences) {
  const Decoded decoded = decode(bytes({'A', 'z', 0x01, 0x7F}), 4);
  EXPECT_EQ(decoded.returned, 4u);
  EXPECT_EQ(decoded.output, units({'A', 'z', 0x01, 0x7F}));
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, DecodesTwoByteSequences) {
  // U+00E9, U+0080, U+07FF (UTF-8 bytes from Python).
  const Decoded decoded = decode(bytes({0xC3, 0xA9, 0xC2, 0x80, 0xDF, 0xBF}), 3);
  EXPECT_EQ(decoded.returned, 3u);
  EXPECT_EQ(decoded.output, units({0x00E9, 0x0080, 0x07FF}));
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, DecodesThreeByteSequences) {
  // U+20AC, U+0800, U+FFFF (UTF-8 bytes from Python).
  const Decoded decoded = decode(bytes({0xE2, 0x82, 0xAC, 0xE0, 0xA0, 0x80, 0xEF, 0xBF, 0xBF}), 3);
  EXPECT_EQ(decoded.returned, 3u);
  EXPECT_EQ(decoded.output, units({0x20AC, 0x0800, 0xFFFF}));
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, DecodesFourByteSequencesAsSurrogatePairs) {
  const Decoded decoded = decode(bytes({0xF0, 0x9F, 0x98, 0x80}), 2);  // U+1F600
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({0xD83D, 0xDE00}));
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, DecodesTheFirstAndLastSupplementaryCodePoints) {
  // U+10000 and U+10FFFF (UTF-8 and UTF-16 from Python).
  const Decoded decoded = decode(bytes({0xF0, 0x90, 0x80, 0x80, 0xF4, 0x8F, 0xBF, 0xBF}), 4);
  EXPECT_EQ(decoded.returned, 4u);
  EXPECT_EQ(decoded.output, units({0xD800, 0xDC00, 0xDBFF, 0xDFFF}));
  EXPECT_TRUE(cleanlyTerminated(decoded));
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, TwoByteLeadBeforeANonContinuationByteGivesReplacement) {
  // The "A" is not consumed by the bad sequence: it is read again as a lead.
  const Decoded decoded = decode(bytes({0xC3, 'A'}), 4);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({kReplacement, 'A'}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, TwoByteLeadBeforeAnotherLeadRereadsThatLead) {
  const Decoded decoded = decode(bytes({0xC3, 0xC3, 0xA9}), 4);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({kReplacement, 0x00E9}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, TwoByteLeadBeforeTheZeroByteGivesReplacementAndEnds) {
  const Decoded decoded = decode(bytes({'A', 0xC3}), 4);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({'A', kReplacement}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, MalformedThreeByteSequenceConsumesOnlyTheLead) {
  // E2 41 42: both following bytes are read again as leads.
  const Decoded first = decode(bytes({0xE2, 'A', 'B'}), 4);
  EXPECT_EQ(first.output, units({kReplacement, 'A', 'B'}));
  EXPECT_EQ(first.returned, 3u);
  EXPECT_TRUE(flagged(first));
  EXPECT_TRUE(cleanlyTerminated(first));
  // E2 82 41: the 0x82 is then a stray continuation byte and is dropped.
  const Decoded second = decode(bytes({0xE2, 0x82, 'A'}), 4);
  EXPECT_EQ(second.output, units({kReplacement, 'A'}));
  EXPECT_EQ(second.returned, 2u);
  EXPECT_TRUE(flagged(second));
  EXPECT_TRUE(cleanlyTerminated(second));
}

TEST(Utf8ConverterToUtf16, ThreeByteSequenceCutByTheZeroByteGivesOneReplacement) {
  const Decoded decoded = decode(bytes({0xE2, 0x82}), 4);
  EXPECT_EQ(decoded.returned, 1u);
  EXPECT_EQ(decoded.output, units({kReplacement}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, MalformedFourByteSequenceConsumesOnlyTheLead) {
  // F0 9F 98 41: 9F and 98 are dropped as stray bytes, the "A" decoded.
  const Decoded first = decode(bytes({0xF0, 0x9F, 0x98, 'A'}), 4);
  EXPECT_EQ(first.output, units({kReplacement, 'A'}));
  EXPECT_EQ(first.returned, 2u);
  EXPECT_TRUE(flagged(first));
  EXPECT_TRUE(cleanlyTerminated(first));
  // F0 41 42 43: everything after the lead is read again.
  const Decoded second = decode(bytes({0xF0, 'A', 'B', 'C'}), 4);
  EXPECT_EQ(second.output, units({kReplacement, 'A', 'B', 'C'}));
  EXPECT_TRUE(flagged(second));
  EXPECT_TRUE(cleanlyTerminated(second));
}

TEST(Utf8ConverterToUtf16, StrayContinuationByteIsDroppedAndFlagged) {
  const Decoded decoded = decode(bytes({0x80, 'A'}), 4);
  EXPECT_EQ(decoded.returned, 1u);
  EXPECT_EQ(decoded.output, u"A");
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, StrayContinuationBytesTakeNoRoom) {
  const Decoded decoded = decode(bytes({0x80, 0xBF, 0x90, 'A', 'B', 'C'}), 2);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, u"AB");
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, OnlyStrayContinuationBytesGiveAnEmptyOutput) {
  const Decoded decoded = decode(bytes({0x80, 0x81}), 4);
  EXPECT_EQ(decoded.returned, 0u);
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, MalformedInputIsReplacedEvenUnderStop) {
  for (ILLCHAR_OPTYPE op :
       {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE, static_cast<ILLCHAR_OPTYPE>(7)}) {
    SCOPED_TRACE(testing::Message() << "op " << static_cast<int>(op));
    const Decoded decoded = decode(bytes({0xC3, 'A', 0x80, 'B'}), 8, -1, op);
    EXPECT_EQ(decoded.returned, 3u);
    EXPECT_EQ(decoded.output, units({kReplacement, 'A', 'B'}));
    EXPECT_TRUE(flagged(decoded));
    EXPECT_TRUE(cleanlyTerminated(decoded));
  }
}

TEST(Utf8ConverterToUtf16, OverlongZeroDecodesToU0000InsideTheOutput) {
  const Decoded decoded = decode(bytes({'A', 0xC0, 0x80, 'B'}), 4);
  EXPECT_EQ(decoded.returned, 3u);
  EXPECT_EQ(decoded.output, units({'A', 0x0000, 'B'}));
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, OverlongFormsDecodeAsTheirBitsSay) {
  // C1 81 and E0 81 81 both spell U+0041 in too many bytes.
  const Decoded decoded = decode(bytes({0xC1, 0x81, 0xE0, 0x81, 0x81}), 4);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, u"AA");
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, EncodedSurrogatePairPassesThroughAsAValidPair) {
  // CESU-8 form of U+1F600 (Python: surrogatepass of D83D DE00).
  const Decoded decoded = decode(bytes({0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80}), 4);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({0xD83D, 0xDE00}));
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, EncodedLoneSurrogatesPassThroughUnflagged) {
  const Decoded decoded = decode(bytes({0xED, 0xA0, 0x80, 'A', 0xED, 0xBF, 0xBF}), 4);
  EXPECT_EQ(decoded.returned, 3u);
  EXPECT_EQ(decoded.output, units({0xD800, 'A', 0xDFFF}));
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, LeadBytesF8ToFFKeepTheirFourthBit) {
  // Pairs from v = (b & 0x0F) << 18 | ..., 0xD7C0 + (v >> 10), 0xDC00 + (v & 0x3FF):
  // F0 9F 98 80 -> D83D DE00, while F8 9F 98 80 adds 0x800 to the first unit.
  const Decoded first = decode(bytes({0xF8, 0x9F, 0x98, 0x80}), 2);
  EXPECT_EQ(first.output, units({0xE03D, 0xDE00}));
  EXPECT_EQ(first.returned, 2u);
  EXPECT_TRUE(notFlagged(first));
  EXPECT_TRUE(cleanlyTerminated(first));
  const Decoded second = decode(bytes({0xFF, 0xBF, 0xBF, 0xBF, 0xF7, 0xBF, 0xBF, 0xBF}), 4);
  EXPECT_EQ(second.output, units({0xE7BF, 0xDFFF, 0xDFBF, 0xDFFF}));
  EXPECT_EQ(second.returned, 4u);
  EXPECT_TRUE(notFlagged(second));
  EXPECT_TRUE(cleanlyTerminated(second));
}

TEST(Utf8ConverterToUtf16, ValuesAboveU10FFFFAreNotRejected) {
  // F4 90 80 80 spells 0x110000: 0xD7C0 + 0x440, 0xDC00 + 0.
  const Decoded decoded = decode(bytes({0xF4, 0x90, 0x80, 0x80}), 2);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({0xDC00, 0xDC00}));
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, ByteOrderMarkIsDecodedAsFeff) {
  const Decoded decoded = decode(bytes({0xEF, 0xBB, 0xBF, 'A'}), 4);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({0xFEFF, 'A'}));
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, StopsAtTheZeroByte) {
  const Decoded decoded = decode(bytes({'A', 'B', 0, 'C', 'D'}), 8);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, u"AB");
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, RoomLimitsTheCharactersWritten) {
  const Decoded decoded = decode("ABCDE", 3);
  EXPECT_EQ(decoded.returned, 3u);
  EXPECT_EQ(decoded.output, u"ABC");
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, FourByteSequenceWithOneUnitOfRoomGivesReplacement) {
  const Decoded decoded = decode(bytes({0xF0, 0x9F, 0x98, 0x80}), 1);
  EXPECT_EQ(decoded.returned, 1u);
  EXPECT_EQ(decoded.output, units({kReplacement}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, FourByteSequenceAfterOtherTextWithOneUnitLeftGivesReplacement) {
  const Decoded decoded = decode(bytes({'A', 0xF0, 0x9F, 0x98, 0x80}), 2);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({'A', kReplacement}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, PairFillingTheLastTwoUnitsEndsTheConversion) {
  const Decoded decoded = decode(bytes({'A', 0xF0, 0x9F, 0x98, 0x80, 'B'}), 3);
  EXPECT_EQ(decoded.returned, 3u);
  EXPECT_EQ(decoded.output, units({'A', 0xD83D, 0xDE00}));
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, SourceLimitBoundsTheBytesRead) {
  const Decoded decoded = decode("ABCD", 8, 2);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, u"AB");
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, SourceLimitOfOneReadsOneCharacter) {
  const Decoded decoded = decode("ABCD", 8, 1);
  EXPECT_EQ(decoded.returned, 1u);
  EXPECT_EQ(decoded.output, u"A");
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, SourceLimitIsCheckedAfterWholeCharacters) {
  // U+00E9 "A" "B" with a bound of 1 and of 3: the bound is tested after each
  // character, so a sequence that crosses it is finished first.
  const std::string text = bytes({0xC3, 0xA9, 'A', 'B'});
  const Decoded one = decode(text, 8, 1);
  EXPECT_EQ(one.output, units({0x00E9}));
  EXPECT_EQ(one.returned, 1u);
  EXPECT_TRUE(cleanlyTerminated(one));
  const Decoded three = decode(text, 8, 3);
  EXPECT_EQ(three.output, units({0x00E9, 'A'}));
  EXPECT_EQ(three.returned, 2u);
  EXPECT_TRUE(cleanlyTerminated(three));
}

TEST(Utf8ConverterToUtf16, SourceLimitCountsAFourByteSequenceAsFourBytes) {
  const std::string text = bytes({0xF0, 0x9F, 0x98, 0x80, 'A', 'B'});
  const Decoded four = decode(text, 8, 4);
  EXPECT_EQ(four.output, units({0xD83D, 0xDE00}));
  EXPECT_TRUE(cleanlyTerminated(four));
  const Decoded five = decode(text, 8, 5);
  EXPECT_EQ(five.output, units({0xD83D, 0xDE00, 'A'}));
  EXPECT_TRUE(cleanlyTerminated(five));
}

TEST(Utf8ConverterToUtf16, SourceLimitCountsDroppedStrayBytes) {
  // 80 and BF are read (and dropped), "A" is the third byte read.
  const Decoded decoded = decode(bytes({0x80, 0xBF, 'A', 'B'}), 8, 3);
  EXPECT_EQ(decoded.returned, 1u);
  EXPECT_EQ(decoded.output, u"A");
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, SourceLimitCountsOnlyTheLeadOfAMalformedSequence) {
  // C3 is read alone (U+FFFD), then "A" makes two bytes read.
  const Decoded decoded = decode(bytes({0xC3, 'A', 'B'}), 8, 2);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, units({kReplacement, 'A'}));
  EXPECT_TRUE(flagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, SourceLimitOfZeroOrBelowSetsNoBound) {
  for (int limit : {0, -1, -2, -1000}) {
    SCOPED_TRACE(testing::Message() << "srcLimit " << limit);
    const Decoded decoded = decode("ABCDE", 8, limit);
    EXPECT_EQ(decoded.returned, 5u);
    EXPECT_EQ(decoded.output, u"ABCDE");
    EXPECT_TRUE(cleanlyTerminated(decoded));
  }
}

TEST(Utf8ConverterToUtf16, SourceLimitBeyondTheTextStopsAtTheZeroByte) {
  const Decoded decoded = decode("AB", 8, 100);
  EXPECT_EQ(decoded.returned, 2u);
  EXPECT_EQ(decoded.output, u"AB");
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST(Utf8ConverterToUtf16, IllegalIsClearedOnEntry) {
  const Decoded decoded = decode(bytes({'A', 0xC3, 0xA9}), 4);
  EXPECT_EQ(decoded.output, units({'A', 0xE9}));
  EXPECT_FALSE(decoded.illegalFromSet);
  EXPECT_TRUE(notFlagged(decoded));
}

TEST(Utf8ConverterToUtf16, NullIllegalPointerIsAllowed) {
  const std::string text = bytes({0xC3, 'A'});
  GuardedBuffer<wchar16> out(5);
  EXPECT_EQ(utf8()->toUTF16(out.data(), text.c_str(), 4, ILLCHAR_REPLACE, nullptr, -1), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<wchar16>{kReplacement, u'A', 0}));
  EXPECT_TRUE(out.untouchedFrom(3));
}

// ---------------------------------------------------------------------------
// getNumBytes: bytes fromUTF16 writes under ILLCHAR_REPLACE.

TEST(Utf8ConverterGetNumBytes, NullSourceGivesZero) {
  EXPECT_EQ(utf8()->getNumBytes(nullptr, 5), 0u);
  EXPECT_EQ(utf8()->getNumBytes(nullptr, static_cast<size_t>(-1)), 0u);
}

TEST(Utf8ConverterGetNumBytes, ZeroUnitCountGivesZero) {
  EXPECT_EQ(utf8()->getNumBytes(u"abc", 0), 0u);
}

TEST(Utf8ConverterGetNumBytes, CountsByUnitValue) {
  const size_t all = static_cast<size_t>(-1);
  EXPECT_EQ(utf8()->getNumBytes(units({0x01}).c_str(), all), 1u);
  EXPECT_EQ(utf8()->getNumBytes(units({0x7F}).c_str(), all), 1u);
  EXPECT_EQ(utf8()->getNumBytes(units({0x80}).c_str(), all), 2u);
  EXPECT_EQ(utf8()->getNumBytes(units({0x7FF}).c_str(), all), 2u);
  EXPECT_EQ(utf8()->getNumBytes(units({0x800}).c_str(), all), 3u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xD7FF}).c_str(), all), 3u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xE000}).c_str(), all), 3u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xFFFF}).c_str(), all), 3u);
  EXPECT_EQ(utf8()->getNumBytes(units({'A', 0xE9, 0x20AC}).c_str(), all), 6u);
}

TEST(Utf8ConverterGetNumBytes, UnpairedLowSurrogateCountsThree) {
  EXPECT_EQ(utf8()->getNumBytes(units({0xDC00}).c_str(), static_cast<size_t>(-1)), 3u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xDFFF, 'A'}).c_str(), static_cast<size_t>(-1)), 4u);
}

TEST(Utf8ConverterGetNumBytes, SurrogatePairCountsFour) {
  EXPECT_EQ(utf8()->getNumBytes(units({0xD83D, 0xDE00}).c_str(), static_cast<size_t>(-1)), 4u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xD83D, 0xDE00}).c_str(), 2), 4u);
}

TEST(Utf8ConverterGetNumBytes, UnpairedHighSurrogateCountsOneForTheQuestionMark) {
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800, 'A'}).c_str(), static_cast<size_t>(-1)), 2u);
}

TEST(Utf8ConverterGetNumBytes, UnitAfterAnUnpairedHighSurrogateIsCountedByTheSameRules) {
  const size_t all = static_cast<size_t>(-1);
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800, 0xE9}).c_str(), all), 3u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800, 0x20AC}).c_str(), all), 4u);
  // The next unit is itself a high surrogate that pairs: "?" then four bytes.
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800, 0xD83D, 0xDE00}).c_str(), all), 5u);
  // ... or that does not: "?" "?" "A".
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800, 0xDBFF, 'A'}).c_str(), all), 3u);
}

TEST(Utf8ConverterGetNumBytes, HighSurrogateBeforeTheZeroUnitIsNotCounted) {
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800}).c_str(), static_cast<size_t>(-1)), 0u);
  EXPECT_EQ(utf8()->getNumBytes(units({'A', 0xDBFF}).c_str(), static_cast<size_t>(-1)), 1u);
  EXPECT_EQ(utf8()->getNumBytes(units({'A', 0xDBFF}).c_str(), 5), 1u);
}

TEST(Utf8ConverterGetNumBytes, UnitBoundCuttingAPairLeavesTheHighSurrogateUncounted) {
  const std::u16string text = units({'A', 0xD83D, 0xDE00});
  EXPECT_EQ(utf8()->getNumBytes(text.c_str(), 2), 1u);
  EXPECT_EQ(utf8()->getNumBytes(text.c_str(), 3), 5u);
  EXPECT_EQ(utf8()->getNumBytes(units({0xD800, 'A'}).c_str(), 1), 0u);
}

TEST(Utf8ConverterGetNumBytes, UnitBoundLimitsTheUnitsRead) {
  const std::u16string text = units({'A', 'B', 'C', 0x20AC});
  EXPECT_EQ(utf8()->getNumBytes(text.c_str(), 1), 1u);
  EXPECT_EQ(utf8()->getNumBytes(text.c_str(), 3), 3u);
  EXPECT_EQ(utf8()->getNumBytes(text.c_str(), 4), 6u);
}

TEST(Utf8ConverterGetNumBytes, StopsAtTheZeroUnit) {
  const std::u16string text = units({'A', 0x20AC, 0, 'B', 'C'});
  EXPECT_EQ(utf8()->getNumBytes(text.data(), static_cast<size_t>(-1)), 4u);
  EXPECT_EQ(utf8()->getNumBytes(text.data(), text.size()), 4u);
}

// ---------------------------------------------------------------------------
// fromUTF16: encoding.

TEST(Utf8ConverterFromUtf16, NullDestinationGivesZeroAndTouchesNothing) {
  bool illegal = true;
  EXPECT_EQ(utf8()->fromUTF16(nullptr, u"abc", 10, ILLCHAR_REPLACE, &illegal), 0u);
  EXPECT_TRUE(illegal);  // returns before the flag is cleared
}

TEST(Utf8ConverterFromUtf16, NullSourceGivesZeroAndWritesNothing) {
  GuardedBuffer<unsigned char> out(11);
  bool illegal = true;
  EXPECT_EQ(utf8()->fromUTF16(out.data(), nullptr, 10, ILLCHAR_REPLACE, &illegal), 0u);
  EXPECT_TRUE(out.untouchedFrom(0));
  EXPECT_TRUE(illegal);
}

TEST(Utf8ConverterFromUtf16, ZeroRoomWritesOnlyTheTerminator) {
  const Encoded encoded = encode(u"abc", 0);
  EXPECT_EQ(encoded.returned, 0u);
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, ZeroRoomWritesOnlyTheTerminatorWhateverThePolicy) {
  // The unpaired high surrogate is never reached with no room.
  for (ILLCHAR_OPTYPE op : {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE}) {
    SCOPED_TRACE(testing::Message() << "op " << static_cast<int>(op));
    const Encoded encoded = encode(units({0xD800, 'A'}), 0, op);
    EXPECT_EQ(encoded.returned, 0u);
    EXPECT_TRUE(cleanlyTerminated(encoded));
    EXPECT_TRUE(notFlagged(encoded));
  }
}

TEST(Utf8ConverterFromUtf16, EmptyTextGivesAnEmptyTerminatedOutput) {
  const Encoded encoded = encode(u"", 4);
  EXPECT_EQ(encoded.returned, 0u);
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, EncodesUnitsBelow80AsOneByte) {
  const Encoded encoded = encode(units({'A', 'z', 0x01, 0x7F}), 4);
  EXPECT_EQ(encoded.returned, 4u);
  EXPECT_EQ(encoded.output, bytes({'A', 'z', 0x01, 0x7F}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, EncodesUnitsBelow800AsTwoBytes) {
  // U+00E9, U+0080, U+07FF (UTF-8 bytes from Python).
  const Encoded encoded = encode(units({0xE9, 0x80, 0x7FF}), 6);
  EXPECT_EQ(encoded.returned, 6u);
  EXPECT_EQ(encoded.output, bytes({0xC3, 0xA9, 0xC2, 0x80, 0xDF, 0xBF}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, EncodesOtherBmpUnitsAsThreeBytes) {
  // U+20AC, U+0800, U+FEFF, U+FFFF (UTF-8 bytes from Python).
  const Encoded encoded = encode(units({0x20AC, 0x800, 0xFEFF, 0xFFFF}), 12);
  EXPECT_EQ(encoded.returned, 12u);
  EXPECT_EQ(encoded.output,
            bytes({0xE2, 0x82, 0xAC, 0xE0, 0xA0, 0x80, 0xEF, 0xBB, 0xBF, 0xEF, 0xBF, 0xBF}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, EncodesSurrogatePairsAsFourBytes) {
  const Encoded encoded = encode(units({0xD83D, 0xDE00}), 4);  // U+1F600
  EXPECT_EQ(encoded.returned, 4u);
  EXPECT_EQ(encoded.output, bytes({0xF0, 0x9F, 0x98, 0x80}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, EncodesTheFirstAndLastSupplementaryCodePoints) {
  // U+10000 and U+10FFFF (from Python).
  const Encoded encoded = encode(units({0xD800, 0xDC00, 0xDBFF, 0xDFFF}), 8);
  EXPECT_EQ(encoded.returned, 8u);
  EXPECT_EQ(encoded.output, bytes({0xF0, 0x90, 0x80, 0x80, 0xF4, 0x8F, 0xBF, 0xBF}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, RoomUsedUpEndsTheConversion) {
  const Encoded encoded = encode(u"ABCDE", 3);
  EXPECT_EQ(encoded.returned, 3u);
  EXPECT_EQ(encoded.output, "ABC");
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, RoomTooSmallForATwoByteCharacterStopsBeforeIt) {
  const Encoded encoded = encode(units({'A', 0xE9, 'B'}), 2);
  EXPECT_EQ(encoded.returned, 1u);
  EXPECT_EQ(encoded.output, "A");
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, RoomTooSmallForAThreeByteCharacterStopsBeforeIt) {
  const Encoded encoded = encode(units({'A', 0x20AC, 'B'}), 3);
  EXPECT_EQ(encoded.returned, 1u);
  EXPECT_EQ(encoded.output, "A");
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, RoomTooSmallForAFourByteCharacterStopsBeforeIt) {
  const Encoded alone = encode(units({0xD83D, 0xDE00}), 3);
  EXPECT_EQ(alone.returned, 0u);
  EXPECT_TRUE(cleanlyTerminated(alone));
  EXPECT_TRUE(notFlagged(alone));
  const Encoded after = encode(units({'A', 0xD83D, 0xDE00, 'B'}), 4);
  EXPECT_EQ(after.returned, 1u);
  EXPECT_EQ(after.output, "A");
  EXPECT_TRUE(cleanlyTerminated(after));
  EXPECT_TRUE(notFlagged(after));
}

TEST(Utf8ConverterFromUtf16, ExactRoomHoldsEveryCharacter) {
  // U+00E9, U+20AC, U+1F600: 2 + 3 + 4 bytes (from Python).
  const Encoded encoded = encode(units({0xE9, 0x20AC, 0xD83D, 0xDE00}), 9);
  EXPECT_EQ(encoded.returned, 9u);
  EXPECT_EQ(encoded.output, bytes({0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, StopsAtTheZeroUnit) {
  const Encoded encoded = encode(units({'A', 'B', 0, 'C', 'D'}), 8);
  EXPECT_EQ(encoded.returned, 2u);
  EXPECT_EQ(encoded.output, "AB");
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, UnpairedLowSurrogateIsEncodedAsThreeBytesUnflagged) {
  const Encoded encoded = encode(units({0xDC00}), 3);
  EXPECT_EQ(encoded.returned, 3u);
  EXPECT_EQ(encoded.output, bytes({0xED, 0xB0, 0x80}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, LowSurrogateBeforeAHighSurrogateIsNotAPair) {
  // DFFF D800 DC00: the reversed order is an unpaired low, then a real pair.
  const Encoded encoded = encode(units({0xDFFF, 0xD800, 0xDC00}), 8);
  EXPECT_EQ(encoded.returned, 7u);
  EXPECT_EQ(encoded.output, bytes({0xED, 0xBF, 0xBF, 0xF0, 0x90, 0x80, 0x80}));
  EXPECT_TRUE(cleanlyTerminated(encoded));
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, UnpairedHighSurrogateUnderReplaceWritesQuestionMarkAndGoesOn) {
  const Encoded encoded = encode(units({0xD800, 'A'}), 8, ILLCHAR_REPLACE);
  EXPECT_EQ(encoded.returned, 2u);
  EXPECT_EQ(encoded.output, "?A");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, UnitAfterAReplacedHighSurrogateIsConvertedByTheSameRules) {
  // D800 D83D DE00: "?" and then the pair that the second unit starts.
  const Encoded paired = encode(units({0xD800, 0xD83D, 0xDE00}), 8, ILLCHAR_REPLACE);
  EXPECT_EQ(paired.returned, 5u);
  EXPECT_EQ(paired.output, bytes({'?', 0xF0, 0x9F, 0x98, 0x80}));
  EXPECT_TRUE(flagged(paired));
  EXPECT_TRUE(cleanlyTerminated(paired));
  // D800 DBFF 0041: two question marks.
  const Encoded twice = encode(units({0xD800, 0xDBFF, 'A'}), 8, ILLCHAR_REPLACE);
  EXPECT_EQ(twice.output, "??A");
  EXPECT_TRUE(flagged(twice));
  EXPECT_TRUE(cleanlyTerminated(twice));
}

TEST(Utf8ConverterFromUtf16, ReplacementTakesTheLastByteOfRoom) {
  const Encoded encoded = encode(units({'A', 0xD800, 'B'}), 2, ILLCHAR_REPLACE);
  EXPECT_EQ(encoded.returned, 2u);
  EXPECT_EQ(encoded.output, "A?");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, HighSurrogateBeforeTheZeroUnitUnderReplaceGivesQuestionMarkAndEnds) {
  // Units placed after the zero must not be reached.
  const Encoded encoded = encode(units({'A', 0xD800, 0, 'X', 'Y'}), 8, ILLCHAR_REPLACE);
  EXPECT_EQ(encoded.returned, 2u);
  EXPECT_EQ(encoded.output, "A?");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, OtherPolicyValuesActAsReplace) {
  for (int value : {7, 3, -1}) {
    SCOPED_TRACE(testing::Message() << "op " << value);
    const Encoded encoded =
        encode(units({0xD800, 'A', 0xDBFF, 0xE9}), 8, static_cast<ILLCHAR_OPTYPE>(value));
    EXPECT_EQ(encoded.returned, 5u);
    EXPECT_EQ(encoded.output, bytes({'?', 'A', '?', 0xC3, 0xA9}));
    EXPECT_TRUE(flagged(encoded));
    EXPECT_TRUE(cleanlyTerminated(encoded));
  }
}

TEST(Utf8ConverterFromUtf16, UnpairedHighSurrogateUnderStopEndsTheOutput) {
  const Encoded alone = encode(units({0xD800, 'A'}), 8, ILLCHAR_STOP);
  EXPECT_EQ(alone.returned, 0u);
  EXPECT_TRUE(flagged(alone));
  EXPECT_TRUE(cleanlyTerminated(alone));
  const Encoded after = encode(units({'A', 0xE9, 0xDBFF, 'B'}), 8, ILLCHAR_STOP);
  EXPECT_EQ(after.returned, 3u);
  EXPECT_EQ(after.output, bytes({'A', 0xC3, 0xA9}));
  EXPECT_TRUE(flagged(after));
  EXPECT_TRUE(cleanlyTerminated(after));
}

TEST(Utf8ConverterFromUtf16, HighSurrogateBeforeTheZeroUnitUnderStopEndsTheOutput) {
  const Encoded encoded = encode(units({'A', 0xD800, 0, 'X'}), 8, ILLCHAR_STOP);
  EXPECT_EQ(encoded.returned, 1u);
  EXPECT_EQ(encoded.output, "A");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, UnpairedHighSurrogateUnderEscapeWritesItsEscapeAndDropsTheNextUnit) {
  const Encoded encoded = encode(units({0xD800, 'A'}), 8, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 6u);
  EXPECT_EQ(encoded.output, "U+D800");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeGoesOnAfterTheDroppedUnit) {
  const Encoded encoded = encode(units({'x', 0xDBFF, 'A', 'B', 0xE9}), 16, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 10u);
  EXPECT_EQ(encoded.output, bytes({'x', 'U', '+', 'D', 'B', 'F', 'F', 'B', 0xC3, 0xA9}));
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeDropsAFollowingHighSurrogateUnlooked) {
  // D800 D83D DE00: the D83D is dropped, so DE00 is an unpaired low surrogate.
  const Encoded encoded = encode(units({0xD800, 0xD83D, 0xDE00}), 16, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 9u);
  EXPECT_EQ(encoded.output, std::string("U+D800") + threeByteForm(0xDE00));
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeUsesUpperCaseHexadecimal) {
  const Encoded encoded = encode(units({0xDABC, 'A'}), 8, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.output, "U+DABC");
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeWithFiveBytesOfRoomStopsBeforeTheCharacter) {
  const Encoded alone = encode(units({0xD800, 'A'}), 5, ILLCHAR_ESCAPE);
  EXPECT_EQ(alone.returned, 0u);
  EXPECT_TRUE(flagged(alone));
  EXPECT_TRUE(cleanlyTerminated(alone));
  const Encoded after = encode(units({'A', 0xD800, 'B'}), 6, ILLCHAR_ESCAPE);
  EXPECT_EQ(after.returned, 1u);
  EXPECT_EQ(after.output, "A");
  EXPECT_TRUE(flagged(after));
  EXPECT_TRUE(cleanlyTerminated(after));
}

TEST(Utf8ConverterFromUtf16, EscapeWithSixBytesOfRoomFitsExactly) {
  const Encoded encoded = encode(units({'A', 0xD800, 'B'}), 7, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 7u);
  EXPECT_EQ(encoded.output, "AU+D800");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeCountsFiveBytesSoOneMoreByteMayFollowPastTheRoom) {
  // Room 6: the escape writes six bytes and leaves one byte of room, which
  // "B" takes at dst[6]; the terminator lands at dst[7], one past the room.
  const Encoded encoded = encode(units({0xD800, 'A', 'B', 'C'}), 6, ILLCHAR_ESCAPE, 1);
  EXPECT_EQ(encoded.returned, 7u);
  EXPECT_EQ(encoded.output, "U+D800B");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeLeftoverByteCannotHoldAWiderCharacter) {
  // Room 6 after the escape leaves one byte; U+00E9 needs two: the
  // terminator then lands at dst[6].
  const Encoded encoded = encode(units({0xD800, 'A', 0xE9}), 6, ILLCHAR_ESCAPE, 1);
  EXPECT_EQ(encoded.returned, 6u);
  EXPECT_EQ(encoded.output, "U+D800");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EachEscapeCountsOneByteLessThanItWrites) {
  // Room 12: first escape leaves 7, second (7 > 5) leaves 2, then "B" and
  // "C": fourteen bytes, terminator at dst[14].
  const Encoded encoded =
      encode(units({0xD800, 'x', 0xDBFF, 'y', 'B', 'C', 'D'}), 12, ILLCHAR_ESCAPE, 2);
  EXPECT_EQ(encoded.returned, 14u);
  EXPECT_EQ(encoded.output, "U+D800U+DBFFBC");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeOfAHighSurrogateBeforeTheZeroUnitEndsTheConversion) {
  // The unit after the surrogate is the terminator: the conversion ends
  // after the escape and never reads the units placed beyond it.
  const Encoded encoded = encode(units({0xD800, 0, 'X', 'Y', 'Z'}), 16, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 6u);
  EXPECT_EQ(encoded.output, "U+D800");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, EscapeOfATrailingHighSurrogateAfterTextEndsTheConversion) {
  const Encoded encoded = encode(units({'A', 0xE9, 0xDBFF, 0, 0xD83D, 0xDE00}), 16, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 9u);
  EXPECT_EQ(encoded.output, bytes({'A', 0xC3, 0xA9, 'U', '+', 'D', 'B', 'F', 'F'}));
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, BufferSizedByGetNumBytesCanBeTooSmallForEscapes) {
  // getNumBytes counts one byte per unpaired high surrogate; with that room
  // the escape does not fit and the conversion stops early, in bounds.
  const std::u16string text = units({'A', 0xD800, 'B', 'C'});
  const size_t room = utf8()->getNumBytes(text.c_str(), static_cast<size_t>(-1));
  ASSERT_EQ(room, 4u);
  const Encoded encoded = encode(text, room, ILLCHAR_ESCAPE);
  EXPECT_EQ(encoded.returned, 1u);
  EXPECT_EQ(encoded.output, "A");
  EXPECT_TRUE(flagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, BufferSizedByGetNumBytesFitsTheReplaceConversion) {
  const std::u16string text = units({'A', 0xD800, 0xE9, 0xD83D, 0xDE00, 0xDC00, 0x20AC});
  const size_t room = utf8()->getNumBytes(text.c_str(), static_cast<size_t>(-1));
  ASSERT_EQ(room, 1u + 1u + 2u + 4u + 3u + 3u);
  const Encoded encoded = encode(text, room, ILLCHAR_REPLACE);
  EXPECT_EQ(encoded.returned, room);
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST(Utf8ConverterFromUtf16, IllegalIsClearedOnEntry) {
  const Encoded encoded = encode(units({'A', 0xE9, 0xD83D, 0xDE00}), 16);
  EXPECT_EQ(encoded.returned, 7u);
  EXPECT_FALSE(encoded.illegalFromSet);
  EXPECT_TRUE(notFlagged(encoded));
}

TEST(Utf8ConverterFromUtf16, NullIllegalPointerIsAllowed) {
  const std::u16string text = units({0xD800, 'A'});
  GuardedBuffer<unsigned char> out(9);
  EXPECT_EQ(utf8()->fromUTF16(out.data(), text.c_str(), 8, ILLCHAR_REPLACE, nullptr), 2u);
  EXPECT_EQ(out.prefix(3), (std::vector<unsigned char>{'?', 'A', 0}));
  EXPECT_TRUE(out.untouchedFrom(3));
}

// ---------------------------------------------------------------------------
// Exhaustive checks against iconv and the encoding rules.

// Every BMP unit but U+0000 and the surrogates, in order.
std::u16string nonSurrogateBmpUnits() {
  std::u16string text;
  for (unsigned unit = 1; unit <= 0xFFFF; ++unit) {
    if (unit < 0xD800 || unit > 0xDFFF) text.push_back(static_cast<char16_t>(unit));
  }
  return text;
}

// The UTF-8 form of code point `cp` by the encoding's rules.
std::string utf8Of(uint32_t cp) {
  if (cp < 0x80) return bytes({cp});
  if (cp < 0x800) return bytes({0xC0 | cp >> 6, 0x80 | (cp & 0x3F)});
  if (cp < 0x10000) return bytes({0xE0 | cp >> 12, 0x80 | ((cp >> 6) & 0x3F), 0x80 | (cp & 0x3F)});
  return bytes({0xF0 | cp >> 18, 0x80 | ((cp >> 12) & 0x3F), 0x80 | ((cp >> 6) & 0x3F),
                0x80 | (cp & 0x3F)});
}

// iconv's UTF-8 for `text` (well-formed UTF-16). The oracle's answer to so
// long a text is kept as its digest: the text that the encoding's rules
// give is iconv's when iconv writes exactly it; nullopt, with a failure,
// when iconv writes anything else.
std::optional<std::string> iconvUtf8(const std::u16string& text) {
  std::string candidate;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t cp = text[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    candidate += utf8Of(cp);
  }
  if (!kelulib_test::IconvConverter("UTF-16LE", "UTF-8").writes(unitsToBytes(text), candidate)) {
    ADD_FAILURE() << "iconv writes other UTF-8 for the text than the encoding's rules";
    return std::nullopt;
  }
  return candidate;
}

// iconv's UTF-8 for each unit of `text`, one entry per character.
std::vector<std::string> iconvUtf8PerCharacter(const std::u16string& text) {
  const std::optional<std::string> utf8Text = iconvUtf8(text);
  if (!utf8Text) return {};
  return splitUtf8Characters(*utf8Text);
}

// One fromUTF16 of `text` with room `room`; empty optional when the output
// was not cleanly terminated in bounds.
std::optional<std::string> encodeOnce(const std::u16string& text, size_t room, bool* illegal,
                                      ILLCHAR_OPTYPE op = ILLCHAR_REPLACE) {
  GuardedBuffer<unsigned char> out(room + 1);
  const size_t returned = utf8()->fromUTF16(out.data(), text.c_str(), room, op, illegal);
  if (returned > room || out[returned] != 0 || !out.untouchedFrom(returned + 1))
    return std::nullopt;
  const std::vector<unsigned char> prefix = out.prefix(returned);
  return std::string(prefix.begin(), prefix.end());
}

// One toUTF16 of `text` with room `room`; empty optional when the output was
// not cleanly terminated in bounds.
std::optional<std::u16string> decodeOnce(const std::string& text, size_t room, bool* illegal) {
  GuardedBuffer<wchar16> out(room + 1);
  const size_t returned =
      utf8()->toUTF16(out.data(), text.c_str(), room, ILLCHAR_REPLACE, illegal, -1);
  if (returned > room || out[returned] != 0 || !out.untouchedFrom(returned + 1))
    return std::nullopt;
  const std::vector<wchar16> prefix = out.prefix(returned);
  return std::u16string(prefix.begin(), prefix.end());
}

TEST(Utf8ConverterExhaustive, EveryNonSurrogateBmpUnitEncodesLikeIconv) {
  const std::u16string all = nonSurrogateBmpUnits();
  const std::vector<std::string> expected = iconvUtf8PerCharacter(all);
  ASSERT_EQ(expected.size(), all.size());
  size_t failures = 0;
  for (size_t i = 0; i < all.size() && failures < 10; ++i) {
    const std::u16string one(1, all[i]);
    bool illegal = true;
    const std::optional<std::string> got = encodeOnce(one, expected[i].size(), &illegal);
    const size_t counted = utf8()->getNumBytes(one.c_str(), static_cast<size_t>(-1));
    if (!got || *got != expected[i] || illegal || counted != expected[i].size()) {
      ++failures;
      ADD_FAILURE() << "unit U+" << std::hex << static_cast<unsigned>(all[i]);
    }
  }
}

TEST(Utf8ConverterExhaustive, EveryLowSurrogateEncodesAsThreeBytesUnflagged) {
  size_t failures = 0;
  for (unsigned unit = 0xDC00; unit <= 0xDFFF && failures < 10; ++unit) {
    const std::u16string one(1, static_cast<char16_t>(unit));
    bool illegal = true;
    const std::optional<std::string> got = encodeOnce(one, 3, &illegal);
    const size_t counted = utf8()->getNumBytes(one.c_str(), static_cast<size_t>(-1));
    if (!got || *got != threeByteForm(unit) || illegal || counted != 3) {
      ++failures;
      ADD_FAILURE() << "unit U+" << std::hex << unit;
    }
  }
}

TEST(Utf8ConverterExhaustive, EveryLoneHighSurrogateBecomesAQuestionMarkUnderReplace) {
  size_t failures = 0;
  for (unsigned unit = 0xD800; unit <= 0xDBFF && failures < 10; ++unit) {
    const std::u16string one(1, static_cast<char16_t>(unit));
    bool illegal = false;
    const std::optional<std::string> got = encodeOnce(one, 4, &illegal);
    if (!got || *got != "?" || !illegal) {
      ++failures;
      ADD_FAILURE() << "unit U+" << std::hex << unit;
    }
  }
}

TEST(Utf8ConverterExhaustive, EveryNonSurrogateBmpUnitDecodesLikeIconv) {
  const std::u16string all = nonSurrogateBmpUnits();
  const std::optional<std::string> utf8Text = iconvUtf8(all);
  ASSERT_TRUE(utf8Text.has_value());
  const std::vector<std::string> encoded = splitUtf8Characters(*utf8Text);
  ASSERT_EQ(encoded.size(), all.size());
  // iconv's own reading of the bytes it wrote gives the expected units:
  // the units themselves.
  ASSERT_TRUE(kelulib_test::IconvConverter("UTF-8", "UTF-16LE").writes(*utf8Text, unitsToBytes(all)))
      << "iconv does not read its own UTF-8 back as the units";
  const std::u16string& expected = all;
  size_t failures = 0;
  for (size_t i = 0; i < all.size() && failures < 10; ++i) {
    bool illegal = true;
    const std::optional<std::u16string> got = decodeOnce(encoded[i], 1, &illegal);
    const size_t counted = utf8()->getNumUnits(encoded[i].c_str(), static_cast<size_t>(-1));
    if (!got || *got != std::u16string(1, expected[i]) || illegal || counted != 1) {
      ++failures;
      ADD_FAILURE() << "unit U+" << std::hex << static_cast<unsigned>(all[i]);
    }
  }
}

TEST(Utf8ConverterExhaustive, EveryEncodedSurrogateDecodesToItsUnit) {
  size_t failures = 0;
  for (unsigned unit = 0xD800; unit <= 0xDFFF && failures < 10; ++unit) {
    bool illegal = true;
    const std::optional<std::u16string> got = decodeOnce(threeByteForm(unit), 1, &illegal);
    if (!got || *got != std::u16string(1, static_cast<char16_t>(unit)) || illegal) {
      ++failures;
      ADD_FAILURE() << "unit U+" << std::hex << unit;
    }
  }
}

TEST(Utf8ConverterExhaustive, EveryUnitRoundTripsUnlessItIsZeroOrAHighSurrogate) {
  size_t failures = 0;
  for (unsigned unit = 0; unit <= 0xFFFF && failures < 10; ++unit) {
    const std::u16string one(1, static_cast<char16_t>(unit));
    bool illegal = false;
    const std::optional<std::string> narrow = encodeOnce(one, 3, &illegal);
    if (!narrow) {
      ++failures;
      ADD_FAILURE() << "encoding U+" << std::hex << unit;
      continue;
    }
    const std::optional<std::u16string> wide = decodeOnce(*narrow, 3, &illegal);
    // U+0000 is the terminator (empty text); a lone high surrogate becomes "?".
    const std::u16string expected = unit == 0                            ? std::u16string()
                                    : (unit >= 0xD800 && unit <= 0xDBFF) ? std::u16string(u"?")
                                                                         : one;
    if (!wide || *wide != expected) {
      ++failures;
      ADD_FAILURE() << "round trip of U+" << std::hex << unit;
    }
  }
}

// A dense sample of the supplementary planes: every fifth code point, every
// code point of the first and last 1024, and every one whose pair has a low
// surrogate at either end of its range (DC00, DFFF).
bool inSupplementarySample(uint32_t cp) {
  const uint32_t offset = cp - 0x10000;
  return offset % 5 == 0 || offset < 0x400 || cp > 0x10FFFF - 0x400 || (offset & 0x3FF) == 0 ||
         (offset & 0x3FF) == 0x3FF;
}

TEST(Utf8ConverterExhaustive, SupplementaryCodePointsEncodeAndDecodeLikeIconv) {
  std::u16string pairs;
  std::vector<uint32_t> codePoints;
  for (uint32_t cp = 0x10000; cp <= 0x10FFFF; ++cp) {
    if (!inSupplementarySample(cp)) continue;
    codePoints.push_back(cp);
    pairs.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
    pairs.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
  }
  const std::optional<std::string> expected = iconvUtf8(pairs);
  ASSERT_TRUE(expected.has_value());
  ASSERT_EQ(expected->size(), 2 * pairs.size());  // four bytes per pair

  size_t failures = 0;
  GuardedBuffer<unsigned char> narrow(5);
  GuardedBuffer<wchar16> wide(3);
  for (size_t i = 0; i < pairs.size() && failures < 10; i += 2) {
    const char16_t source[3] = {pairs[i], pairs[i + 1], 0};
    const std::string want = expected->substr(2 * i, 4);
    bool encodeIllegal = true;
    const size_t encodedCount =
        utf8()->fromUTF16(narrow.data(), source, 4, ILLCHAR_REPLACE, &encodeIllegal);
    const bool encodedOk =
        encodedCount == 4 && narrow[4] == 0 && !encodeIllegal &&
        std::equal(want.begin(), want.end(), narrow.data(),
                   [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; });
    bool decodeIllegal = true;
    const size_t decodedCount =
        utf8()->toUTF16(wide.data(), want.c_str(), 2, ILLCHAR_REPLACE, &decodeIllegal, -1);
    const bool decodedOk = decodedCount == 2 && wide[0] == source[0] && wide[1] == source[1] &&
                           wide[2] == 0 && !decodeIllegal;
    if (!encodedOk || !decodedOk || !narrow.guardsIntact() || !wide.guardsIntact()) {
      ++failures;
      ADD_FAILURE() << "code point U+" << std::hex << codePoints[i / 2]
                    << (encodedOk ? "" : " encode") << (decodedOk ? "" : " decode");
    }
  }
}

// ---------------------------------------------------------------------------
// Whole texts against iconv.

struct IconvText {
  const char* name;
  const char* utf8;
};

class Utf8ConverterIconvText : public testing::TestWithParam<IconvText> {};

TEST_P(Utf8ConverterIconvText, DecodesLikeIconv) {
  const std::string text = GetParam().utf8;
  const std::optional<std::string> oracle = iconvConvert(text, "UTF-8", "UTF-16LE");
  ASSERT_TRUE(oracle.has_value());
  const std::u16string expected = bytesToUnits(*oracle);
  const Decoded decoded = decode(text, expected.size());
  EXPECT_EQ(decoded.returned, expected.size());
  EXPECT_EQ(decoded.output, expected);
  EXPECT_TRUE(notFlagged(decoded));
  EXPECT_TRUE(cleanlyTerminated(decoded));
}

TEST_P(Utf8ConverterIconvText, EncodesLikeIconv) {
  const std::string text = GetParam().utf8;
  const std::optional<std::string> oracle = iconvConvert(text, "UTF-8", "UTF-16LE");
  ASSERT_TRUE(oracle.has_value());
  const std::u16string source = bytesToUnits(*oracle);
  const std::optional<std::string> expected = iconvConvert(*oracle, "UTF-16LE", "UTF-8");
  ASSERT_TRUE(expected.has_value());
  const Encoded encoded = encode(source, expected->size());
  EXPECT_EQ(encoded.returned, expected->size());
  EXPECT_EQ(encoded.output, *expected);
  EXPECT_TRUE(notFlagged(encoded));
  EXPECT_TRUE(cleanlyTerminated(encoded));
}

TEST_P(Utf8ConverterIconvText, CountsMatchIconvLengths) {
  const std::string text = GetParam().utf8;
  const std::optional<std::string> oracle = iconvConvert(text, "UTF-8", "UTF-16LE");
  ASSERT_TRUE(oracle.has_value());
  const std::u16string wide = bytesToUnits(*oracle);
  // One count per character: a surrogate pair counts once.
  const size_t pairs = static_cast<size_t>(std::count_if(
      wide.begin(), wide.end(), [](char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }));
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), static_cast<size_t>(-1)), wide.size() - pairs);
  EXPECT_EQ(utf8()->getNumUnits(text.c_str(), text.size()), wide.size() - pairs);
  EXPECT_EQ(utf8()->getNumBytes(wide.c_str(), static_cast<size_t>(-1)), text.size());
  EXPECT_EQ(utf8()->getNumBytes(wide.c_str(), wide.size()), text.size());
}

const IconvText kIconvTexts[] = {
    {"Ascii", "Hello, world! 0123456789 ~"},
    {"Latin1", u8"na\u00EFve caf\u00E9 \u00FC\u00DF\u00FF"},
    {"Greek", u8"\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC"},
    {"Cyrillic", u8"\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440"},
    {"Japanese", u8"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8"},
    {"Emoji", u8"\U0001F600 smile \U0001F389 party \U0001F44D"},
    {"Music", u8"\U0001D11E clef"},
    {"Mixed", u8"A\u00E9\u20AC\U0001F600z\u07FF\u0800\uFFFD\U0010FFFF\U00010000"},
    {"ByteOrderMark", u8"\uFEFFtext"},
    {"PrivateUse", u8"\uE000\uF8FF\U000F0000"},
    {"Boundaries", u8"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF"},
};

INSTANTIATE_TEST_SUITE_P(Utf8ConverterTexts, Utf8ConverterIconvText, testing::ValuesIn(kIconvTexts),
                         [](const testing::TestParamInfo<IconvText>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
