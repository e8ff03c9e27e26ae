// KelCharSetConverterSBCS: converter of a character set in which every
// character is one byte (Windows 874 and 1250-1258, ISO 8859-x, KOI8-R).
//
// Its tables come either from a UNICODEMAP table named at construction or
// from a 256-entry to-Unicode table compiled into the library; they are
// built on the first conversion, once, under the converter's lock, and kept
// for the converter's life.
#ifndef KELULIB_CHARSET_TABLES_SBCS_CONVERTER_H_
#define KELULIB_CHARSET_TABLES_SBCS_CONVERTER_H_

#include <atomic>
#include <cstddef>

#include "../converter.h"

namespace kelulib {
template <typename Entry, size_t kPageCount>
class KelTwoLevelTable;
}  // namespace kelulib

class KELULIB_API KelCharSetConverterSBCS : public KelCharSetConverter {
 public:
  // A converter whose tables are built from the UNICODEMAP table `tableName`
  // (a string of static lifetime; the pointer is kept, not the text).
  KelCharSetConverterSBCS(const char* tableName, KelCharSet id);
  // A converter on a compiled-in table: table[b] is the unit for byte b, 0
  // for unmapped (256 entries of static lifetime; kept, not copied).
  KelCharSetConverterSBCS(const wchar16* table, KelCharSet id);
  ~KelCharSetConverterSBCS() override;

  // Converters are singletons of the library and are never copied.
  KelCharSetConverterSBCS(const KelCharSetConverterSBCS&) = delete;
  KelCharSetConverterSBCS& operator=(const KelCharSetConverterSBCS&) = delete;

  // Bytes before the first zero byte, at most `srcBytes`.
  size_t getNumUnits(void const* src, size_t srcBytes) override;

  // One unit per byte. An unmapped byte sets `*illegal`, then ends the
  // output under ILLCHAR_STOP or writes U+FFFD. `srcLimit` counts bytes:
  // 0 converts nothing, a negative limit is no bound. A converter whose
  // table cannot be found converts nothing (returns 0, terminator written).
  size_t toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                 int srcLimit) override;

  // One byte per unit before the zero unit, mappable or not.
  size_t getNumBytes(wchar16 const* src, size_t srcUnits) override;

  // One byte per unit; every unit (a surrogate included) is looked up alone.
  // An unmapped unit stops the output (ILLCHAR_STOP), becomes "U+XXXX" when
  // 6 bytes of room remain or else stops (ILLCHAR_ESCAPE), or becomes "?".
  // Never touches `*illegal`. Converts nothing (returns 0, terminator
  // written) when the converter's table cannot be found.
  size_t fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                   bool* illegal) override;

  size_t getMinUnitSize() const override;   // 1
  size_t getMaxUnitSize() const override;   // 1
  size_t getNullCharSize() const override;  // 1

 protected:
  // Builds whichever table is missing; does nothing when both exist. A
  // table that cannot be found leaves the converter unloaded, to be tried
  // again at the next conversion.
  void load();

 private:
  using ReverseTable = kelulib::KelTwoLevelTable<unsigned char, 256>;

  bool loaded() const;
  void loadFromMappingTable();
  void buildReverseTable();

  const char* m_tableName;
  // Published last, after m_fromUnicode: a reader that sees both has both.
  std::atomic<const wchar16*> m_toUnicode;
  std::atomic<ReverseTable*> m_fromUnicode;
  ObjLock m_lock;
};

#endif  // KELULIB_CHARSET_TABLES_SBCS_CONVERTER_H_
