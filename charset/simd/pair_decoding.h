// How a double-byte text pairs its bytes, for the block kernel that reads
// such text (pairsToUtf16 in text_kernels.h): which bytes start a pair and
// which may end one, how a pair is looked up, and what a byte on its own
// is. A converter describes its own encoding with one of these.
#ifndef KELULIB_CHARSET_SIMD_PAIR_DECODING_H_
#define KELULIB_CHARSET_SIMD_PAIR_DECODING_H_

#include <cstdint>

namespace kelulib {

// A set of byte values as two 16-entry nibble tables: byte b is in the set
// when bit (b >> 4) & 7 of entry b & 0xF is set, in `below80` for b below
// 0x80 and in `from80` for the others (the form a byte shuffle looks up).
struct KelByteSet {
  alignas(16) uint8_t below80[16];
  alignas(16) uint8_t from80[16];
};

// The set of the bytes for which in(b) is true.
template <typename In>
constexpr KelByteSet makeByteSet(In in) {
  KelByteSet set{};
  for (unsigned b = 0; b < 256; ++b) {
    if (!in(b)) continue;
    uint8_t* row = b < 0x80 ? set.below80 : set.from80;
    row[b & 0xF] = static_cast<uint8_t>(row[b & 0xF] | 1u << (b >> 4 & 7));
  }
  return set;
}

struct KelPairDecoding {
  // Bytes that start a pair, and bytes that may end one. A lead byte that
  // starts a character and is not followed by a trail byte ends the run.
  KelByteSet leads;
  KelByteSet trails;
  // A pair's code is (lead << 8 | trail) & codeMask.
  uint16_t codeMask;
  // Bytes below asciiEnd (0x7F or 0x80; 0 for none) that start a character
  // are their own units. A byte from asciiEnd on that starts a character
  // and no pair is looked up as its own code when singlesLookedUp is true;
  // otherwise it ends the run.
  unsigned char asciiEnd;
  bool singlesLookedUp;
};

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_PAIR_DECODING_H_
