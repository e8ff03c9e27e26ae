// KelUString and narrow text: construction from every character set, the
// one-entry narrow cache, byte counts, UTF-32 access and the copy forms.
// Expected bytes come from glibc iconv or from the converters' contracts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "charset/converter.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/iconv_oracle.h"
#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"

namespace {

using kelulib_test::GuardedBuffer;
using kelulib_test::iconvConvert;
using kelulib_test::InspectableString;
using kelulib_test::lettersOfLength;
using kelulib_test::textOf;
using kelulib_test::unitsToBytes;

const KelCharSet kUnknownCharSet = static_cast<KelCharSet>(4242);

// `text` in the iconv encoding `code`; the test fails if iconv cannot.
std::string encoded(const std::u16string& text, const char* code) {
  const auto bytes = iconvConvert(unitsToBytes(text), "UTF-16LE", code);
  EXPECT_TRUE(bytes.has_value()) << "iconv cannot write the sample in " << code;
  return bytes.value_or(std::string());
}

std::string narrowOf(KelUString& s, KelCharSet cs) { return std::string(s.c_str(cs), s.size(cs)); }

// Storage for a KelPascalString: the length byte and 255 bytes, then guards.
class PascalStorage {
 public:
  static constexpr unsigned char kFill = 0xA5;
  PascalStorage() : m_bytes(256 + 16, kFill) {}
  explicit PascalStorage(const std::string& text) : PascalStorage() {
    m_bytes[0] = static_cast<unsigned char>(text.size());
    std::memcpy(m_bytes.data() + 1, text.data(), text.size());
  }
  KelPascalString* record() { return reinterpret_cast<KelPascalString*>(m_bytes.data()); }
  std::string text() const {
    return std::string(reinterpret_cast<const char*>(m_bytes.data()) + 1, m_bytes[0]);
  }
  bool untouchedFrom(size_t i) const {
    for (; i < m_bytes.size(); ++i) {
      if (m_bytes[i] != kFill) return false;
    }
    return true;
  }

 private:
  std::vector<unsigned char> m_bytes;
};

// --- Round trips through every character set with a converter ---------------

struct RoundTripCase {
  const char* name;
  KelCharSet cs;
  const char* iconvCode;
  std::u16string text;
};

void PrintTo(const RoundTripCase& c, std::ostream* os) { *os << c.name; }

class KelUStringRoundTripTest : public testing::TestWithParam<RoundTripCase> {};

TEST_P(KelUStringRoundTripTest, ConstructionReadsIconvBytes) {
  const RoundTripCase& c = GetParam();
  const std::string bytes = encoded(c.text, c.iconvCode);
  EXPECT_EQ(textOf(KelUString(bytes.c_str(), c.cs)), c.text);
}

// Supplementary characters are written out whole; reading them back is
// limited by the UTF-8 count (see Utf8SupplementaryCharacter... below).
TEST(KelUStringNarrow, Utf8CStrWritesSupplementaryCharacters) {
  KelUString s(u"a\U0001F600");
  EXPECT_EQ(std::string(s.c_str(KelCS_UTF8)), encoded(u"a\U0001F600", "UTF-8"));
}

TEST_P(KelUStringRoundTripTest, CStrWritesIconvBytes) {
  const RoundTripCase& c = GetParam();
  KelUString s(c.text.c_str());
  EXPECT_EQ(std::string(s.c_str(c.cs)), encoded(c.text, c.iconvCode));
}

TEST_P(KelUStringRoundTripTest, SizeCountsIconvBytes) {
  const RoundTripCase& c = GetParam();
  const KelUString s(c.text.c_str());
  EXPECT_EQ(s.size(c.cs), encoded(c.text, c.iconvCode).size());
  EXPECT_EQ(s.length(c.cs), s.size(c.cs));
}

INSTANTIATE_TEST_SUITE_P(
    CharSets, KelUStringRoundTripTest,
    testing::Values(
        RoundTripCase{"UTF8", KelCS_UTF8, "UTF-8", u"Gr\u00fc\u00dfe \u20ac \u4e2d"},
        RoundTripCase{"Windows1252", KelCS_WCP1252, "CP1252", u"Gr\u00fc\u00dfe \u20ac \u2030"},
        RoundTripCase{"Iso88591", KelCS_ISO_8859_1, "ISO-8859-1", u"Gr\u00fc\u00dfe \u00bd\u00ff"},
        RoundTripCase{"UnknownIdReadsUtf8", kUnknownCharSet, "UTF-8",
                      u"Gr\u00fc\u00dfe \u20ac \u4e2d"}),
    [](const testing::TestParamInfo<RoundTripCase>& info) { return info.param.name; });

// Character sets whose narrow form holds zero bytes: checked with lengths.

TEST(KelUStringNarrow, Utf16CStrIsTheUnitsThemselves) {
  const std::u16string text = u"A\u00e9\U0001F600";
  KelUString s(text.c_str());
  EXPECT_EQ(narrowOf(s, KelCS_UTF16), encoded(text, "UTF-16LE"));
  // Two zero bytes end it.
  EXPECT_EQ(s.c_str(KelCS_UTF16)[8], 0);
  EXPECT_EQ(s.c_str(KelCS_UTF16)[9], 0);
}

TEST(KelUStringNarrow, Utf16TerminatedTextGivesEmptyString) {
  // Text without a byte bound is converted with "no limit", which the UTF-16
  // converter reads as "copy nothing".
  const std::string bytes = encoded(u"AB", "UTF-16LE") + std::string(2, '\0');
  EXPECT_TRUE(KelUString(bytes.c_str(), KelCS_UTF16).empty());
}

TEST(KelUStringNarrow, Utf16PascalTextIsRead) {
  const std::string bytes = encoded(u"A\u00e9", "UTF-16LE");
  PascalStorage storage(bytes);
  EXPECT_EQ(textOf(KelUString(storage.record(), KelCS_UTF16)), u"A\u00e9");
}

TEST(KelUStringNarrow, Utf32CStrIsTheScalars) {
  const std::u16string text = u"A\u00e9\U0001F600";
  KelUString s(text.c_str());
  EXPECT_EQ(narrowOf(s, KelCS_UTF32), encoded(text, "UTF-32LE"));
}

TEST(KelUStringNarrow, Utf32BmpTextRoundTrips) {
  const std::u16string text = u"A\u00e9\u4e2d";
  const std::string bytes = encoded(text, "UTF-32LE") + std::string(4, '\0');
  EXPECT_EQ(textOf(KelUString(bytes.c_str(), KelCS_UTF32)), text);
}

TEST(KelUStringNarrow, Utf32SupplementaryValueBeyondCountedUnitsIsDropped) {
  // The converter counts one unit per value, so the room sized from that
  // count has no space for the pair of the last value.
  const std::string bytes = encoded(u"A\U0001F600", "UTF-32LE") + std::string(4, '\0');
  EXPECT_EQ(textOf(KelUString(bytes.c_str(), KelCS_UTF32)), u"A");
}

TEST(KelUStringNarrow, EscapeFormWritesEscapes) {
  KelUString s(u"a\u00e9\U0001F600");
  EXPECT_STREQ(s.c_str(KelCS_UTF16ESC), "aU+00E9U+D83DU+DE00");
}

TEST(KelUStringNarrow, EscapeFormIsRead) {
  EXPECT_EQ(textOf(KelUString("aU+00E9U+D83DU+DE00", KelCS_UTF16ESC)), u"a\u00e9\U0001F600");
}

// --- Construction from narrow text ----------------------------------------

TEST(KelUStringNarrow, NullNarrowTextGivesEmpty) {
  EXPECT_TRUE(KelUString(static_cast<const char*>(nullptr), KelCS_UTF8).empty());
  EXPECT_TRUE(KelUString(static_cast<const char*>(nullptr), 5, KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, EmptyNarrowTextGivesEmpty) {
  EXPECT_TRUE(KelUString("", KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, MalformedUtf8IsReplaced) {
  // C3 28 counts as one two-byte character, but decodes as U+FFFD followed
  // by "(": the string holds as many units as were counted, so the last
  // character no longer fits.
  EXPECT_EQ(textOf(KelUString("a\xc3(xy", KelCS_UTF8)), u"a\ufffd(x");
}

TEST(KelUStringNarrow, Utf8SupplementaryCharacterCountedAsOneUnitBecomesReplacement) {
  // Four bytes count as one unit; the pair does not fit in that room.
  EXPECT_EQ(textOf(KelUString("\xf0\x9f\x98\x80", KelCS_UTF8)), u"\ufffd");
}

TEST(KelUStringNarrow, Utf8StrayContinuationByteFirstGivesEmptyString) {
  // Counting stops for good at a continuation byte where a lead byte is
  // expected.
  EXPECT_TRUE(KelUString("\x80" "A", KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, UnmappableWindows1252ByteIsReplaced) {
  EXPECT_EQ(textOf(KelUString("a\x81" "b", KelCS_WCP1252)), u"a\ufffd" u"b");
}

TEST(KelUStringNarrow, LongNarrowTextTakesExactBlock) {
  const std::string bytes(1000, 'x');
  const InspectableString s(bytes.c_str(), KelCS_WCP1252);
  EXPECT_EQ(s.size(), 1000u);
  EXPECT_EQ(s.allocSize(), 1000u);
}

TEST(KelUStringNarrow, CountedNarrowTextReadsFirstBytes) {
  EXPECT_EQ(textOf(KelUString("abcdef", 3, KelCS_UTF8)), u"abc");
}

TEST(KelUStringNarrow, CountedNarrowTextStopsAtZeroByte) {
  const char bytes[] = {'a', 0, 'b'};
  EXPECT_EQ(textOf(KelUString(bytes, 3, KelCS_WCP1252)), u"a");
}

TEST(KelUStringNarrow, CountedNarrowZeroBytesGivesEmpty) {
  EXPECT_TRUE(KelUString("abc", 0, KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, OneByte) {
  EXPECT_EQ(textOf(KelUString('\x80', KelCS_WCP1252)), u"\u20ac");
}

TEST(KelUStringNarrow, ByteZeroGivesEmpty) {
  EXPECT_TRUE(KelUString('\0', KelCS_WCP1252).empty());
}

TEST(KelUStringNarrow, LoneUtf8LeadByteGivesEmpty) {
  // A lead byte alone is not a whole character, so it counts no unit.
  EXPECT_TRUE(KelUString('\xc3', KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, RepeatedByte) {
  EXPECT_EQ(textOf(KelUString('\xe9', 3, KelCS_ISO_8859_1)), u"\u00e9\u00e9\u00e9");
}

TEST(KelUStringNarrow, RepeatedByteBeyondInline) {
  const InspectableString s('\x80', 600, KelCS_WCP1252);
  EXPECT_EQ(textOf(s), std::u16string(600, u'\u20ac'));
  EXPECT_EQ(s.allocSize(), 600u);
}

TEST(KelUStringNarrow, RepeatedByteZeroOrCountZeroGivesEmpty) {
  EXPECT_TRUE(KelUString('\0', 3, KelCS_UTF8).empty());
  EXPECT_TRUE(KelUString('a', static_cast<size_t>(0), KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, PascalTextIsRead) {
  PascalStorage storage(encoded(u"\u00e9t\u00e9", "CP1252"));
  EXPECT_EQ(textOf(KelUString(*storage.record(), KelCS_WCP1252)), u"\u00e9t\u00e9");
  EXPECT_EQ(textOf(KelUString(storage.record(), KelCS_WCP1252)), u"\u00e9t\u00e9");
}

TEST(KelUStringNarrow, PascalTextStopsAtItsLength) {
  // The record's bytes go on past its length; only `length` are read.
  PascalStorage storage("abcdef");
  storage.record()->length = 2;
  EXPECT_EQ(textOf(KelUString(storage.record(), KelCS_UTF8)), u"ab");
}

// Found by fuzzing: a text that ends in a lead byte was converted in place,
// and the converter looked at the byte after the record for its trail
// byte. A lead byte at the end of a text stands alone (U+FFFD), whatever
// follows the record in memory.
TEST(KelUStringNarrow, PascalTextEndingInALeadByteIsNotReadPastItsRecord) {
  // 0x82 0xA0 would be U+3042 in code page 932.
  PascalStorage storage("\x82\xA0");
  storage.record()->length = 1;
  EXPECT_EQ(textOf(KelUString(storage.record(), KelCS_WCP932)), u"\uFFFD");
  EXPECT_EQ(textOf(KelUString(*storage.record(), KelCS_WCP932)), u"\uFFFD");
  // The same in EUC-KR (0xB0 0xA1 is U+AC00) and GB18030 (0x81 0x30 0x81
  // 0x30 is U+0080): a lead byte with nothing after it is illegal alone.
  PascalStorage euc("\xB0\xA1");
  euc.record()->length = 1;
  EXPECT_EQ(textOf(KelUString(euc.record(), KelCS_EUC_KR)), u"\uFFFD");
  PascalStorage gb("\x81\x30\x81\x30");
  gb.record()->length = 2;
  EXPECT_EQ(textOf(KelUString(gb.record(), KelCS_GB18030)), u"\uFFFD" u"0");
}

TEST(KelUStringNarrow, PascalOfLengthZeroOrNullGivesEmpty) {
  PascalStorage storage("");
  EXPECT_TRUE(KelUString(*storage.record(), KelCS_UTF8).empty());
  EXPECT_TRUE(KelUString(static_cast<const KelPascalString*>(nullptr), KelCS_UTF8).empty());
}

TEST(KelUStringNarrow, AssignByteReadsItInCharSet) {
  InspectableString s(u"old");
  s.c_str(KelCS_UTF8);
  s.assign('\x80', KelCS_WCP1252);
  EXPECT_EQ(textOf(s), u"\u20ac");
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringNarrow, AssignRepeatedByteReadsThemInCharSet) {
  InspectableString s(lettersOfLength(400).c_str());
  s.assign('\xe9', 3, KelCS_ISO_8859_1);
  EXPECT_EQ(textOf(s), u"\u00e9\u00e9\u00e9");
  EXPECT_EQ(s.allocSize(), 257u);
}

TEST(KelUStringNarrow, AssignByteZeroEmpties) {
  KelUString s(u"old");
  s.assign('\0', KelCS_UTF8);
  EXPECT_TRUE(s.empty());
}

// --- The narrow cache -------------------------------------------------------

TEST(KelUStringNarrowCache, SecondCStrReturnsSamePointer) {
  InspectableString s(u"h\u00e9");
  const char* first = s.c_str(KelCS_UTF8);
  EXPECT_EQ(s.c_str(KelCS_UTF8), first);
  EXPECT_EQ(s.narrowCache(), first);
  EXPECT_EQ(s.narrowCharSet(), KelCS_UTF8);
  EXPECT_EQ(s.narrowLength(), 3u);
}

TEST(KelUStringNarrowCache, OtherCharSetRebuildsCache) {
  InspectableString s(u"h\u00e9");
  s.c_str(KelCS_UTF8);
  EXPECT_STREQ(s.c_str(KelCS_WCP1252), "h\xe9");
  EXPECT_EQ(s.narrowCharSet(), KelCS_WCP1252);
  EXPECT_EQ(s.narrowLength(), 2u);
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "h\xc3\xa9");
  EXPECT_EQ(s.narrowCharSet(), KelCS_UTF8);
}

TEST(KelUStringNarrowCache, EmptyStringGivesZeroAreaWithoutCache) {
  InspectableString s;
  const char* narrow = s.c_str(KelCS_UTF8);
  ASSERT_NE(narrow, nullptr);
  EXPECT_EQ(narrow[0], 0);
  // Also valid as an empty UTF-16 and UTF-32 text.
  EXPECT_EQ(std::memcmp(s.c_str(KelCS_UTF32), "\0\0\0\0", 4), 0);
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringNarrowCache, OsDefaultIsItsOwnKey) {
  InspectableString s(u"abc");
  s.c_str(KelCS_OS_DEFAULT);
  EXPECT_EQ(s.narrowCharSet(), KelCS_OS_DEFAULT);
}

TEST(KelUStringNarrowCache, CacheKeyIsCharSetAsPassed) {
  // An unknown id is written as UTF-8 but cached under its own id, so asking
  // for UTF-8 afterwards rebuilds.
  InspectableString s(u"\u00e9");
  s.c_str(kUnknownCharSet);
  EXPECT_EQ(s.narrowCharSet(), kUnknownCharSet);
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "\xc3\xa9");
  EXPECT_EQ(s.narrowCharSet(), KelCS_UTF8);
}

TEST(KelUStringNarrowCache, UnmappableCharactersAreReplaced) {
  KelUString s(u"a\u20acb");
  EXPECT_STREQ(s.c_str(KelCS_ISO_8859_1), "a?b");
}

TEST(KelUStringNarrowCache, CStrStopsAtEmbeddedZero) {
  const wchar16 units[] = {u'a', 0, u'b'};
  KelUString s(units, units + 3);
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "a");
}

TEST(KelUStringNarrowCache, WritesThroughSubscriptKeepCache) {
  InspectableString s(u"abc");
  s.c_str(KelCS_UTF8);
  s[0] = u'x';
  s.at(1) = u'y';
  *s.begin() = u'z';
  *s.rbegin() = u'w';
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "abc");
  EXPECT_EQ(textOf(s), u"zyw");
}

TEST(KelUStringNarrowCache, AssignCharKeepsCacheForCachedCharSet) {
  InspectableString s(u"other");
  s.c_str(KelCS_UTF8);
  s = 'x';
  EXPECT_EQ(textOf(s), u"x");
  EXPECT_STREQ(s.c_str(KelCS_UTF8), "other");
  EXPECT_STREQ(s.c_str(KelCS_WCP1252), "x");
}

TEST(KelUStringNarrowCache, AssignCharZeroEmptiesAndDropsCache) {
  InspectableString s(u"other");
  s.c_str(KelCS_UTF8);
  s = '\0';
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringNarrowCache, AssignNarrowFromOwnCache) {
  InspectableString s(u"abc");
  s = s.c_str(KelCS_OS_DEFAULT);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringNarrowCache, CacheHasSlackZeros) {
  // The eight bytes after the converted text are zero whatever the
  // converter's terminator width.
  InspectableString s(u"ab");
  const char* narrow = s.c_str(KelCS_UTF32);
  for (size_t i = 8; i < 16; ++i) EXPECT_EQ(narrow[i], 0) << i;
}

// --- Byte counts, characters and UTF-32 ------------------------------------

TEST(KelUStringNarrow, SizeInUtf8OfEAcuteIsTwo) {
  const KelUString s(u"\u00e9");
  EXPECT_EQ(s.size(KelCS_UTF8), 2u);
}

TEST(KelUStringNarrow, SizeDoesNotBuildCache) {
  const InspectableString s(u"\u00e9");
  s.size(KelCS_UTF8);
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringNarrow, SizeOfEmptyIsZero) {
  EXPECT_EQ(KelUString().size(KelCS_UTF16ESC), 0u);
}

TEST(KelUStringNarrow, NumCharsCountsSurrogatePairOnce) {
  const InspectableString s(u"\U0001F600");
  EXPECT_EQ(s.size(), 2u);
  EXPECT_EQ(s.numChars(), 1u);
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringNarrow, NumCharsOfEmptyIsZero) { EXPECT_EQ(KelUString().numChars(), 0u); }

TEST(KelUStringNarrow, NumCharsUsesUtf32Cache) {
  // After a direct write the UTF-16 text has three characters, but the
  // UTF-32 cache built before still holds two values.
  InspectableString s(u"\U0001F600" u"a");
  s.at_utf32(0);
  s[0] = u'x';
  EXPECT_EQ(s.numChars(), 2u);
}

TEST(KelUStringNarrow, AtUtf32ReadsValue) {
  KelUString s(u"A");
  EXPECT_EQ(s.at_utf32(0), 65u);
}

TEST(KelUStringNarrow, AtUtf32ReadsSupplementaryValue) {
  KelUString s(u"a\U0001F600b");
  EXPECT_EQ(s.at_utf32(1), 0x1F600u);
  EXPECT_EQ(s.at_utf32(2), static_cast<unsigned>(u'b'));
}

TEST(KelUStringNarrow, AtUtf32BeyondCharactersThrows) {
  InspectableString s(u"A");
  try {
    s.at_utf32(1);
    FAIL();
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "invalid string index given");
  }
  EXPECT_EQ(textOf(s), u"A");
}

TEST(KelUStringNarrow, AtUtf32BuildsUtf32Cache) {
  InspectableString s(u"ab");
  s.c_str(KelCS_UTF8);
  s.at_utf32(0);
  EXPECT_EQ(s.narrowCharSet(), KelCS_UTF32);
  EXPECT_EQ(s.narrowLength(), 8u);
}

TEST(KelUStringNarrow, AtUtf32WritesOnlyTheCache) {
  KelUString s(u"ab");
  s.at_utf32(0) = 0x43;
  EXPECT_EQ(textOf(s), u"ab");
  EXPECT_EQ(s.at_utf32(0), 0x43u);
}

TEST(KelUStringNarrow, AtUtf32ReusesCacheMadeByCStr) {
  InspectableString s(u"ab");
  const char* cache = s.c_str(KelCS_UTF32);
  EXPECT_EQ(reinterpret_cast<const char*>(&s.at_utf32(1)), cache + 4);
}

TEST(KelUStringNarrow, AtUtf32OnNewEmptyStringThrows) {
  InspectableString s;
  kelulib_test::expectIndexError(s, [](InspectableString& t) { t.at_utf32(0); });
}

TEST(KelUStringNarrow, AtUtf32OnEmptiedStringChecksStaleLength) {
  // The bound is the cache length as it stands; emptying dropped the cache
  // but kept its length (two values).
  InspectableString s(u"ab");
  s.at_utf32(0);
  s.erase();
  EXPECT_EQ(s.at_utf32(1), 0u);
  EXPECT_THROW(s.at_utf32(2), std::out_of_range);
}

// --- Copies into callers' buffers ------------------------------------------

TEST(KelUStringCopy, NarrowCopyWritesTextAndTerminator) {
  const KelUString s(u"h\u00e9");
  GuardedBuffer<char> buffer(4);
  EXPECT_EQ(s.copy(buffer.data(), 3, KelCS_UTF8), 3u);
  EXPECT_EQ(std::string(buffer.data()), "h\xc3\xa9");
  EXPECT_TRUE(buffer.guardsIntact());
}

TEST(KelUStringCopy, NarrowCopyStopsAtRoom) {
  const KelUString s(u"h\u00e9");
  GuardedBuffer<char> buffer(3);
  // The two-byte character does not fit in the one byte left.
  EXPECT_EQ(s.copy(buffer.data(), 2, KelCS_UTF8), 1u);
  EXPECT_EQ(buffer[0], 'h');
  EXPECT_EQ(buffer[1], 0);
  EXPECT_TRUE(buffer.untouchedFrom(2));
}

TEST(KelUStringCopy, NarrowCopyOfNothingWritesNothing) {
  GuardedBuffer<char> buffer(4);
  EXPECT_EQ(KelUString().copy(buffer.data(), 3, KelCS_UTF8), 0u);
  EXPECT_EQ(KelUString(u"abc").copy(buffer.data(), 0, KelCS_UTF8), 0u);
  EXPECT_EQ(KelUString(u"abc").copy(static_cast<char*>(nullptr), 3, KelCS_UTF8), 0u);
  EXPECT_TRUE(buffer.untouchedFrom(0));
}

TEST(KelUStringCopy, UnitCopyHasNoTerminator) {
  const KelUString s(u"abc");
  GuardedBuffer<wchar16> buffer(2);
  EXPECT_EQ(s.copy(buffer.data(), 2), 2u);
  EXPECT_EQ(buffer[0], u'a');
  EXPECT_EQ(buffer[1], u'b');
  EXPECT_TRUE(buffer.untouchedFrom(2));
}

TEST(KelUStringCopy, UnitCopyOfShortStringCopiesLength) {
  const KelUString s(u"ab");
  GuardedBuffer<wchar16> buffer(5);
  EXPECT_EQ(s.copy(buffer.data(), 5), 2u);
  EXPECT_TRUE(buffer.untouchedFrom(2));
}

TEST(KelUStringCopy, UnitCopyOfNothingIsZero) {
  GuardedBuffer<wchar16> buffer(5);
  EXPECT_EQ(KelUString().copy(buffer.data(), 5), 0u);
  EXPECT_EQ(KelUString(u"ab").copy(buffer.data(), 0), 0u);
  EXPECT_EQ(KelUString(u"ab").copy(static_cast<wchar16*>(nullptr), 5), 0u);
  EXPECT_TRUE(buffer.untouchedFrom(0));
}

TEST(KelUStringCopy, PascalCopyOf300CharactersStores255) {
  const KelUString s(std::u16string(300, u'x').c_str());
  PascalStorage storage;
  EXPECT_EQ(s.copy(storage.record(), KelCS_UTF8), 255u);
  EXPECT_EQ(storage.text(), std::string(255, 'x'));
  EXPECT_TRUE(storage.untouchedFrom(256));
}

TEST(KelUStringCopy, PascalCopyConvertsText) {
  const KelUString s(u"\u00e9t\u00e9");
  PascalStorage storage;
  EXPECT_EQ(s.copy(*storage.record(), KelCS_UTF8), 5u);
  EXPECT_EQ(storage.text(), "\xc3\xa9t\xc3\xa9");
  EXPECT_TRUE(storage.untouchedFrom(6));
}

TEST(KelUStringCopy, PascalCopyKeepsWholeCharacters) {
  // 200 two-byte characters: 127 fit in 255 bytes.
  const KelUString s(std::u16string(200, u'\u00e9').c_str());
  PascalStorage storage;
  EXPECT_EQ(s.copy(storage.record(), KelCS_UTF8), 254u);
}

TEST(KelUStringCopy, PascalCopyOfEmptyStoresZero) {
  PascalStorage storage("abc");
  EXPECT_EQ(KelUString().copy(storage.record(), KelCS_UTF8), 0u);
  EXPECT_EQ(storage.record()->length, 0u);
}

TEST(KelUStringCopy, PascalCopyToNullIsZero) {
  EXPECT_EQ(KelUString(u"abc").copy(static_cast<KelPascalString*>(nullptr), KelCS_UTF8), 0u);
}

TEST(KelUStringCopy, BstrCopyStoresUnits) {
  const KelUString s(u"abc");
  GuardedBuffer<wchar16> storage(4);
  KelBSTR* b = reinterpret_cast<KelBSTR*>(storage.data());
  EXPECT_EQ(s.copy(b, 10), 3u);
  EXPECT_EQ(storage[0], 3);
  EXPECT_EQ(storage[1], u'a');
  EXPECT_EQ(storage[3], u'c');
  EXPECT_TRUE(storage.guardsIntact());
}

TEST(KelUStringCopy, BstrCopyIsCappedAtRoom) {
  const KelUString s(u"abc");
  GuardedBuffer<wchar16> storage(3);
  KelBSTR* b = reinterpret_cast<KelBSTR*>(storage.data());
  EXPECT_EQ(s.copy(*b, 2), 2u);
  EXPECT_EQ(storage[0], 2);
  EXPECT_TRUE(storage.guardsIntact());
}

TEST(KelUStringCopy, BstrCopyTruncatesLengthTo16Bits) {
  const KelUString s(u'x', 65537);
  GuardedBuffer<wchar16> storage(2);
  KelBSTR* b = reinterpret_cast<KelBSTR*>(storage.data());
  EXPECT_EQ(s.copy(b, 70000), 1u);
  EXPECT_EQ(storage[0], 1);
  EXPECT_EQ(storage[1], u'x');
  EXPECT_TRUE(storage.guardsIntact());
}

TEST(KelUStringCopy, BstrCopyToNullIsZero) {
  EXPECT_EQ(KelUString(u"abc").copy(static_cast<KelBSTR*>(nullptr), 3), 0u);
}

// --- Operations that use the OS character set ------------------------------
// These run in a process whose OS character set is Windows-1252 (see the
// test list); elsewhere they are skipped.

class KelUStringOsDefault : public testing::Test {
 protected:
  void SetUp() override {
    if (KelCharSetConverter::getConverter(KelCS_OS_DEFAULT) !=
        KelCharSetConverter::getConverter(KelCS_WCP1252)) {
      GTEST_SKIP() << "the OS character set is not Windows-1252 here";
    }
  }
};

TEST_F(KelUStringOsDefault, ConstructorsDefaultToOsCharSet) {
  EXPECT_EQ(textOf(KelUString("\x80")), u"\u20ac");
  EXPECT_EQ(textOf(KelUString('\x80')), u"\u20ac");
  EXPECT_EQ(textOf(KelUString('\x80', 2)), u"\u20ac\u20ac");
}

TEST_F(KelUStringOsDefault, AssignNarrowUsesOsCharSet) {
  KelUString s;
  s = "\x80\xe9";
  EXPECT_EQ(textOf(s), u"\u20ac\u00e9");
}

TEST_F(KelUStringOsDefault, AssignCharUsesOsCharSet) {
  KelUString s;
  s = '\x80';
  EXPECT_EQ(textOf(s), u"\u20ac");
}

TEST_F(KelUStringOsDefault, AssignUnmappableCharGivesReplacementAndKeepsCache) {
  InspectableString s(u"x");
  const char* cache = s.c_str(KelCS_UTF8);
  s = '\x81';
  EXPECT_EQ(textOf(s), u"\ufffd");
  EXPECT_EQ(s.narrowCache(), cache);
}

TEST_F(KelUStringOsDefault, AssignPascalUsesOsCharSet) {
  PascalStorage storage("\x80x");
  KelUString s;
  s = storage.record();
  EXPECT_EQ(textOf(s), u"\u20acx");
}

TEST_F(KelUStringOsDefault, CStrDefaultsToOsCharSet) {
  KelUString s(u"\u20ac");
  EXPECT_STREQ(s.c_str(), "\x80");
}

TEST_F(KelUStringOsDefault, OsDefaultAndItsCodePageAreDifferentKeys) {
  InspectableString s(u"\u20ac");
  const char* osText = s.c_str(KelCS_OS_DEFAULT);
  EXPECT_STREQ(osText, "\x80");
  EXPECT_STREQ(s.c_str(KelCS_WCP1252), "\x80");
  EXPECT_EQ(s.narrowCharSet(), KelCS_WCP1252);
  s.c_str(KelCS_OS_DEFAULT);
  EXPECT_EQ(s.narrowCharSet(), KelCS_OS_DEFAULT);
}

TEST_F(KelUStringOsDefault, NarrowAppendUsesOsCharSet) {
  KelUString s(u"a");
  s += "\x80";
  s += '\xe9';
  EXPECT_EQ(textOf(s), u"a\u20ac\u00e9");
}

TEST_F(KelUStringOsDefault, ConcatenationWithNarrowTextUsesOsCharSet) {
  const KelUString s(u"-");
  EXPECT_EQ(textOf(s + "\x80"), u"-\u20ac");
  EXPECT_EQ(textOf("\x80" + s), u"\u20ac-");
  EXPECT_EQ(textOf(s + '\xe9'), u"-\u00e9");
  EXPECT_EQ(textOf('\xe9' + s), u"\u00e9-");
}

TEST_F(KelUStringOsDefault, NarrowOperatorsReadOsCharSet) {
  const KelUString euro(u"\u20ac");
  EXPECT_TRUE(euro == "\x80");
  EXPECT_TRUE("\x80" == euro);
  EXPECT_FALSE(euro != "\x80");
  EXPECT_TRUE(KelUString(u"\u00e9") < "\x80");  // U+00E9 below U+20AC
  EXPECT_TRUE("\x80" > KelUString(u"\u00e9"));
}

TEST_F(KelUStringOsDefault, NarrowEditsDefaultToOsCharSet) {
  KelUString s(u"ab");
  s.insert(1, "\x80");
  s.append('\xe9');
  s.replace(0, 1, '\x80', 2);
  EXPECT_EQ(textOf(s), u"\u20ac\u20ac\u20ac" u"b\u00e9");
}

}  // namespace
