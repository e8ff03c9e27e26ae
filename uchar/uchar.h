// KelUChar: one Unicode character (a 32-bit scalar value) and the library's
// character properties: a class bit set per UTF-16 unit, simple one-to-one
// upper- and lower-case mapping, and surrogate-pair arithmetic.
//
// The properties are those of Unicode 2.1 (the CJK, Hangul and Yi blocks of
// Unicode 3.0 are classified by range); they come from three process-wide
// tables built on first use. Every function may be called from any thread.
#ifndef KELULIB_UCHAR_UCHAR_H_
#define KELULIB_UCHAR_UCHAR_H_

#include <cstdint>

#include "../charset/charset_id.h"
#include "../platform/export.h"
#include "uchar_table.h"

class KELULIB_API KelUChar {
 public:
  // Class bits of a UTF-16 unit; a unit may carry several (U+0041 is
  // CT_LETTER | CT_UPPER = 0x0044), and 0 means no class (symbols, controls,
  // unassigned units). Bits 0x0800 and 0x2000 are never set.
  enum KelCharType : uint16_t {
    CT_NONE = 0x0000,
    CT_WHITESPACE = 0x0001,
    CT_DIGIT = 0x0002,
    CT_LETTER = 0x0004,
    CT_MARK = 0x0008,  // combining mark
    CT_PUNCTUATION = 0x0010,
    CT_RIGHT_TO_LEFT = 0x0020,
    CT_UPPER = 0x0040,
    CT_LOWER = 0x0080,
    CT_TITLE = 0x0100,
    CT_MODIFIER = 0x0200,
    CT_IDEOGRAPHIC = 0x0400,  // East Asian wide letter or digit: ideographs, kana, Hangul
    CT_SURROGATE = 0x1000,    // a surrogate unit, or a scalar above U+FFFF
    CT_HALF_WIDTH = 0x4000,
    CT_FULL_WIDTH = 0x8000,
  };

  static constexpr unsigned int UTF16_MAX = 0xFFFF;
  static constexpr unsigned int UTF32_MAX = 0x10FFFF;

  // The character U+0000.
  KelUChar();
  // The character of UTF-16 unit `c` (a surrogate unit is kept as it is).
  KelUChar(wchar16 c);
  // The scalar value `c`, taken as it is, without a range check. (A plain
  // int would fit this and the unit constructor alike: write 0x1F600u.)
  KelUChar(unsigned int c);
  // The character of a surrogate pair; 0 unless `high` is in U+D800-U+DBFF
  // and `low` in U+DC00-U+DFFF.
  KelUChar(wchar16 high, wchar16 low);

  // The low 16 bits of the value.
  operator wchar16() const;
  // The value.
  operator unsigned int() const;

  // Whether the value lies in U+10000-U+10FFFF, i.e. needs a surrogate pair.
  bool isSurrogate() const;
  // Whether `c` lies in U+10000-U+10FFFF, i.e. needs a surrogate pair.
  static bool isSurrogate(unsigned int c);
  // Whether `c` is a high (leading) surrogate unit, U+D800-U+DBFF.
  static bool isSurrogateHigh(wchar16 c);
  // Whether `c` is a low (trailing) surrogate unit, U+DC00-U+DFFF.
  static bool isSurrogateLow(wchar16 c);

  // The scalar value of unit `c`: the unit itself.
  static unsigned int toUTF32(wchar16 c);
  // The scalar value of the pair high, low; the units are not checked.
  static unsigned int toUTF32(wchar16 high, wchar16 low);
  // The surrogate pair of scalar `c`, which the caller keeps in
  // U+10000-U+10FFFF (other values give meaningless units).
  static void toSurrogatePair(unsigned int c, wchar16& high, wchar16& low);

  // The class bits of unit `c`: CT_LETTER | CT_IDEOGRAPHIC for the CJK,
  // Hangul and Yi blocks, CT_SURROGATE for a surrogate unit, else the class
  // table's bits.
  static KelCharType getCharClass(wchar16 c);
  // Whether unit `c` is a digit (decimal, letter-like or other number).
  static bool isDigit(wchar16 c);
  // Whether unit `c` is a letter; ideographs and Hangul syllables are.
  static bool isLetter(wchar16 c);
  // Whether unit `c` is punctuation.
  static bool isPunctuation(wchar16 c);
  // Whether unit `c` is white space (a space or separator, tab, LF or CR).
  static bool isWhiteSpace(wchar16 c);
  // Whether unit `c` has no class at all: symbols, controls, unassigned
  // units and U+0000 do; surrogate units do not.
  static bool isNonChar(wchar16 c);

  // CT_SURROGATE for a value in U+10000-U+10FFFF; otherwise the class of the
  // value's low 16 bits.
  KelCharType getCharClass() const;
  // The tests below are false for a value in U+10000-U+10FFFF; otherwise
  // they are the static test of the value's low 16 bits.
  bool isDigit() const;
  bool isLetter() const;
  bool isPunctuation() const;
  bool isWhiteSpace() const;
  bool isNonChar() const;

  // The upper-case unit of `c`, or `c` itself where it has no one-to-one
  // upper case (U+00DF stays U+00DF). ASCII is mapped without the table.
  static wchar16 toUpperCase(wchar16 c);
  // The lower-case unit of `c`, or `c` itself where it has no one-to-one
  // lower case. ASCII is mapped without the table.
  static wchar16 toLowerCase(wchar16 c);

 protected:
  // The process-wide property tables, built on first use: class bits,
  // upper case and lower case of every BMP unit.
  static KelUCharTable m_gCharClassTable;
  static KelUCharTable m_gUpperCaseTable;
  static KelUCharTable m_gLowerCaseTable;

 private:
  static bool isIdeograph(wchar16 c);
  static bool isSurrogateUnit(wchar16 c);
  static bool hasClass(wchar16 c, KelCharType bit);
  bool hasClass(KelCharType bit) const;
  // The table's entry for `c`, or `c` where the entry is 0.
  static wchar16 mapThrough(KelUCharTable& table, wchar16 c);
  wchar16 lowUnit() const;

  unsigned int m_value;
};

#endif  // KELULIB_UCHAR_UCHAR_H_
