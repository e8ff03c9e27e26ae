// Shared mechanics of the converters: the "U+XXXX" unit escape (writing and
// reading it) and the step that handles a UTF-16 unit the target set cannot
// represent.
#ifndef KELULIB_CHARSET_UNMAPPABLE_H_
#define KELULIB_CHARSET_UNMAPPABLE_H_

#include <cstddef>

#include "charset/converter.h"

namespace kelulib {

constexpr wchar16 kReplacementCharacter = 0xFFFD;
constexpr unsigned char kReplacementByte = '?';

// Length of a unit escape: "U+" and four upper-case hexadecimal digits.
constexpr size_t kUnitEscapeLength = 6;

inline bool isHighSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
inline bool isLowSurrogate(unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
inline bool isSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// Writes the six characters "U+XXXX" of `unit` (upper-case hexadecimal, four
// digits) to out[0..5]. No terminator.
void formatUnitEscape(wchar16 unit, unsigned char* out);

// Value of an upper-case hexadecimal digit ('0'-'9', 'A'-'F'), or -1.
inline int upperHexDigitValue(unsigned c) {
  if (c >= '0' && c <= '9') return static_cast<int>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<int>(c - 'A' + 10);
  return -1;
}

// True when text[0..5] spell a unit escape ("U", "+", four upper-case hex
// digits); stores the unit they spell. The characters are examined in order
// and the first mismatch ends the test, so a zero-terminated text is never
// read past its terminator.
template <typename Char>
bool parseUnitEscape(const Char* text, wchar16* unit) {
  if (static_cast<unsigned>(text[0]) != 'U' || static_cast<unsigned>(text[1]) != '+') return false;
  unsigned value = 0;
  for (size_t i = 2; i < kUnitEscapeLength; ++i) {
    const int digit = upperHexDigitValue(static_cast<unsigned>(text[i]));
    if (digit < 0) return false;
    value = value * 16 + static_cast<unsigned>(digit);
  }
  *unit = static_cast<wchar16>(value);
  return true;
}

// The unmappable-character step of a byte-writing fromUTF16, with the
// escape made by format(out), which writes escapeLength bytes: under
// ILLCHAR_STOP writes nothing; under ILLCHAR_ESCAPE writes the escape when
// at least escapeLength bytes of `room` remain, else nothing; under any
// other policy writes "?" (room must be at least 1). Returns the bytes
// written; 0 means the conversion stops here.
template <typename FormatEscape>
size_t writeUnmappableWith(unsigned char* out, size_t room, ILLCHAR_OPTYPE op,
                           size_t escapeLength, FormatEscape format) {
  switch (op) {
    case ILLCHAR_STOP:
      return 0;
    case ILLCHAR_ESCAPE:
      if (room < escapeLength) return 0;
      format(out);
      return escapeLength;
    default:
      if (room == 0) return 0;
      *out = kReplacementByte;
      return 1;
  }
}

// The unmappable-character step for one unit, escaped as "U+XXXX".
size_t writeUnmappable(unsigned char* out, size_t room, wchar16 unit, ILLCHAR_OPTYPE op);

// Length of the escape of a surrogate pair, "U+XXXXU+XXXX".
constexpr size_t kPairEscapeLength = 2 * kUnitEscapeLength;

// The unmappable-character step for a surrogate pair, escaped as the twelve
// characters "U+XXXXU+XXXX" of its high and low units.
size_t writeUnmappablePair(unsigned char* out, size_t room, wchar16 high, wchar16 low,
                           ILLCHAR_OPTYPE op);

}  // namespace kelulib

#endif  // KELULIB_CHARSET_UNMAPPABLE_H_
