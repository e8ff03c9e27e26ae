// KelCharSetConverterEUC_JP: EUC-JP on three tables.
//   "JIS0208" (row/cell codes): the two-byte characters, bytes 0xA1-0xFE.
//   "JIS0201": the half-width katakana, written 0x8E (SS2) + one byte
//     0xA1-0xDF. Its records are merged into the JIS X 0208 tables (as
//     codes 0x01-0x7E and 0xA1-0xDF), after those of JIS X 0208.
//   "JIS0212" (row/cell codes): the supplementary kanji, written 0x8F (SS3)
//     + two bytes. Loaded after the others, under a second lock; only when
//     it is found is JIS X 0201 merged.
// The two-byte and SS3 forms are read without checking the range of their
// following bytes, so any byte 0x7F-0xFF other than SS2 and SS3 starts a pair
// whose code takes the low seven bits of both bytes: 0x80 followed by a byte
// gives the JIS X 0201 character of that byte's low seven bits (0x80 0xDC is
// U+00A5), which is also how U+00A5 and U+203E are written.
#ifndef KELULIB_CHARSET_TABLES_EUC_JP_CONVERTER_H_
#define KELULIB_CHARSET_TABLES_EUC_JP_CONVERTER_H_

#include <atomic>
#include <cstddef>

#include "mbcs_converter.h"

namespace kelulib {
struct KelDecoded;
class KelEucJpSequenceRules;
}  // namespace kelulib

class KELULIB_API KelCharSetConverterEUC_JP : public KelCharSetConverterMBCS {
 public:
  static constexpr unsigned char m_cSS2 = 0x8E;
  static constexpr unsigned char m_cSS3 = 0x8F;

  // A converter on the three tables named (strings of static lifetime; the
  // pointers are kept).
  KelCharSetConverterEUC_JP(const char* jis0208Name, const char* jis0201Name,
                            const char* jis0212Name, KelCharSet id);
  ~KelCharSetConverterEUC_JP() override;

  // One unit per character, reading at most `srcBytes` bytes and stopping at
  // a zero byte: 1 byte for 0x01-0x7E; SS2 + 0xA1-0xDF is 2; SS3 + two bytes
  // of a mapped JIS X 0212 code is 3; another byte + one of a mapped JIS X
  // 0208 (or merged JIS X 0201) code is 2; anything else is 1. A sequence
  // that `srcBytes` cuts short ends the count before it. Loads the tables.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // Decodes into `dst` (room `dstUnits` + terminator) until a zero byte, the
  // room is used up, or `srcLimit` bytes (when it is 1 or more) have been
  // read. An unmapped sequence makes its first byte illegal alone (the bytes
  // after it are read next). Illegal input sets `*illegal`, then ends the
  // output (ILLCHAR_STOP) or becomes U+FFFD.
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // Per unit above 0x7E: 2 bytes if JIS X 0208/0201 maps it, else 3 if JIS X
  // 0212 does, else 1 (its "?"); 1 for every other unit. Stops at a zero unit.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // Encodes into `dst` (room `dstBytes` + one zero byte): units 0x01-0x7E as
  // themselves; JIS X 0208/0201 codes as two bytes (half-width katakana as
  // SS2 + byte); JIS X 0212 codes as SS3 + two bytes. A sequence that does
  // not fit ends the output. An unmappable unit sets `*illegal`, then ends
  // the output (ILLCHAR_STOP), becomes "U+XXXX" when 6 bytes of room remain
  // or else ends it (ILLCHAR_ESCAPE), or becomes "?".
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 3
  size_t getNullCharSize() const override;  // 1

  // An ASCII byte or unit, passed through as it is.
  static bool isCS0(unsigned value) { return value < 0x7F; }
  static bool isSS2(unsigned char b) { return b == m_cSS2; }
  static bool isSS3(unsigned char b) { return b == m_cSS3; }
  // A half-width katakana byte (after SS2) or JIS X 0201 code.
  static bool isValidSS2(unsigned value) { return value >= 0xA1 && value <= 0xDF; }

 protected:
  // Loads JIS X 0208 as KelCharSetConverterMBCS::load does, then, under the
  // second lock and once, JIS X 0212 and (when it was found) the JIS X 0201
  // merge.
  void load() override;

  // True once load() has built the JIS X 0212 tables.
  bool supplementaryTablesLoaded() const;

 private:
  // Its sequence rules read characters as decodeAt() does.
  friend class kelulib::KelEucJpSequenceRules;

  const Tables& supplementaryTables() const;
  // The character at `in` (a non-zero byte).
  kelulib::KelDecoded decodeAt(const unsigned char* in) const;

  const char* m_jis0201Name;
  const char* m_jis0212Name;
  std::atomic<Tables*> m_jis0212;
  ObjLock m_jis0212Lock;
};

#endif  // KELULIB_CHARSET_TABLES_EUC_JP_CONVERTER_H_
