// KelUString on narrow standard streams. The suites KelUStringStreamUtf8
// and KelUStringStreamWindows1252 need that OS character set and run in the
// processes the test list starts with LC_ALL set (elsewhere they skip); the
// others use ASCII text, which reads the same in either.
#include <gtest/gtest.h>

#include <iomanip>
#include <ios>
#include <iterator>
#include <sstream>
#include <string>

#include "charset/converter.h"
#include "tests/ustring/ustring_test_support.h"
#include "ustring/ustring.h"
#include "ustring/ustring_stream.h"

namespace {

using kelulib_test::InspectableString;
using kelulib_test::textOf;

constexpr std::ios_base::iostate kGood = std::ios_base::goodbit;
constexpr std::ios_base::iostate kEof = std::ios_base::eofbit;
constexpr std::ios_base::iostate kFail = std::ios_base::failbit;

// What is left in the stream's buffer.
std::string restOf(std::istream& is) {
  return std::string(std::istreambuf_iterator<char>(is.rdbuf()), std::istreambuf_iterator<char>());
}

// --- Output -----------------------------------------------------------------------

TEST(KelUStringStreamOutput, WritesText) {
  std::ostringstream out;
  out << KelUString(u"hello") << '|';
  EXPECT_EQ(out.str(), "hello|");
}

TEST(KelUStringStreamOutput, WidthAndFillApply) {
  std::ostringstream out;
  out << std::setw(10) << std::setfill('.') << KelUString(u"abc") << '|';
  EXPECT_EQ(out.str(), ".......abc|");
  std::ostringstream left;
  left << std::left << std::setw(5) << KelUString(u"ab") << '|';
  EXPECT_EQ(left.str(), "ab   |");
}

TEST(KelUStringStreamOutput, WidthIsResetAfterwards) {
  std::ostringstream out;
  out << std::setw(6) << KelUString(u"a");
  EXPECT_EQ(out.width(), 0);
}

TEST(KelUStringStreamOutput, EmptyStringWritesNothing) {
  std::ostringstream out;
  out << KelUString() << '|';
  EXPECT_EQ(out.str(), "|");
}

TEST(KelUStringStreamOutput, TextEndsAtUnitZero) {
  const wchar16 units[] = {u'a', 0, u'b'};
  std::ostringstream out;
  out << KelUString(units, units + 3);
  EXPECT_EQ(out.str(), "a");
}

TEST(KelUStringStreamOutput, LeavesStringsCacheAlone) {
  InspectableString s(u"abc");
  const char* cache = s.c_str(KelCS_UTF16);
  std::ostringstream out;
  out << s;
  EXPECT_EQ(s.narrowCache(), cache);
  EXPECT_EQ(s.narrowCharSet(), KelCS_UTF16);
}

// --- operator>> ---------------------------------------------------------------------

TEST(KelUStringStreamExtract, SkipsLeadingSpaceAndStopsAtSpace) {
  std::istringstream in("  word rest");
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"word");
  EXPECT_EQ(in.rdstate(), kGood);
  EXPECT_EQ(restOf(in), " rest");
}

TEST(KelUStringStreamExtract, WidthTakesOneByteLess) {
  std::istringstream in("abcdef");
  in.width(3);
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"ab");
  EXPECT_EQ(in.width(), 0);
  EXPECT_EQ(in.rdstate(), kGood);
  EXPECT_EQ(restOf(in), "cdef");
}

TEST(KelUStringStreamExtract, EndOfInputAfterWordSetsEofOnly) {
  std::istringstream in("word");
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"word");
  EXPECT_EQ(in.rdstate(), kEof);
}

TEST(KelUStringStreamExtract, OnlySpaceSetsEofAndFailAndKeepsWidth) {
  std::istringstream in("   ");
  in.width(4);
  KelUString s(u"old");
  in >> s;
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(in.rdstate(), kEof | kFail);
  EXPECT_EQ(in.width(), 4);
}

TEST(KelUStringStreamExtract, EmptyStreamFails) {
  std::istringstream in("");
  KelUString s(u"old");
  in >> s;
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(in.rdstate(), kEof | kFail);
}

TEST(KelUStringStreamExtract, ByteFFEndsWordAndSetsEof) {
  std::istringstream in("ab\xff" "cd");
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"ab");
  EXPECT_EQ(in.rdstate(), kEof);
  EXPECT_EQ(restOf(in), "\xff" "cd");
}

TEST(KelUStringStreamExtract, WidthOfOneTakesNothing) {
  std::istringstream in("abc");
  in.width(1);
  KelUString s;
  in >> s;
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(in.rdstate(), kFail);
  EXPECT_EQ(restOf(in), "abc");
}

TEST(KelUStringStreamExtract, DropsNarrowCacheFirst) {
  std::istringstream in("");
  InspectableString s(u"old");
  s.c_str(KelCS_UTF8);
  in >> s;
  EXPECT_EQ(s.narrowCache(), nullptr);
}

TEST(KelUStringStreamExtract, ReadsEvenWhenStreamHasFailed) {
  std::istringstream in("word");
  in.setstate(kFail);
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"word");
  EXPECT_EQ(in.rdstate(), kFail | kEof);
}

TEST(KelUStringStreamExtract, SuccessiveWords) {
  std::istringstream in("one two\tthree\n");
  KelUString a, b, c, d;
  in >> a >> b >> c;
  EXPECT_EQ(textOf(a), u"one");
  EXPECT_EQ(textOf(b), u"two");
  EXPECT_EQ(textOf(c), u"three");
  EXPECT_EQ(in.rdstate(), kGood);
  in >> d;
  EXPECT_TRUE(d.empty());
  EXPECT_EQ(in.rdstate(), kEof | kFail);
}

TEST(KelUStringStreamExtract, FailureRaisesWhenMaskAsks) {
  std::istringstream in("");
  in.exceptions(std::ios_base::failbit);
  KelUString s;
  EXPECT_THROW(in >> s, std::ios_base::failure);
}

// A stream buffer whose reads throw after `good` bytes.
class ThrowingBuffer : public std::streambuf {
 public:
  explicit ThrowingBuffer(int good) : m_good(good) {}

 protected:
  int_type underflow() override {
    if (m_good <= 0) throw std::runtime_error("device failed");
    m_byte = 'x';
    setg(&m_byte, &m_byte, &m_byte + 1);
    --m_good;
    return traits_type::to_int_type(m_byte);
  }

 private:
  int m_good;
  char m_byte = 0;
};

TEST(KelUStringStreamExtract, BufferExceptionSetsBadbit) {
  ThrowingBuffer buffer(2);
  std::istream in(&buffer);
  KelUString s(u"old");
  in >> s;
  EXPECT_TRUE(s.empty());
  EXPECT_TRUE(in.bad());
}

TEST(KelUStringStreamExtract, BufferExceptionPassedOnWhenMaskAsksForBadbit) {
  ThrowingBuffer buffer(0);
  std::istream in(&buffer);
  in.exceptions(std::ios_base::badbit);
  KelUString s;
  EXPECT_THROW(getline(in, s), std::runtime_error);
  EXPECT_TRUE(in.bad());
}

TEST(KelUStringStreamExtract, NoBufferFails) {
  std::istream in(nullptr);
  KelUString s(u"old");
  in >> s;
  EXPECT_TRUE(s.empty());
  EXPECT_TRUE(in.fail());
}

// --- getline ----------------------------------------------------------------------

TEST(KelUStringStreamGetline, ReadsLineAndConsumesDelimiter) {
  std::istringstream in("first line\nsecond");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"first line");
  EXPECT_EQ(in.rdstate(), kGood);
  EXPECT_EQ(restOf(in), "second");
}

TEST(KelUStringStreamGetline, EmptyLineFailsAndConsumesDelimiter) {
  std::istringstream in("\nnext");
  KelUString s(u"old");
  getline(in, s);
  EXPECT_TRUE(s.empty());
  EXPECT_EQ(in.rdstate(), kFail);
  EXPECT_EQ(restOf(in), "next");
}

TEST(KelUStringStreamGetline, LastLineWithoutDelimiterSetsEofOnly) {
  std::istringstream in("abc");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(in.rdstate(), kEof);
}

TEST(KelUStringStreamGetline, KeepsLeadingSpace) {
  std::istringstream in("  a b\n");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"  a b");
}

TEST(KelUStringStreamGetline, OwnDelimiter) {
  std::istringstream in("a;b;c");
  KelUString s;
  getline(in, s, ';');
  EXPECT_EQ(textOf(s), u"a");
  EXPECT_EQ(restOf(in), "b;c");
}

TEST(KelUStringStreamGetline, WidthTakesOneByteLess) {
  std::istringstream in("abcdef\n");
  in.width(4);
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"abc");
  EXPECT_EQ(in.width(), 0);
  EXPECT_EQ(in.rdstate(), kGood);
  EXPECT_EQ(restOf(in), "def\n");
}

TEST(KelUStringStreamGetline, ByteFFEndsLine) {
  std::istringstream in("ab\xff" "cd\n");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"ab");
  EXPECT_EQ(in.rdstate(), kEof);
}

TEST(KelUStringStreamGetline, EmptyStreamSetsEofAndFail) {
  std::istringstream in("");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(in.rdstate(), kEof | kFail);
}

TEST(KelUStringStreamGetline, DelimiterAboveAsciiCompared) {
  std::istringstream in("a\xa7" "b");
  KelUString s;
  getline(in, s, '\xa7');
  EXPECT_EQ(textOf(s), u"a");
  EXPECT_EQ(restOf(in), "b");
}

TEST(KelUStringStreamGetline, RoundTripOfLines) {
  std::stringstream io;
  io << KelUString(u"one") << '\n' << KelUString(u"two words") << '\n';
  KelUString first, second, third;
  getline(io, first);
  getline(io, second);
  getline(io, third);
  EXPECT_EQ(textOf(first), u"one");
  EXPECT_EQ(textOf(second), u"two words");
  EXPECT_TRUE(third.empty());
  EXPECT_EQ(io.rdstate(), kEof | kFail);
}

// --- Under a known OS character set -------------------------------------------------

bool osCharSetIs(KelCharSet cs) {
  return KelCharSetConverter::getConverter(KelCS_OS_DEFAULT) ==
         KelCharSetConverter::getConverter(cs);
}

class KelUStringStreamUtf8 : public testing::Test {
 protected:
  void SetUp() override {
    if (!osCharSetIs(KelCS_UTF8)) GTEST_SKIP() << "the OS character set is not UTF-8 here";
  }
};

TEST_F(KelUStringStreamUtf8, OutputIsUtf8) {
  std::ostringstream out;
  out << KelUString(u"\u00e9\u20ac\U0001F600");
  EXPECT_EQ(out.str(), "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
}

TEST_F(KelUStringStreamUtf8, InputIsUtf8) {
  std::istringstream in("caf\xc3\xa9 \xe2\x82\xac");
  KelUString a, b;
  in >> a >> b;
  EXPECT_EQ(textOf(a), u"caf\u00e9");
  EXPECT_EQ(textOf(b), u"\u20ac");
}

TEST_F(KelUStringStreamUtf8, MalformedInputIsReplaced) {
  std::istringstream in("a\xc3(b\n");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"a\ufffd(");
}

TEST_F(KelUStringStreamUtf8, UnpairedSurrogateIsWrittenAsReplacement) {
  std::ostringstream out;
  out << KelUString(u"a\xd800" u"b");
  EXPECT_EQ(out.str(), "a?b");
}

class KelUStringStreamWindows1252 : public testing::Test {
 protected:
  void SetUp() override {
    if (!osCharSetIs(KelCS_WCP1252)) {
      GTEST_SKIP() << "the OS character set is not Windows-1252 here";
    }
  }
};

TEST_F(KelUStringStreamWindows1252, OutputIsWindows1252) {
  std::ostringstream out;
  out << KelUString(u"\u00e9\u20ac");
  EXPECT_EQ(out.str(), "\xe9\x80");
}

TEST_F(KelUStringStreamWindows1252, UnmappableCharacterIsWrittenAsQuestionMark) {
  std::ostringstream out;
  out << KelUString(u"a\u4e2d");
  EXPECT_EQ(out.str(), "a?");
}

TEST_F(KelUStringStreamWindows1252, InputIsWindows1252) {
  std::istringstream in("caf\xe9 \x80\n");
  KelUString s;
  getline(in, s);
  EXPECT_EQ(textOf(s), u"caf\u00e9 \u20ac");
}

TEST_F(KelUStringStreamWindows1252, UnmappableByteIsReplaced) {
  std::istringstream in("a\x81" "b");
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"a\ufffd" u"b");
  EXPECT_EQ(in.rdstate(), kEof);
}

TEST_F(KelUStringStreamWindows1252, NoBreakSpaceByteIsNotSpace) {
  // 0xA0 is a character of the word, not white space, for the extractor.
  std::istringstream in("a\xa0" "b c");
  KelUString s;
  in >> s;
  EXPECT_EQ(textOf(s), u"a\u00a0" u"b");
}

}  // namespace
