// Heap blocks for the text of long strings.
#ifndef KELULIB_USTRING_UNIT_BLOCKS_H_
#define KELULIB_USTRING_UNIT_BLOCKS_H_

#include <cstddef>
#include <cstdint>
#include <new>

#include "charset/charset_id.h"

namespace kelulib {

// A block for `capacity` units plus the terminator: 2 * (capacity + 1)
// bytes. A byte count that does not fit a size_t is asked for as SIZE_MAX,
// so the allocator fails with std::bad_alloc instead of returning a short
// block.
inline wchar16* allocateUnitBlock(size_t capacity) {
  const size_t bytes = capacity >= SIZE_MAX / sizeof(wchar16) ? SIZE_MAX
                                                              : (capacity + 1) * sizeof(wchar16);
  return static_cast<wchar16*>(::operator new[](bytes));
}

inline void freeUnitBlock(wchar16* block) { ::operator delete[](block); }

}  // namespace kelulib

#endif  // KELULIB_USTRING_UNIT_BLOCKS_H_
