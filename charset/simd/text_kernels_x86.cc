// Each function here is compiled for its own instruction level through a
// target attribute, so that the library as a whole still runs on any x86-64
// processor; text_kernels.cc calls a level only where the processor has it.
#include "charset/simd/text_kernels_x86.h"

#ifdef KELULIB_X86_KERNELS

// GCC 12 warns about the deliberately undefined vectors inside its own
// AVX-512 intrinsic headers (_mm512_undefined_*); nothing here reads one.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#define KELULIB_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt")))
#define KELULIB_TARGET_AVX512                                                  \
  __attribute__((                                                              \
      target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2," \
             "popcnt")))

namespace kelulib {
namespace x86 {
namespace {

// The run's last few characters, before the one that ends it, a unit at a
// time. Returns `count`.
inline size_t widenOneByOne(const unsigned char* in, size_t count, wchar16* out) {
  for (size_t i = 0; i < count; ++i) out[i] = in[i];
  return count;
}

inline size_t narrowWhileBelow(const wchar16* in, size_t count, unsigned char* out, unsigned end) {
  size_t i = 0;
  while (i < count && in[i] < end) {
    out[i] = static_cast<unsigned char>(in[i]);
    ++i;
  }
  return i;
}

// A mask of the lowest `count` lanes (count at most 32).
inline uint32_t lowLanes32(unsigned count) {
  return count >= 32 ? 0xFFFFFFFFu : (uint32_t{1} << count) - 1;
}

inline uint64_t lowLanes64(unsigned count) {
  return count >= 64 ? ~uint64_t{0} : (uint64_t{1} << count) - 1;
}

// Stores the lanes of `units` (32 units) before the first set bit of
// `stops`, all of them when there is none; returns how many.
KELULIB_TARGET_AVX512
inline unsigned storeUnitsBefore(wchar16* out, __m512i units, uint32_t stops) {
  if (stops == 0) {
    _mm512_storeu_si512(out, units);
    return 32;
  }
  const auto run = static_cast<unsigned>(__builtin_ctz(stops));
  _mm512_mask_storeu_epi16(out, lowLanes32(run), units);
  return run;
}

// The 64 bytes of `block` as 64 units at `out`.
KELULIB_TARGET_AVX512
inline void widenBlock(__m512i block, wchar16* out) {
  _mm512_storeu_si512(out, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(block)));
  _mm512_storeu_si512(out + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(block, 1)));
}

// Byte-permute indexes that move byte i + `ahead` of a block to position i
// (the last positions get bytes from the block's start, which callers do
// not use).
KELULIB_TARGET_AVX512
inline __m512i positionsAhead(char ahead) {
  const __m512i positions = _mm512_set_epi8(
      63, 62, 61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47, 46, 45, 44, 43, 42, 41,
      40, 39, 38, 37, 36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18,
      17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  return _mm512_add_epi8(positions, _mm512_set1_epi8(ahead));
}

// The same for 32 bytes.
KELULIB_TARGET_AVX512
inline unsigned storeBytesBefore(unsigned char* out, __m256i bytes, uint32_t stops) {
  if (stops == 0) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
    return 32;
  }
  const auto run = static_cast<unsigned>(__builtin_ctz(stops));
  _mm256_mask_storeu_epi8(out, lowLanes32(run), bytes);
  return run;
}

}  // namespace

// --- ASCII runs ----------------------------------------------------------
//
// A byte or unit is in a run when it is below `end`: saturating subtraction
// of end - 1 leaves 0 exactly for those.

size_t widenAsciiSse2(const unsigned char* in, size_t count, wchar16* out, unsigned end) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i last = _mm_set1_epi8(static_cast<char>(end - 1));
  size_t done = 0;
  while (count - done >= 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
    const auto beyond = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_subs_epu8(bytes, last), zero)) ^ 0xFFFF);
    if (beyond != 0) return done + widenOneByOne(in + done, __builtin_ctz(beyond), out + done);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done + 8), _mm_unpackhi_epi8(bytes, zero));
    done += 16;
  }
  return done;
}

KELULIB_TARGET_AVX2
size_t widenAsciiAvx2(const unsigned char* in, size_t count, wchar16* out, unsigned end) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i last = _mm256_set1_epi8(static_cast<char>(end - 1));
  size_t done = 0;
  while (count - done >= 32) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + done));
    const auto beyond = ~static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_subs_epu8(bytes, last), zero)));
    if (beyond != 0) return done + widenOneByOne(in + done, __builtin_ctz(beyond), out + done);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done),
                        _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done + 16),
                        _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
    done += 32;
  }
  return done;
}

KELULIB_TARGET_AVX512
size_t widenAsciiAvx512(const unsigned char* in, size_t count, wchar16* out, unsigned end) {
  const __m512i limit = _mm512_set1_epi8(static_cast<char>(end));
  size_t done = 0;
  while (count - done >= 64) {
    const __m512i bytes = _mm512_loadu_si512(in + done);
    const uint64_t beyond = _mm512_cmpge_epu8_mask(bytes, limit);
    const unsigned low =
        storeUnitsBefore(out + done, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes)),
                         static_cast<uint32_t>(beyond));
    done += low;
    if (low < 32) return done;
    const unsigned high =
        storeUnitsBefore(out + done, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1)),
                         static_cast<uint32_t>(beyond >> 32));
    done += high;
    if (high < 32) return done;
  }
  return done;
}

size_t narrowAsciiSse2(const wchar16* in, size_t count, unsigned char* out, unsigned end) {
  const __m128i last = _mm_set1_epi16(static_cast<short>(end - 1));
  const __m128i zero = _mm_setzero_si128();
  size_t done = 0;
  while (count - done >= 16) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done + 8));
    const __m128i beyond = _mm_or_si128(_mm_subs_epu16(first, last), _mm_subs_epu16(second, last));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(beyond, zero)) != 0xFFFF) {
      return done + narrowWhileBelow(in + done, 16, out + done, end);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), _mm_packus_epi16(first, second));
    done += 16;
  }
  return done;
}

KELULIB_TARGET_AVX2
size_t narrowAsciiAvx2(const wchar16* in, size_t count, unsigned char* out, unsigned end) {
  const __m256i last = _mm256_set1_epi16(static_cast<short>(end - 1));
  size_t done = 0;
  while (count - done >= 32) {
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + done));
    const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + done + 16));
    const __m256i beyond =
        _mm256_or_si256(_mm256_subs_epu16(first, last), _mm256_subs_epu16(second, last));
    if (!_mm256_testz_si256(beyond, beyond)) {
      return done + narrowWhileBelow(in + done, 32, out + done, end);
    }
    // packus interleaves the 128-bit halves; the permute puts them in order.
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done), packed);
    done += 32;
  }
  return done;
}

KELULIB_TARGET_AVX512
size_t narrowAsciiAvx512(const wchar16* in, size_t count, unsigned char* out, unsigned end) {
  const __m512i limit = _mm512_set1_epi16(static_cast<short>(end));
  size_t done = 0;
  while (count - done >= 32) {
    const __m512i units = _mm512_loadu_si512(in + done);
    const unsigned run = storeBytesBefore(out + done, _mm512_cvtepi16_epi8(units),
                                          _mm512_cmpge_epu16_mask(units, limit));
    done += run;
    if (run < 32) return done;
  }
  return done;
}

// --- UTF-8 <-> UTF-16 ----------------------------------------------------

// Each byte position is decoded as if a sequence started there, and the
// values at the positions that do start one are compressed together. The
// masks find where the run must end: at a stray continuation byte, at a lead
// byte whose continuations are missing or lie beyond the block, or at a
// four-byte lead.
namespace {

struct KelUtf8Classes {
  uint64_t continuation;
  uint64_t lead2;
  uint64_t lead3;
  uint64_t lead4;
};

// Positions from which a run may not go on, for a block of `width` bytes.
inline uint64_t utf8RunStops(const KelUtf8Classes& c, unsigned width) {
  const uint64_t inBlock = lowLanes64(width);
  const uint64_t expected = ((c.lead2 | c.lead3) << 1 | c.lead3 << 2) & inBlock;
  const uint64_t missing = expected & ~c.continuation;
  const uint64_t cutShort = (missing >> 1 & (c.lead2 | c.lead3)) | (missing >> 2 & c.lead3);
  const uint64_t beyondBlock =
      (c.lead2 >> (width - 1) & 1) << (width - 1) | (c.lead3 >> (width - 2) & 3) << (width - 2);
  return c.lead4 | (c.continuation & ~expected) | cutShort | beyondBlock;
}

}  // namespace

KELULIB_TARGET_AVX512
KelKernelRun utf8ToUtf16Avx512(const unsigned char* in, size_t count, wchar16* out) {
  const __m512i top2 = _mm512_set1_epi8(static_cast<char>(0xC0));
  const __m512i top3 = _mm512_set1_epi8(static_cast<char>(0xE0));
  const __m512i top4 = _mm512_set1_epi8(static_cast<char>(0xF0));
  const __m512i continuationBits = _mm512_set1_epi8(static_cast<char>(0x80));
  const __m512i low4 = _mm512_set1_epi16(0x0F);
  const __m512i low5 = _mm512_set1_epi16(0x1F);
  const __m512i low6 = _mm512_set1_epi16(0x3F);
  const __m512i nextIndex = positionsAhead(1);
  const __m512i afterNextIndex = positionsAhead(2);
  size_t read = 0;
  size_t written = 0;
  while (count - read >= 64) {
    const __m512i block = _mm512_loadu_si512(in + read);
    if (_mm512_movepi8_mask(block) == 0) {
      widenBlock(block, out + written);
      read += 64;
      written += 64;
      continue;
    }
    KelUtf8Classes classes;
    classes.continuation = _mm512_cmpeq_epi8_mask(_mm512_and_si512(block, top2), continuationBits);
    classes.lead2 = _mm512_cmpeq_epi8_mask(_mm512_and_si512(block, top3), top2);
    classes.lead3 = _mm512_cmpeq_epi8_mask(_mm512_and_si512(block, top4), top3);
    classes.lead4 = _mm512_cmpeq_epi8_mask(_mm512_and_si512(block, top4), top4);
    const uint64_t stops = utf8RunStops(classes, 64);
    const unsigned run = stops == 0 ? 64 : static_cast<unsigned>(__builtin_ctzll(stops));
    if (run == 0) break;
    const uint64_t starts = ~classes.continuation & lowLanes64(run);
    const __m512i next = _mm512_permutexvar_epi8(nextIndex, block);
    const __m512i afterNext = _mm512_permutexvar_epi8(afterNextIndex, block);
    for (unsigned half = 0; half < 2; ++half) {
      const __m512i byte0 = _mm512_cvtepu8_epi16(half == 0 ? _mm512_castsi512_si256(block)
                                                           : _mm512_extracti64x4_epi64(block, 1));
      const __m512i byte1 =
          _mm512_and_si512(_mm512_cvtepu8_epi16(half == 0 ? _mm512_castsi512_si256(next)
                                                          : _mm512_extracti64x4_epi64(next, 1)),
                           low6);
      const __m512i byte2 = _mm512_and_si512(
          _mm512_cvtepu8_epi16(half == 0 ? _mm512_castsi512_si256(afterNext)
                                         : _mm512_extracti64x4_epi64(afterNext, 1)),
          low6);
      const __m512i two =
          _mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(byte0, low5), 6), byte1);
      const __m512i three =
          _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(byte0, low4), 12),
                                          _mm512_slli_epi16(byte1, 6)),
                          byte2);
      const unsigned shift = 32 * half;
      __m512i value =
          _mm512_mask_blend_epi16(static_cast<__mmask32>(classes.lead2 >> shift), byte0, two);
      value = _mm512_mask_blend_epi16(static_cast<__mmask32>(classes.lead3 >> shift), value, three);
      const auto halfStarts = static_cast<__mmask32>(starts >> shift);
      const auto units = static_cast<unsigned>(__builtin_popcount(halfStarts));
      _mm512_mask_storeu_epi16(out + written, lowLanes32(units),
                               _mm512_maskz_compress_epi16(halfStarts, value));
      written += units;
    }
    read += run;
  }
  // The tail, sixteen bytes at a time.
  const __m128i top2Narrow = _mm512_castsi512_si128(top2);
  const __m128i top3Narrow = _mm512_castsi512_si128(top3);
  const __m128i top4Narrow = _mm512_castsi512_si128(top4);
  const __m128i continuationNarrow = _mm512_castsi512_si128(continuationBits);
  while (count - read >= 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + read));
    KelUtf8Classes classes;
    classes.continuation =
        _mm_cmpeq_epi8_mask(_mm_and_si128(bytes, top2Narrow), continuationNarrow);
    classes.lead2 = _mm_cmpeq_epi8_mask(_mm_and_si128(bytes, top3Narrow), top2Narrow);
    classes.lead3 = _mm_cmpeq_epi8_mask(_mm_and_si128(bytes, top4Narrow), top3Narrow);
    classes.lead4 = _mm_cmpeq_epi8_mask(_mm_and_si128(bytes, top4Narrow), top4Narrow);
    const uint64_t stops = utf8RunStops(classes, 16);
    const unsigned run = stops == 0 ? 16 : static_cast<unsigned>(__builtin_ctzll(stops));
    if (run == 0) break;
    const __m256i byte0 = _mm256_cvtepu8_epi16(bytes);
    const __m256i byte1 = _mm256_and_si256(_mm256_cvtepu8_epi16(_mm_srli_si128(bytes, 1)),
                                           _mm512_castsi512_si256(low6));
    const __m256i byte2 = _mm256_and_si256(_mm256_cvtepu8_epi16(_mm_srli_si128(bytes, 2)),
                                           _mm512_castsi512_si256(low6));
    const __m256i two = _mm256_or_si256(
        _mm256_slli_epi16(_mm256_and_si256(byte0, _mm512_castsi512_si256(low5)), 6), byte1);
    const __m256i three = _mm256_or_si256(
        _mm256_or_si256(
            _mm256_slli_epi16(_mm256_and_si256(byte0, _mm512_castsi512_si256(low4)), 12),
            _mm256_slli_epi16(byte1, 6)),
        byte2);
    __m256i value = _mm256_mask_blend_epi16(static_cast<__mmask16>(classes.lead2), byte0, two);
    value = _mm256_mask_blend_epi16(static_cast<__mmask16>(classes.lead3), value, three);
    const auto starts = static_cast<__mmask16>(~classes.continuation & lowLanes64(run));
    const auto units = static_cast<unsigned>(__builtin_popcount(starts));
    _mm256_mask_storeu_epi16(out + written, static_cast<__mmask16>(lowLanes32(units)),
                             _mm256_maskz_compress_epi16(starts, value));
    read += run;
    written += units;
  }
  return {read, written};
}

// Each unit's one to three bytes are built in its 32-bit lane, and the
// bytes in use are compressed together; thirty-two units a round, ASCII
// rounds narrowed directly.
namespace {

struct KelUtf8Bytes {
  __m512i bytes;
  __mmask64 used;
};

KELULIB_TARGET_AVX512
inline KelUtf8Bytes utf8BytesOf(__m256i sixteenUnits, unsigned lanes) {
  const __m512i unit = _mm512_cvtepu16_epi32(sixteenUnits);
  const __m512i low6 = _mm512_set1_epi32(0x3F);
  const __m512i continuation = _mm512_set1_epi32(0x80);
  const __mmask16 ascii = _mm512_cmplt_epu32_mask(unit, _mm512_set1_epi32(0x80));
  const __mmask16 belowThree = _mm512_cmplt_epu32_mask(unit, _mm512_set1_epi32(0x800));
  const __m512i trail =
      _mm512_slli_epi32(_mm512_or_si512(continuation, _mm512_and_si512(unit, low6)), 8);
  const __m512i two =
      _mm512_or_si512(_mm512_or_si512(_mm512_set1_epi32(0xC0), _mm512_srli_epi32(unit, 6)), trail);
  const __m512i middle = _mm512_slli_epi32(
      _mm512_or_si512(continuation, _mm512_and_si512(_mm512_srli_epi32(unit, 6), low6)), 8);
  const __m512i three =
      _mm512_or_si512(_mm512_or_si512(_mm512_set1_epi32(0xE0), _mm512_srli_epi32(unit, 12)),
                      _mm512_or_si512(middle, _mm512_slli_epi32(trail, 8)));
  __m512i bytes = _mm512_mask_blend_epi32(belowThree, three, two);
  bytes = _mm512_mask_blend_epi32(ascii, bytes, unit);
  __m512i width =
      _mm512_mask_blend_epi32(belowThree, _mm512_set1_epi32(0xFFFFFF), _mm512_set1_epi32(0xFFFF));
  width = _mm512_mask_blend_epi32(ascii, width, _mm512_set1_epi32(0xFF));
  width = _mm512_maskz_mov_epi32(static_cast<__mmask16>(lowLanes32(lanes)), width);
  return {bytes, _mm512_test_epi8_mask(width, width)};
}

// Writes the used bytes together at `out`; returns how many.
KELULIB_TARGET_AVX512
inline size_t storeUsedBytes(const KelUtf8Bytes& piece, unsigned char* out) {
  const auto length = static_cast<unsigned>(__builtin_popcountll(piece.used));
  _mm512_mask_storeu_epi8(out, lowLanes64(length),
                          _mm512_maskz_compress_epi8(piece.used, piece.bytes));
  return length;
}

}  // namespace

KELULIB_TARGET_AVX512
KelKernelRun utf16ToUtf8Avx512(const wchar16* in, size_t count, unsigned char* out, size_t room) {
  const __m512i nonAscii = _mm512_set1_epi16(static_cast<short>(0xFF80));
  const __m512i asciiEnd16 = _mm512_set1_epi16(0x80);
  const __m512i belowThreeBytes = _mm512_set1_epi16(0x800);
  const __m512i surrogateBits = _mm512_set1_epi16(static_cast<short>(0xF800));
  const __m512i surrogate = _mm512_set1_epi16(static_cast<short>(0xD800));
  size_t read = 0;
  size_t written = 0;
  while (count - read >= 32 && room - written >= 96) {
    const __m512i units = _mm512_loadu_si512(in + read);
    if (_mm512_test_epi16_mask(units, nonAscii) == 0) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + written), _mm512_cvtepi16_epi8(units));
      read += 32;
      written += 32;
      continue;
    }
    if (_mm512_cmpge_epu16_mask(units, belowThreeBytes) == 0) {
      // One or two bytes each: built in the units' own 16-bit lanes.
      const __mmask32 ascii = _mm512_cmplt_epu16_mask(units, asciiEnd16);
      const __m512i lead = _mm512_or_si512(_mm512_set1_epi16(0xC0), _mm512_srli_epi16(units, 6));
      const __m512i trail =
          _mm512_slli_epi16(_mm512_or_si512(_mm512_set1_epi16(0x80),
                                            _mm512_and_si512(units, _mm512_set1_epi16(0x3F))),
                            8);
      const __m512i bytes = _mm512_mask_blend_epi16(ascii, _mm512_or_si512(lead, trail), units);
      const __m512i width =
          _mm512_mask_blend_epi16(ascii, _mm512_set1_epi16(-1), _mm512_set1_epi16(0xFF));
      written += storeUsedBytes({bytes, _mm512_test_epi8_mask(width, width)}, out + written);
      read += 32;
      continue;
    }
    const uint64_t surrogates =
        _mm512_cmpeq_epi16_mask(_mm512_and_si512(units, surrogateBits), surrogate);
    const auto run = static_cast<unsigned>(__builtin_ctzll(surrogates | uint64_t{1} << 32));
    if (run == 0) break;
    written += storeUsedBytes(utf8BytesOf(_mm512_castsi512_si256(units), run < 16 ? run : 16),
                              out + written);
    if (run > 16) {
      written +=
          storeUsedBytes(utf8BytesOf(_mm512_extracti64x4_epi64(units, 1), run - 16), out + written);
    }
    if (run < 32) return {read + run, written};
    read += 32;
  }
  while (count - read >= 16 && room - written >= 48) {
    const __m256i units = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read));
    const uint32_t surrogates =
        _mm256_cmpeq_epi16_mask(_mm256_and_si256(units, _mm512_castsi512_si256(surrogateBits)),
                                _mm512_castsi512_si256(surrogate));
    const auto run = static_cast<unsigned>(__builtin_ctz(surrogates | 0x10000));
    if (run == 0) break;
    written += storeUsedBytes(utf8BytesOf(units, run), out + written);
    read += run;
    if (run < 16) break;
  }
  return {read, written};
}

// --- Single-byte tables --------------------------------------------------

// Thirty-two bytes at a time, looked up in the 256-unit table held in eight
// registers: four two-register permutes cover the four quarters of the
// table, and bits 6 and 7 of the byte choose among them.
KELULIB_TARGET_AVX512
size_t mapBytesToUnitsAvx512(const unsigned char* in, size_t count, const wchar16* table,
                             wchar16* out) {
  __m512i quarter[8];
  for (int i = 0; i < 8; ++i) quarter[i] = _mm512_loadu_si512(table + 32 * i);
  const __m512i bit6 = _mm512_set1_epi16(0x40);
  const __m512i bit7 = _mm512_set1_epi16(0x80);
  size_t done = 0;
  while (count - done >= 32) {
    const __m512i index =
        _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + done)));
    const __m512i q0 = _mm512_permutex2var_epi16(quarter[0], index, quarter[1]);
    const __m512i q1 = _mm512_permutex2var_epi16(quarter[2], index, quarter[3]);
    const __m512i q2 = _mm512_permutex2var_epi16(quarter[4], index, quarter[5]);
    const __m512i q3 = _mm512_permutex2var_epi16(quarter[6], index, quarter[7]);
    const __mmask32 upperQuarter = _mm512_test_epi16_mask(index, bit6);
    const __m512i lowHalf = _mm512_mask_blend_epi16(upperQuarter, q0, q1);
    const __m512i highHalf = _mm512_mask_blend_epi16(upperQuarter, q2, q3);
    const __m512i units =
        _mm512_mask_blend_epi16(_mm512_test_epi16_mask(index, bit7), lowHalf, highHalf);
    const unsigned run =
        storeUnitsBefore(out + done, units, _mm512_cmpeq_epi16_mask(units, _mm512_setzero_si512()));
    done += run;
    if (run < 32) return done;
  }
  return done;
}

// Thirty-two units at a time: their low bytes index the 256-byte table held
// in four registers (two two-register byte permutes and bit 7 to choose).
KELULIB_TARGET_AVX512
size_t mapLowUnitsToBytesAvx512(const wchar16* in, size_t count, const unsigned char* table,
                                unsigned char* out) {
  const __m512i part0 = _mm512_loadu_si512(table);
  const __m512i part1 = _mm512_loadu_si512(table + 64);
  const __m512i part2 = _mm512_loadu_si512(table + 128);
  const __m512i part3 = _mm512_loadu_si512(table + 192);
  const __m512i firstWide = _mm512_set1_epi16(0x100);
  size_t done = 0;
  while (count - done >= 32) {
    const __m512i units = _mm512_loadu_si512(in + done);
    const uint32_t wide = _mm512_cmpge_epu16_mask(units, firstWide);
    const __m512i index = _mm512_zextsi256_si512(_mm512_cvtepi16_epi8(units));
    const __m512i lowHalf = _mm512_permutex2var_epi8(part0, index, part1);
    const __m512i highHalf = _mm512_permutex2var_epi8(part2, index, part3);
    const __m512i bytes = _mm512_mask_blend_epi8(_mm512_movepi8_mask(index), lowHalf, highHalf);
    const __m256i result = _mm512_castsi512_si256(bytes);
    const uint32_t unmapped = _mm256_cmpeq_epi8_mask(result, _mm256_setzero_si256());
    const unsigned run = storeBytesBefore(out + done, result, wide | unmapped);
    done += run;
    if (run < 32) return done;
  }
  return done;
}

// Sixteen units at a time: their codes are gathered from the table, each
// code's one or two bytes (high first) are built in its 32-bit lane, and
// the bytes in use are compressed together.
KELULIB_TARGET_AVX512
KelKernelRun mapUnitsToCodesAvx512(const wchar16* in, size_t count, const uint16_t* codes,
                                   unsigned asciiEnd, unsigned char* out, size_t room) {
  const __m512i asciiLimit = _mm512_set1_epi16(static_cast<short>(asciiEnd));
  const __m512i low16 = _mm512_set1_epi32(0xFFFF);
  const __m512i surrogateBits = _mm512_set1_epi32(0xF800);
  const __m512i surrogate = _mm512_set1_epi32(0xD800);
  const __m512i firstTwoByteCode = _mm512_set1_epi32(0x100);
  size_t read = 0;
  size_t written = 0;
  while (count - read >= 16 && room - written >= 32) {
    if (asciiEnd != 0 && count - read >= 32) {
      const __m512i units = _mm512_loadu_si512(in + read);
      if (_mm512_cmpge_epu16_mask(units, asciiLimit) == 0) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + written), _mm512_cvtepi16_epi8(units));
        read += 32;
        written += 32;
        continue;
      }
    }
    const __m512i unit =
        _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read)));
    const __m512i code = _mm512_and_si512(_mm512_i32gather_epi32(unit, codes, 2), low16);
    const __mmask16 stops =
        _mm512_cmpeq_epi32_mask(_mm512_and_si512(unit, surrogateBits), surrogate) |
        _mm512_cmpeq_epi32_mask(code, _mm512_setzero_si512());
    const auto run = static_cast<unsigned>(__builtin_ctz(uint32_t{stops} | 0x10000));
    if (run == 0) break;
    const __mmask16 twoBytes = _mm512_cmpge_epu32_mask(code, firstTwoByteCode);
    // Two-byte codes swap into byte order (high byte first).
    const __m512i swapped =
        _mm512_or_si512(_mm512_srli_epi32(code, 8),
                        _mm512_slli_epi32(_mm512_and_si512(code, _mm512_set1_epi32(0xFF)), 8));
    const __m512i bytes = _mm512_mask_blend_epi32(twoBytes, code, swapped);
    __m512i width = _mm512_mask_blend_epi32(twoBytes, _mm512_set1_epi32(0xFF), low16);
    width = _mm512_maskz_mov_epi32(static_cast<__mmask16>(lowLanes32(run)), width);
    const __mmask64 used = _mm512_test_epi8_mask(width, width);
    const auto length = static_cast<unsigned>(__builtin_popcountll(used));
    _mm512_mask_storeu_epi8(out + written, lowLanes64(length),
                            _mm512_maskz_compress_epi8(used, bytes));
    written += length;
    // A whole block moves on by a constant, so that the next block's
    // look-ups need not wait for this one's.
    if (run < 16) return {read + run, written};
    read += 16;
  }
  return {read, written};
}

// Sixty-four bytes at a time. Bytes 0xA1-0xFE come in pairs counted from
// the start of each run of them: adding the run starts at even positions to
// the mask of such bytes carries through exactly the runs that start there,
// which gives every byte's place in its pair. Pairs are then looked up
// sixteen positions at a time and compressed together with the ASCII bytes.
KELULIB_TARGET_AVX512
KelKernelRun eucToUtf16Avx512(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                              wchar16* out) {
  constexpr uint64_t kEven = 0x5555555555555555u;
  const __m512i asciiEnd = _mm512_set1_epi8(0x7F);
  const __m512i firstHigh = _mm512_set1_epi8(static_cast<char>(0xA1));
  const __m512i lastHigh = _mm512_set1_epi8(static_cast<char>(0xFE));
  const __m512i low7 = _mm512_set1_epi32(0x7F);
  const __m512i low16 = _mm512_set1_epi32(0xFFFF);
  const __m512i nextIndex = positionsAhead(1);
  size_t read = 0;
  size_t written = 0;
  while (count - read >= 64) {
    const __m512i block = _mm512_loadu_si512(in + read);
    const uint64_t ascii = _mm512_cmplt_epu8_mask(block, asciiEnd);
    if (ascii == ~uint64_t{0}) {
      widenBlock(block, out + written);
      read += 64;
      written += 64;
      continue;
    }
    const uint64_t high =
        _mm512_cmpge_epu8_mask(block, firstHigh) & _mm512_cmple_epu8_mask(block, lastHigh);
    const uint64_t starts = high & ~(high << 1);
    const uint64_t fromEvenStart = high & ~(high + (starts & kEven));
    const uint64_t leads = (fromEvenStart & kEven) | (high & ~fromEvenStart & ~kEven);
    const uint64_t trails = high & ~leads;
    // A lead in the last position has its partner in the next block: this
    // block ends before it, and the next one starts with it.
    const uint64_t leadAtEnd = leads & uint64_t{1} << 63;
    const uint64_t stops = ~(ascii | high) | (leads & ~(trails >> 1) & ~leadAtEnd);
    unsigned run = stops != 0 ? static_cast<unsigned>(__builtin_ctzll(stops)) : leadAtEnd ? 63 : 64;
    const unsigned fullRun = leadAtEnd ? 63 : 64;
    const __m512i next = _mm512_permutexvar_epi8(nextIndex, block);
    const __m128i firsts[4] = {
        _mm512_extracti32x4_epi32(block, 0), _mm512_extracti32x4_epi32(block, 1),
        _mm512_extracti32x4_epi32(block, 2), _mm512_extracti32x4_epi32(block, 3)};
    const __m128i seconds[4] = {
        _mm512_extracti32x4_epi32(next, 0), _mm512_extracti32x4_epi32(next, 1),
        _mm512_extracti32x4_epi32(next, 2), _mm512_extracti32x4_epi32(next, 3)};
    for (unsigned group = 0; group < 4 && 16 * group < run; ++group) {
      const unsigned shift = 16 * group;
      const __m512i first = _mm512_cvtepu8_epi32(firsts[group]);
      const __m512i second = _mm512_cvtepu8_epi32(seconds[group]);
      const __m512i code = _mm512_or_si512(_mm512_slli_epi32(_mm512_and_si512(first, low7), 8),
                                           _mm512_and_si512(second, low7));
      const auto groupLeads = static_cast<__mmask16>(leads >> shift);
      const __m512i looked = _mm512_and_si512(
          _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), groupLeads, code, unitsOfCodes, 2),
          low16);
      const auto unmapped = static_cast<uint32_t>(
          groupLeads & _mm512_cmpeq_epi32_mask(looked, _mm512_setzero_si512()));
      if (unmapped != 0 && shift + __builtin_ctz(unmapped) < run) {
        run = shift + static_cast<unsigned>(__builtin_ctz(unmapped));
      }
      const unsigned lanes = run - shift < 16 ? run - shift : 16;
      const auto starts16 = static_cast<__mmask16>(((ascii | leads) >> shift) & lowLanes32(lanes));
      const __m512i unit = _mm512_mask_blend_epi32(groupLeads, first, looked);
      const auto units = static_cast<unsigned>(__builtin_popcount(starts16));
      _mm256_mask_storeu_epi16(out + written, static_cast<__mmask16>(lowLanes32(units)),
                               _mm512_cvtepi32_epi16(_mm512_maskz_compress_epi32(starts16, unit)));
      written += units;
    }
    read += run;
    if (run < fullRun) break;
  }
  return {read, written};
}

// --- Bytes to UTF-8 through a table of sequences ------------------------------
//
// A block whose bytes are all below 0x80 is copied as it is; otherwise the
// block is copied anyway, the bytes before its first high byte are kept, and
// that byte goes through the table, one four-byte store of its entry (room
// for four is required), before the next block is read from the byte after
// it.

namespace {

// Converts the byte at in[read] through the table; false when its entry is
// 0 or fewer than four bytes of room are left.
inline bool mapOneByteToUtf8(const unsigned char* in, size_t& read, const uint32_t* sequences,
                             unsigned char* out, size_t& written, size_t room) {
  const uint32_t entry = sequences[in[read]];
  if (entry == 0 || room - written < 4) return false;
  const unsigned char bytes[4] = {
      static_cast<unsigned char>(entry), static_cast<unsigned char>(entry >> 8),
      static_cast<unsigned char>(entry >> 16), static_cast<unsigned char>(entry >> 24)};
  std::memcpy(out + written, bytes, 4);
  written += entry >> 24;
  ++read;
  return true;
}

}  // namespace

KelKernelRun mapBytesToUtf8Sse2(const unsigned char* in, size_t count, const uint32_t* sequences,
                                unsigned char* out, size_t room) {
  size_t read = 0;
  size_t written = 0;
  for (;;) {
    if (count - read >= 16 && room - written >= 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + read));
      const auto high = static_cast<unsigned>(_mm_movemask_epi8(bytes));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + written), bytes);
      const unsigned ascii = high == 0 ? 16 : static_cast<unsigned>(__builtin_ctz(high));
      read += ascii;
      written += ascii;
      if (high == 0) continue;
    }
    if (read == count || !mapOneByteToUtf8(in, read, sequences, out, written, room)) break;
  }
  return {read, written};
}

KELULIB_TARGET_AVX2
KelKernelRun mapBytesToUtf8Avx2(const unsigned char* in, size_t count, const uint32_t* sequences,
                                unsigned char* out, size_t room) {
  size_t read = 0;
  size_t written = 0;
  for (;;) {
    if (count - read >= 32 && room - written >= 32) {
      const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + read));
      const auto high = static_cast<unsigned>(_mm256_movemask_epi8(bytes));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + written), bytes);
      const unsigned ascii = high == 0 ? 32 : static_cast<unsigned>(__builtin_ctz(high));
      read += ascii;
      written += ascii;
      if (high == 0) continue;
    }
    if (read == count || !mapOneByteToUtf8(in, read, sequences, out, written, room)) break;
  }
  return {read, written};
}

}  // namespace x86
}  // namespace kelulib

#endif  // KELULIB_X86_KERNELS
