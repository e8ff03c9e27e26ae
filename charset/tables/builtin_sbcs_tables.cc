#include "charset/tables/builtin_sbcs_tables.h"

#include <array>
#include <cstddef>

namespace kelulib {
namespace {

using ByteTable = std::array<wchar16, 256>;

constexpr ByteTable identityTable() {
  ByteTable table{};
  for (std::size_t b = 0; b < table.size(); ++b) table[b] = static_cast<wchar16>(b);
  return table;
}

// Windows-1252 bytes 0x80-0x9F; 0 where the code page leaves a byte unmapped.
constexpr wchar16 kWindows1252C1Row[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,       // 88-8F
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,  // 98-9F
};

constexpr ByteTable windows1252Table() {
  ByteTable table = identityTable();
  for (std::size_t i = 0; i < 32; ++i) table[0x80 + i] = kWindows1252C1Row[i];
  return table;
}

constexpr ByteTable kIso88591Table = identityTable();
constexpr ByteTable kWindows1252Table = windows1252Table();

}  // namespace

const wchar16* const kIso88591ToUnicode = kIso88591Table.data();
const wchar16* const kWindows1252ToUnicode = kWindows1252Table.data();

}  // namespace kelulib
