// The string's substring search against the plain search it replaces: on
// random texts over small alphabets (so that the needles recur and overlap
// themselves), with zero units in texts and needles, from every start, both
// ways; and on the repetitive texts for which the plain search is
// quadratic.
#include "ustring/unit_search.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using kelulib::findUnits;
using kelulib::findUnitsPlain;
using kelulib::rfindUnits;
using kelulib::rfindUnitsPlain;

std::u16string randomText(std::mt19937& random, const std::u16string& alphabet, size_t length) {
  std::u16string text;
  std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
  for (size_t i = 0; i < length; ++i) text += alphabet[pick(random)];
  return text;
}

// Every search of `needle` in `text` (followed by its terminator) both
// ways, from every start, against the plain search.
void expectSameSearches(const std::u16string& text, const std::u16string& needle) {
  const size_t length = text.size();
  const size_t m = needle.size();
  if (m == 0 || m > length) return;
  const std::u16string terminated = text + u'\0';
  const wchar16* units = terminated.c_str();
  const size_t last = length - m;
  for (size_t from = 0; from <= last; ++from) {
    ASSERT_EQ(findUnits(units, from, last, needle.data(), m),
              findUnitsPlain(units, from, last, needle.data(), m))
        << "find from " << from << " in a text of " << length << " units, needle of " << m;
  }
  for (size_t start = 0; start <= last; ++start) {
    ASSERT_EQ(rfindUnits(units, start, needle.data(), m),
              rfindUnitsPlain(units, start, needle.data(), m))
        << "rfind from " << start << " in a text of " << length << " units, needle of " << m;
  }
}

TEST(UnitSearch, RandomTextsOverSmallAlphabetsMatchThePlainSearch) {
  std::mt19937 random(1);
  const std::u16string alphabets[] = {u"a", u"ab", u"abc", std::u16string(u"a\0b", 3),
                                      u"\xD800" u"a", u"\xFFFF\x0001"};
  for (const std::u16string& alphabet : alphabets) {
    for (size_t length : {1, 2, 3, 7, 16, 40, 120}) {
      const std::u16string text = randomText(random, alphabet, length);
      for (int n = 0; n < 30; ++n) {
        const size_t m = std::uniform_int_distribution<size_t>(1, 12)(random);
        // Pieces of the text itself, sometimes with one unit changed, and
        // random needles.
        std::u16string needle;
        if (n % 3 != 2 && m <= length) {
          const size_t at = std::uniform_int_distribution<size_t>(0, length - m)(random);
          needle = text.substr(at, m);
          if (n % 3 == 1) needle[m / 2] = alphabet[n % alphabet.size()];
        } else {
          needle = randomText(random, alphabet, m);
        }
        expectSameSearches(text, needle);
      }
    }
  }
}

TEST(UnitSearch, NeedlesThatRepeatTheirOwnPeriodMatchThePlainSearch) {
  // Periodic and nearly periodic needles in texts built of their periods.
  const std::u16string needles[] = {u"aaaa", u"aaab", u"abab", u"ababa", u"abaabaab",
                                    u"baaaa", u"aabaabaa", u"abcabcabd", u"zaaaaaaa"};
  for (const std::u16string& needle : needles) {
    for (const char16_t* piece : {u"a", u"ab", u"aab", u"abc", u"ba"}) {
      std::u16string text;
      while (text.size() < 90) text += piece;
      expectSameSearches(text, needle);
      expectSameSearches(text + needle + text, needle);
    }
  }
}

TEST(UnitSearch, ZeroUnitsEndTheComparison) {
  // A needle's zero unit after its first must meet a zero unit in the text
  // at the same place, and what follows it is not compared; a zero first
  // unit must meet a zero unit.
  const std::u16string text(u"ab\0cab\0dab\0\0x", 13);
  const std::u16string needles[] = {std::u16string(u"ab\0", 3), std::u16string(u"ab\0z", 4),
                                    std::u16string(u"\0c", 2), std::u16string(u"\0\0", 2),
                                    std::u16string(u"b\0\0x", 4), u"ab"};
  for (const std::u16string& needle : needles) expectSameSearches(text, needle);
  const std::u16string terminated = text + u'\0';
  EXPECT_EQ(findUnits(terminated.c_str(), 0, text.size() - 4, u"ab\0z", 4), 0u);
  EXPECT_EQ(rfindUnits(terminated.c_str(), text.size() - 4, u"ab\0z", 4), 8u);
}

TEST(UnitSearch, QuadraticCasesOfThePlainSearchGiveItsResults) {
  // Long runs of one unit and a needle that differs only at its end (or
  // start): the plain search compares the whole needle at every position.
  const std::u16string text(20000, u'a');
  std::u16string needle(1500, u'a');
  needle.back() = u'b';
  const std::u16string terminated = text + u'\0';
  const size_t last = text.size() - needle.size();
  EXPECT_EQ(findUnits(terminated.c_str(), 0, last, needle.data(), needle.size()),
            kelulib::kNotFound);
  EXPECT_EQ(rfindUnits(terminated.c_str(), last, needle.data(), needle.size()),
            kelulib::kNotFound);
  const std::u16string withB = text + u"b" + text;
  const std::u16string withBTerminated = withB + u'\0';
  EXPECT_EQ(findUnits(withBTerminated.c_str(), 0, withB.size() - needle.size(), needle.data(),
                      needle.size()),
            text.size() - needle.size() + 1);
  std::u16string reversed(1500, u'a');
  reversed.front() = u'b';
  EXPECT_EQ(rfindUnits(withBTerminated.c_str(), withB.size() - reversed.size(), reversed.data(),
                       reversed.size()),
            text.size());
}

}  // namespace
