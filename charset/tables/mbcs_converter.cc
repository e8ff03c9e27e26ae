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
    : KelCharSetConverter(id), m_tableName(tableName), m_tables(nullptr), m_unitCodes(nullptr) {}

KelCharSetConverterMBCS::~KelCharSetConverterMBCS() {
  delete m_tables.load(std::memory_order_relaxed);
  delete[] m_unitCodes.load(std::memory_order_relaxed);
}

const uint16_t* KelCharSetConverterMBCS::unitCodes(UnitCodeFunction unitCode) const {
  uint16_t* codes = m_unitCodes.load(std::memory_order_acquire);
  if (codes != nullptr || !tablesLoaded()) return codes;
  constexpr size_t kUnits = 0x10000;
  // Two zeros after the last code: a vector look-up reads four bytes.
  auto* fresh = new (std::nothrow) uint16_t[kUnits + 2];
  if (fresh == nullptr) return nullptr;
  for (size_t unit = 0; unit < kUnits; ++unit) {
    fresh[unit] = unitCode(*this, static_cast<wchar16>(unit));
  }
  fresh[kUnits] = 0;
  fresh[kUnits + 1] = 0;
  // Threads that build at once agree on one array; the others drop theirs.
  if (m_unitCodes.compare_exchange_strong(codes, fresh, std::memory_order_acq_rel)) return fresh;
  delete[] fresh;
  return codes;
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
    : KelCharSetConverter(id), m_tableName(tableName), m_tables(nullptr) {}

KelCharSetConverterMBCSEx::~KelCharSetConverterMBCSEx() {
  delete m_tables.load(std::memory_order_relaxed);
}

void KelCharSetConverterMBCSEx::load() { loadTables(m_lock, m_tables, m_tableName); }

const KelCharSetConverterMBCSEx::Tables& KelCharSetConverterMBCSEx::emptyTables() {
  static const Tables empty;
  return empty;
}

bool KelCharSetConverterMBCSEx::tablesLoaded() const {
  return m_tables.load(std::memory_order_acquire) != nullptr;
}
