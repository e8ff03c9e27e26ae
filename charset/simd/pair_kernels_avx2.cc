// Double-byte text to UTF-16 with AVX2, 32 bytes a block, for the
// double-byte, EUC and GB18030 converters (each describes its pairs with a
// KelPairDecoding).
//
// A double-byte text is not self-synchronising, but from a character
// boundary it can be paired without going byte by byte: a byte that is no
// lead ends a character (alone, or as the second byte of a pair), so every
// run of lead bytes starts a character, and within the run the bytes take
// turns as the first and the second byte of a pair. Which bytes start pairs
// follows from where each run starts: adding the starts of the runs that
// begin at even positions to the mask of lead bytes carries through exactly
// those runs (the technique vector JSON parsers use for runs of
// backslashes).
#include "charset/simd/text_kernels_x86.h"

#ifdef KELULIB_X86_KERNELS

#include <cstdint>
#include <cstring>

#include "charset/simd/block_store_avx2.h"
#include "charset/simd/pair_decoding.h"

namespace kelulib {
namespace x86 {
namespace {

constexpr uint64_t kEvenBits = 0x5555555555555555u;

// A byte set's nibble tables in both lanes.
struct KelByteSetVectors {
  __m256i below80;
  __m256i from80;
};

KELULIB_TARGET_AVX2 inline __m256i bothLanes(const uint8_t* sixteen) {
  return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(sixteen)));
}

KELULIB_TARGET_AVX2 inline KelByteSetVectors vectorsOf(const KelByteSet& set) {
  return {bothLanes(set.below80), bothLanes(set.from80)};
}

// The members of `set` among `bytes`, as a bit mask; `lowNibbles` are the
// bytes' low four bits and `highBits` the bit each one's high nibble
// stands for in a table row.
KELULIB_TARGET_AVX2 inline uint32_t membersOf(const KelByteSetVectors& set, __m256i bytes,
                                              __m256i lowNibbles, __m256i highBits) {
  const __m256i row = _mm256_blendv_epi8(_mm256_shuffle_epi8(set.below80, lowNibbles),
                                         _mm256_shuffle_epi8(set.from80, lowNibbles), bytes);
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_and_si256(row, highBits), highBits)));
}

// Sixteen 16-bit lanes, all ones where `bits` has its bit set.
KELULIB_TARGET_AVX2 inline __m256i lanesOf16(uint32_t bits) {
  const __m256i each = _mm256_setr_epi16(1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096,
                                         8192, 16384, static_cast<short>(0x8000));
  return _mm256_cmpeq_epi16(
      _mm256_and_si256(_mm256_set1_epi16(static_cast<short>(bits)), each), each);
}

// The units of one half block (16 positions): `first` the bytes, `second`
// the bytes one further on; pairs start where `pairStarts` has bits, and
// the positions in `lookedUp` (pairs and looked-up single bytes) take their
// units from the table, the others are their own units. (The table is read
// one unit at a time: on the processors measured, that beat vector gathers.)
//
// A pair takes two positions, so the positions, taken two by two, mostly
// hold one look-up at most: then each two-position word is looked up once,
// at its even or its odd position; otherwise every position is.
KELULIB_TARGET_AVX2 inline __m256i halfBlockUnits(__m128i first, __m128i second,
                                                  uint32_t pairStarts, uint32_t lookedUp,
                                                  __m256i codeMask, const uint16_t* unitsOfCodes) {
  const __m256i byte0 = _mm256_cvtepu8_epi16(first);
  if (lookedUp == 0) return byte0;
  const __m256i pairCodes = _mm256_and_si256(
      _mm256_or_si256(_mm256_slli_epi16(byte0, 8), _mm256_cvtepu8_epi16(second)), codeMask);
  const __m256i codes = _mm256_blendv_epi8(byte0, pairCodes, lanesOf16(pairStarts));
  const __m256i lookedUpLanes = lanesOf16(lookedUp);
  if ((lookedUp & lookedUp >> 1 & 0x5555u) == 0) {
    // The words whose look-up is at the odd position: both of their lanes.
    const uint32_t odd = lookedUp & 0xAAAAu;
    const __m256i oddWords = lanesOf16(odd | odd >> 1);
    alignas(32) uint32_t wordCodes[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(wordCodes),
                       _mm256_blendv_epi8(codes, _mm256_srli_epi32(codes, 16), oddWords));
    alignas(32) uint32_t wordUnits[8];
#if defined(__clang__)
#pragma clang loop unroll(full)
#elif defined(__GNUC__)
#pragma GCC unroll 8
#endif
    for (unsigned i = 0; i < 8; ++i) wordUnits[i] = unitsOfCodes[wordCodes[i] & 0xFFFF];
    const __m256i units = _mm256_load_si256(reinterpret_cast<const __m256i*>(wordUnits));
    return _mm256_blendv_epi8(
        byte0, _mm256_blendv_epi8(units, _mm256_slli_epi32(units, 16), oddWords), lookedUpLanes);
  }
  alignas(32) uint16_t positionCodes[16];
  _mm256_store_si256(reinterpret_cast<__m256i*>(positionCodes), codes);
  alignas(32) uint16_t units[16];
#if defined(__clang__)
#pragma clang loop unroll(full)
#elif defined(__GNUC__)
#pragma GCC unroll 16
#endif
  for (unsigned i = 0; i < 16; ++i) units[i] = unitsOfCodes[positionCodes[i]];
  return _mm256_blendv_epi8(byte0, _mm256_load_si256(reinterpret_cast<const __m256i*>(units)),
                            lookedUpLanes);
}

// One bit per position (32) where the units of the two halves are 0.
KELULIB_TARGET_AVX2 inline uint32_t zeroUnits(__m256i low, __m256i high) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i packed = _mm256_permute4x64_epi64(
      _mm256_packs_epi16(_mm256_cmpeq_epi16(low, zero), _mm256_cmpeq_epi16(high, zero)), 0xD8);
  return static_cast<uint32_t>(_mm256_movemask_epi8(packed));
}

// The bytes a block reads: its 32 and the one after them (the second byte
// of a pair that starts in its last position is read, but such a pair is
// left to the next block).
constexpr size_t kPairBlockReads = 33;

}  // namespace

KELULIB_TARGET_AVX2
KelKernelRun pairsToUtf16Avx2(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                              const KelPairDecoding& decoding, wchar16* out) {
  const KelByteSetVectors leadSet = vectorsOf(decoding.leads);
  const KelByteSetVectors trailSet = vectorsOf(decoding.trails);
  const __m256i codeMask = _mm256_set1_epi16(static_cast<short>(decoding.codeMask));
  const __m256i lastAscii = _mm256_set1_epi8(static_cast<char>(decoding.asciiEnd - 1));
  const __m256i low4 = _mm256_set1_epi8(0x0F);
  const __m256i bitOfNibble = _mm256_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32,
                                               64, -128, 1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4,
                                               8, 16, 32, 64, -128);
  const uint32_t lookedUpSingles = decoding.singlesLookedUp ? 0xFFFFFFFFu : 0;
  size_t read = 0;
  size_t written = 0;
  KelOverrun overrun;
  auto outBytes = [&out](size_t units) { return reinterpret_cast<unsigned char*>(out + units); };
  while (count - read >= kPairBlockReads) {
    const unsigned char* at = in + read;
    const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    // Bytes from asciiEnd on (signed: 0x80 and up are negative).
    const auto high = static_cast<uint32_t>(
        _mm256_movemask_epi8(_mm256_or_si256(block, _mm256_cmpgt_epi8(block, lastAscii))));
    if (high == 0) {
      // All their own units: 64 bytes a round while they are.
      widen32(at, out + written);
      read += 32;
      written += 32;
      overrun.covered();
      while (count - read >= 64) {
        const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read));
        const __m256i second =
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read + 32));
        const __m256i both = _mm256_or_si256(first, second);
        if (_mm256_movemask_epi8(_mm256_or_si256(both, _mm256_cmpgt_epi8(
                                                           _mm256_max_epu8(first, second),
                                                           lastAscii))) != 0) {
          break;
        }
        widen32(in + read, out + written);
        widen32(in + read + 32, out + written + 32);
        read += 64;
        written += 64;
      }
      continue;
    }
    const __m256i lowNibbles = _mm256_and_si256(block, low4);
    const __m256i highBits =
        _mm256_shuffle_epi8(bitOfNibble, _mm256_and_si256(_mm256_srli_epi16(block, 4), low4));
    const uint64_t leads = membersOf(leadSet, block, lowNibbles, highBits);
    const uint32_t trails = membersOf(trailSet, block, lowNibbles, highBits);
    // Runs of lead bytes, and which of their bytes start pairs: those an
    // even distance from the run's start.
    const uint64_t runStarts = leads & ~(leads << 1);
    const uint64_t fromEvenStart = leads & ~(leads + (runStarts & kEvenBits));
    const auto pairStarts =
        static_cast<uint32_t>((fromEvenStart & kEvenBits) | (leads & ~fromEvenStart & ~kEvenBits));
    const uint32_t singles = ~static_cast<uint32_t>(leads) & ~(pairStarts << 1);
    const uint32_t starts = pairStarts | singles;
    // A pair in the last position ends in the next block, which starts
    // with it.
    const uint32_t pairAtEnd = pairStarts & 0x80000000u;
    const uint32_t lookedUp = pairStarts | (singles & high & lookedUpSingles);
    const __m256i next = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 1));
    const __m256i lowUnits =
        halfBlockUnits(_mm256_castsi256_si128(block), _mm256_castsi256_si128(next),
                       pairStarts & 0xFFFF, lookedUp & 0xFFFF, codeMask, unitsOfCodes);
    const __m256i highUnits =
        halfBlockUnits(_mm256_extracti128_si256(block, 1), _mm256_extracti128_si256(next, 1),
                       pairStarts >> 16, lookedUp >> 16, codeMask, unitsOfCodes);
    // The run stops at a lead byte without a trail byte after it, at a
    // byte of its own that is not looked up, and at an unmapped code.
    const uint32_t stops = (pairStarts & ~(trails >> 1) & ~pairAtEnd) |
                           (singles & high & ~lookedUpSingles) |
                           (zeroUnits(lowUnits, highUnits) & lookedUp & ~pairAtEnd);
    // A whole block moves on by a length its classification gives, so
    // that the next block's loads need not wait for this one's look-ups.
    const unsigned advance = pairAtEnd != 0 ? 31 : 32;
    if (stops != 0 || count - read - advance < kPairBlockReads) {
      // The run's last block: up to its stop, exactly.
      const unsigned run = stops != 0 ? static_cast<unsigned>(__builtin_ctz(stops)) : advance;
      if (run == 0) break;
      const uint32_t kept = starts & lowBits32(run);
      alignas(32) wchar16 scratch[48];
      unsigned stored = storeStartedUnits(lowUnits, kept & 0xFFFF, scratch);
      stored += storeStartedUnits(highUnits, kept >> 16, scratch + stored);
      std::memcpy(out + written, scratch, stored * sizeof(wchar16));
      written += stored;
      overrun.restoreFrom(outBytes(written));
      return {read + run, written};
    }
    // Stored in place (the block has sixteen characters or more: at most
    // two bytes each); what the buffer held past them is kept first.
    const uint32_t kept = starts & lowBits32(advance);
    overrun.keepBefore(outBytes(written + static_cast<unsigned>(__builtin_popcount(kept))));
    unsigned stored = storeStartedUnits(lowUnits, kept & 0xFFFF, out + written);
    stored += storeStartedUnits(highUnits, kept >> 16, out + written + stored);
    read += advance;
    written += stored;
  }
  overrun.restoreFrom(outBytes(written));
  return {read, written};
}

}  // namespace x86
}  // namespace kelulib

#endif  // KELULIB_X86_KERNELS
