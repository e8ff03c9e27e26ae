#include "charset/simd/byte_table_blocks.h"

#include <cstdint>
#include <cstring>

namespace kelulib {
namespace {

constexpr size_t kBlock = 8;

// True when one of the four units in `units` is zero.
inline bool hasZeroUnit(uint64_t units) {
  return ((units - 0x0001000100010001u) & ~units & 0x8000800080008000u) != 0;
}

}  // namespace

size_t mapBytesToUnitsInBlocks(const unsigned char* in, size_t count, const wchar16* table,
                               wchar16* out) {
  size_t done = 0;
  for (; done + 4 <= count; done += 4) {
    uint32_t bytes;
    std::memcpy(&bytes, in + done, sizeof bytes);
    const uint64_t units =
        uint64_t{table[bytes & 0xFF]} | uint64_t{table[bytes >> 8 & 0xFF]} << 16 |
        uint64_t{table[bytes >> 16 & 0xFF]} << 32 | uint64_t{table[bytes >> 24]} << 48;
    if (hasZeroUnit(units)) break;  // an unmapped byte
    std::memcpy(out + done, &units, sizeof units);
  }
  for (; done < count && table[in[done]] != 0; ++done) out[done] = table[in[done]];
  return done;
}

size_t mapLowUnitsToBytesInBlocks(const wchar16* in, size_t count, const unsigned char* table,
                                  unsigned char* out) {
  size_t done = 0;
  for (; done + kBlock <= count; done += kBlock) {
    unsigned char bytes[kBlock];
    bool unmapped = false;
    for (size_t k = 0; k < kBlock; ++k) {
      const wchar16 unit = in[done + k];
      bytes[k] = table[unit & 0xFF];
      unmapped |= unit >= 0x100 || bytes[k] == 0;
    }
    if (unmapped) break;
    std::memcpy(out + done, bytes, sizeof bytes);
  }
  for (; done < count && in[done] < 0x100 && table[in[done]] != 0; ++done) {
    out[done] = table[in[done]];
  }
  return done;
}

}  // namespace kelulib
