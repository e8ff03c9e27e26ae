// The mechanics shared by the multi-byte converters: the caller's
// illegal-character flag, a UTF-16 writer for toUTF16 and a byte writer for
// fromUTF16 (each keeps its room, the terminator not counted, and writes the
// terminator when the conversion finishes), and the two conversion loops,
// to which each converter gives how it reads or writes one character.
#ifndef KELULIB_CHARSET_TABLES_MBCS_CONVERSION_H_
#define KELULIB_CHARSET_TABLES_MBCS_CONVERSION_H_

#include <cstddef>
#include <cstdint>

#include <cstring>
#include <type_traits>

#include "charset/converter.h"
#include "charset/simd/nonzero_run.h"
#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels.h"
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
  size_t roomLeft() const { return m_room - m_count; }

  // Where the next unit goes, for a run written directly; advance() then
  // counts what it wrote (at most roomLeft()).
  wchar16* next() const { return m_dst + m_count; }
  void advance(size_t units) { m_count += units; }

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
  size_t roomLeft() const { return m_room; }

  // Where the next byte goes, for a run written directly; advance() then
  // counts what it wrote (at most roomLeft()).
  unsigned char* next() const { return m_next; }
  void advance(size_t bytes) {
    m_next += bytes;
    m_room -= bytes;
  }

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

// --- Runs --------------------------------------------------------------------
//
// A converter may give the loops below a run step: the common characters
// (those that map to one unit from one or two bytes, or to a code of one or
// two bytes from one unit) are read or written without the general step's
// checks, up to the first character the run step declines. The general step
// then takes that character, exactly as it would have without runs.

// A character read by a run step: its unit and the bytes it took; a length
// of 0 declines the character.
struct KelRunUnit {
  wchar16 unit;
  size_t length;
};

// The end of the ASCII run of a converter whose tables map 0x01-0x7F to
// themselves; 0 (no runs copied) otherwise.
template <typename Tables>
unsigned asciiEndOf(const Tables& tables) {
  return tables.asciiMapsToItself() ? kAsciiEnd : 0;
}

// The loops' default: no run step.
struct KelNoRunStep {
  KelRunUnit operator()(const unsigned char*) const { return {0, 0}; }
  uint16_t operator()(wchar16) const { return 0; }
};

// Runs shorter than this are left to the general step.
constexpr size_t kShortestMultiByteRun = 16;

// True when the eight bytes at `in` are all below `asciiEnd` (0x7F or
// 0x80): worth a block copy. Adding 0x80 - asciiEnd to each byte sets its
// top bit exactly when it is not below.
inline bool eightBytesBelow(const unsigned char* in, unsigned asciiEnd) {
  uint64_t bytes;
  std::memcpy(&bytes, in, sizeof bytes);
  const uint64_t raised = bytes + 0x0101010101010101u * (0x80 - asciiEnd);
  return ((bytes | raised) & 0x8080808080808080u) == 0;
}

// True when the eight units at `in` are all below `asciiEnd`.
inline bool eightUnitsBelow(const wchar16* in, unsigned asciiEnd) {
  uint64_t first;
  uint64_t second;
  std::memcpy(&first, in, sizeof first);
  std::memcpy(&second, in + 4, sizeof second);
  const uint64_t step = 0x0001000100010001u * (0x80 - asciiEnd);
  return ((first | second | (first + step) | (second + step)) & 0xFF80FF80FF80FF80u) == 0;
}

// Reads characters with step(at) from the `count` bytes at `in` (none of
// them zero; a step may look at two bytes) into `out`, one unit each, and
// ASCII in blocks when the bytes below `asciiEnd` (0 for none) are their own
// units. Returns the bytes read and units written.
template <typename Step>
KelKernelRun decodeRun(const unsigned char* in, size_t count, wchar16* out, unsigned asciiEnd,
                       Step step) {
  size_t read = 0;
  size_t written = 0;
  while (count - read >= 2) {
    if (asciiEnd != 0 && count - read >= 8 && eightBytesBelow(in + read, asciiEnd)) {
      const size_t ascii = widenAscii(in + read, count - read, out + written, asciiEnd);
      read += ascii;
      written += ascii;
      if (count - read < 2) break;
    }
    const KelRunUnit character = step(in + read);
    if (character.length == 0) break;
    out[written++] = character.unit;
    read += character.length;
  }
  return {read, written};
}

// Writes the `count` units at `in` (none of them zero) to `out` (room
// `room`) while codeOf(unit) gives a code: below 0x100 one byte, else two,
// high first; units below `asciiEnd` (0 for none) in blocks, as their own
// bytes. Returns the units read and bytes written.
template <typename CodeOf>
KelKernelRun encodeRun(const wchar16* in, size_t count, unsigned char* out, size_t room,
                       unsigned asciiEnd, CodeOf codeOf) {
  size_t read = 0;
  size_t written = 0;
  while (read < count && room - written >= 2) {
    if (asciiEnd != 0 && count - read >= 8 && eightUnitsBelow(in + read, asciiEnd)) {
      const size_t left = count - read < room - written ? count - read : room - written;
      const size_t ascii = narrowAscii(in + read, left, out + written, asciiEnd);
      read += ascii;
      written += ascii;
      if (read == count || room - written < 2) break;
    }
    const uint16_t code = codeOf(in[read]);
    if (code == 0) break;
    // Both bytes are stored either way; after a one-byte code the second is
    // overwritten by the next character or by the terminator.
    const unsigned twoBytes = code >= 0x100;
    out[written] = static_cast<unsigned char>(code >> (8 * twoBytes));
    out[written + 1] = static_cast<unsigned char>(code);
    written += 1 + twoBytes;
    ++read;
  }
  return {read, written};
}

// The toUTF16 loop: reads characters with decodeAt(in) (`in` at a non-zero
// byte) into `dst` until a zero byte, until the room is used up, or, after a
// character whose budget is tested, once `srcLimit` bytes (when it is 1 or
// more) have been read. Illegal characters follow `op`. Writes the
// terminator; returns the units written. With a run step, runs of common
// characters are read through it first (see decodeRun).
// A kernel for decodeText: kernel(in, count, out) converts the longest run
// it can, as the run step would (see text_kernels.h); none by default.
struct KelNoKernel {
  KelKernelRun operator()(const unsigned char*, size_t, wchar16*) const { return {0, 0}; }
};

template <typename DecodeAt, typename RunStep = KelNoRunStep, typename Kernel = KelNoKernel>
size_t decodeText(wchar16* dst, const void* src, size_t dstUnits, ILLCHAR_OPTYPE op, bool* illegal,
                  int srcLimit, DecodeAt decodeAt, RunStep runStep = {},
                  unsigned asciiEnd = 0, Kernel kernel = {}) {
  KelIllegalFlag flag(illegal);
  KelUnitWriter out(dst, dstUnits);
  const auto* in = static_cast<const unsigned char*>(src);
  size_t consumed = 0;
  const bool runs =
      (!std::is_same_v<RunStep, KelNoRunStep> || !std::is_same_v<Kernel, KelNoKernel>) &&
      fastPathsOn();
  KelNonZeroRun<unsigned char> known(in);
  while (!out.full() && in[consumed] != 0) {
    if (runs) {
      // Every unit takes at least one byte: the loop reads the room's worth
      // of bytes, or up to the source limit, unless a zero comes first.
      size_t window = out.roomLeft();
      if (srcLimit >= 1) {
        const auto limit = static_cast<size_t>(srcLimit);
        window = consumed >= limit ? 0 : limit - consumed < window ? limit - consumed : window;
      }
      const size_t readable =
          window >= kShortestMultiByteRun ? known.from(in + consumed, window) : 0;
      if (readable >= kShortestMultiByteRun) {
        // The kernel takes whole blocks; where it takes none (a short rest),
        // the run step does.
        const KelKernelRun blocks = kernel(in + consumed, readable, out.next());
        consumed += blocks.read;
        out.advance(blocks.written);
        KelKernelRun run{0, 0};
        if (blocks.read == 0) {
          run = decodeRun(in + consumed, readable, out.next(), asciiEnd, runStep);
          consumed += run.read;
          out.advance(run.written);
        }
        if (blocks.read + run.read != 0 && srcLimit >= 1 &&
            consumed >= static_cast<size_t>(srcLimit)) {
          break;
        }
        if (out.full() || in[consumed] == 0) break;
      }
    }
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
// there. Writes the terminating zero byte; returns the bytes written. With
// a run step, runs of common characters are written through it first (see
// encodeRun).
template <typename EncodeAt, typename CodeOf = KelNoRunStep>
size_t encodeText(void* dst, const wchar16* src, size_t dstBytes, bool* illegal,
                  EncodeAt encodeAt, CodeOf codeOf = {}, unsigned asciiEnd = 0,
                  const uint16_t* unitCodes = nullptr) {
  KelIllegalFlag flag(illegal);
  KelByteWriter out(dst, dstBytes);
  const bool runs = !std::is_same_v<CodeOf, KelNoRunStep> && fastPathsOn();
  KelNonZeroRun<wchar16> known(src);
  for (const wchar16* at = src; !out.full() && *at != 0;) {
    if (runs && out.roomLeft() >= kShortestMultiByteRun) {
      // Every unit becomes at least one byte.
      const size_t readable = known.from(at, out.roomLeft());
      if (readable >= kShortestMultiByteRun) {
        KelKernelRun run{0, 0};
        if (unitCodes != nullptr) {
          run = mapUnitsToCodes(at, readable, unitCodes, asciiEnd, out.next(), out.roomLeft());
          at += run.read;
          out.advance(run.written);
        }
        run = encodeRun(at, readable - run.read, out.next(), out.roomLeft(), asciiEnd, codeOf);
        at += run.read;
        out.advance(run.written);
        if (out.full() || *at == 0) break;
      }
    }
    const size_t taken = encodeAt(at, out, flag);
    if (taken == 0) break;
    at += taken;
  }
  return out.finish();
}

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_MBCS_CONVERSION_H_
