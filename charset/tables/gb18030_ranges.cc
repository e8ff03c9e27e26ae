#include "charset/tables/gb18030_ranges.h"

#include <new>

namespace kelulib {
namespace {

bool isEnd(const gb18030TableData& record) {
  return record.first == 0 && record.last == 0 && record.target == 0;
}

}  // namespace

const gb18030TableData** buildRangeIndex(const gb18030TableData* table, KelRangeIndexShape shape) {
  auto** index = new (std::nothrow) const gb18030TableData*[shape.entries];
  if (index == nullptr) return nullptr;
  const gb18030TableData* next = table + 1;
  for (size_t i = 0; i < shape.entries; ++i) {
    const uint32_t key = shape.firstKey + static_cast<uint32_t>(i) * shape.keyStep;
    while (!isEnd(*next) && next->first < key) ++next;
    index[i] = next - 1;
  }
  return index;
}

const gb18030TableData* rangeSearchStart(const gb18030TableData* const* index,
                                         KelRangeIndexShape shape, const gb18030TableData* table,
                                         uint32_t key) {
  if (index == nullptr) return table + kGb18030RangeRecords - 1;
  if (key < shape.firstKey) return table;
  const size_t entry = (key - shape.firstKey) / shape.keyStep;
  return index[entry < shape.entries ? entry : shape.entries - 1];
}

uint32_t mapThroughRanges(const gb18030TableData* start, uint32_t key) {
  for (const gb18030TableData* range = start; !isEnd(*range); ++range) {
    if (key <= range->last) return key < range->first ? 0 : range->target + (key - range->first);
  }
  return 0;
}

}  // namespace kelulib
