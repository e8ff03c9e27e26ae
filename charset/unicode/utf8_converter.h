// KelCharSetConverterUTF8 (KelCS_UTF8): UTF-8 <-> UTF-16, lenient by design.
//
// Decoding never validates ranges: overlong forms, encoded surrogates and
// values above U+10FFFF decode as their bits say, and malformed sequences
// become U+FFFD whatever the policy. Encoding writes every unit it is given,
// unpaired low surrogates included. It is also the converter of every
// character set that has none of its own.
#ifndef KELULIB_CHARSET_UNICODE_UTF8_CONVERTER_H_
#define KELULIB_CHARSET_UNICODE_UTF8_CONVERTER_H_

#include "../converter.h"

class KELULIB_API KelCharSetConverterUTF8 : public KelCharSetConverter {
 public:
  KelCharSetConverterUTF8();
  KelCharSetConverterUTF8(const KelCharSetConverterUTF8& other);

  // Characters (not units) in at most `srcBytes` bytes of UTF-8: each lead
  // byte counts one and its sequence is skipped unread, so a 4-byte sequence
  // counts 1 although it becomes 2 units. Stops at a zero byte, at a stray
  // continuation byte, and at a sequence longer than the bytes left.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Decodes into `dst` (room `dstUnits` + terminator). A malformed sequence
  // writes U+FFFD and sets `*illegal` whatever `op` says; a stray
  // continuation byte is dropped (flag set). A 4-byte sequence needs 2 units
  // of room, else it becomes U+FFFD. `srcLimit` >= 1 stops after that many
  // bytes have been read; 0 or below sets no bound.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // Bytes fromUTF16 writes under ILLCHAR_REPLACE: 1, 2 or 3 per unit, 4 per
  // surrogate pair, 1 for an unpaired high surrogate ("?"); a high surrogate
  // that is the last unit is not counted.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Encodes into `dst` (room `dstBytes` + one zero byte). An unpaired high
  // surrogate sets `*illegal` and, under ILLCHAR_STOP, ends the output;
  // under ILLCHAR_ESCAPE writes "U+XXXX" (needs 6 bytes of room, counts 5
  // against it) and drops the next unit, so the output may run one byte past
  // the room; otherwise writes "?" and converts the next unit normally.
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;  // 1
  size_t getMaxUnitSize() const override;  // 3
  size_t getNullCharSize() const override;  // 1
};

#endif  // KELULIB_CHARSET_UNICODE_UTF8_CONVERTER_H_
