// KelNonZeroRun: how far a zero-terminated text is known to continue without
// its terminator, so that a fast path may load whole blocks without reading
// past the terminator, or past bytes the plain code would never have read.
//
// The caller says how far it may look (its window: what the conversion is
// certain to read anyway when no terminator comes first, given its room and
// source limit). The text is scanned a growing chunk at a time, so a long
// text is read twice close together (scan, then convert) while it is still
// in the cache, and a short conversion never scans far.
#ifndef KELULIB_CHARSET_SIMD_NONZERO_RUN_H_
#define KELULIB_CHARSET_SIMD_NONZERO_RUN_H_

#include <cstddef>
#include <cstring>

#include "charset/charset_id.h"

namespace kelulib {

// Units before the first zero among the first `limit` units of `text`.
inline size_t nonZeroPrefix(const unsigned char* text, size_t limit) {
  return strnlen(reinterpret_cast<const char*>(text), limit);
}

// Reads whole aligned 16-byte blocks, as the C library's string functions
// do: such a block never crosses into another page, so the bytes of it past
// the terminator are harmless to read, although they are not the text's.
size_t nonZeroPrefix(const wchar16* text, size_t limit);

template <typename Unit>
class KelNonZeroRun {
 public:
  explicit KelNonZeroRun(const Unit* start) : m_end(start) {}

  // The number of units from `at` on that are known to be non-zero, at most
  // `window`; scans further (never beyond at + window) when fewer than a
  // block are known and the terminator has not been met.
  size_t from(const Unit* at, size_t window) {
    if (m_end < at) {
      m_end = at;
      m_terminatorMet = false;
    }
    size_t known = static_cast<size_t>(m_end - at);
    if (!m_terminatorMet && known < window && known < kRescanBelow) {
      const size_t chunk = window - known < m_chunk ? window - known : m_chunk;
      const size_t found = nonZeroPrefix(m_end, chunk);
      m_end += found;
      known += found;
      m_terminatorMet = found < chunk;
      if (m_chunk < kLargestChunk) m_chunk *= 2;
    }
    return known < window ? known : window;
  }

 private:
  static constexpr size_t kRescanBelow = 256;
  static constexpr size_t kFirstChunk = 512;
  static constexpr size_t kLargestChunk = size_t{1} << 13;

  const Unit* m_end;
  size_t m_chunk = kFirstChunk;
  bool m_terminatorMet = false;
};

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_NONZERO_RUN_H_
