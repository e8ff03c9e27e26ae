// KelCharSetConverterEUC_CN_KR: EUC-CN (table "GB2312") and EUC-KR (table
// "KSX1001"). A character is an ASCII byte 0x01-0x7E, or two bytes in
// 0xA1-0xFE: the row/cell code of the national set plus 0x8080. Every other
// byte (DEL 0x7F included) is illegal.
#ifndef KELULIB_CHARSET_TABLES_EUC_CN_KR_CONVERTER_H_
#define KELULIB_CHARSET_TABLES_EUC_CN_KR_CONVERTER_H_

#include <cstddef>

#include "mbcs_converter.h"

class KELULIB_API KelCharSetConverterEUC_CN_KR : public KelCharSetConverterMBCS {
 public:
  // A converter on the row/cell UNICODEMAP table `tableName` (static
  // lifetime; the pointer is kept).
  KelCharSetConverterEUC_CN_KR(const char* tableName, KelCharSet id);

  // One unit per character: a byte in 0xA1-0xFE followed, within `srcBytes`,
  // by another is one character, any other byte one. Stops at a zero byte.
  // Needs no table, so it loads none.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Decodes into `dst` (room `dstUnits` + terminator) until a zero byte, the
  // room is used up, or `srcLimit` bytes (when it is 1 or more) have been
  // read. An unmapped pair is one illegal character; a 0xA1-0xFE byte
  // followed by any other byte is illegal alone (that byte is read next).
  // Illegal input sets `*illegal`, then ends the output (ILLCHAR_STOP) or
  // becomes U+FFFD.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // 2 bytes per unit above 0x7E that the table maps, else 1. Stops at a
  // zero unit.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Encodes into `dst` (room `dstBytes` + one zero byte): units 0x01-0x7E as
  // themselves, others through the table as two bytes (a pair that does not
  // fit ends the output). An unmappable unit sets `*illegal`, then ends the
  // output (ILLCHAR_STOP), becomes "U+XXXX" when 6 bytes of room remain or
  // else ends it (ILLCHAR_ESCAPE), or becomes "?".
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 2
  size_t getNullCharSize() const override;  // 1

  // An ASCII byte or unit, passed through as it is.
  static bool isCS0(unsigned b) { return b < kEucAsciiEnd; }
  static constexpr unsigned kEucAsciiEnd = 0x7F;
  // A byte of a two-byte character.
  static bool isLeadCS1(unsigned b) { return b >= 0xA1 && b <= 0xFE; }

 private:
  // What fromUTF16 writes for `unit` in one piece: the unit itself below
  // 0x7F, else the two bytes of its code (high first); 0 when unmapped or a
  // surrogate.
  static uint16_t codeOf(const KelCharSetConverterMBCS& self, wchar16 unit);
};

#endif  // KELULIB_CHARSET_TABLES_EUC_CN_KR_CONVERTER_H_
