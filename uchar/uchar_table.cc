#include "uchar/uchar_table.h"

#include <new>

#include "charset/obj_lock_guard.h"
#include "charset/tables/two_level_table.h"

KelUCharTable::KelUCharTable(const tableData* source, bool increment)
    : m_directory(nullptr), m_source(source), m_increment(increment) {}

KelUCharTable::~KelUCharTable() { release(); }

KelUCharTable::KelUCharTable(const KelUCharTable& other)
    : m_directory(nullptr),
      m_source(other.m_source),
      m_increment(other.m_increment),
      m_lock(other.m_lock) {}

KelUCharTable& KelUCharTable::operator=(const KelUCharTable& other) {
  if (this == &other) return *this;
  release();
  m_source = other.m_source;
  m_increment = other.m_increment;
  m_lock = other.m_lock;
  return *this;
}

void KelUCharTable::release() {
  // The directory frees every page of its own; the shared zero page stays.
  delete m_directory.exchange(nullptr, std::memory_order_relaxed);
}

bool KelUCharTable::isLoaded() const {
  return m_directory.load(std::memory_order_acquire) != nullptr;
}

wchar16 KelUCharTable::getValue(wchar16 c) {
  const Directory* directory = m_directory.load(std::memory_order_acquire);
  if (directory == nullptr) {
    load();
    directory = m_directory.load(std::memory_order_acquire);
    if (directory == nullptr) return 0;  // out of memory: no value this time
  }
  return static_cast<wchar16>(directory->get(c));
}

void KelUCharTable::load() {
  if (isLoaded()) return;
  kelulib::ObjLockGuard guard(m_lock);
  if (m_directory.load(std::memory_order_relaxed) != nullptr) return;
  auto* directory = new (std::nothrow) Directory();
  if (directory == nullptr) return;
  storeRanges(*directory);
  m_directory.store(directory, std::memory_order_release);
}

void KelUCharTable::storeRanges(Directory& directory) const {
  if (m_source == nullptr) return;
  for (const tableData* range = m_source; range->first != 0; ++range) {
    uint16_t value = range->value;
    for (uint32_t c = range->first; c <= range->last; ++c) {
      directory.set(c, value);
      if (m_increment) ++value;
    }
  }
}
