#include "charset/tables/mbcs_converter.h"

#include <new>

#include "charset/tables/locked_build.h"
#include "charset/tables/mbcs_tables.h"

namespace {

// Builds `slot` from the table `name` once, under `lock`.
template <typename Tables>
void loadTables(ObjLock& lock, std::atomic<Tables*>& slot, const char* name) {
  kelulib::buildUnderLock(lock, slot, [name]() -> Tables* {
    if (name == nullptr) return nullptr;
    auto* tables = new (std::nothrow) Tables();
    if (tables != nullptr) tables->load(name);  // a missing table leaves them empty
    return tables;
  });
}

}  // namespace

// --- KelCharSetConverterMBCS ---------------------------------------------------

KelCharSetConverterMBCS::KelCharSetConverterMBCS(const char* tableName, KelCharSet id)
    : KelCharSetConverter(id),
      m_tableName(tableName),
      m_tables(nullptr),
      m_unitCodes(nullptr),
      m_codeUnits(nullptr) {}

KelCharSetConverterMBCS::~KelCharSetConverterMBCS() {
  delete m_tables.load(std::memory_order_relaxed);
  delete[] m_unitCodes.load(std::memory_order_relaxed);
  delete[] m_codeUnits.load(std::memory_order_relaxed);
}

namespace {

// A table of value(key) for every 16-bit key, built once into `slot`:
// threads that build at once agree on one array, the others drop theirs.
// Two zeros follow the last entry, since a vector look-up reads four bytes.
template <typename Value>
const uint16_t* flatTableOnce(std::atomic<uint16_t*>& slot, Value value) {
  uint16_t* table = slot.load(std::memory_order_acquire);
  if (table != nullptr) return table;
  constexpr size_t kKeys = 0x10000;
  auto* fresh = new (std::nothrow) uint16_t[kKeys + 2];
  if (fresh == nullptr) return nullptr;
  for (size_t key = 0; key < kKeys; ++key) fresh[key] = value(static_cast<uint16_t>(key));
  fresh[kKeys] = 0;
  fresh[kKeys + 1] = 0;
  if (slot.compare_exchange_strong(table, fresh, std::memory_order_acq_rel)) return fresh;
  delete[] fresh;
  return table;
}

}  // namespace

const uint16_t* KelCharSetConverterMBCS::unitCodes(UnitCodeFunction unitCode) const {
  if (!tablesLoaded()) return nullptr;
  return flatTableOnce(m_unitCodes,
                       [&](uint16_t unit) { return unitCode(*this, static_cast<wchar16>(unit)); });
}

const uint16_t* KelCharSetConverterMBCS::codeUnits() const {
  if (!tablesLoaded()) return nullptr;
  const Tables& loaded = tables();
  return flatTableOnce(m_codeUnits, [&loaded](uint16_t code) { return loaded.toUnicode(code); });
}

void KelCharSetConverterMBCS::load() { loadTables(m_lock, m_tables, m_tableName); }

const KelCharSetConverterMBCS::Tables& KelCharSetConverterMBCS::emptyTables() {
  static const Tables empty;
  return empty;
}

KelCharSetConverterMBCS::Tables* KelCharSetConverterMBCS::tablesToExtend() const {
  return m_tables.load(std::memory_order_acquire);
}

bool KelCharSetConverterMBCS::tablesLoaded() const {
  return m_tables.load(std::memory_order_acquire) != nullptr;
}

// --- KelCharSetConverterMBCSEx -------------------------------------------------

KelCharSetConverterMBCSEx::KelCharSetConverterMBCSEx(const char* tableName, KelCharSet id)
    : KelCharSetConverter(id), m_tableName(tableName), m_tables(nullptr), m_codeUnits(nullptr) {}

KelCharSetConverterMBCSEx::~KelCharSetConverterMBCSEx() {
  delete m_tables.load(std::memory_order_relaxed);
  delete[] m_codeUnits.load(std::memory_order_relaxed);
}

const uint16_t* KelCharSetConverterMBCSEx::codeUnits() const {
  if (!tablesLoaded()) return nullptr;
  const Tables& loaded = tables();
  return flatTableOnce(m_codeUnits, [&loaded](uint16_t code) {
    const uint32_t scalar = loaded.toUnicode(code);
    return static_cast<uint16_t>(scalar <= 0xFFFF ? scalar : 0);
  });
}

void KelCharSetConverterMBCSEx::load() { loadTables(m_lock, m_tables, m_tableName); }

const KelCharSetConverterMBCSEx::Tables& KelCharSetConverterMBCSEx::emptyTables() {
  static const Tables empty;
  return empty;
}

bool KelCharSetConverterMBCSEx::tablesLoaded() const {
  return m_tables.load(std::memory_order_acquire) != nullptr;
}
