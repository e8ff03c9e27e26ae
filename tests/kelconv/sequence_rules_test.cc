// Where a chunk of input may be cut: the length of one character by the
// lead-byte rules of each encoding, as the library's converters read it.
#include "tools/kelconv/sequence_rules.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kelconv::completePrefix;
using kelconv::SequenceRules;

size_t lengthOf(KelCharSet id, const std::string& bytes) {
  return SequenceRules::forCharSet(id).sequenceLength(
      reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

size_t completeLength(KelCharSet id, const std::string& bytes) {
  return completePrefix(SequenceRules::forCharSet(id),
                        reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size())
      .length;
}

TEST(SequenceRulesUtf8, LengthComesFromTheLeadByte) {
  EXPECT_EQ(lengthOf(KelCS_UTF8, "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\xC3\xA9"), 2u);
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\xE2\x82\xAC"), 3u);
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\xF0\x9F\x98\x80"), 4u);
}

TEST(SequenceRulesUtf8, ALeadByteWithoutItsContinuationIsOneByte) {
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\xE2" "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\xE2\x82" "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\x80"), 1u);  // a stray continuation byte
}

TEST(SequenceRulesUtf8, ASequenceCutShortIsUndecided) {
  EXPECT_EQ(lengthOf(KelCS_UTF8, "\xF0\x9F\x98"), 0u);
  EXPECT_EQ(completeLength(KelCS_UTF8, "ab\xF0\x9F\x98"), 2u);
  EXPECT_EQ(completeLength(KelCS_UTF8, "ab\xF0\x9F" "A"), 5u);
}

TEST(SequenceRulesLeadTrail, ShiftJisPairsALeadWithATrailByte) {
  EXPECT_EQ(lengthOf(KelCS_SHIFTJIS, "\x82\xA0"), 2u);
  EXPECT_EQ(lengthOf(KelCS_SHIFTJIS, "\x82" "0"), 1u);  // '0' is no trail byte
  EXPECT_EQ(lengthOf(KelCS_SHIFTJIS, "\xA1\x82"), 1u);  // half-width katakana
  EXPECT_EQ(lengthOf(KelCS_WCP932, "\x82"), 0u);
  EXPECT_EQ(completeLength(KelCS_SJIS0213, "\x82\xA0\x82"), 2u);
}

TEST(SequenceRulesLeadTrail, ATrailByteThatLooksLikeALeadIsStillATrail) {
  // 0x82 0x82 0x82: a pair and a lone lead byte waiting for its trail.
  EXPECT_EQ(completeLength(KelCS_SHIFTJIS, "\x82\x82\x82"), 2u);
  EXPECT_EQ(completeLength(KelCS_SHIFTJIS, "\x82\x82\x82\x82"), 4u);
}

TEST(SequenceRulesLeadTrail, EachFamilyHasItsOwnTrailBytes) {
  EXPECT_EQ(lengthOf(KelCS_WCP936, "\x81\x7F"), 2u);
  EXPECT_EQ(lengthOf(KelCS_WCP936, "\x81\x80"), 1u);
  EXPECT_EQ(lengthOf(KelCS_WCP950, "\x81\x80"), 1u);
  EXPECT_EQ(lengthOf(KelCS_BIG5, "\x81\x7F"), 1u);
  EXPECT_EQ(lengthOf(KelCS_WCP949, "\x81\x41"), 2u);
  EXPECT_EQ(lengthOf(KelCS_WCP949, "\x81\x40"), 1u);
  EXPECT_EQ(lengthOf(KelCS_EUC_KR, "\xB0\xA1"), 2u);
  EXPECT_EQ(lengthOf(KelCS_EUC_CN, "\xB0" "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_EUC_CN, "\x81\xA1"), 1u);  // 0x81 leads nothing in EUC
}

TEST(SequenceRulesEucJapanese, SingleShiftsTakeOneOrTwoMoreBytes) {
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\x8E\xB1"), 2u);
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\x8E" "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\x8F\xA2\xAF"), 3u);
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\x8F\xA2"), 0u);
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\xA4\xA2"), 2u);
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\xA4\n"), 1u);  // no cell 0x0A
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\x80\xDC"), 2u);  // row 0: JIS X 0201
  EXPECT_EQ(lengthOf(KelCS_EUC_JP, "\x90\xA1"), 1u);  // no row 0x10
}

TEST(SequenceRulesGb18030, OneTwoOrFourBytes) {
  EXPECT_EQ(lengthOf(KelCS_GB18030, "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_GB18030, "\x80"), 1u);
  EXPECT_EQ(lengthOf(KelCS_GB18030, "\xA2\xE3"), 2u);
  EXPECT_EQ(lengthOf(KelCS_GB18030, "\x81\x30\x81\x30"), 4u);
  EXPECT_EQ(lengthOf(KelCS_GB18030, "\x81\x30\x81"), 0u);
  EXPECT_EQ(lengthOf(KelCS_GB18030, "\x81\x30" "A"), 1u);
  EXPECT_EQ(lengthOf(KelCS_GB18030, "\x81\x30\x81" "A"), 1u);
}

TEST(SequenceRulesUnitEscape, AnEscapeIsSixBytes) {
  EXPECT_EQ(lengthOf(KelCS_UTF16ESC, "U+00E9"), 6u);
  EXPECT_EQ(lengthOf(KelCS_UTF16ESC, "U+00"), 0u);
  EXPECT_EQ(lengthOf(KelCS_UTF16ESC, "U+00e9"), 1u);  // lower-case digits escape nothing
  EXPECT_EQ(lengthOf(KelCS_UTF16ESC, "Ux"), 1u);
  EXPECT_EQ(completeLength(KelCS_UTF16ESC, "aU+20"), 1u);
}

TEST(SequenceRulesUnits, WholeUnitsOnly) {
  EXPECT_EQ(completeLength(KelCS_UTF16, "abc"), 2u);
  EXPECT_EQ(completeLength(KelCS_UTF32, "abcdefg"), 4u);
  EXPECT_EQ(SequenceRules::forCharSet(KelCS_UTF32).unitSize(), 4u);
}

TEST(SequenceRulesSingleByte, EveryByteIsACharacter) {
  EXPECT_EQ(completeLength(KelCS_WCP1252, "\x80\x81\xFF"), 3u);
  EXPECT_EQ(SequenceRules::forCharSet(KelCS_KOI8R).unitSize(), 1u);
}

TEST(SequenceRulesPrefix, LastStartIsWhereTheLastWholeCharacterBegins) {
  const std::string bytes = "a\xC3\xA9\xE2\x82";
  const kelconv::CompletePrefix prefix =
      completePrefix(SequenceRules::forCharSet(KelCS_UTF8),
                     reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  EXPECT_EQ(prefix.length, 3u);
  EXPECT_EQ(prefix.lastStart, 1u);
}

}  // namespace
