// The sequence rules of every converter against the converter's own
// reading, over the code space of its encoding: every byte sequence of the
// encoding's shapes (all pairs of bytes; all three- and four-byte forms,
// each followed by bytes of every class), on the library's mapping tables.
//
// For each sequence s the rules cut into characters c1 c2 ...:
// - cutting there changes nothing: the converter reads s as it reads
//   c1, c2, ... one by one (each followed by the end of the text);
// - the rules never join two characters: cutting the first character
//   anywhere inside (and ending the rest with a space, which no encoding
//   takes into a character before it) makes the converter read something
//   else, or report invalid input where it did not;
// - with fewer bytes at hand the rules give the same length, or say that
//   they cannot tell yet;
// - a place that characterStartBefore() marks is where a character starts.
// The converter is the oracle: it is asked through its public interface,
// toUTF16 under ILLCHAR_REPLACE. Under the sanitizers, whose checks make
// every call dozens of times slower, the sweeps take every sixteenth first
// byte (the other builds sweep the whole code space).
#include "charset/sequence_rules.h"

#include <KelULib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/support/charset_sets.h"

namespace {

using kelulib::KelSequenceRules;

constexpr size_t kLongest = 8;

// A converter's reading of a text: its UTF-16 units.
struct Reading {
  wchar16 units[2 * kLongest + 4];
  size_t count = 0;
  bool illegal = false;
  bool sameUnits(const Reading& other) const {
    return count == other.count && std::equal(units, units + count, other.units);
  }
  bool operator==(const Reading& other) const {
    return sameUnits(other) && illegal == other.illegal;
  }
  void append(const Reading& other) {
    std::copy(other.units, other.units + other.count, units + count);
    count += other.count;
    illegal = illegal || other.illegal;
  }
};

class RulesChecker {
 public:
  explicit RulesChecker(KelCharSet id)
      : m_id(id),
        m_converter(*KelCharSetConverter::getConverter(id)),
        m_rules(kelulib::sequenceRulesOf(m_converter)),
        m_unit(m_rules->unitSize()) {}

  size_t checked() const { return m_checked; }
  size_t failures() const { return m_failures; }

  // Checks the rules on the sequence `s` (no zero byte in it).
  void check(const unsigned char* s, size_t length) {
    ++m_checked;
    const Reading whole = read(s, length);
    // The rules' characters.
    std::vector<size_t> starts;
    Reading pieces;
    for (size_t at = 0; at < length;) {
      size_t characterLength = m_rules->sequenceLength(s + at, length - at);
      if (characterLength == 0) characterLength = length - at;  // cut short by the end
      starts.push_back(at);
      pieces.append(read(s + at, characterLength));
      at += characterLength;
    }
    if (!pieces.sameUnits(whole)) {
      fail(s, length, "cutting between the rules' characters changes the text");
    }

    // The first character is no two.
    const size_t first = m_rules->sequenceLength(s, length);
    if (first > m_unit) {
      unsigned char ended[kLongest + 1];
      std::memcpy(ended, s, first);
      ended[first] = ' ';
      const Reading one = read(ended, first + 1);
      for (size_t cut = m_unit; cut < first; cut += m_unit) {
        Reading split = read(ended, cut);
        split.append(read(ended + cut, first + 1 - cut));
        if (split == one) fail(s, length, "the rules join what the converter reads apart");
      }
    }

    // Fewer bytes give the same length or none.
    for (size_t available = m_unit; available < length; available += m_unit) {
      const size_t partial = m_rules->sequenceLength(s, available);
      if (partial != 0 && (partial != first || partial > available)) {
        fail(s, length, "the length changes with the bytes at hand");
      }
    }

    // Marked places start characters.
    starts.push_back(length);
    for (size_t size = 0; size <= length; ++size) {
      const size_t marked = m_rules->characterStartBefore(s, size);
      if (marked > size || std::find(starts.begin(), starts.end(), marked) == starts.end()) {
        fail(s, length, "characterStartBefore marks a place inside a character");
      }
    }
  }

 private:
  Reading read(const unsigned char* s, size_t length) {
    unsigned char text[kLongest + 4] = {};
    std::memcpy(text, s, length);
    Reading reading;
    reading.count = m_converter.toUTF16(reading.units, text, length + 1, ILLCHAR_REPLACE,
                                        &reading.illegal, static_cast<int>(length / m_unit));
    return reading;
  }

  void fail(const unsigned char* s, size_t length, const char* what) {
    if (++m_failures > 10) return;
    std::string hex;
    for (size_t i = 0; i < length; ++i) {
      char byte[4];
      std::snprintf(byte, sizeof byte, " %02X", s[i]);
      hex += byte;
    }
    ADD_FAILURE() << KelCharSetToString(m_id) << hex << ": " << what;
  }

  KelCharSet m_id;
  KelCharSetConverter& m_converter;
  std::unique_ptr<KelSequenceRules> m_rules;
  size_t m_unit;
  size_t m_checked = 0;
  size_t m_failures = 0;
};

using Alphabet = std::vector<unsigned char>;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

// The first bytes a sweep goes through: all of `bytes`, or under the
// sanitizers every sixteenth and the last.
Alphabet sweep(const Alphabet& bytes) {
  if (!kSanitized) return bytes;
  Alphabet some;
  for (size_t i = 0; i < bytes.size(); i += 16) some.push_back(bytes[i]);
  if (some.back() != bytes.back()) some.push_back(bytes.back());
  return some;
}

Alphabet range(unsigned first, unsigned last) {
  Alphabet bytes;
  for (unsigned b = first; b <= last; ++b) bytes.push_back(static_cast<unsigned char>(b));
  return bytes;
}

Alphabet joined(std::initializer_list<Alphabet> parts) {
  Alphabet bytes;
  for (const Alphabet& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
  return bytes;
}

// Every byte but zero.
const Alphabet kAnyByte = range(1, 255);
// A byte of each class that the encodings tell apart: digits, ASCII
// letters, DEL, 0x80, the upper half's edges and middle.
const Alphabet kFollowers = {0x30, 0x39, 0x41, 0x7E, 0x7F, 0x80, 0x8E, 0x8F,
                             0xA0, 0xA1, 0xBF, 0xC0, 0xDF, 0xE0, 0xFE, 0xFF};

// Checks every sequence of the product of `positions`.
void checkProduct(RulesChecker& checker, const std::vector<Alphabet>& positions) {
  unsigned char s[kLongest];
  std::function<void(size_t)> fill = [&](size_t at) {
    if (at == positions.size()) {
      checker.check(s, positions.size());
      return;
    }
    for (unsigned char b : positions[at]) {
      s[at] = b;
      fill(at + 1);
    }
  };
  fill(0);
}

void expectAgreement(RulesChecker& checker) {
  EXPECT_GT(checker.checked(), 0u);
  EXPECT_EQ(checker.failures(), 0u) << "of " << checker.checked() << " sequences";
}

// --- Single-byte sets: every byte is a character ------------------------------------------

class SingleByteRulesTest : public testing::TestWithParam<KelCharSet> {};

TEST_P(SingleByteRulesTest, EveryPairOfBytes) {
  RulesChecker checker(GetParam());
  checkProduct(checker, {kAnyByte, kAnyByte});
  expectAgreement(checker);
}

std::vector<KelCharSet> singleByteSets() {
  std::vector<KelCharSet> sets;
  for (const KelCharSet id : kelulib_test::kTableDrivenCharSets) {
    if (KelCharSetConverter::getConverter(id)->getMaxUnitSize() == 1) sets.push_back(id);
  }
  return sets;
}

std::string setName(const testing::TestParamInfo<KelCharSet>& info) {
  return std::string(KelCharSetToString(info.param)).substr(6);
}

INSTANTIATE_TEST_SUITE_P(EverySet, SingleByteRulesTest, testing::ValuesIn(singleByteSets()),
                         setName);

// --- Lead and trail bytes: the double-byte sets, EUC-CN and EUC-KR --------------------------

class LeadTrailRulesTest : public testing::TestWithParam<KelCharSet> {};

TEST_P(LeadTrailRulesTest, EveryPairFollowedByEveryClass) {
  RulesChecker checker(GetParam());
  checkProduct(checker, {sweep(kAnyByte), kAnyByte, kFollowers});
  expectAgreement(checker);
}

INSTANTIATE_TEST_SUITE_P(EverySet, LeadTrailRulesTest,
                         testing::Values(KelCS_WCP932, KelCS_WCP936, KelCS_WCP949, KelCS_WCP950,
                                         KelCS_BIG5, KelCS_SHIFTJIS, KelCS_SJIS0213, KelCS_EUC_CN,
                                         KelCS_EUC_KR),
                         setName);

// --- EUC-JP ---------------------------------------------------------------------------

TEST(EucJapaneseRules, EveryPairFollowedByEveryClass) {
  RulesChecker checker(KelCS_EUC_JP);
  checkProduct(checker, {sweep(kAnyByte), kAnyByte, kFollowers});
  expectAgreement(checker);
}

TEST(EucJapaneseRules, EverySupplementaryShiftSequence) {
  RulesChecker checker(KelCS_EUC_JP);
  checkProduct(checker, {{0x8F}, sweep(kAnyByte), kAnyByte, kFollowers});
  // A byte below 0x7F after SS3 does not end a character.
  checkProduct(checker, {kFollowers, {0x8F}, sweep(kAnyByte), kAnyByte});
  expectAgreement(checker);
}

// --- GB18030 ----------------------------------------------------------------------------

TEST(Gb18030Rules, EveryPairFollowedByEveryClass) {
  RulesChecker checker(KelCS_GB18030);
  checkProduct(checker, {sweep(kAnyByte), kAnyByte, kFollowers});
  expectAgreement(checker);
}

TEST(Gb18030Rules, EveryFourByteSequence) {
  RulesChecker checker(KelCS_GB18030);
  const Alphabet lead = range(0x81, 0xFE);
  const Alphabet digit = range(0x30, 0x39);
  checkProduct(checker, {sweep(lead), digit, lead, digit});
  // Every third byte, and every fourth after a lead, with each class after.
  const Alphabet someLeads = {0x81, 0x84, 0x90, 0xE3, 0xFE};
  checkProduct(checker, {someLeads, digit, sweep(kAnyByte), kFollowers});
  checkProduct(checker, {someLeads, {0x30, 0x39}, sweep(lead), kAnyByte});
  expectAgreement(checker);
}

// --- UTF-8 ------------------------------------------------------------------------------

TEST(Utf8Rules, EveryPairOfBytes) {
  RulesChecker checker(KelCS_UTF8);
  checkProduct(checker, {sweep(kAnyByte), kAnyByte, kFollowers});
  expectAgreement(checker);
}

TEST(Utf8Rules, EveryThreeByteForm) {
  RulesChecker checker(KelCS_UTF8);
  const Alphabet continuation = range(0x80, 0xBF);
  checkProduct(checker, {range(0xE0, 0xEF), sweep(continuation), kAnyByte});
  checkProduct(checker, {range(0xE0, 0xEF), sweep(kAnyByte), kFollowers});
  expectAgreement(checker);
}

TEST(Utf8Rules, EveryFourByteForm) {
  RulesChecker checker(KelCS_UTF8);
  const Alphabet continuation = range(0x80, 0xBF);
  // Every four-byte form; then every byte after two continuation bytes, and
  // after one, with each class after it.
  checkProduct(checker, {range(0xF0, 0xFF), sweep(continuation), continuation, continuation});
  checkProduct(checker,
               {range(0xF0, 0xFF), {0x80, 0x9F, 0xA0, 0xBF}, sweep(continuation), kAnyByte});
  checkProduct(checker, {range(0xF0, 0xFF), sweep(continuation), kAnyByte, kFollowers});
  expectAgreement(checker);
}

TEST(Utf8Rules, RunsOfContinuationBytes) {
  RulesChecker checker(KelCS_UTF8);
  const Alphabet continuation = range(0x80, 0xBF);
  const Alphabet some = {0x80, 0xBF};
  checkProduct(checker, {kFollowers, some, some, some, some, kFollowers});
  checkProduct(checker, {continuation, continuation, kFollowers});
  expectAgreement(checker);
}

// --- The UTF-16 escape form --------------------------------------------------------------

TEST(UnitEscapeRules, EveryEscapeAndEveryBreakOfOne) {
  RulesChecker checker(KelCS_UTF16ESC);
  const Alphabet hex = joined({range('0', '9'), range('A', 'F')});
  checkProduct(checker, {{'U'}, {'+'}, hex, hex, hex, hex});
  // Each place of an escape taken by every other byte.
  const Alphabet other = kAnyByte;
  checkProduct(checker, {{'U'}, other, {'0'}, {'0'}, {'E'}, {'9'}});
  checkProduct(checker, {{'U'}, {'+'}, other, {'0'}, {'E'}, {'9'}});
  checkProduct(checker, {{'U'}, {'+'}, {'0'}, {'0'}, other, {'9'}});
  checkProduct(checker, {{'U'}, {'+'}, {'0'}, {'0'}, {'E'}, other});
  checkProduct(checker, {kAnyByte, kAnyByte});
  expectAgreement(checker);
}

// --- UTF-16 and UTF-32: whole units ------------------------------------------------------

TEST(UnitRules, EveryUtf16UnitFollowedByUnitsOfEveryKind) {
  RulesChecker checker(KelCS_UTF16);
  // Low byte first: every unit, then a unit of each kind (ASCII, a high and
  // a low surrogate, a CJK unit), and a lone byte.
  checkProduct(checker, {kAnyByte, sweep(kAnyByte), {0x41, 0x01}, {0x01, 0xD8, 0xDC, 0x4E}});
  checkProduct(checker, {kAnyByte, sweep(kAnyByte), kFollowers});
  expectAgreement(checker);
}

TEST(UnitRules, Utf32ValuesOfEveryRange) {
  RulesChecker checker(KelCS_UTF32);
  std::mt19937 random(32);
  for (int i = 0; i < 200000; ++i) {
    unsigned char s[8];
    uint32_t values[2] = {static_cast<uint32_t>(random()) >> (random() % 32),
                          static_cast<uint32_t>(random()) >> (random() % 32)};
    for (uint32_t& value : values) value |= 1;  // no zero value: it ends the text
    std::memcpy(s, values, sizeof values);
    checker.check(s, 8);
    checker.check(s, 5);
  }
  expectAgreement(checker);
}

// --- The whole characters of a text --------------------------------------------------------

// wholeCharacters() from a marked place gives what a walk from the start of
// the text gives, for random texts in every encoding.
TEST(WholeCharacters, FromAMarkedPlaceAsFromTheStart) {
  std::vector<KelCharSet> sets = {KelCS_UTF8, KelCS_UTF16, KelCS_UTF16ESC, KelCS_UTF32};
  sets.insert(sets.end(), std::begin(kelulib_test::kTableDrivenCharSets),
              std::end(kelulib_test::kTableDrivenCharSets));
  std::mt19937 random(7);
  for (const KelCharSet id : sets) {
    const auto rules = kelulib::sequenceRulesOf(*KelCharSetConverter::getConverter(id));
    for (int round = 0; round < 2000; ++round) {
      std::vector<unsigned char> text(1 + random() % 40);
      const Alphabet& alphabet = round % 3 == 0 ? kFollowers : kAnyByte;
      for (unsigned char& b : text) b = alphabet[random() % alphabet.size()];
      if (id == KelCS_UTF16ESC && round % 2 == 0) {
        const char* escape = "U+00E9";
        std::memcpy(text.data() + random() % text.size() / 2, escape,
                    std::min<size_t>(6, text.size() / 2));
      }
      // The walk from the start.
      size_t length = 0;
      size_t lastStart = 0;
      for (size_t at = 0; at < text.size();) {
        const size_t step = rules->sequenceLength(text.data() + at, text.size() - at);
        if (step == 0) break;
        lastStart = at;
        at += step;
        length = at;
      }
      const kelulib::KelWholeCharacters whole =
          kelulib::wholeCharacters(*rules, text.data(), text.size());
      ASSERT_EQ(whole.length, length) << KelCharSetToString(id) << " round " << round;
      ASSERT_EQ(whole.lastStart, length == 0 ? 0 : lastStart)
          << KelCharSetToString(id) << " round " << round;
    }
  }
}

TEST(SequenceRulesOf, EveryConverterOfTheLibraryHasRules) {
  for (int id = 1; id < 65536; ++id) {
    KelCharSetConverter* converter = KelCharSetConverter::getConverter(static_cast<KelCharSet>(id));
    EXPECT_NE(kelulib::sequenceRulesOf(*converter), nullptr) << id;
  }
}

}  // namespace
