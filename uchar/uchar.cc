// The three property tables, static members of KelUChar, are defined with
// the library's other process-wide objects in charset/library_objects.cc.
#include "uchar/uchar.h"

namespace {

constexpr unsigned int kFirstSupplementary = 0x10000;
constexpr wchar16 kFirstHighSurrogate = 0xD800;
constexpr wchar16 kLastHighSurrogate = 0xDBFF;
constexpr wchar16 kFirstLowSurrogate = 0xDC00;
constexpr wchar16 kLastLowSurrogate = 0xDFFF;

// Blocks whose every unit is a letter and East Asian ideographic: CJK
// radicals, Kangxi radicals, CJK extension A, CJK unified ideographs, Yi,
// Hangul syllables, CJK compatibility ideographs. Testing the ranges keeps
// the class table free of pages for them.
struct UnitRange {
  wchar16 first;
  wchar16 last;
};
constexpr UnitRange kIdeographRanges[] = {
    {0x2E80, 0x2E99}, {0x2E9B, 0x2EF3}, {0x2F00, 0x2FD5}, {0x3400, 0x4DB5},
    {0x4E00, 0x9FA5}, {0xA000, 0xA48C}, {0xAC00, 0xD7A3}, {0xF900, 0xFA2D},
};

// ASCII letters, mapped by arithmetic.
constexpr wchar16 kUpperA = 0x41, kUpperZ = 0x5A, kLowerA = 0x61, kLowerZ = 0x7A;
constexpr wchar16 kLastAscii = 0x7E;
constexpr wchar16 kAsciiCaseDistance = kLowerA - kUpperA;

}  // namespace

// Defined in the class; declared here as well so that the library holds
// them, exported, for programs that take their addresses.
constexpr unsigned int KelUChar::UTF16_MAX;
constexpr unsigned int KelUChar::UTF32_MAX;

KelUChar::KelUChar() : m_value(0) {}

KelUChar::KelUChar(wchar16 c) : m_value(c) {}

KelUChar::KelUChar(unsigned int c) : m_value(c) {}

KelUChar::KelUChar(wchar16 high, wchar16 low)
    : m_value(isSurrogateHigh(high) && isSurrogateLow(low) ? toUTF32(high, low) : 0) {}

KelUChar::operator wchar16() const { return lowUnit(); }

KelUChar::operator unsigned int() const { return m_value; }

wchar16 KelUChar::lowUnit() const { return static_cast<wchar16>(m_value & UTF16_MAX); }

bool KelUChar::isSurrogate() const { return isSurrogate(m_value); }

bool KelUChar::isSurrogate(unsigned int c) { return c >= kFirstSupplementary && c <= UTF32_MAX; }

bool KelUChar::isSurrogateHigh(wchar16 c) {
  return c >= kFirstHighSurrogate && c <= kLastHighSurrogate;
}

bool KelUChar::isSurrogateLow(wchar16 c) {
  return c >= kFirstLowSurrogate && c <= kLastLowSurrogate;
}

bool KelUChar::isSurrogateUnit(wchar16 c) {
  return c >= kFirstHighSurrogate && c <= kLastLowSurrogate;
}

unsigned int KelUChar::toUTF32(wchar16 c) { return c; }

unsigned int KelUChar::toUTF32(wchar16 high, wchar16 low) {
  // (high - 0xD800) * 0x400 + (low - 0xDC00) + 0x10000, folded into one
  // constant; unsigned, so units outside the ranges wrap instead of
  // overflowing.
  return ((static_cast<unsigned int>(high) - 0xD7F7u) << 10) + low;
}

void KelUChar::toSurrogatePair(unsigned int c, wchar16& high, wchar16& low) {
  high = static_cast<wchar16>((c >> 10) + 0xD7C0u);
  low = static_cast<wchar16>((c & 0x3FFu) + kFirstLowSurrogate);
}

bool KelUChar::isIdeograph(wchar16 c) {
  for (const UnitRange& range : kIdeographRanges) {
    if (c >= range.first && c <= range.last) return true;
  }
  return false;
}

KelUChar::KelCharType KelUChar::getCharClass(wchar16 c) {
  if (isIdeograph(c)) return static_cast<KelCharType>(CT_LETTER | CT_IDEOGRAPHIC);
  if (isSurrogateUnit(c)) return CT_SURROGATE;
  return static_cast<KelCharType>(m_gCharClassTable.getValue(c));
}

// Ideographs answer CT_LETTER | CT_IDEOGRAPHIC and surrogate units
// CT_SURROGATE, so one bit test gives every predicate its short cuts.
bool KelUChar::hasClass(wchar16 c, KelCharType bit) { return (getCharClass(c) & bit) != 0; }

bool KelUChar::isDigit(wchar16 c) { return hasClass(c, CT_DIGIT); }
bool KelUChar::isLetter(wchar16 c) { return hasClass(c, CT_LETTER); }
bool KelUChar::isPunctuation(wchar16 c) { return hasClass(c, CT_PUNCTUATION); }
bool KelUChar::isWhiteSpace(wchar16 c) { return hasClass(c, CT_WHITESPACE); }
bool KelUChar::isNonChar(wchar16 c) { return getCharClass(c) == CT_NONE; }

KelUChar::KelCharType KelUChar::getCharClass() const {
  return isSurrogate() ? CT_SURROGATE : getCharClass(lowUnit());
}

bool KelUChar::hasClass(KelCharType bit) const {
  return !isSurrogate() && hasClass(lowUnit(), bit);
}

bool KelUChar::isDigit() const { return hasClass(CT_DIGIT); }
bool KelUChar::isLetter() const { return hasClass(CT_LETTER); }
bool KelUChar::isPunctuation() const { return hasClass(CT_PUNCTUATION); }
bool KelUChar::isWhiteSpace() const { return hasClass(CT_WHITESPACE); }
bool KelUChar::isNonChar() const { return !isSurrogate() && isNonChar(lowUnit()); }

wchar16 KelUChar::mapThrough(KelUCharTable& table, wchar16 c) {
  const wchar16 mapped = table.getValue(c);
  return mapped != 0 ? mapped : c;
}

wchar16 KelUChar::toUpperCase(wchar16 c) {
  if (c < kLowerA) return c;
  if (c <= kLowerZ) return static_cast<wchar16>(c - kAsciiCaseDistance);
  if (c <= kLastAscii) return c;
  return mapThrough(m_gUpperCaseTable, c);
}

wchar16 KelUChar::toLowerCase(wchar16 c) {
  if (c < kUpperA) return c;
  if (c <= kUpperZ) return static_cast<wchar16>(c + kAsciiCaseDistance);
  if (c <= kLastAscii) return c;
  return mapThrough(m_gLowerCaseTable, c);
}
