// KelCharSetConverterGB18030: GB18030 in its one-, two- and four-byte forms.
//
// Every byte sequence is reduced to a GB scalar: a byte below 0x81 is
// itself; a pair b1 b2 (b1 0x81-0xFE, b2 0x40-0x7E or 0x80-0xFE) is
// b1 * 256 + b2; four bytes b1 b2 b3 b4 (b2 and b4 0x30-0x39, b3 0x81-0xFE)
// are numbered from 0x10000 (0x81 0x30 0x81 0x30) up to 0x19398F
// (0xFE 0x39 0xFE 0x39). The one- and two-byte scalars map through the "GBK"
// table; what GB18030 adds beyond it (a few two-byte codes and the four-byte
// sequences of the BMP) through two range tables compiled into the library;
// and scalars from 254536 on are the supplementary planes, computed
// (Unicode scalar = GB scalar - 189000, so 0x90 0x30 0x81 0x30 is U+10000).
#ifndef KELULIB_CHARSET_TABLES_GB18030_CONVERTER_H_
#define KELULIB_CHARSET_TABLES_GB18030_CONVERTER_H_

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "mbcs_converter.h"

namespace kelulib {
struct KelDecoded;
struct gb18030TableData;
}  // namespace kelulib

class KELULIB_API KelCharSetConverterGB18030 : public KelCharSetConverterMBCS {
 public:
  // A converter on the UNICODEMAP table `tableName` ("GBK"; static
  // lifetime, the pointer is kept).
  KelCharSetConverterGB18030(const char* tableName, KelCharSet id);
  ~KelCharSetConverterGB18030() override;

  // Units toUTF16 writes for at most `srcBytes` bytes, up to a zero byte:
  // one per character, two for a character beyond the BMP, one per illegal
  // sequence. A lead byte with fewer than 2 bytes left, or a four-byte start
  // with fewer than 4 left, counts as a single illegal byte.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Decodes into `dst` (room `dstUnits` + terminator) until a zero byte or
  // the room is used up; a character beyond the BMP needs two units of room
  // (else the output ends). Illegal input (an unmapped byte, 0xFF, a lead
  // byte that starts no sequence, an unmapped sequence) sets `*illegal`,
  // then ends the output (ILLCHAR_STOP) or becomes U+FFFD. `srcLimit` >= 1
  // stops once that many bytes have been read, tested after a mapped
  // character and after an illegal single byte only.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // Bytes fromUTF16 writes under ILLCHAR_REPLACE: 1, 2 or 4 per character,
  // 1 per unmappable unit. A high surrogate without a low one (within
  // `srcUnits`) ends the count.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Encodes into `dst` (room `dstBytes` + one zero byte); a sequence that
  // does not fit ends the output. A high surrogate not followed by a low one
  // ends the whole conversion there, without a flag. An unmappable unit sets
  // `*illegal`, then ends the output (ILLCHAR_STOP), becomes "U+XXXX" when 6
  // bytes of room remain or else ends it (ILLCHAR_ESCAPE), or becomes "?".
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 4
  size_t getNullCharSize() const override;  // 1

  // GB scalars of a pair and of a four-byte sequence (also given as its two
  // byte pairs, high byte first in each).
  static uint32_t makeScalar(unsigned char b1, unsigned char b2);
  static uint32_t makeScalar(unsigned char b1, unsigned char b2, unsigned char b3,
                             unsigned char b4);
  static uint32_t makeScalar(wchar16 b1b2, wchar16 b3b4);

  static bool isSBCS(unsigned char b) { return b < 0x81; }
  // The first byte of a pair or four-byte sequence, and the third byte of
  // the latter.
  static bool isLeadMBCS(unsigned char b) { return b >= 0x81 && b <= 0xFE; }
  static bool isTrailDBCS(unsigned char b) {
    return static_cast<unsigned char>(b - 0x40) <= 0xFE - 0x40 && b != 0x7F;
  }
  // The second and fourth bytes of a four-byte sequence.
  static bool isFourthFBCS(unsigned char b) { return b >= 0x30 && b <= 0x39; }

 protected:
  // Loads "GBK" as KelCharSetConverterMBCS::load does, then, under the
  // second lock, builds whichever range index is missing.
  void load() override;

 private:
  using RangeIndex = const kelulib::gb18030TableData**;

  // The code of `unit` in the two-byte (GBK) table: one byte below 0x100,
  // else two; 0 for surrogates and units written from the four-byte ranges.
  static uint16_t gbkCodeOf(const KelCharSetConverterMBCS& self, wchar16 unit);

  // The character at `in` (a non-zero byte), of which `left` bytes may be
  // read (sequences longer than that are cut).
  kelulib::KelDecoded decodeAt(const unsigned char* in, size_t left) const;
  uint32_t unicodeOf(uint32_t gbScalar) const;
  uint32_t gbScalarOf(wchar16 unit) const;
  const kelulib::gb18030TableData* getGB2UniRange(uint32_t gbScalar) const;
  const kelulib::gb18030TableData* getUni2GBRange(wchar16 unit) const;

  std::atomic<RangeIndex> m_gbToUnicodeIndex;
  std::atomic<RangeIndex> m_unicodeToGbIndex;
  ObjLock m_rangeLock;
};

#endif  // KELULIB_CHARSET_TABLES_GB18030_CONVERTER_H_
