// The converter framework: the abstract character-set converter, the policy
// for characters a conversion cannot represent, and the registry's door,
// KelCharSetConverter::getConverter.
//
// Conventions shared by every converter:
// - Sizes passed to a converter are room without the terminator; the
//   terminator (a zero of the target's null size) is always written after
//   the output, so the destination needs room plus one terminator.
// - A length of (size_t)-1 means "up to the terminating zero".
// - Null pointers give 0 and write nothing; running out of room ends a
//   conversion silently at a character boundary, terminator written.
// - Nothing throws and nothing allocates.
#ifndef KELULIB_CHARSET_CONVERTER_H_
#define KELULIB_CHARSET_CONVERTER_H_

#include <cstddef>

#include "charset_id.h"
#include "obj_lock.h"
#include "../platform/export.h"

// What a conversion does with a character its target cannot represent.
// Any value other than ILLCHAR_STOP and ILLCHAR_ESCAPE acts as
// ILLCHAR_REPLACE.
enum ILLCHAR_OPTYPE : int {
  // Stop converting; the output ends before the character.
  ILLCHAR_STOP = 0,
  // Write "?" (from UTF-16) or U+FFFD (to UTF-16) and go on.
  ILLCHAR_REPLACE = 1,
  // From UTF-16: write the six characters "U+XXXX" (upper-case hex) of the
  // unit, or stop when fewer than 6 bytes of room remain. To UTF-16: as
  // ILLCHAR_REPLACE.
  ILLCHAR_ESCAPE = 2
};

class KELULIB_API KelCharSetConverter {
 public:
  virtual ~KelCharSetConverter();

  // Number of UTF-16 units that toUTF16 would produce for the local text
  // `src`, reading at most `srcBytes` bytes and stopping at a zero
  // character. Null `src` or `srcBytes` 0 give 0.
  virtual size_t getNumUnits(void const* src, size_t srcBytes) = 0;

  // Converts local text to UTF-16 into `dst` (room `dstUnits`, plus the zero
  // unit always written after the output). Stops when the room is used up,
  // at a zero character, or after `srcLimit` bytes where the converter
  // honours a bound. Returns the units written without the terminator.
  // `*illegal` (if given) is cleared on entry and set when a byte sequence
  // cannot be converted; `op` says what then happens.
  virtual size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op,
                         bool* illegal, int srcLimit) = 0;

  // Number of bytes that fromUTF16 writes for `src` under ILLCHAR_REPLACE,
  // without the terminator, reading at most `srcUnits` units and stopping at
  // a zero unit. Null `src` or `srcUnits` 0 give 0.
  virtual size_t getNumBytes(wchar16 const* src, size_t srcUnits) = 0;

  // Converts the zero-terminated UTF-16 text `src` into `dst` (room
  // `dstBytes`, plus a zero of getNullCharSize() bytes always written after
  // the output). A character whose bytes do not all fit ends the conversion.
  // Returns the bytes written without the terminator.
  virtual size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                           bool* illegal) = 0;

  // Direct conversion from UTF-8 without a UTF-16 step. This base version
  // returns 0 ("not offered") and writes nothing.
  virtual size_t fromUTF8(void* dst, unsigned char const* src, size_t n, ILLCHAR_OPTYPE op,
                          bool* illegal);

  // Direct conversion to UTF-8 without a UTF-16 step. This base version
  // returns 0 ("not offered") and writes nothing.
  virtual size_t toUTF8(unsigned char* dst, void const* src, size_t n, ILLCHAR_OPTYPE op,
                        bool* illegal);

  // Fewest bytes one character of this set takes.
  virtual size_t getMinUnitSize() const = 0;
  // Most bytes that one UTF-16 unit can become in this set.
  virtual size_t getMaxUnitSize() const = 0;
  // Size in bytes of this set's terminating zero.
  virtual size_t getNullCharSize() const = 0;

  // The converter serving `id`; KelCS_OS_DEFAULT is resolved to the
  // operating system's code page, and every id without a converter of its
  // own gets the UTF-8 converter. Never null; the converter belongs to the
  // library and stays valid while it is loaded.
  static KelCharSetConverter* getConverter(KelCharSet id);

 protected:
  explicit KelCharSetConverter(KelCharSet charSet);
  KelCharSetConverter(const KelCharSetConverter& other);
  KelCharSetConverter& operator=(const KelCharSetConverter& other);

  // The character set this converter serves.
  KelCharSet charSet() const { return m_charSet; }

 private:
  KelCharSet m_charSet;
};

#endif  // KELULIB_CHARSET_CONVERTER_H_
