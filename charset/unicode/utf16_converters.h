// The two table-free converters whose local side is UTF-16 itself:
//   KelCharSetConverterUTF16 (KelCS_UTF16): UTF-16 in the machine's byte
//     order, copied unit for unit (no byte-order mark, no surrogate checks).
//   KelCharSetConverterUTF16Esc (KelCS_UTF16ESC): an ASCII-safe form of
//     UTF-16 in which every unit below 0x80 is one byte and every other unit
//     is the six characters "U+XXXX" (upper-case hex). The form has no
//     quoting: ASCII text that already holds such a sequence reads back as
//     the escaped unit.
// Neither converter ever sets the illegal-character flag (it is cleared).
#ifndef KELULIB_CHARSET_UNICODE_UTF16_CONVERTERS_H_
#define KELULIB_CHARSET_UNICODE_UTF16_CONVERTERS_H_

#include "../converter.h"

class KELULIB_API KelCharSetConverterUTF16 : public KelCharSetConverter {
 public:
  KelCharSetConverterUTF16();
  KelCharSetConverterUTF16(const KelCharSetConverterUTF16& other);

  // Units before the zero unit, at most srcBytes / 2 of them.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Copies units while room remains, the unit is not zero, and the
  // `srcLimit` count of units is above 0: a `srcLimit` of 0 or below (the
  // -1 the library's own callers pass included) copies nothing and leaves
  // an empty, terminated text.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // 2 bytes per unit before the zero unit.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Copies whole units while 2 bytes of room remain (an odd last byte stays
  // unused), then a two-byte zero. Returns the bytes copied.
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 2
  size_t getMaxUnitSize() const override;   // 2
  size_t getNullCharSize() const override;  // 2
};

class KELULIB_API KelCharSetConverterUTF16Esc : public KelCharSetConverter {
 public:
  KelCharSetConverterUTF16Esc();
  KelCharSetConverterUTF16Esc(const KelCharSetConverterUTF16Esc& other);

  // One per escape sequence (when 6 bytes remain for it) and one per other
  // byte, up to a zero byte or `srcBytes`.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Each "U+XXXX" (upper-case hex digits only) becomes its unit; every other
  // byte becomes itself sign-extended, so bytes 0x80-0xFF give
  // U+FF80-U+FFFF. `srcLimit` >= 1 stops after that many bytes; 0 or below
  // sets no bound.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // 1 byte per unit below 0x80, 6 per other unit.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Units below 0x80 as one byte, every other unit as "U+XXXX"; a unit whose
  // bytes do not fit in the room ends the output. Every unit is
  // representable, so `op` is not consulted.
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 6
  size_t getNullCharSize() const override;  // 1
};

#endif  // KELULIB_CHARSET_UNICODE_UTF16_CONVERTERS_H_
