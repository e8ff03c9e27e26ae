// KelUString: storage, lifetime, element access and the iterator checks.
#include "ustring/ustring.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>

#include "ustring/unit_blocks.h"

// Defined in the class; declared here as well so that the library holds
// them, exported, for programs that take their addresses.
constexpr size_t KelUString::npos;
constexpr size_t KelUString::kLocalCapacity;

KelUString::KelUString() { initForAlloc(); }

KelUString::KelUString(const KelUString& s) {
  initForAlloc();
  initFromUnits(s.c_wstr(), s.size());
}

KelUString::~KelUString() {
  freeHeapBlock();
  dropNarrowCache();
}

void KelUString::initForAlloc() {
  m_pStrData = &m_localData;
  KelStrData& data = m_localData;
  data.m_bHeap = 0;
  data.m_pData = data.m_aLocal;
  data.m_nLength = 0;
  data.m_nAllocSize = kLocalCapacity;
  data.m_pNarrow = nullptr;
  data.m_nNarrowLength = 0;
  data.m_eNarrowCharSet = static_cast<KelCharSet>(-1);
  data.m_aLocal[0] = 0;
}

KelStrData* KelUString::SetupSpace() {
  initForAlloc();
  return m_pStrData;
}

KelStrData* KelUString::SetupSpace(size_t n) {
  initForAlloc();
  if (n > kLocalCapacity) {
    KelStrData& data = *m_pStrData;
    data.m_pData = kelulib::allocateUnitBlock(n);
    data.m_bHeap = 1;
    data.m_nAllocSize = n;
    data.m_pData[0] = 0;
  }
  return m_pStrData;
}

KelStrData* KelUString::AssureSpace(size_t n) {
  KelStrData& data = *m_pStrData;
  if (data.m_nAllocSize >= n) return m_pStrData;
  // The old block goes first, and the string stays valid and empty if the
  // new one cannot be had.
  freeHeapBlock();
  data.m_pData = kelulib::allocateUnitBlock(n);
  data.m_bHeap = 1;
  data.m_nAllocSize = n;
  data.m_nLength = 0;
  data.m_pData[0] = 0;
  return m_pStrData;
}

void KelUString::assureSize(size_t n) { AssureSpace(n); }

void KelUString::swap(KelUString& other) {
  if (&other == this) return;
  const KelUString temporary(other);
  other.assign(*this);
  assign(temporary);
}

wchar16& KelUString::at(size_t i) {
  if (i >= size()) range_error();
  return m_pStrData->m_pData[i];
}

const wchar16& KelUString::at(size_t i) const {
  if (i >= size()) range_error();
  return m_pStrData->m_pData[i];
}

void KelUString::range_error() const { throw std::out_of_range("invalid string index given"); }

void KelUString::length_error() const {
  throw std::length_error("exceed maximum string length");
}

void KelUString::dropNarrowCache() {
  delete[] m_pStrData->m_pNarrow;
  m_pStrData->m_pNarrow = nullptr;
}

void KelUString::freeHeapBlock() {
  KelStrData& data = *m_pStrData;
  if (data.m_bHeap != 0) kelulib::freeUnitBlock(data.m_pData);
  data.m_bHeap = 0;
  data.m_pData = data.m_aLocal;
  data.m_nAllocSize = kLocalCapacity;
  data.m_nLength = 0;
  data.m_aLocal[0] = 0;
}

void KelUString::makeEmpty() {
  KelStrData& data = *m_pStrData;
  if (data.m_nLength > 0) {
    data.m_nLength = 0;
    data.m_pData[0] = 0;
  }
}

void KelUString::copyIn(const wchar16* units, size_t count) {
  assureSize(count);
  KelStrData& data = *m_pStrData;
  std::memmove(data.m_pData, units, count * sizeof(wchar16));
  data.m_pData[count] = 0;
  data.m_nLength = count;
}

void KelUString::initFromUnits(const wchar16* units, size_t count) {
  if (count == 0) return;
  KelStrData& data = *SetupSpace(count);
  std::memcpy(data.m_pData, units, count * sizeof(wchar16));
  data.m_pData[count] = 0;
  data.m_nLength = count;
}

namespace {

// Whether `p` lies in [first, last]; std::less orders pointers into
// different objects too.
bool isWithin(const wchar16* p, const wchar16* first, const wchar16* last) {
  const std::less<const wchar16*> before;
  return !before(p, first) && !before(last, p);
}

}  // namespace

size_t KelUString::insertPosition(const wchar16* p) const {
  if (!isWithin(p, begin(), end())) range_error();
  return static_cast<size_t>(p - begin());
}

size_t KelUString::unitPosition(const wchar16* p) const {
  if (empty() || !isWithin(p, begin(), end() - 1)) range_error();
  return static_cast<size_t>(p - begin());
}

KelUString::UnitRange KelUString::checkedRange(const wchar16* first, const wchar16* last) const {
  const size_t pos = insertPosition(first);
  const size_t end = insertPosition(last);
  return UnitRange{pos, end - pos};
}
