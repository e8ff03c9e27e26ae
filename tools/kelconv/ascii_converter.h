// US-ASCII as a converter: the bytes and characters 0x00-0x7F. Built on the
// library's ISO 8859-1 converter, which reads and writes them as they are;
// a byte 0x80-0xFF is invalid input, and a character above U+007F one that
// the set cannot represent, each handled by the policy as the library's
// converters handle theirs (the escape is the library's "U+XXXX", made by
// its UTF-16 escape form).
#ifndef KELULIB_TOOLS_KELCONV_ASCII_CONVERTER_H_
#define KELULIB_TOOLS_KELCONV_ASCII_CONVERTER_H_

#include <KelULib.h>

namespace kelconv {

class AsciiConverter : public KelCharSetConverter {
 public:
  AsciiConverter();

  // Characters before a zero byte or a byte 0x80-0xFF, within `srcBytes`.
  size_t getNumUnits(void const* src, size_t srcBytes) override;
  // Decodes until a zero byte, the room is used up or `srcLimit` bytes
  // (when positive) are read; a byte 0x80-0xFF sets `*illegal`, then ends
  // the output (ILLCHAR_STOP) or becomes U+FFFD.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;
  // One byte per unit (an unmappable one counts its "?").
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;
  // Encodes until a zero unit or the room is used up; a unit above 0x7F
  // sets `*illegal`, then ends the output (ILLCHAR_STOP), becomes "U+XXXX"
  // when 6 bytes of room remain or else ends it (ILLCHAR_ESCAPE), or
  // becomes "?".
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 1
  size_t getNullCharSize() const override;  // 1

  // The converter (one for the process).
  static AsciiConverter& instance();
};

}  // namespace kelconv

#endif  // KELULIB_TOOLS_KELCONV_ASCII_CONVERTER_H_
