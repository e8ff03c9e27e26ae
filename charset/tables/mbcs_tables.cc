#include "charset/tables/mbcs_tables.h"

#include "platform/embedded_resources.h"

namespace kelulib {

template <typename Record, size_t kReversePageCount>
void KelMultiByteTables<Record, kReversePageCount>::add(uint16_t code, Unicode unicode) {
  m_toUnicode.set(code, unicode);
  if (unicode < kReverseLimit) m_fromUnicode.set(unicode, code);
}

template <typename Record, size_t kReversePageCount>
bool KelMultiByteTables<Record, kReversePageCount>::load(const char* tableName) {
  ResourceBytes bytes;
  if (!findMappingTable(tableName, &bytes)) return false;
  forEachRecord<Record>(bytes.data, bytes.size, [this](Record record) {
    if (record.code == 0 && record.unicode == 0) return false;
    add(record.code, record.unicode);
    return true;
  });
  return true;
}

template class KelMultiByteTables<MappingRecord16, 256>;
template class KelMultiByteTables<MappingRecord32, kUnicodePlanes * 256>;

}  // namespace kelulib
