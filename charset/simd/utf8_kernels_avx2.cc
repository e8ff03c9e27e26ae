// UTF-8 <-> UTF-16 with AVX2 (32 bytes a block), for processors without
// the AVX-512 kernels. AVX2 has no compress instruction: the pieces a block
// keeps are moved together eight units (or sixteen bytes) at a time with a
// byte shuffle from a table (shuffle_tables.h), and stored whole (see
// block_store_avx2.h for how the bytes past the output are kept intact).
#include "charset/simd/text_kernels_x86.h"

#ifdef KELULIB_X86_KERNELS

#include <cstdint>
#include <cstring>

#include "charset/simd/block_store_avx2.h"

namespace kelulib {
namespace x86 {
namespace {

// --- UTF-8 to UTF-16 ---------------------------------------------------------

// Where the 32 bytes of a block start sequences, as bit masks.
struct KelUtf8Classes32 {
  uint32_t nonAscii;
  uint32_t continuation;  // 0x80-0xBF
  uint32_t lead2;         // 0xC0-0xDF
  uint32_t lead3;         // 0xE0-0xEF
  uint32_t lead4;         // 0xF0-0xFF
};

// Signed byte comparisons: 0x80-0xBF are -128..-65, 0xC0-0xDF -64..-33,
// 0xE0-0xEF -32..-17, 0xF0-0xFF -16..-1.
KELULIB_TARGET_AVX2 inline uint32_t continuationsOf(__m256i bytes) {
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpgt_epi8(_mm256_set1_epi8(-64), bytes)));
}

KELULIB_TARGET_AVX2 inline KelUtf8Classes32 utf8Classes(__m256i bytes) {
  const auto nonAscii = static_cast<uint32_t>(_mm256_movemask_epi8(bytes));
  const uint32_t continuation = continuationsOf(bytes);
  const uint32_t fromLead3 =
      static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpgt_epi8(bytes, _mm256_set1_epi8(-33)))) &
      nonAscii;
  const uint32_t fromLead4 =
      static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpgt_epi8(bytes, _mm256_set1_epi8(-17)))) &
      nonAscii;
  return {nonAscii, continuation, nonAscii & ~continuation & ~fromLead3, fromLead3 & ~fromLead4,
          fromLead4};
}

// The value every position of one half block (16 bytes, `first`, with the
// bytes one and two further on in `second` and `third`) would have if a
// sequence started there: the byte itself, or the value of the two- or
// three-byte sequence its lead starts (low 16 bits, no range checks).
KELULIB_TARGET_AVX2 inline __m256i utf8Values(__m128i first, __m128i second, __m128i third,
                                              bool threeBytes) {
  const __m256i byte0 = _mm256_cvtepu8_epi16(first);
  const __m256i low6 = _mm256_set1_epi16(0x3F);
  const __m256i byte1 = _mm256_and_si256(_mm256_cvtepu8_epi16(second), low6);
  const __m256i two = _mm256_or_si256(
      _mm256_slli_epi16(_mm256_and_si256(byte0, _mm256_set1_epi16(0x1F)), 6), byte1);
  __m256i value =
      _mm256_blendv_epi8(byte0, two, _mm256_cmpgt_epi16(byte0, _mm256_set1_epi16(0xBF)));
  if (threeBytes) {
    const __m256i byte2 = _mm256_and_si256(_mm256_cvtepu8_epi16(third), low6);
    const __m256i three = _mm256_or_si256(
        _mm256_or_si256(_mm256_slli_epi16(byte0, 12), _mm256_slli_epi16(byte1, 6)), byte2);
    value = _mm256_blendv_epi8(value, three, _mm256_cmpgt_epi16(byte0, _mm256_set1_epi16(0xDF)));
  }
  return value;
}

// The bytes a block may read: its 32 and the two after them, where the
// sequences that start in its last two positions end.
constexpr size_t kUtf8BlockReads = 34;

}  // namespace

// Each position of a block is decoded as if a sequence started there, and
// the units of the positions that do start one are moved together. The run
// stops at a stray continuation byte, at a lead byte whose continuations
// are missing, and at a four-byte lead; the sequences that start in a
// block's last positions end in the next one, which then starts after them.
KELULIB_TARGET_AVX2
KelKernelRun utf8ToUtf16Avx2(const unsigned char* in, size_t count, wchar16* out) {
  size_t read = 0;
  size_t written = 0;
  KelOverrun overrun;
  auto outBytes = [&out](size_t units) { return reinterpret_cast<unsigned char*>(out + units); };
  while (count - read >= kUtf8BlockReads) {
    // ASCII, 64 bytes a round.
    if (count - read >= 64) {
      const size_t before = read;
      do {
        const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read));
        const __m256i second =
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read + 32));
        if (_mm256_movemask_epi8(_mm256_or_si256(first, second)) != 0) break;
        wchar16* to = out + written;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                            _mm256_cvtepu8_epi16(_mm256_castsi256_si128(first)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 16),
                            _mm256_cvtepu8_epi16(_mm256_extracti128_si256(first, 1)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 32),
                            _mm256_cvtepu8_epi16(_mm256_castsi256_si128(second)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + 48),
                            _mm256_cvtepu8_epi16(_mm256_extracti128_si256(second, 1)));
        read += 64;
        written += 64;
      } while (count - read >= 64);
      if (read != before) {
        overrun.covered();
        if (count - read < kUtf8BlockReads) break;
      }
    }
    const unsigned char* at = in + read;
    const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    const KelUtf8Classes32 classes = utf8Classes(block);
    if (classes.nonAscii == 0) {
      widen32(at, out + written);
      read += 32;
      written += 32;
      overrun.covered();
      continue;
    }
    const __m256i next = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 1));
    const __m256i afterNext = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 2));
    // Continuation flags of positions 32 and 33 (the last two of afterNext).
    const uint64_t continuation =
        classes.continuation | uint64_t{continuationsOf(afterNext) >> 30} << 32;
    const uint64_t leads = uint64_t{classes.lead2} | classes.lead3;
    const uint64_t expected = leads << 1 | uint64_t{classes.lead3} << 2;
    const uint64_t missing = expected & ~continuation;
    const uint64_t cutShort = (missing >> 1 & leads) | (missing >> 2 & classes.lead3);
    const uint64_t stops = classes.lead4 | (classes.continuation & ~expected) | cutShort;
    const unsigned run = stops != 0 ? static_cast<unsigned>(__builtin_ctzll(stops)) : 32;
    if (run == 0) break;
    const uint32_t starts = ~classes.continuation & lowBits32(run);
    const auto units = static_cast<unsigned>(__builtin_popcount(starts));
    // Sequences that start before a stop end at it; those of a whole block
    // may end one or two bytes after it.
    const size_t end =
        run < 32 ? run : 32 + static_cast<size_t>(__builtin_popcountll(expected >> 32 & 3));
    const bool last = run < 32 || count - read - end < kUtf8BlockReads || units < 8;
    const bool threeBytes = classes.lead3 != 0;
    // The last block of a run goes through scratch space and is copied
    // exactly; the others are stored in place.
    alignas(32) wchar16 scratch[48];
    wchar16* target = last ? scratch : out + written;
    if (!last) overrun.keepBefore(outBytes(written + units));
    const __m256i lowValues =
        utf8Values(_mm256_castsi256_si128(block), _mm256_castsi256_si128(next),
                   _mm256_castsi256_si128(afterNext), threeBytes);
    unsigned stored = storeStartedUnits(lowValues, starts & 0xFFFF, target);
    if (run > 16) {
      const __m256i highValues = utf8Values(
          _mm256_extracti128_si256(block, 1), _mm256_extracti128_si256(next, 1),
          _mm256_extracti128_si256(afterNext, 1), threeBytes);
      stored += storeStartedUnits(highValues, starts >> 16, target + stored);
    }
    read += end;
    if (last) {
      std::memcpy(out + written, scratch, stored * sizeof(wchar16));
      written += stored;
      overrun.restoreFrom(outBytes(written));
      return {read, written};
    }
    written += stored;
  }
  overrun.restoreFrom(outBytes(written));
  return {read, written};
}

// --- UTF-16 to UTF-8 ---------------------------------------------------------

namespace {

// The bytes one block of sixteen units may take in place: its output (48 at
// most) and the whole-register stores past it.
constexpr size_t kUtf16BlockRoom = 64;
// The most a block of sixteen units writes.
constexpr size_t kUtf16BlockBytes = 48;

// The constants of the UTF-16 to UTF-8 kernel.
struct KelEncodeConstants {
  __m256i beyondAscii;
  __m256i beyondTwo;
  __m256i surrogate;
  __m256i bits1F00;
  __m256i bits003F;
  __m256i bitsC080;
  __m256i lowByteTwice;
  __m256i bits3F7F;
  __m256i bits8000;
  __m256i bits0FFC;
  __m256i bits0140;
  __m256i bitsC0E0;
  __m256i bits4000;

  KELULIB_TARGET_AVX2 KelEncodeConstants()
      : beyondAscii(held(_mm256_set1_epi16(static_cast<short>(0xFF80)))),
        beyondTwo(held(_mm256_set1_epi16(static_cast<short>(0xF800)))),
        surrogate(held(_mm256_set1_epi16(static_cast<short>(0xD800)))),
        bits1F00(held(_mm256_set1_epi16(0x1F00))),
        bits003F(held(_mm256_set1_epi16(0x003F))),
        bitsC080(held(_mm256_set1_epi16(static_cast<short>(0xC080)))),
        lowByteTwice(held(_mm256_setr_epi8(0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14, 14,
                                           0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14,
                                           14))),
        bits3F7F(held(_mm256_set1_epi16(0x3F7F))),
        bits8000(held(_mm256_set1_epi16(static_cast<short>(0x8000)))),
        bits0FFC(held(_mm256_set1_epi16(0x0FFC))),
        bits0140(held(_mm256_set1_epi16(0x0140))),
        bitsC0E0(held(_mm256_set1_epi16(static_cast<short>(0xC0E0)))),
        bits4000(held(_mm256_set1_epi16(0x4000))) {}
};

// Units below 0x800 (masks: `oneByte` of the units below 0x80, as the
// comparison left it, and its bits): one or two bytes each, built in their
// 16-bit lanes and moved together eight lanes at a time. Writes two groups
// whole at `target`; returns the bytes.
KELULIB_TARGET_AVX2 inline unsigned storeOneOrTwoByteUnits(const KelEncodeConstants& k,
                                                           __m256i units, __m256i oneByte,
                                                           uint32_t oneByteMask,
                                                           unsigned char* target) {
  // [00000aaa aabbbbbb] -> [110aaaaa 10bbbbbb] (lead high, trail low).
  const __m256i lead = _mm256_and_si256(_mm256_slli_epi16(units, 2), k.bits1F00);
  const __m256i trail = _mm256_and_si256(units, k.bits003F);
  const __m256i two = _mm256_or_si256(_mm256_or_si256(lead, trail), k.bitsC080);
  const __m256i bytes = _mm256_blendv_epi8(two, units, oneByte);
  // One bit per unit, lanes 0-3 on the even bits, 4-7 on the odd ones.
  const uint32_t even = oneByteMask & 0x55555555u;
  const uint32_t groups = (even >> 7 | even) & 0x00FF00FFu;
  const unsigned low = groups & 0xFF;
  const unsigned high = groups >> 16;
  const __m256i packed = _mm256_shuffle_epi8(bytes, loadShuffles(kOneOrTwoBytes, low, high));
  const unsigned lowLength = 16 - static_cast<unsigned>(__builtin_popcount(low));
  store16(target, _mm256_castsi256_si128(packed));
  store16(target + lowLength, _mm256_extracti128_si256(packed, 1));
  return lowLength + 16 - static_cast<unsigned>(__builtin_popcount(high));
}

// Units that are not surrogates (`upToTwo`: the comparison of the units
// below 0x800): one to three bytes each, built in 32-bit lanes as [single
// byte, last byte, lead of three, lead of two or second of three] and moved
// together four lanes at a time (`lengths`: bit 2i set for a single byte,
// bit 2i + 1 for a sequence of one or two; bit 2i alone leaves the lane
// out). Writes four groups whole; returns the bytes.
KELULIB_TARGET_AVX2 inline unsigned storeOneToThreeByteUnits(const KelEncodeConstants& k,
                                                         __m256i units, __m256i upToTwo,
                                                         uint32_t lengths, unsigned char* target) {
  // Low byte: the single byte (0bcccccc); high byte: the last (10cccccc).
  const __m256i last = _mm256_or_si256(
      _mm256_and_si256(_mm256_shuffle_epi8(units, k.lowByteTwice), k.bits3F7F), k.bits8000);
  // [aaaabbbb bbcccccc] -> low byte 1110aaaa, high byte 11bbbbbb, whose
  // second bit is cleared for three bytes (10bbbbbb); for two, 110bbbbb.
  const __m256i shifted = _mm256_and_si256(_mm256_srli_epi16(units, 4), k.bits0FFC);
  const __m256i leads = _mm256_or_si256(_mm256_maddubs_epi16(shifted, k.bits0140), k.bitsC0E0);
  const __m256i middle = _mm256_xor_si256(leads, _mm256_andnot_si256(upToTwo, k.bits4000));
  // Units 0-3 and 8-11 in `first`, 4-7 and 12-15 in `second`.
  const __m256i first = _mm256_unpacklo_epi16(last, middle);
  const __m256i second = _mm256_unpackhi_epi16(last, middle);
  const __m256i firstPacked = _mm256_shuffle_epi8(
      first, loadShuffles(kOneToThreeBytes, lengths & 0xFF, lengths >> 16 & 0xFF));
  const __m256i secondPacked = _mm256_shuffle_epi8(
      second, loadShuffles(kOneToThreeBytes, lengths >> 8 & 0xFF, lengths >> 24));
  unsigned char* at = target;
  store16(at, _mm256_castsi256_si128(firstPacked));
  at += kOneToThreeLengths.length[lengths & 0xFF];
  store16(at, _mm256_castsi256_si128(secondPacked));
  at += kOneToThreeLengths.length[lengths >> 8 & 0xFF];
  store16(at, _mm256_extracti128_si256(firstPacked, 1));
  at += kOneToThreeLengths.length[lengths >> 16 & 0xFF];
  store16(at, _mm256_extracti128_si256(secondPacked, 1));
  at += kOneToThreeLengths.length[lengths >> 24];
  return static_cast<unsigned>(at - target);
}

// An aligned block of 32 bytes, read whether or not all of it is the text's:
// such a block never crosses a page boundary, so the bytes past the
// terminator (or before the text) are harmless to read, as the C library's
// string functions read them. The read is hidden from the sanitizers; the
// caller uses only the lanes that are the text's.
KELULIB_TARGET_AVX2 inline __m256i loadAlignedBlock(uintptr_t block) {
  __m256i value;
  __asm__("vmovdqa %1, %0" : "=x"(value) : "m"(*reinterpret_cast<const __m256i*>(block)));
  return value;
}

// Bit masks (two bits per lane, as movemask gives them) of lanes [first,
// stop) of a block.
inline uint32_t laneBits(unsigned first, unsigned stop) {
  return lowBits32(2 * stop) & ~lowBits32(2 * first);
}

// Lanes [first, stop) of a block, exactly (through scratch space): nothing
// past their bytes is written. Returns the bytes.
KELULIB_TARGET_AVX2 inline size_t storeLanesExactly(const KelEncodeConstants& k, __m256i units,
                                                    unsigned first, unsigned stop,
                                                    unsigned char* out) {
  if (stop <= first) return 0;
  const __m256i zero = _mm256_setzero_si256();
  const __m256i oneByte = _mm256_cmpeq_epi16(_mm256_and_si256(units, k.beyondAscii), zero);
  const __m256i upToTwo = _mm256_cmpeq_epi16(_mm256_and_si256(units, k.beyondTwo), zero);
  // Lanes that are not to be written get the code that leaves them out.
  const uint32_t kept = laneBits(first, stop);
  const uint32_t lengths =
      (((static_cast<uint32_t>(_mm256_movemask_epi8(oneByte)) & 0x55555555u) |
        (static_cast<uint32_t>(_mm256_movemask_epi8(upToTwo)) & 0xAAAAAAAAu)) &
       kept) |
      (0x55555555u & ~kept);
  alignas(32) unsigned char scratch[kUtf16BlockRoom];
  const unsigned length = storeOneToThreeByteUnits(k, units, upToTwo, lengths, scratch);
  std::memcpy(out, scratch, length);
  return length;
}

KELULIB_TARGET_AVX2 inline uint32_t zeroUnitsOf(__m256i units) {
  return static_cast<uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpeq_epi16(units, _mm256_setzero_si256())));
}

KELULIB_TARGET_AVX2 inline uint32_t surrogatesOf(const KelEncodeConstants& k, __m256i units) {
  return static_cast<uint32_t>(_mm256_movemask_epi8(
      _mm256_cmpeq_epi16(_mm256_and_si256(units, k.beyondTwo), k.surrogate)));
}

// The first lane from `first` on that holds a zero unit (`zeros`: their
// mask) or a surrogate, or is not below `inWindow`; 16 for none.
KELULIB_TARGET_AVX2 inline unsigned stopLane(const KelEncodeConstants& k, __m256i units,
                                             unsigned first, unsigned inWindow, uint32_t zeros) {
  const uint32_t stops =
      ((zeros | surrogatesOf(k, units)) & laneBits(first, inWindow)) | ~lowBits32(2 * inWindow);
  return stops != 0 ? static_cast<unsigned>(__builtin_ctz(stops)) / 2 : 16;
}

// A block the text or the window does not fill, or one with a stop (the
// block at `block`, the window ending at `end`): lanes [first, ...) up to
// the first zero unit (`zeros`), surrogate or the window's end, written
// exactly; the bytes past them are put back. Returns the lane it stopped at.
KELULIB_TARGET_AVX2 inline unsigned writeUpToStop(const KelEncodeConstants& k, __m256i units,
                                                  unsigned first, uint32_t zeros, uintptr_t block,
                                                  uintptr_t end, unsigned char* out,
                                                  size_t& written, KelOverrun& overrun) {
  const unsigned inWindow = end - block >= 32 ? 16 : static_cast<unsigned>(end - block) / 2;
  const unsigned stop = stopLane(k, units, first, inWindow, zeros);
  written += storeLanesExactly(k, units, first, stop, out + written);
  overrun.restoreFrom(out + written);
  return stop;
}

}  // namespace

// Aligned blocks of sixteen units, from the one that holds `in` on; the
// terminator is found in the blocks themselves. A block wholly within the
// text and the window: ASCII narrowed directly (32 units at a time when they
// are), units below 0x800 as one or two bytes built in 16-bit lanes, others
// as one to three in 32-bit lanes; the first block (when `in` is not
// aligned) and a block with a zero unit, a surrogate or the window's end
// are written exactly, up to that stop.
KELULIB_TARGET_AVX2
KelKernelRun utf16ToUtf8UpToZeroAvx2(const wchar16* in, size_t window, unsigned char* out,
                                     size_t room) {
  const KelEncodeConstants k;
  const __m256i zero = _mm256_setzero_si256();
  constexpr uintptr_t kBlock = 32;
  const auto start = reinterpret_cast<uintptr_t>(in);
  // The address the window ends at.
  const uintptr_t end = window < (UINTPTR_MAX - start) / sizeof(wchar16)
                            ? start + window * sizeof(wchar16)
                            : UINTPTR_MAX;
  uintptr_t block = start & ~(kBlock - 1);
  size_t written = 0;
  KelOverrun overrun;
  auto unitsBefore = [start](uintptr_t at) { return (at - start) / sizeof(wchar16); };
  if (room < kUtf16BlockBytes) return {0, 0};
  if (block != start || end - block < kBlock) {
    // The first block, from `in` on.
    const __m256i units = loadAlignedBlock(block);
    const unsigned first = static_cast<unsigned>(start - block) / sizeof(wchar16);
    const unsigned stop = writeUpToStop(k, units, first, zeroUnitsOf(units), block, end, out,
                                        written, overrun);
    if (stop < 16) return {unitsBefore(block + 2 * stop), written};
    block += kBlock;
  }
  // Blocks wholly within the window, with room for a whole-register store.
  // (Zero units are looked for through a bit mask: in a block that ends
  // past the text, the mask's bits up to the terminator's are the text's,
  // and memcheck follows them bit by bit; nothing else of such a block is
  // tested before its stop is known.)
  while (block < end && end - block >= kBlock && room - written >= kUtf16BlockRoom) {
    const __m256i units = loadAlignedBlock(block);
    const uint32_t zeros = zeroUnitsOf(units);
    if (zeros != 0) {
      const unsigned stop =
          writeUpToStop(k, units, 0, zeros, block, end, out, written, overrun);
      return {unitsBefore(block + 2 * stop), written};
    }
    if (_mm256_testz_si256(units, k.beyondAscii)) {
      // ASCII: sixteen units, then 32 a round while they are.
      store16(out + written, _mm_packus_epi16(_mm256_castsi256_si128(units),
                                              _mm256_extracti128_si256(units, 1)));
      written += 16;
      block += kBlock;
      overrun.covered();
      while (block < end && end - block >= 2 * kBlock && room - written >= kUtf16BlockRoom) {
        // The second block is read only when the first is ASCII without a
        // zero unit.
        const __m256i firstHalf = loadAlignedBlock(block);
        if (zeroUnitsOf(firstHalf) != 0 || !_mm256_testz_si256(firstHalf, k.beyondAscii)) break;
        const __m256i secondHalf = loadAlignedBlock(block + kBlock);
        if (zeroUnitsOf(secondHalf) != 0 || !_mm256_testz_si256(secondHalf, k.beyondAscii)) {
          store16(out + written, _mm_packus_epi16(_mm256_castsi256_si128(firstHalf),
                                                  _mm256_extracti128_si256(firstHalf, 1)));
          written += 16;
          block += kBlock;
          break;
        }
        _mm256_storeu_si256(
            reinterpret_cast<__m256i*>(out + written),
            _mm256_permute4x64_epi64(_mm256_packus_epi16(firstHalf, secondHalf), 0xD8));
        written += 32;
        block += 2 * kBlock;
      }
      continue;
    }
    // Stored whole in place; the bytes past the output are kept first, in
    // case the kernel stops before the next block covers them.
    const __m256i oneByte = _mm256_cmpeq_epi16(_mm256_and_si256(units, k.beyondAscii), zero);
    const __m256i upToTwo = _mm256_cmpeq_epi16(_mm256_and_si256(units, k.beyondTwo), zero);
    const auto oneByteMask = static_cast<uint32_t>(_mm256_movemask_epi8(oneByte));
    const auto upToTwoMask = static_cast<uint32_t>(_mm256_movemask_epi8(upToTwo));
    if (upToTwoMask == 0xFFFFFFFFu) {
      const unsigned length = 32 - static_cast<unsigned>(__builtin_popcount(oneByteMask)) / 2;
      overrun.keepBefore(out + written + length);
      storeOneOrTwoByteUnits(k, units, oneByte, oneByteMask, out + written);
      written += length;
      block += kBlock;
      continue;
    }
    if (surrogatesOf(k, units) != 0) {
      const unsigned stop =
          writeUpToStop(k, units, 0, 0, block, end, out, written, overrun);
      return {unitsBefore(block + 2 * stop), written};
    }
    // Bit 2i for a single byte, bit 2i + 1 for one or two: unit i takes
    // three bytes less the two bits.
    const uint32_t lengths = (oneByteMask & 0x55555555u) | (upToTwoMask & 0xAAAAAAAAu);
    overrun.keepBefore(out + written + 48 - __builtin_popcount(lengths));
    written += storeOneToThreeByteUnits(k, units, upToTwo, lengths, out + written);
    block += kBlock;
  }
  if (block < end && room - written >= kUtf16BlockBytes) {
    // A last block that the window or the room cuts.
    const __m256i units = loadAlignedBlock(block);
    const unsigned stop = writeUpToStop(k, units, 0, zeroUnitsOf(units), block, end, out,
                                        written, overrun);
    return {unitsBefore(block + 2 * stop), written};
  }
  overrun.restoreFrom(out + written);
  return {unitsBefore(block), written};
}

}  // namespace x86
}  // namespace kelulib

#endif  // KELULIB_X86_KERNELS
