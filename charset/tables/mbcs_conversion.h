// The mechanics shared by the multi-byte converters: the caller's
// illegal-character flag, a UTF-16 writer for toUTF16 and a byte writer for
// fromUTF16 (each keeps its room, the terminator not counted, and writes the
// terminator when the conversion finishes), and the two conversion loops,
// to which each converter gives how it reads or writes one character.
#ifndef KELULIB_CHARSET_TABLES_MBCS_CONVERSION_H_
#define KELULIB_CHARSET_TABLES_MBCS_CONVERSION_H_

#include <cstddef>
#include <cstdint>

#include "charset/converter.h"
#include "charset/unmappable.h"

namespace kelulib {

constexpr uint32_t kFirstSupplementary = 0x10000;
constexpr uint32_t kLastScalar = 0x10FFFF;

inline bool isSupplementary(uint32_t scalar) {
  return scalar >= kFirstSupplementary && scalar <= kLastScalar;
}

inline uint32_t combineSurrogates(wchar16 high, wchar16 low) {
  return kFirstSupplementary + ((uint32_t{high} - 0xD800) << 10) + (uint32_t{low} - 0xDC00);
}

// The surrogates of a supplementary scalar.
inline wchar16 highSurrogateOf(uint32_t scalar) {
  return static_cast<wchar16>((scalar >> 10) + 0xD7C0);
}
inline wchar16 lowSurrogateOf(uint32_t scalar) {
  return static_cast<wchar16>((scalar & 0x3FF) + 0xDC00);
}

// The `bool* illegal` argument of a conversion: cleared when the conversion
// starts, raised when it meets something it cannot convert.
class KelIllegalFlag {
 public:
  explicit KelIllegalFlag(bool* flag) : m_flag(flag) {
    if (m_flag != nullptr) *m_flag = false;
  }
  void raise() {
    if (m_flag != nullptr) *m_flag = true;
  }

 private:
  bool* m_flag;
};

class KelUnitWriter {
 public:
  KelUnitWriter(wchar16* dst, size_t room) : m_dst(dst), m_room(room) {}

  bool full() const { return m_count == m_room; }

  // Writes `scalar`: a surrogate pair for U+10000-U+10FFFF, else one unit
  // (its low 16 bits). Returns false, writing nothing, when it does not fit.
  bool putScalar(uint32_t scalar) {
    if (!isSupplementary(scalar)) return put(static_cast<wchar16>(scalar));
    if (m_room - m_count < 2) return false;
    m_dst[m_count++] = highSurrogateOf(scalar);
    m_dst[m_count++] = lowSurrogateOf(scalar);
    return true;
  }

  // A byte sequence that cannot be converted: raises the flag, then under
  // ILLCHAR_STOP returns false (the conversion stops), else writes U+FFFD.
  bool putIllegal(ILLCHAR_OPTYPE op, KelIllegalFlag& illegal) {
    illegal.raise();
    return op != ILLCHAR_STOP && put(kReplacementCharacter);
  }

  // Writes the terminator; returns the units written before it.
  size_t finish() {
    m_dst[m_count] = 0;
    return m_count;
  }

 private:
  bool put(wchar16 unit) {
    if (full()) return false;
    m_dst[m_count++] = unit;
    return true;
  }

  wchar16* m_dst;
  size_t m_room;
  size_t m_count = 0;
};

class KelByteWriter {
 public:
  KelByteWriter(void* dst, size_t room)
      : m_start(static_cast<unsigned char*>(dst)), m_next(m_start), m_room(room) {}

  bool full() const { return m_room == 0; }

  // Writes the `length` low bytes of `code`, high byte first. Returns false,
  // writing nothing, when fewer than `length` bytes of room remain.
  bool put(uint32_t code, size_t length) {
    if (m_room < length) return false;
    for (size_t i = length; i > 0; --i)
      *m_next++ = static_cast<unsigned char>(code >> (8 * (i - 1)));
    m_room -= length;
    return true;
  }

  // The unmappable-character step: raises the flag, then writes what
  // writeStep(out, room) writes (one of the writeUnmappable functions).
  // Returns false when it wrote nothing: the conversion stops.
  template <typename WriteStep>
  bool putUnmappable(KelIllegalFlag& illegal, WriteStep writeStep) {
    illegal.raise();
    const size_t written = writeStep(m_next, m_room);
    m_next += written;
    m_room -= written;
    return written != 0;
  }

  // The unmappable-character step for one unit, escaped as "U+XXXX".
  bool putUnmappableUnit(KelIllegalFlag& illegal, wchar16 unit, ILLCHAR_OPTYPE op) {
    return putUnmappable(illegal, [unit, op](unsigned char* at, size_t room) {
      return writeUnmappable(at, room, unit, op);
    });
  }

  // Writes the terminating zero byte; returns the bytes written before it.
  size_t finish() {
    *m_next = 0;
    return static_cast<size_t>(m_next - m_start);
  }

 private:
  unsigned char* m_start;
  unsigned char* m_next;
  size_t m_room;
};

// One character read from a converter's input: its Unicode scalar (0 when
// the bytes are illegal), the bytes it took, and whether the byte budget of
// toUTF16 is tested after it.
struct KelDecoded {
  uint32_t scalar;
  size_t length;
  bool budgetTested;
};

// The toUTF16 loop: reads characters with decodeAt(in) (`in` at a non-zero
// byte) into `dst` until a zero byte, until the room is used up, or, after a
// character whose budget is tested, once `srcLimit` bytes (when it is 1 or
// more) have been read. Illegal characters follow `op`. Writes the
// terminator; returns the units written.
template <typename DecodeAt>
size_t decodeText(wchar16* dst, const void* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                  int srcLimit, DecodeAt decodeAt) {
  KelIllegalFlag flag(illegal);
  KelUnitWriter out(dst, dstUnits);
  const auto* in = static_cast<const unsigned char*>(src);
  size_t consumed = 0;
  while (!out.full() && in[consumed] != 0) {
    const KelDecoded decoded = decodeAt(in + consumed);
    consumed += decoded.length;
    if (decoded.scalar == 0 ? !out.putIllegal(op, flag) : !out.putScalar(decoded.scalar)) break;
    if (decoded.budgetTested && srcLimit >= 1 && consumed >= static_cast<size_t>(srcLimit)) break;
  }
  return out.finish();
}

// The fromUTF16 loop: writes the zero-terminated `src` while room remains,
// a character at a time with encodeAt(at, out, flag) (`at` at a non-zero
// unit), which returns the units it took, or 0 when the conversion stops
// there. Writes the terminating zero byte; returns the bytes written.
template <typename EncodeAt>
size_t encodeText(void* dst, const wchar16* src, size_t dstBytes, bool* illegal,
                  EncodeAt encodeAt) {
  KelIllegalFlag flag(illegal);
  KelByteWriter out(dst, dstBytes);
  for (const wchar16* at = src; !out.full() && *at != 0;) {
    const size_t taken = encodeAt(at, out, flag);
    if (taken == 0) break;
    at += taken;
  }
  return out.finish();
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_MBCS_CONVERSION_H_
