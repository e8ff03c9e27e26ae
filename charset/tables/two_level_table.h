// KelTwoLevelTable: a lookup from a key to a small integer through a
// directory of page pointers (indexed by key >> 8) and pages of 256 entries
// (indexed by key & 0xFF). Absent pages are never null: they point at one
// shared, static, all-zero page, so a lookup costs two loads and no test,
// and an unmapped key reads 0 ("no mapping"). Pages are allocated, zeroed,
// on the first store into them and freed with the table.
#ifndef KELULIB_CHARSET_TABLES_TWO_LEVEL_TABLE_H_
#define KELULIB_CHARSET_TABLES_TWO_LEVEL_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <new>

namespace kelulib {

// The one all-zero page that every table of entries of this width shares.
template <typename Entry>
struct KelSharedZeroPage {
  static inline Entry page[256] = {};
};

template <typename Entry, size_t kPageCount = 256>
class KelTwoLevelTable {
 public:
  static constexpr size_t kPageSize = 256;
  static constexpr size_t kKeyLimit = kPageCount * kPageSize;

  KelTwoLevelTable() {
    for (Entry*& page : m_pages) page = zeroPage();
  }

  ~KelTwoLevelTable() {
    for (Entry* page : m_pages) {
      if (page != zeroPage()) delete[] page;
    }
  }

  KelTwoLevelTable(const KelTwoLevelTable&) = delete;
  KelTwoLevelTable& operator=(const KelTwoLevelTable&) = delete;

  // The entry of `key` (below kKeyLimit); 0 when none was stored.
  Entry get(uint32_t key) const { return m_pages[key >> 8][key & 0xFF]; }

  // Stores `value` for `key` (below kKeyLimit), replacing an earlier value.
  // Returns false, storing nothing, when a page was needed and could not be
  // allocated.
  bool set(uint32_t key, Entry value) {
    Entry*& page = m_pages[key >> 8];
    if (page == zeroPage()) {
      Entry* fresh = new (std::nothrow) Entry[kPageSize]();
      if (fresh == nullptr) return false;
      page = fresh;
    }
    page[key & 0xFF] = value;
    return true;
  }

  // The 256 entries of the keys index * 256 to index * 256 + 255 (the
  // shared zero page when none was stored).
  const Entry* page(size_t index) const { return m_pages[index]; }

  // Pages allocated so far (for memory accounting).
  size_t allocatedPages() const {
    size_t count = 0;
    for (const Entry* page : m_pages) count += page != zeroPage();
    return count;
  }

 private:
  // The shared page of absent entries; nothing ever writes to it.
  static Entry* zeroPage() { return KelSharedZeroPage<Entry>::page; }

  Entry* m_pages[kPageCount];
};

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_TWO_LEVEL_TABLE_H_
