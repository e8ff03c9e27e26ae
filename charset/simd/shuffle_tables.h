// Byte-shuffle tables for the AVX2 kernels, which have no compress
// instruction: each entry is a 16-byte shuffle (for a 128-bit byte
// shuffle) that moves the pieces a mask selects to the front, in order, and
// fills the rest with zeros. Built at compile time.
#ifndef KELULIB_CHARSET_SIMD_SHUFFLE_TABLES_H_
#define KELULIB_CHARSET_SIMD_SHUFFLE_TABLES_H_

#include <cstdint>

namespace kelulib {

struct KelShuffleTable {
  alignas(16) uint8_t entry[256][16];
};

// A shuffle index that writes zero.
constexpr uint8_t kShuffleZero = 0x80;

// Entry m keeps the 16-bit units i (0-7) whose bit i of m is set.
constexpr KelShuffleTable makeUnitCompressTable() {
  KelShuffleTable table{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    unsigned kept = 0;
    for (unsigned unit = 0; unit < 8; ++unit) {
      if ((mask >> unit & 1) == 0) continue;
      table.entry[mask][2 * kept] = static_cast<uint8_t>(2 * unit);
      table.entry[mask][2 * kept + 1] = static_cast<uint8_t>(2 * unit + 1);
      ++kept;
    }
    for (unsigned byte = 2 * kept; byte < 16; ++byte) table.entry[mask][byte] = kShuffleZero;
  }
  return table;
}

// For eight 16-bit lanes that each hold a UTF-8 sequence of one byte (the
// low one) or two (lead high, trail low): entry m keeps the single byte of
// the lanes whose bit is set in m and the lead and trail of the others,
// where bits 0, 2, 4 and 6 of m stand for lanes 0 to 3 and bits 1, 3, 5 and
// 7 for lanes 4 to 7 (the order in which the kernel gathers them).
constexpr KelShuffleTable makeOneOrTwoBytesTable() {
  KelShuffleTable table{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    unsigned kept = 0;
    for (unsigned lane = 0; lane < 8; ++lane) {
      const unsigned bit = lane < 4 ? 2 * lane : 2 * (lane - 4) + 1;
      if ((mask >> bit & 1) == 0) table.entry[mask][kept++] = static_cast<uint8_t>(2 * lane + 1);
      table.entry[mask][kept++] = static_cast<uint8_t>(2 * lane);
    }
    for (unsigned byte = kept; byte < 16; ++byte) table.entry[mask][byte] = kShuffleZero;
  }
  return table;
}

// For four 32-bit lanes that each hold a UTF-8 sequence of one to three
// bytes laid out as [single byte, last byte, lead of three, lead of two or
// second of three]: entry m keeps lane i's bytes in order, where bit 2i of
// m is set for a single byte and bit 2i + 1 for a sequence of one or two:
// [0] for one byte, [3, 1] for two, [2, 3, 1] for three; a lane with bit 2i
// set and bit 2i + 1 clear (no unit gives that) is left out.
constexpr KelShuffleTable makeOneToThreeBytesTable() {
  KelShuffleTable table{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    unsigned kept = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
      const bool one = (mask >> (2 * lane) & 1) != 0;
      const bool upToTwo = (mask >> (2 * lane + 1) & 1) != 0;
      const uint8_t base = static_cast<uint8_t>(4 * lane);
      if (one && !upToTwo) continue;
      if (one) {
        table.entry[mask][kept++] = base;
      } else if (upToTwo) {
        table.entry[mask][kept++] = static_cast<uint8_t>(base + 3);
        table.entry[mask][kept++] = static_cast<uint8_t>(base + 1);
      } else {
        table.entry[mask][kept++] = static_cast<uint8_t>(base + 2);
        table.entry[mask][kept++] = static_cast<uint8_t>(base + 3);
        table.entry[mask][kept++] = static_cast<uint8_t>(base + 1);
      }
    }
    for (unsigned byte = kept; byte < 16; ++byte) table.entry[mask][byte] = kShuffleZero;
  }
  return table;
}

// The bytes entry m of makeOneToThreeBytesTable keeps.
struct KelShuffleLengths {
  uint8_t length[256];
};

constexpr KelShuffleLengths makeOneToThreeLengths() {
  KelShuffleLengths lengths{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    unsigned total = 0;
    for (unsigned lane = 0; lane < 4; ++lane) {
      const bool one = (mask >> (2 * lane) & 1) != 0;
      const bool upToTwo = (mask >> (2 * lane + 1) & 1) != 0;
      total += one ? (upToTwo ? 1 : 0) : (upToTwo ? 2 : 3);
    }
    lengths.length[mask] = static_cast<uint8_t>(total);
  }
  return lengths;
}

inline constexpr KelShuffleTable kUnitCompress = makeUnitCompressTable();
inline constexpr KelShuffleTable kOneOrTwoBytes = makeOneOrTwoBytesTable();
inline constexpr KelShuffleTable kOneToThreeBytes = makeOneToThreeBytesTable();
inline constexpr KelShuffleLengths kOneToThreeLengths = makeOneToThreeLengths();

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_SHUFFLE_TABLES_H_
