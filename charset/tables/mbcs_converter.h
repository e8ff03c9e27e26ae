// KelCharSetConverterMBCS and KelCharSetConverterMBCSEx: the bases of the
// table-driven multi-byte converters (double-byte, EUC and GB18030).
//
// Each holds the name of its UNICODEMAP table and, once loaded, the table in
// both directions as two-level lookups. Every conversion calls load() first:
// the first time, it builds the tables under the converter's lock and
// publishes them; after that the tables never change, and load() and the
// conversions read them without taking the lock.
//   MBCS: code -> UTF-16 unit and UTF-16 unit -> code (16/16 tables).
//   MBCSEx: code -> Unicode scalar and scalar (planes 0-16) -> code (the
//   16/32 tables, whose characters may lie beyond the BMP).
#ifndef KELULIB_CHARSET_TABLES_MBCS_CONVERTER_H_
#define KELULIB_CHARSET_TABLES_MBCS_CONVERTER_H_

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "../converter.h"

namespace kelulib {
template <typename UnicodeValue>
struct MappingRecord;
template <typename Record, size_t kReversePageCount>
class KelMultiByteTables;
}  // namespace kelulib

class KELULIB_API KelCharSetConverterMBCS : public KelCharSetConverter {
 public:
  using Tables = kelulib::KelMultiByteTables<kelulib::MappingRecord<uint16_t>, 256>;

  ~KelCharSetConverterMBCS() override;

  // Converters are singletons of the library and are never copied.
  KelCharSetConverterMBCS(const KelCharSetConverterMBCS&) = delete;
  KelCharSetConverterMBCS& operator=(const KelCharSetConverterMBCS&) = delete;

 protected:
  // A converter on the UNICODEMAP table `tableName` (a string of static
  // lifetime; the pointer is kept, not the text), not loaded yet.
  KelCharSetConverterMBCS(const char* tableName, KelCharSet id);

  // The first time, builds both directions of the table under the
  // converter's lock; once they are published, returns at once without
  // taking it. A table that cannot be found leaves both empty, for good:
  // every code and character is then unmappable. Without a table name it
  // builds nothing.
  virtual void load();

  // The tables load() built, or empty ones before that.
  const Tables& tables() const {
    const Tables* built = m_tables.load(std::memory_order_acquire);
    return built != nullptr ? *built : emptyTables();
  }

  // The built tables, for a subclass's load() to add records to while it
  // holds a lock that every conversion takes; null before loading.
  Tables* tablesToExtend() const;

  // True once load() has built the tables.
  bool tablesLoaded() const;

  // What a converter writes for a unit of the BMP: a code of one byte
  // (below 0x100) or two, or 0 for a unit it writes otherwise.
  using UnitCodeFunction = uint16_t (*)(const KelCharSetConverterMBCS& converter, wchar16 unit);

  // The codes of all 65,536 units (and two zeros after them), as
  // `unitCode` gives them from the loaded tables, for writing runs of text
  // with vector look-ups; built on the first call after loading, the same
  // `unitCode` every time. Null before loading or when memory runs out.
  const uint16_t* unitCodes(UnitCodeFunction unitCode) const;

  // The units of all 65,536 codes (and two zeros after them) in the loaded
  // tables, for reading runs of text with vector look-ups; built on the
  // first call after loading. Null before loading or when memory runs out.
  const uint16_t* codeUnits() const;

 private:
  // Tables with no entries, for conversions before loading.
  static const Tables& emptyTables();

  const char* m_tableName;
  std::atomic<Tables*> m_tables;
  mutable std::atomic<uint16_t*> m_unitCodes;
  mutable std::atomic<uint16_t*> m_codeUnits;
  ObjLock m_lock;
};

class KELULIB_API KelCharSetConverterMBCSEx : public KelCharSetConverter {
 public:
  using Tables = kelulib::KelMultiByteTables<kelulib::MappingRecord<uint32_t>, 17 * 256>;

  ~KelCharSetConverterMBCSEx() override;

  KelCharSetConverterMBCSEx(const KelCharSetConverterMBCSEx&) = delete;
  KelCharSetConverterMBCSEx& operator=(const KelCharSetConverterMBCSEx&) = delete;

 protected:
  // As KelCharSetConverterMBCS, on a table of 32-bit Unicode scalars.
  KelCharSetConverterMBCSEx(const char* tableName, KelCharSet id);

  // As KelCharSetConverterMBCS::load.
  virtual void load();

  const Tables& tables() const {
    const Tables* built = m_tables.load(std::memory_order_acquire);
    return built != nullptr ? *built : emptyTables();
  }
  bool tablesLoaded() const;

  // As KelCharSetConverterMBCS::codeUnits, for the characters of the BMP:
  // a code whose scalar lies beyond it reads as 0.
  const uint16_t* codeUnits() const;

 private:
  // Tables with no entries, for conversions before loading.
  static const Tables& emptyTables();

  const char* m_tableName;
  std::atomic<Tables*> m_tables;
  mutable std::atomic<uint16_t*> m_codeUnits;
  ObjLock m_lock;
};

#endif  // KELULIB_CHARSET_TABLES_MBCS_CONVERTER_H_
