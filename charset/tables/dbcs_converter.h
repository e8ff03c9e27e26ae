// The double-byte code page converters:
//   KelCharSetConverterDBCS: Windows 932, 936, 949 and 950, Big5 and
//     Shift-JIS, on 16/16 tables (every character in the BMP).
//   KelCharSetConverterDBCSEx: Shift_JIS-2004, on a 16/32 table whose
//     characters may lie beyond the BMP.
// A character is one byte, or a lead byte and a trail byte (code
// lead * 256 + trail); which bytes lead and trail comes from a 256-entry
// byte-class table given to the constructor (see KelCharSetConverterDBCSBase).
// A code of 256 or more is written as two bytes, high byte first.
#ifndef KELULIB_CHARSET_TABLES_DBCS_CONVERTER_H_
#define KELULIB_CHARSET_TABLES_DBCS_CONVERTER_H_

#include <cstddef>

#include "mbcs_converter.h"

// The byte classes of a double-byte set: bit 0x40 of entry b marks a lead
// byte, bit 0x80 a trail byte; the other bits are not read.
class KELULIB_API KelCharSetConverterDBCSBase {
 public:
  // `byteClasses`: 256 entries of static lifetime (kept, not copied).
  explicit KelCharSetConverterDBCSBase(const unsigned char* byteClasses);

  bool isLeadByte(unsigned char b) const { return (m_byteClasses[b] & 0x40) != 0; }
  bool isTrailByte(unsigned char b) const { return (m_byteClasses[b] & 0x80) != 0; }

  // The 256 byte classes given to the constructor.
  const unsigned char* byteClasses() const { return m_byteClasses; }

 private:
  const unsigned char* m_byteClasses;
};

class KELULIB_API KelCharSetConverterDBCS : public KelCharSetConverterMBCS,
                                            public KelCharSetConverterDBCSBase {
 public:
  // A converter on the UNICODEMAP table `tableName` with the byte classes
  // `byteClasses` (both of static lifetime; the pointers are kept).
  KelCharSetConverterDBCS(const char* tableName, const unsigned char* byteClasses, KelCharSet id);

  // One unit per character: a lead byte followed, within `srcBytes`, by a
  // trail byte is one character; any other byte is one. Stops at a zero
  // byte. Needs no table, so it loads none.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Decodes into `dst` (room `dstUnits` + terminator). A lead byte followed
  // by a non-trail byte is illegal alone (the next byte is read on its own);
  // an unmapped byte or pair is one illegal character. Illegal input sets
  // `*illegal`, then ends the output (ILLCHAR_STOP) or becomes U+FFFD.
  // `srcLimit` >= 1 stops once that many bytes have been read after a
  // character (not after an illegal lone lead byte); 0 or below sets no
  // bound. The byte after a lead byte is read whatever the bound: the
  // source must be zero-terminated.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // 2 bytes per unit whose code is 256 or more, else 1 (an unmappable unit
  // counts its "?"). Stops at a zero unit.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Encodes into `dst` (room `dstBytes` + one zero byte); each unit is looked
  // up alone, so surrogates are unmappable. A pair that does not fit ends the
  // output. An unmappable unit sets `*illegal`, then ends the output
  // (ILLCHAR_STOP), becomes "U+XXXX" when 6 bytes of room remain or else
  // ends it (ILLCHAR_ESCAPE), or becomes "?".
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 2
  size_t getNullCharSize() const override;  // 1
};

class KELULIB_API KelCharSetConverterDBCSEx : public KelCharSetConverterMBCSEx,
                                              public KelCharSetConverterDBCSBase {
 public:
  KelCharSetConverterDBCSEx(const char* tableName, const unsigned char* byteClasses, KelCharSet id);

  // As KelCharSetConverterDBCS, but a pair whose character lies beyond the
  // BMP counts 2 units; the table is loaded at the first pair (a single byte
  // is never looked up).
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // As KelCharSetConverterDBCS; a character beyond the BMP becomes a
  // surrogate pair, and one that does not fit in the room left ends the
  // output.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // As KelCharSetConverterDBCS, with a surrogate pair (both units within
  // `srcUnits`) counted as the one character it stands for; an unpaired high
  // surrogate counts 1.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // As KelCharSetConverterDBCS, with a surrogate pair looked up as the one
  // character it stands for. A high surrogate without a low one is
  // unmappable by itself (its "U+XXXX" escape or "?"), and the next unit is
  // read on its own. The escape of an unmappable character beyond the BMP is
  // 12 bytes: "U+", the high surrogate in four hex digits, the text "U+04X"
  // and a zero byte (the form this converter has always written); it needs
  // 12 bytes of room, else the output ends.
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 2
  size_t getNullCharSize() const override;  // 1
};

#endif  // KELULIB_CHARSET_TABLES_DBCS_CONVERTER_H_
