// The converters' fast paths against their plain code. For each converter,
// the same input, room, source limit and policy must give the same output
// buffer (the units or bytes written, and nothing else touched), the same
// return value and the same illegal flag at every instruction level this
// processor has as at KelSimdLevel::kScalar, where no fast path runs. The
// stream converter's fast path from the single-byte sets to UTF-8 must give
// the same output, failure and count of characters left out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "charset/charset_names.h"
#include "charset/converter.h"
#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels.h"
#include "charset/stream_converter.h"
#include "tests/support/charset_sets.h"
#include "tests/support/guarded_buffer.h"

namespace {

using kelulib::KelSimdLevel;
using kelulib_test::GuardedBuffer;

const ILLCHAR_OPTYPE kPolicies[] = {ILLCHAR_STOP, ILLCHAR_REPLACE, ILLCHAR_ESCAPE};

// Makes the fast paths use one level for the life of the object.
class ScopedSimdLevel {
 public:
  explicit ScopedSimdLevel(KelSimdLevel level) : m_before(kelulib::setActiveSimdLevel(level)) {}
  ~ScopedSimdLevel() { kelulib::setActiveSimdLevel(m_before); }
  ScopedSimdLevel(const ScopedSimdLevel&) = delete;
  ScopedSimdLevel& operator=(const ScopedSimdLevel&) = delete;

 private:
  KelSimdLevel m_before;
};

std::vector<KelSimdLevel> fastLevels() {
  std::vector<KelSimdLevel> levels;
  for (int level = static_cast<int>(KelSimdLevel::kSse2);
       level <= static_cast<int>(kelulib::supportedSimdLevel()); ++level) {
    levels.push_back(static_cast<KelSimdLevel>(level));
  }
  return levels;
}

std::string levelName(KelSimdLevel level) {
  switch (level) {
    case KelSimdLevel::kScalar:
      return "scalar";
    case KelSimdLevel::kSse2:
      return "SSE2";
    case KelSimdLevel::kAvx2:
      return "AVX2";
    case KelSimdLevel::kAvx512:
      return "AVX-512";
  }
  return "?";
}

// Everything a conversion shows: the whole output buffer with its guards,
// the return value and the flag.
template <typename Out>
struct Outcome {
  std::vector<Out> buffer;
  size_t result;
  bool illegal;
  bool operator==(const Outcome& other) const {
    return buffer == other.buffer && result == other.result && illegal == other.illegal;
  }
};

// `text` (terminator included) in a heap block of exactly its size.
template <typename Unit>
std::unique_ptr<Unit[]> exactCopy(const std::vector<Unit>& text) {
  std::unique_ptr<Unit[]> copy(new Unit[text.size()]);
  std::memcpy(copy.get(), text.data(), text.size() * sizeof(Unit));
  return copy;
}

// Fills a whole output buffer, guards included, with a pattern that changes
// from element to element, so that an element written and put back wrongly
// shows.
template <typename Out>
void fillWithPattern(GuardedBuffer<Out>& buffer) {
  for (size_t i = 0; i < buffer.size() + GuardedBuffer<Out>::kGuardCount; ++i) {
    buffer.data()[i] = static_cast<Out>(0xA5 + 0x9E37 * i);
  }
}

Outcome<wchar16> toUtf16(KelCharSetConverter* converter, const std::vector<unsigned char>& text,
                         size_t room, ILLCHAR_OPTYPE op, int srcLimit) {
  const auto src = exactCopy(text);
  GuardedBuffer<wchar16> dst(room + 1, static_cast<wchar16>(0xA5A5));
  fillWithPattern(dst);
  bool illegal = false;
  const size_t result = converter->toUTF16(dst.data(), src.get(), room, op, &illegal, srcLimit);
  return {
      std::vector<wchar16>(dst.data(), dst.data() + room + 1 + GuardedBuffer<wchar16>::kGuardCount),
      result, illegal};
}

Outcome<unsigned char> fromUtf16(KelCharSetConverter* converter, const std::vector<wchar16>& text,
                                 size_t room, ILLCHAR_OPTYPE op) {
  const auto src = exactCopy(text);
  // The UTF-8 escape may run one byte past the room per escape; leave it
  // that much space so that only the comparison judges it.
  const size_t slack = text.size();
  GuardedBuffer<unsigned char> dst(room + 1 + slack);
  fillWithPattern(dst);
  bool illegal = false;
  const size_t result = converter->fromUTF16(dst.data(), src.get(), room, op, &illegal);
  return {std::vector<unsigned char>(dst.data(), dst.data() + room + 1 + slack +
                                                     GuardedBuffer<unsigned char>::kGuardCount),
          result, illegal};
}

// --- Inputs ------------------------------------------------------------------

// Random text in UTF-16 made of the runs fast paths meet and the characters
// that end them: ASCII runs, Latin-1, Cyrillic, CJK and Hangul runs, paired
// and unpaired surrogates, U+FFFF, and now and then a zero unit.
std::vector<wchar16> randomUnits(std::mt19937& random, size_t length, bool withZeros) {
  std::vector<wchar16> units;
  auto pick = [&random](unsigned first, unsigned last) {
    return static_cast<wchar16>(std::uniform_int_distribution<unsigned>(first, last)(random));
  };
  while (units.size() < length) {
    const unsigned kind = std::uniform_int_distribution<unsigned>(0, 99)(random);
    const size_t run = std::uniform_int_distribution<size_t>(1, 70)(random);
    for (size_t i = 0; i < run && units.size() < length; ++i) {
      if (kind < 30)
        units.push_back(pick(0x20, 0x7E));
      else if (kind < 35)
        units.push_back(pick(0x01, 0x7F));
      else if (kind < 45)
        units.push_back(pick(0x80, 0xFF));
      else if (kind < 55)
        units.push_back(pick(0x400, 0x44F));
      else if (kind < 70)
        units.push_back(pick(0x4E00, 0x9FA5));
      else if (kind < 75)
        units.push_back(pick(0x3041, 0x30F6));
      else if (kind < 83)
        units.push_back(pick(0xAC00, 0xD7A3));
      else if (kind < 86)
        units.push_back(pick(0x2000, 0x20AC));
      else if (kind < 90) {
        units.push_back(pick(0xD800, 0xDBFF));
        units.push_back(pick(0xDC00, 0xDFFF));
      } else if (kind < 93)
        units.push_back(pick(0xD800, 0xDFFF));
      else if (kind < 95)
        units.push_back(0xFFFF);
      else if (kind < 97 && withZeros)
        units.push_back(0);
      else
        units.push_back(pick(0x100, 0xFFFD));
    }
  }
  units.resize(length);
  units.push_back(0);
  return units;
}

// Local text for `converter`: random UTF-16 written with it, with random
// bytes, stray high bytes and now and then a zero byte mixed in.
std::vector<unsigned char> randomBytes(std::mt19937& random, KelCharSetConverter* converter,
                                       size_t length, bool withZeros) {
  std::vector<unsigned char> bytes;
  while (bytes.size() < length) {
    const unsigned kind = std::uniform_int_distribution<unsigned>(0, 99)(random);
    if (kind < 75) {
      const std::vector<wchar16> units = randomUnits(random, 40, false);
      std::vector<unsigned char> encoded(40 * 12 + 4);
      const size_t n =
          converter->fromUTF16(encoded.data(), units.data(), 40 * 12, ILLCHAR_REPLACE, nullptr);
      bytes.insert(bytes.end(), encoded.begin(), encoded.begin() + static_cast<long>(n));
    } else if (kind < 90) {
      const size_t run = std::uniform_int_distribution<size_t>(1, 8)(random);
      for (size_t i = 0; i < run; ++i) {
        bytes.push_back(static_cast<unsigned char>(
            std::uniform_int_distribution<unsigned>(0x80, 0xFF)(random)));
      }
    } else if (kind < 97 || !withZeros) {
      bytes.push_back(
          static_cast<unsigned char>(std::uniform_int_distribution<unsigned>(1, 0xFF)(random)));
    } else {
      bytes.push_back(0);
    }
  }
  bytes.resize(length);
  for (unsigned char& byte : bytes) {
    if (byte == 0 && !withZeros) byte = 'z';
  }
  bytes.push_back(0);
  return bytes;
}

// Hand-made UTF-8 that ends runs in every way: stray continuations, cut
// sequences at and around block ends, four-byte and invalid leads, overlong
// and surrogate forms (converted by their bits), all after ASCII runs of
// every length up to two blocks.
std::vector<std::vector<unsigned char>> utf8EdgeTexts() {
  const std::vector<std::vector<unsigned char>> enders = {{0x80},
                                                          {0xBF, 0xBF},
                                                          {0xC3},
                                                          {0xC3, 0x41},
                                                          {0xE3, 0x81},
                                                          {0xE3, 0x41},
                                                          {0xE3, 0x81, 0x41},
                                                          {0xF0, 0x9F, 0x98, 0x80},
                                                          {0xF8, 0x80, 0x80, 0x80},
                                                          {0xFF},
                                                          {0xC0, 0x80},
                                                          {0xED, 0xA0, 0x80},
                                                          {0xEF, 0xBF, 0xBF},
                                                          {0xC3, 0xA9},
                                                          {0xE6, 0x97, 0xA5}};
  std::vector<std::vector<unsigned char>> texts;
  for (size_t lead = 0; lead <= 130; lead += (lead < 70 ? 1 : 7)) {
    for (const auto& ender : enders) {
      std::vector<unsigned char> text(lead, 'a');
      text.insert(text.end(), ender.begin(), ender.end());
      for (int i = 0; i < 3; ++i) text.insert(text.end(), {0xE6, 0x97, 0xA5, 'x', 0xC3, 0xA9});
      text.push_back(0);
      texts.push_back(text);
    }
  }
  return texts;
}

// The converters with fast paths, and one of each other family.
const KelCharSet kConverters[] = {KelCS_UTF8,    KelCS_WCP1252,  KelCS_ISO_8859_1, KelCS_WCP1250,
                                  KelCS_WCP1251, KelCS_WCP1253,  KelCS_WCP874,     KelCS_KOI8R,
                                  KelCS_WCP932,  KelCS_WCP936,   KelCS_WCP949,     KelCS_WCP950,
                                  KelCS_BIG5,    KelCS_SHIFTJIS, KelCS_SJIS0213,   KelCS_EUC_JP,
                                  KelCS_EUC_CN,  KelCS_EUC_KR,   KelCS_GB18030,    KelCS_UTF16ESC};

// --- The comparisons ---------------------------------------------------------

// Rooms and source limits tried for a text: every one for short texts, a
// spread for long ones, always with 0, the edges and just past them.
std::vector<size_t> sizesUpTo(size_t last, std::mt19937& random) {
  std::vector<size_t> sizes;
  if (last <= 160) {
    for (size_t size = 0; size <= last; ++size) sizes.push_back(size);
    return sizes;
  }
  for (size_t size : {size_t{0}, size_t{1}, size_t{15}, size_t{16}, size_t{17}, size_t{31},
                      size_t{32}, size_t{33}, size_t{47}, size_t{48}, size_t{63}, size_t{64},
                      size_t{65}, size_t{95}, size_t{96}, size_t{97}, last / 2, last - 1, last}) {
    sizes.push_back(size);
  }
  for (int i = 0; i < 12; ++i) {
    sizes.push_back(std::uniform_int_distribution<size_t>(0, last)(random));
  }
  return sizes;
}

// One toUTF16 call at every fast level against the plain code; `where`
// says what else the failure message needs.
void expectSameToUtf16AtEveryLevel(KelCharSet id, const std::vector<unsigned char>& text,
                                   size_t room, ILLCHAR_OPTYPE op, int limit,
                                   const std::string& where) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  Outcome<wchar16> reference;
  {
    ScopedSimdLevel plain(KelSimdLevel::kScalar);
    reference = toUtf16(converter, text, room, op, limit);
  }
  for (KelSimdLevel level : fastLevels()) {
    ScopedSimdLevel fast(level);
    ASSERT_TRUE(toUtf16(converter, text, room, op, limit) == reference)
        << "converter " << id << ", " << levelName(level) << ", room " << room << ", srcLimit "
        << limit << ", policy " << op << ", " << where;
  }
}

void expectSameToUtf16(KelCharSet id, const std::vector<unsigned char>& text,
                       std::mt19937& random) {
  const size_t length = text.size() - 1;
  const std::vector<size_t> rooms = sizesUpTo(length + 2, random);
  std::vector<int> limits = {-1};
  for (size_t limit : sizesUpTo(length + 1, random)) limits.push_back(static_cast<int>(limit));
  const std::string where = "text of " + std::to_string(length) + " bytes";
  for (ILLCHAR_OPTYPE op : kPolicies) {
    auto compare = [&](size_t room, int limit) {
      expectSameToUtf16AtEveryLevel(id, text, room, op, limit, where);
    };
    for (size_t room : rooms) compare(room, -1);
    for (int limit : limits) compare(length + 2, limit);
    for (int i = 0; i < 24; ++i) {
      compare(rooms[std::uniform_int_distribution<size_t>(0, rooms.size() - 1)(random)],
              limits[std::uniform_int_distribution<size_t>(0, limits.size() - 1)(random)]);
    }
  }
}

void expectSameFromUtf16(KelCharSet id, const std::vector<wchar16>& text, std::mt19937& random) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  const size_t length = text.size() - 1;
  for (ILLCHAR_OPTYPE op : kPolicies) {
    // The UTF-8 escape drops the unit after an unpaired high surrogate, so
    // a high surrogate just before the terminator would make it read past
    // the terminator; that input is outside its contract.
    if (id == KelCS_UTF8 && op == ILLCHAR_ESCAPE && length > 0 && text[length - 1] >= 0xD800 &&
        text[length - 1] <= 0xDBFF) {
      continue;
    }
    for (size_t room : sizesUpTo(3 * length + 2, random)) {
      Outcome<unsigned char> reference;
      {
        ScopedSimdLevel plain(KelSimdLevel::kScalar);
        reference = fromUtf16(converter, text, room, op);
      }
      for (KelSimdLevel level : fastLevels()) {
        ScopedSimdLevel fast(level);
        ASSERT_TRUE(fromUtf16(converter, text, room, op) == reference)
            << "converter " << id << ", " << levelName(level) << ", room " << room << ", policy "
            << op << ", text of " << length << " units";
      }
    }
  }
}

class FastPathDifferential : public testing::TestWithParam<KelCharSet> {};

TEST_P(FastPathDifferential, ToUtf16OfRandomShortTextsMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()));
  for (size_t length : {0, 1, 2, 15, 16, 17, 33, 64, 65, 100, 130}) {
    for (bool zeros : {false, true}) {
      expectSameToUtf16(
          GetParam(),
          randomBytes(random, KelCharSetConverter::getConverter(GetParam()), length, zeros),
          random);
    }
  }
}

TEST_P(FastPathDifferential, ToUtf16OfLongTextsMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 1);
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  for (size_t length : {size_t{1000}, size_t{5000}, size_t{90000}}) {
    expectSameToUtf16(GetParam(), randomBytes(random, converter, length, false), random);
  }
}

TEST_P(FastPathDifferential, FromUtf16OfRandomShortTextsMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 2);
  for (size_t length : {0, 1, 2, 15, 16, 17, 31, 32, 33, 48, 64, 100}) {
    for (bool zeros : {false, true}) {
      expectSameFromUtf16(GetParam(), randomUnits(random, length, zeros), random);
    }
  }
}

TEST_P(FastPathDifferential, FromUtf16OfLongTextsMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 3);
  for (size_t length : {size_t{1000}, size_t{5000}, size_t{90000}}) {
    expectSameFromUtf16(GetParam(), randomUnits(random, length, false), random);
  }
}

TEST_P(FastPathDifferential, ToUtf16OfAsciiRunsOfEveryLengthMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 4);
  for (size_t length = 0; length <= 200; ++length) {
    std::vector<unsigned char> text(length, 'k');
    text.push_back(0xE9);
    text.push_back('k');
    text.push_back(0);
    KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
    for (ILLCHAR_OPTYPE op : kPolicies) {
      Outcome<wchar16> reference;
      {
        ScopedSimdLevel plain(KelSimdLevel::kScalar);
        reference = toUtf16(converter, text, text.size() + 1, op, -1);
      }
      for (KelSimdLevel level : fastLevels()) {
        ScopedSimdLevel fast(level);
        ASSERT_TRUE(toUtf16(converter, text, text.size() + 1, op, -1) == reference)
            << levelName(level) << ", ASCII run of " << length;
      }
    }
  }
}

TEST_P(FastPathDifferential, ToUtf16WithABadByteAtEveryPositionMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 5);
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  const std::vector<unsigned char> base = randomBytes(random, converter, 90, false);
  for (unsigned char bad : {0x80, 0xA0, 0xFF, 0x7F, 0x8E, 0xE3}) {
    for (size_t at = 0; at + 1 < base.size(); ++at) {
      std::vector<unsigned char> text = base;
      text[at] = bad;
      const size_t length = text.size() - 1;
      for (ILLCHAR_OPTYPE op : kPolicies) {
        for (int limit :
             {-1, static_cast<int>(at), static_cast<int>(at) + 1, static_cast<int>(at) + 2}) {
          Outcome<wchar16> reference;
          {
            ScopedSimdLevel plain(KelSimdLevel::kScalar);
            reference = toUtf16(converter, text, length + 1, op, limit);
          }
          for (KelSimdLevel level : fastLevels()) {
            ScopedSimdLevel fast(level);
            ASSERT_TRUE(toUtf16(converter, text, length + 1, op, limit) == reference)
                << levelName(level) << ", byte " << int{bad} << " at " << at << ", srcLimit "
                << limit << ", policy " << op;
          }
        }
      }
    }
  }
}

TEST_P(FastPathDifferential, FromUtf16WithAnUnmappableUnitAtEveryPositionMatchesPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 6);
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  std::vector<wchar16> base(90);
  for (size_t i = 0; i < base.size(); ++i) base[i] = i % 3 == 0 ? u'a' : u'\u00E9';
  base.push_back(0);
  for (wchar16 odd :
       {wchar16{0xD800}, wchar16{0xDC00}, wchar16{0xFFFF}, wchar16{0x0E3F}, wchar16{0x7F}}) {
    for (size_t at = 0; at + 1 < base.size(); ++at) {
      std::vector<wchar16> text = base;
      text[at] = odd;
      // The UTF-8 escape of a high surrogate drops the next unit: keep a
      // unit after it (the terminator must not be the one dropped).
      for (ILLCHAR_OPTYPE op : kPolicies) {
        if (GetParam() == KelCS_UTF8 && op == ILLCHAR_ESCAPE && at + 2 == base.size() &&
            odd == 0xD800)
          continue;
        Outcome<unsigned char> reference;
        {
          ScopedSimdLevel plain(KelSimdLevel::kScalar);
          reference = fromUtf16(converter, text, 3 * text.size(), op);
        }
        for (KelSimdLevel level : fastLevels()) {
          ScopedSimdLevel fast(level);
          ASSERT_TRUE(fromUtf16(converter, text, 3 * text.size(), op) == reference)
              << levelName(level) << ", unit " << int{odd} << " at " << at << ", policy " << op;
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryFamily, FastPathDifferential, testing::ValuesIn(kConverters),
                         [](const testing::TestParamInfo<KelCharSet>& info) {
                           return "cp" + std::to_string(static_cast<int>(info.param));
                         });

TEST(FastPathDifferentialUtf8, EdgeSequencesAtEveryBlockPositionMatchPlainCode) {
  std::mt19937 random(7);
  for (const auto& text : utf8EdgeTexts()) expectSameToUtf16(KelCS_UTF8, text, random);
}

TEST(FastPathDifferentialUtf8, MalformedBytesAtEveryPositionMatchPlainCode) {
  std::mt19937 random(8);
  const unsigned char malformed[] = {0x80, 0xC3, 0xE3, 0xF0, 0xFF};
  for (unsigned char bad : malformed) {
    for (size_t at = 0; at < 80; ++at) {
      std::vector<unsigned char> text;
      for (int i = 0; i < 30; ++i) text.insert(text.end(), {'a', 0xD0, 0x96, 0xE6, 0x97, 0xA5});
      text[at] = bad;
      text.push_back(0);
      expectSameToUtf16(KelCS_UTF8, text, random);
    }
  }
}

TEST(FastPathDifferentialUtf8, ZeroAtEveryPositionMatchesPlainCode) {
  std::mt19937 random(9);
  for (size_t at = 0; at < 140; ++at) {
    std::vector<unsigned char> text;
    for (int i = 0; i < 25; ++i) text.insert(text.end(), {'a', 'b', 0xD0, 0x96, 0xE6, 0x97, 0xA5});
    text[at] = 0;
    text.push_back(0);
    expectSameToUtf16(KelCS_UTF8, text, random);
  }
}

TEST(FastPathDifferentialUtf16, SurrogateAndZeroAtEveryPositionMatchPlainCode) {
  std::mt19937 random(10);
  for (wchar16 special : {wchar16{0xD800}, wchar16{0xDC00}, wchar16{0}, wchar16{0x20AC}}) {
    for (size_t at = 0; at < 100; ++at) {
      std::vector<wchar16> text;
      for (int i = 0; i < 25; ++i) text.insert(text.end(), {u'a', u'\u00E9', u'\u65E5', u'b'});
      text[at] = special;
      text.push_back(0);
      for (KelCharSet id : {KelCS_UTF8, KelCS_WCP1252, KelCS_GB18030, KelCS_EUC_KR}) {
        expectSameFromUtf16(id, text, random);
      }
    }
  }
}

// Regression: a run of whole 64-byte blocks that ended exactly at the source
// limit went on to read the next character.
TEST(FastPathDifferentialEuc, SourceLimitAtTheEndOfABlockStopsThere) {
  std::mt19937 random(11);
  for (KelCharSet id : {KelCS_EUC_KR, KelCS_EUC_CN}) {
    std::vector<unsigned char> text;
    for (int i = 0; i < 100; ++i) text.insert(text.end(), {0xB0, 0xA1});
    text.push_back(0);
    KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
    for (int limit : {64, 128, 63, 65}) {
      Outcome<wchar16> reference;
      {
        ScopedSimdLevel plain(KelSimdLevel::kScalar);
        reference = toUtf16(converter, text, text.size(), ILLCHAR_REPLACE, limit);
      }
      EXPECT_EQ(reference.result, static_cast<size_t>((limit + 1) / 2)) << "limit " << limit;
      for (KelSimdLevel level : fastLevels()) {
        ScopedSimdLevel fast(level);
        EXPECT_TRUE(toUtf16(converter, text, text.size(), ILLCHAR_REPLACE, limit) == reference)
            << levelName(level) << ", limit " << limit;
      }
    }
  }
}

// --- UTF-16 text at every alignment ---------------------------------------
//
// The UTF-16 to UTF-8 kernel reads whole aligned blocks and finds the
// terminator in them; the first block of a text starts wherever the text
// does. Texts start at every unit of a 64-byte span, and end at the end of
// their heap block (so that a read past the terminator shows).

// fromUTF16 of `text` placed `offset` units into a heap block that ends with
// the text's terminator.
Outcome<unsigned char> fromUtf16At(KelCharSetConverter* converter,
                                   const std::vector<wchar16>& text, size_t offset, size_t room,
                                   ILLCHAR_OPTYPE op) {
  std::unique_ptr<wchar16[]> block(new wchar16[offset + text.size()]);
  for (size_t i = 0; i < offset; ++i) block[i] = static_cast<wchar16>(0x4E00 + i);
  std::memcpy(block.get() + offset, text.data(), text.size() * sizeof(wchar16));
  const size_t slack = text.size();
  GuardedBuffer<unsigned char> dst(room + 1 + slack);
  fillWithPattern(dst);
  bool illegal = false;
  const size_t result =
      converter->fromUTF16(dst.data(), block.get() + offset, room, op, &illegal);
  return {std::vector<unsigned char>(dst.data(), dst.data() + room + 1 + slack +
                                                     GuardedBuffer<unsigned char>::kGuardCount),
          result, illegal};
}

void expectSameFromUtf16AtEveryOffset(KelCharSet id, const std::vector<wchar16>& text,
                                      std::mt19937& random) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  const size_t length = text.size() - 1;
  std::vector<size_t> rooms = sizesUpTo(3 * length + 2, random);
  if (rooms.size() > 40) rooms.resize(40);
  for (size_t offset = 0; offset < 32; ++offset) {
    for (ILLCHAR_OPTYPE op : kPolicies) {
      if (id == KelCS_UTF8 && op == ILLCHAR_ESCAPE && length > 0 && text[length - 1] >= 0xD800 &&
          text[length - 1] <= 0xDBFF) {
        continue;
      }
      for (size_t room : rooms) {
        Outcome<unsigned char> reference;
        {
          ScopedSimdLevel plain(KelSimdLevel::kScalar);
          reference = fromUtf16At(converter, text, offset, room, op);
        }
        for (KelSimdLevel level : fastLevels()) {
          ScopedSimdLevel fast(level);
          ASSERT_TRUE(fromUtf16At(converter, text, offset, room, op) == reference)
              << "converter " << id << ", " << levelName(level) << ", offset " << offset
              << ", room " << room << ", policy " << op << ", text of " << length << " units";
        }
      }
    }
  }
}

TEST(FastPathDifferentialUtf16, TextsAtEveryAlignmentMatchPlainCode) {
  std::mt19937 random(12);
  for (size_t length : {0, 1, 5, 15, 16, 17, 31, 32, 33, 47, 48, 49, 63, 64, 65, 100, 130}) {
    for (bool zeros : {false, true}) {
      const std::vector<wchar16> text = randomUnits(random, length, zeros);
      for (KelCharSet id : {KelCS_UTF8, KelCS_WCP1252, KelCS_WCP932, KelCS_GB18030}) {
        expectSameFromUtf16AtEveryOffset(id, text, random);
      }
    }
  }
}

TEST(FastPathDifferentialUtf16, RunsOfOneKindAtEveryAlignmentMatchPlainCode) {
  // Whole blocks of ASCII, of units below 0x800 and of three-byte units,
  // ended by a surrogate or a zero unit at every place.
  std::mt19937 random(13);
  for (wchar16 base : {wchar16{'a'}, wchar16{0x416}, wchar16{0x65E5}}) {
    for (wchar16 ender : {wchar16{0xD800}, wchar16{0xDC00}, wchar16{0}, wchar16{0x41}}) {
      for (size_t at : {size_t{0}, size_t{15}, size_t{16}, size_t{31}, size_t{32}, size_t{47},
                        size_t{70}}) {
        std::vector<wchar16> text(80, base);
        for (size_t i = 0; i < text.size(); i += 7) text[i] = static_cast<wchar16>(base + i % 5);
        text[at] = ender;
        text.push_back(0);
        expectSameFromUtf16AtEveryOffset(KelCS_UTF8, text, random);
      }
    }
  }
}

// --- Double-byte text at every block position -----------------------------
//
// The pairing kernel of the double-byte, EUC and GB18030 converters: what
// ends its runs (a lead byte without a trail byte, a lone high byte, an
// unmapped pair, the sequences only the plain code reads) at every position
// of two blocks, and runs of lead bytes of every length from every start,
// whose parity decides which bytes start pairs.

const KelCharSet kPairConverters[] = {KelCS_WCP932,   KelCS_WCP936, KelCS_WCP949,
                                      KelCS_WCP950,   KelCS_BIG5,   KelCS_SHIFTJIS,
                                      KelCS_SJIS0213, KelCS_EUC_JP, KelCS_EUC_CN,
                                      KelCS_EUC_KR,   KelCS_GB18030};

// `units` written with the converter (unmappable ones as "?").
std::vector<unsigned char> encoded(KelCharSetConverter* converter,
                                   const std::vector<wchar16>& units) {
  std::vector<unsigned char> bytes(units.size() * 4 + 4);
  const size_t n = converter->fromUTF16(bytes.data(), units.data(), units.size() * 4,
                                        ILLCHAR_REPLACE, nullptr);
  bytes.resize(n);
  return bytes;
}

// What one sequence decodes to on its own: the units, and whether it was
// read whole as one character.
bool decodesAsOneCharacter(KelCharSetConverter* converter, std::vector<unsigned char> bytes) {
  bytes.push_back(0);
  wchar16 out[8] = {};
  bool illegal = false;
  const size_t n = converter->toUTF16(out, bytes.data(), 4, ILLCHAR_STOP, &illegal, -1);
  return n >= 1 && !illegal;
}

// A two-byte sequence of high bytes that the converter does not map (read
// as an illegal character), and a mapped pair whose both bytes are lead
// bytes (so that runs of them can be built); empty where none is found.
struct PairSamples {
  std::vector<unsigned char> unmapped;
  std::vector<unsigned char> leadLead;
};

PairSamples pairSamplesOf(KelCharSetConverter* converter) {
  PairSamples samples;
  for (unsigned first = 0x81; first <= 0xFE; ++first) {
    for (unsigned second = 0xA1; second <= 0xFE; ++second) {
      const std::vector<unsigned char> pair = {static_cast<unsigned char>(first),
                                               static_cast<unsigned char>(second)};
      const bool mapped = decodesAsOneCharacter(converter, pair);
      if (!mapped && samples.unmapped.empty()) samples.unmapped = pair;
      // Both bytes start pairs when each, followed by the other, is read
      // as one character.
      if (mapped && samples.leadLead.empty() && first >= 0xA1 &&
          decodesAsOneCharacter(converter, {pair[1], pair[0]})) {
        samples.leadLead = pair;
      }
      if (!samples.unmapped.empty() && !samples.leadLead.empty()) return samples;
    }
  }
  return samples;
}

void expectSameToUtf16WithBudgets(KelCharSet id, const std::vector<unsigned char>& text,
                                  size_t at) {
  const size_t length = text.size() - 1;
  const std::string where = "special at " + std::to_string(at);
  for (ILLCHAR_OPTYPE op : kPolicies) {
    for (int limit : {-1, static_cast<int>(at), static_cast<int>(at) + 1,
                      static_cast<int>(at) + 2, static_cast<int>(at) + 3}) {
      for (size_t room : {length + 1, at, at + 1}) {
        expectSameToUtf16AtEveryLevel(id, text, room, op, limit, where);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

class FastPathDifferentialPairs : public testing::TestWithParam<KelCharSet> {};

TEST_P(FastPathDifferentialPairs, SequencesThatEndRunsAtEveryPositionMatchPlainCode) {
  std::mt19937 random(static_cast<unsigned>(GetParam()) + 20);
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  // Mostly characters of the set, with a few ASCII bytes.
  std::vector<wchar16> units;
  for (size_t i = 0; i < 60; ++i) {
    const unsigned kind = std::uniform_int_distribution<unsigned>(0, 9)(random);
    units.push_back(static_cast<wchar16>(
        kind == 0 ? std::uniform_int_distribution<unsigned>(0x20, 0x7E)(random)
        : kind < 4 ? std::uniform_int_distribution<unsigned>(0x3041, 0x3093)(random)
        : kind < 6 ? std::uniform_int_distribution<unsigned>(0xAC00, 0xAD00)(random)
                   : std::uniform_int_distribution<unsigned>(0x4E00, 0x5200)(random)));
  }
  units.push_back(0);
  std::vector<unsigned char> base = encoded(converter, units);
  base.resize(100, 'q');
  const PairSamples samples = pairSamplesOf(converter);
  std::vector<std::vector<unsigned char>> specials = {
      {0x88, 'A'}, {0xB0, 'A'}, {0xB0, 0x7F}, {0x80}, {0xFF}, {0xA0}, {0x7F}, {0},
      {0x8E, 0xB1}, {0x8F, 0xA2, 0xAF}, {0xA4, 0x41},          // EUC-JP single shifts
      {0x81, 0x30, 0x81, 0x30}, {0x90, 0x30, 0x81, 0x30}, {0x81, 0x30},  // GB18030
      {0x88, 0x61}, {0xFC, 0xEE}};  // Shift_JIS-2004 beyond the BMP
  if (!samples.unmapped.empty()) specials.push_back(samples.unmapped);
  for (const auto& special : specials) {
    for (size_t at = 0; at + special.size() < base.size(); ++at) {
      std::vector<unsigned char> text = base;
      std::copy(special.begin(), special.end(), text.begin() + static_cast<long>(at));
      text.push_back(0);
      expectSameToUtf16WithBudgets(GetParam(), text, at);
    }
  }
}

TEST_P(FastPathDifferentialPairs, RunsOfLeadBytesOfEveryLengthMatchPlainCode) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(GetParam());
  const PairSamples samples = pairSamplesOf(converter);
  ASSERT_FALSE(samples.leadLead.empty()) << "no pair of two lead bytes in " << GetParam();
  for (size_t start = 0; start < 40; ++start) {
    for (size_t pairs = 0; pairs < 40; pairs += (pairs < 20 ? 1 : 7)) {
      for (unsigned char extra : {0, 1}) {
        // ASCII up to `start`, then `extra` lone copies of the pair's first
        // byte (which shift the run's parity), the pairs, and ASCII.
        std::vector<unsigned char> text(start, 'a');
        for (unsigned char i = 0; i < extra; ++i) text.push_back(samples.leadLead[0]);
        for (size_t i = 0; i < pairs; ++i) {
          text.insert(text.end(), samples.leadLead.begin(), samples.leadLead.end());
        }
        text.insert(text.end(), {'z', 'y', 0x41, 'x'});
        while (text.size() < 70) text.push_back('w');
        text.push_back(0);
        expectSameToUtf16WithBudgets(GetParam(), text, start + pairs);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryPairingSet, FastPathDifferentialPairs,
                         testing::ValuesIn(kPairConverters),
                         [](const testing::TestParamInfo<KelCharSet>& info) {
                           return "cp" + std::to_string(static_cast<int>(info.param));
                         });

TEST(FastPathLevels, ActiveLevelCanBeLoweredAndRestored) {
  const KelSimdLevel supported = kelulib::supportedSimdLevel();
  const KelSimdLevel before = kelulib::setActiveSimdLevel(KelSimdLevel::kScalar);
  EXPECT_EQ(kelulib::activeSimdLevel(), KelSimdLevel::kScalar);
  kelulib::setActiveSimdLevel(KelSimdLevel::kAvx512);
  EXPECT_EQ(kelulib::activeSimdLevel(), supported) << "a level beyond the processor is clamped";
  kelulib::setActiveSimdLevel(before);
  EXPECT_EQ(kelulib::activeSimdLevel(), before);
}

// --- Single-byte sets to UTF-8 in the stream converter ---------------------------

// mapBytesToUtf8 on a table of its own making: ASCII as itself, 0x80-0xBF as
// two-byte sequences, 0xC0-0xEF as three-byte ones, 0xF0-0xFF without one.
std::vector<uint32_t> sampleSequences() {
  std::vector<uint32_t> sequences(256, 0);
  for (uint32_t byte = 1; byte < 0x80; ++byte) sequences[byte] = byte | 1u << 24;
  for (uint32_t byte = 0x80; byte < 0xC0; ++byte) sequences[byte] = 0xC2 | byte << 8 | 2u << 24;
  for (uint32_t byte = 0xC0; byte < 0xF0; ++byte) {
    sequences[byte] = 0xE2 | 0x80u << 8 | (byte - 0x40) << 16 | 3u << 24;
  }
  return sequences;
}

// The sequences of `bytes` one after another.
std::vector<unsigned char> sequencesOf(const std::vector<uint32_t>& sequences,
                                       const unsigned char* bytes, size_t count) {
  std::vector<unsigned char> out;
  for (size_t i = 0; i < count; ++i) {
    const uint32_t entry = sequences[bytes[i]];
    for (uint32_t k = 0; k < entry >> 24; ++k)
      out.push_back(static_cast<unsigned char>(entry >> 8 * k));
  }
  return out;
}

TEST(ByteSequenceKernel, WritesTheSequencesOfItsRunWithinEveryRoom) {
  const std::vector<uint32_t> sequences = sampleSequences();
  std::mt19937 random(17);
  for (int trial = 0; trial < 40; ++trial) {
    // ASCII runs of every length around the block sizes, high bytes between.
    std::vector<unsigned char> text;
    const size_t length = std::uniform_int_distribution<size_t>(1, 150)(random);
    while (text.size() < length) {
      const unsigned kind = std::uniform_int_distribution<unsigned>(0, 3)(random);
      if (kind == 0) {
        text.push_back(static_cast<unsigned char>(
            std::uniform_int_distribution<unsigned>(0x80, 0xEF)(random)));
      } else {
        const size_t run = std::uniform_int_distribution<size_t>(1, 40)(random);
        for (size_t i = 0; i < run; ++i) text.push_back(static_cast<unsigned char>(0x41 + i % 26));
      }
    }
    if (trial % 2 == 1)
      text[std::uniform_int_distribution<size_t>(0, text.size() - 1)(random)] = 0xF5;
    const size_t stop = static_cast<size_t>(
        std::find_if(text.begin(), text.end(), [&](unsigned char b) { return sequences[b] == 0; }) -
        text.begin());
    const auto input = exactCopy(text);
    for (KelSimdLevel level : fastLevels()) {
      ScopedSimdLevel fast(level);
      for (size_t room = 0; room <= 3 * text.size() + 1; ++room) {
        GuardedBuffer<unsigned char> out(room);
        const kelulib::KelKernelRun run =
            kelulib::mapBytesToUtf8(input.get(), text.size(), sequences.data(), out.data(), room);
        ASSERT_TRUE(out.guardsIntact()) << levelName(level) << ", room " << room;
        ASSERT_LE(run.read, stop) << levelName(level) << ", room " << room;
        ASSERT_EQ(out.prefix(run.written), sequencesOf(sequences, input.get(), run.read))
            << levelName(level) << ", room " << room;
        if (room == 3 * text.size() + 1) {
          EXPECT_EQ(run.read, stop)
              << levelName(level) << ": room for all, it stops only before 0xF5";
        }
      }
    }
    ScopedSimdLevel plain(KelSimdLevel::kScalar);
    const kelulib::KelKernelRun none = kelulib::mapBytesToUtf8(
        input.get(), text.size(), sequences.data(), std::vector<unsigned char>(500).data(), 500);
    EXPECT_EQ(none.read, 0u);
    EXPECT_EQ(none.written, 0u);
  }
}

class CollectingSink : public KelStreamSink {
 public:
  bool write(const void* bytes, size_t size) override {
    text.append(static_cast<const char*>(bytes), size);
    return true;
  }
  std::string text;
};

// Everything a stream conversion shows.
struct StreamOutcome {
  std::string output;
  KelStreamStatus status;
  uint64_t offset;
  std::string failedBytes;
  uint32_t character;
  uint64_t skipped;
  bool operator==(const StreamOutcome& other) const {
    return output == other.output && status == other.status && offset == other.offset &&
           failedBytes == other.failedBytes && character == other.character &&
           skipped == other.skipped;
  }
};

// Reads a lone invalid byte as "<>".
size_t anglesForAByte(void*, const unsigned char*, size_t count, wchar16* units, size_t room) {
  if (count != 1 || room < 2) return 0;
  units[0] = '<';
  units[1] = '>';
  return 2;
}

// One stream converter from a single-byte set to UTF-8, used for text
// after text (reset between them).
class SingleByteStream {
 public:
  SingleByteStream(KelCharSet from, KelStreamPolicy policy, bool handler)
      : m_converter(from, KelCS_UTF8, policy, m_sink) {
    if (handler) m_converter.setInvalidInputHandler(anglesForAByte, nullptr);
  }

  // `text` given in pieces of `piece` bytes (0: whole).
  StreamOutcome convert(const std::string& text, size_t piece) {
    m_converter.reset();
    m_sink.text.clear();
    const size_t step = piece == 0 ? text.size() + 1 : piece;
    for (size_t at = 0; at < text.size(); at += step) {
      if (m_converter.convert(text.data() + at, std::min(step, text.size() - at)) != KEL_STREAM_OK)
        break;
    }
    m_converter.finish();
    const KelStreamFailure& failure = m_converter.failure();
    return {m_sink.text,
            failure.status,
            failure.offset,
            std::string(reinterpret_cast<const char*>(failure.bytes), failure.byteCount),
            failure.character,
            m_converter.skippedCount()};
  }

 private:
  CollectingSink m_sink;
  KelStreamConverter m_converter;
};

std::vector<KelCharSet> singleByteSets() {
  std::vector<KelCharSet> sets;
  for (KelCharSet id : kelulib_test::kTableDrivenCharSets) {
    if (KelCharSetConverter::getConverter(id)->getMaxUnitSize() == 1) sets.push_back(id);
  }
  return sets;
}

// The bytes 0x80-0xFF that `id` reads and those it cannot read.
void highBytesOf(KelCharSet id, std::string& mapped, std::string& unmapped) {
  KelCharSetConverter* converter = KelCharSetConverter::getConverter(id);
  for (unsigned byte = 0x80; byte < 0x100; ++byte) {
    const unsigned char text[2] = {static_cast<unsigned char>(byte), 0};
    wchar16 units[4] = {};
    bool illegal = false;
    converter->toUTF16(units, text, 2, ILLCHAR_STOP, &illegal, 1);
    (illegal ? unmapped : mapped).push_back(static_cast<char>(byte));
  }
}

struct StreamCase {
  KelStreamPolicy policy;
  bool handler;
  const char* name;
};

const StreamCase kStreamCases[] = {{KEL_STREAM_STOP, false, "stop"},
                                   {KEL_STREAM_REPLACE, false, "replace"},
                                   {KEL_STREAM_ESCAPE, false, "escape"},
                                   {KEL_STREAM_SKIP, false, "skip"},
                                   {KEL_STREAM_SKIP, true, "skip with handler"}};

// Every single-byte set to UTF-8 through the stream at every level against
// the plain way (kScalar): a text of ASCII runs across the block sizes and
// the set's high bytes, with a zero byte, an unmapped byte (where the set
// has one) or a run of them put at every position, under every policy,
// whole and in pieces.
TEST(StreamSingleByteToUtf8, EveryLevelWritesAndFailsAsThePlainWayAtEveryPosition) {
  for (KelCharSet id : singleByteSets()) {
    std::string mapped;
    std::string unmapped;
    highBytesOf(id, mapped, unmapped);
    ASSERT_FALSE(mapped.empty()) << KelCharSetToString(id);
    std::string base;
    for (size_t i = 0; base.size() < 80; ++i) {
      base.append(std::string(i % 5 == 0 ? 37 : i % 7, static_cast<char>('a' + i % 26)));
      base.push_back(mapped[(i * 7) % mapped.size()]);
    }
    std::vector<std::string> odd = {std::string(1, '\0'), std::string(1, mapped[0])};
    if (!unmapped.empty()) {
      odd.push_back(unmapped.substr(0, 1));
      odd.push_back(std::string(3, unmapped.back()));
      odd.push_back(unmapped.substr(0, 1) + std::string(1, '\0') + mapped.substr(0, 1));
    }
    for (const StreamCase& how : kStreamCases) {
      SingleByteStream plainStream(id, how.policy, how.handler);
      std::vector<std::pair<std::string, StreamOutcome>> expected;
      {
        ScopedSimdLevel plain(KelSimdLevel::kScalar);
        for (const std::string& bytes : odd) {
          for (size_t at = 0; at + bytes.size() <= base.size(); ++at) {
            std::string text = base;
            text.replace(at, bytes.size(), bytes);
            expected.emplace_back(text, plainStream.convert(text, 0));
          }
        }
      }
      for (KelSimdLevel level : fastLevels()) {
        ScopedSimdLevel fast(level);
        SingleByteStream stream(id, how.policy, how.handler);
        for (const auto& [text, reference] : expected) {
          for (size_t piece : {size_t{0}, size_t{1}, size_t{13}}) {
            if (!(stream.convert(text, piece) == reference)) {
              ADD_FAILURE() << KelCharSetToString(id) << ", " << how.name << ", "
                            << levelName(level) << ", pieces of " << piece;
              return;
            }
          }
        }
      }
    }
  }
}

// Texts of several slices, whose runs and output cross the stream's slice
// and output buffer edges, in random pieces.
TEST(StreamSingleByteToUtf8, LongTextsAtEveryLevelAsThePlainWay) {
  std::mt19937 random(23);
  for (KelCharSet id : {KelCS_WCP1252, KelCS_WCP1251, KelCS_ISO_8859_7, KelCS_KOI8R}) {
    std::string mapped;
    std::string unmapped;
    highBytesOf(id, mapped, unmapped);
    std::string text;
    while (text.size() < 3 * KelStreamConverter::kSliceBytes + 77) {
      const unsigned kind = std::uniform_int_distribution<unsigned>(0, 999)(random);
      if (kind < 600) {
        text.push_back(
            static_cast<char>(std::uniform_int_distribution<unsigned>(0x20, 0x7E)(random)));
      } else if (kind < 995) {
        text.push_back(mapped[std::uniform_int_distribution<size_t>(0, mapped.size() - 1)(random)]);
      } else if (kind < 998 || unmapped.empty()) {
        text.push_back('\0');
      } else {
        text.push_back(unmapped[0]);
      }
    }
    for (const StreamCase& how : kStreamCases) {
      StreamOutcome reference;
      {
        ScopedSimdLevel plain(KelSimdLevel::kScalar);
        reference = SingleByteStream(id, how.policy, how.handler).convert(text, 0);
      }
      for (KelSimdLevel level : fastLevels()) {
        ScopedSimdLevel fast(level);
        SingleByteStream stream(id, how.policy, how.handler);
        for (size_t piece : {size_t{0}, size_t{4093}}) {
          EXPECT_TRUE(stream.convert(text, piece) == reference)
              << KelCharSetToString(id) << ", " << how.name << ", " << levelName(level)
              << ", pieces of " << piece;
        }
      }
    }
  }
}

}  // namespace
