#include "charset/tables/mbcs_tables.h"

#include "platform/embedded_resources.h"

namespace kelulib {

template <typename Record, size_t kReversePageCount>
void KelMultiByteTables<Record, kReversePageCount>::add(uint16_t code, Unicode unicode) {
  m_asciiMapsToItself = false;
  m_toUnicode.set(code, unicode);
  if (unicode < kReverseLimit) m_fromUnicode.set(unicode, code);
}

template <typename Record, size_t kReversePageCount>
void KelMultiByteTables<Record, kReversePageCount>::addKeepingHigherCode(uint16_t code,
                                                                        Unicode unicode) {
  m_toUnicode.set(code, unicode);
  if (unicode < kReverseLimit && m_fromUnicode.get(unicode) < code) {
    m_fromUnicode.set(unicode, code);
  }
}

template <typename Record, size_t kReversePageCount>
template <typename Store>
bool KelMultiByteTables<Record, kReversePageCount>::readRecords(const char* tableName,
                                                                Store store) {
  ResourceBytes bytes;
  if (!findMappingTable(tableName, &bytes)) return false;
  forEachRecord<Record>(bytes.data, bytes.size, [&store](Record record) {
    if (record.code == 0 && record.unicode == 0) return false;
    store(record.code, record.unicode);
    return true;
  });
  m_asciiMapsToItself = computeAsciiMapsToItself();
  return true;
}

template <typename Record, size_t kReversePageCount>
bool KelMultiByteTables<Record, kReversePageCount>::load(const char* tableName) {
  return readRecords(tableName, [this](uint16_t code, Unicode unicode) {
    addKeepingHigherCode(code, unicode);
  });
}

template <typename Record, size_t kReversePageCount>
bool KelMultiByteTables<Record, kReversePageCount>::merge(const char* tableName) {
  return readRecords(tableName, [this](uint16_t code, Unicode unicode) { add(code, unicode); });
}

template <typename Record, size_t kReversePageCount>
bool KelMultiByteTables<Record, kReversePageCount>::computeAsciiMapsToItself() const {
  for (uint16_t ascii = 0x01; ascii <= 0x7F; ++ascii) {
    if (toUnicode(ascii) != ascii || fromUnicode(ascii) != ascii) return false;
  }
  return true;
}

template class KelMultiByteTables<MappingRecord16, 256>;
template class KelMultiByteTables<MappingRecord32, kUnicodePlanes * 256>;

}  // namespace kelulib
