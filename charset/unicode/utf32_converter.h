// KelCharSetConverterUTF32 (KelCS_UTF32): 32-bit code points in the
// machine's byte order <-> UTF-16, plus direct UTF-8 <-> UTF-32 conversion
// in the 31-bit UTF-8 scheme (sequences of up to six bytes).
#ifndef KELULIB_CHARSET_UNICODE_UTF32_CONVERTER_H_
#define KELULIB_CHARSET_UNICODE_UTF32_CONVERTER_H_

#include "../converter.h"

class KELULIB_API KelCharSetConverterUTF32 : public KelCharSetConverter {
 public:
  KelCharSetConverterUTF32();
  KelCharSetConverterUTF32(const KelCharSetConverterUTF32& other);

  // Values before the zero value, at most srcBytes / 4 of them; a value
  // above U+FFFF counts 1 although toUTF16 writes 2 units for it.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Values below 0x10000 are written unchecked as one unit (surrogate values
  // pass through); larger values as a surrogate pair when 2 units of room
  // remain, else the conversion stops. `srcLimit` counts values: 0 copies
  // nothing, a negative limit is no bound. Never sets `*illegal`.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // 4 bytes per value fromUTF16 writes under ILLCHAR_REPLACE; a high
  // surrogate that is the last unit is not counted.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Room is dstBytes / 4 values, then a 32-bit zero. Pairs are combined;
  // every other unit (unpaired low surrogates included) is written as its
  // value. An unpaired high surrogate sets `*illegal`, then stops, writes six
  // values "U+XXXX" (when 6 values of room remain, else stops) or writes '?';
  // the unit after it is converted normally. Returns bytes (4 per value).
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  // UTF-8 to UTF-32 into `dst` (room `n` values, plus a zero value): decodes
  // as UTF32fromUTF8 does, up to the first decoded zero. Returns the values
  // written without the zero. Never sets `*illegal`; `op` is not consulted;
  // a null `src` reads as an empty text.
  size_t fromUTF8(void* dst, unsigned char const* src, size_t n, ILLCHAR_OPTYPE op,
                  bool* illegal) override;

  // UTF-32 to UTF-8 into `dst`, `n` bytes of room. Surrogate values and
  // values of 0x80000000 or more become U+FFFD (flag set). Room is checked
  // between characters only, so the last character may run up to five bytes
  // past `n`, and then no terminator is written; otherwise a zero byte
  // follows the output. Returns the bytes written, terminator excluded.
  size_t toUTF8(unsigned char* dst, void const* src, size_t n, ILLCHAR_OPTYPE op,
                bool* illegal) override;

  size_t getMinUnitSize() const override;   // 4
  size_t getMaxUnitSize() const override;   // 4
  size_t getNullCharSize() const override;  // 4

 private:
  // Decodes one UTF-8 character at *p and advances *p past it. Overlong
  // forms, surrogates, U+FFFE and U+FFFF give U+FFFD (advancing the whole
  // sequence); a byte that cannot start a sequence or a missing continuation
  // byte gives U+FFFD advancing 1. Never reads past a zero byte.
  unsigned int UTF32fromUTF8(unsigned char** p);
};

#endif  // KELULIB_CHARSET_UNICODE_UTF32_CONVERTER_H_
