// The converters' fast paths: block-at-a-time kernels for the common runs of
// text. Each converts the longest run it can at its start and returns how
// much it read and wrote; it never converts a character that needs the
// converter's own rules (malformed or unmappable input, surrogates, four-byte
// sequences), so the converter's plain code takes over exactly there and the
// output is the same as without the kernel.
//
// Shared preconditions: the `count` input units from `in` on are readable and
// none of them is zero; the output has room for what the kernel may write
// (stated per kernel). Every kernel returns {0, 0} at KelSimdLevel::kScalar
// and may leave a short tail of a run to the caller.
#ifndef KELULIB_CHARSET_SIMD_TEXT_KERNELS_H_
#define KELULIB_CHARSET_SIMD_TEXT_KERNELS_H_

#include <cstddef>
#include <cstdint>

#include "charset/charset_id.h"

namespace kelulib {

struct KelKernelRun {
  size_t read;
  size_t written;
};

// Bytes below 0x80 to the units of the same value. Writes at most `count`
// units.
size_t widenAscii(const unsigned char* in, size_t count, wchar16* out);

// Units below 0x80 to the bytes of the same value. Writes at most `count`
// bytes.
size_t narrowAscii(const wchar16* in, size_t count, unsigned char* out);

// UTF-8 sequences of one to three bytes whose continuation bytes are all
// there, to one unit each (the low 16 bits of the value the lead and
// continuation bits spell, without range checks). Writes at most `count`
// units. Stops before a continuation byte that no lead byte expects, before
// a lead byte whose sequence is cut short, and before any lead byte of 0xF0
// or above.
KelKernelRun utf8ToUtf16(const unsigned char* in, size_t count, wchar16* out);

// Units that are not surrogates to their UTF-8 sequences of one to three
// bytes. Writes at most `room` bytes.
KelKernelRun utf16ToUtf8(const wchar16* in, size_t count, unsigned char* out, size_t room);

// Bytes to the units `table` (256 entries) gives them. Stops before a byte
// whose entry is 0. Writes at most `count` units.
size_t mapBytesToUnits(const unsigned char* in, size_t count, const wchar16* table,
                       wchar16* out);

// Units below 0x100 to the bytes `table` (256 entries) gives them. Stops
// before a unit of 0x100 or above and before one whose entry is 0. Writes at
// most `count` bytes.
size_t mapLowUnitsToBytes(const wchar16* in, size_t count, const unsigned char* table,
                          unsigned char* out);

// Units to the codes `codes` (65,536 entries and two more, readable) gives
// them: a code below 0x100 as one byte, any other as two, high first. Stops
// before a surrogate and before a unit whose code is 0. Writes at most
// `room` bytes.
KelKernelRun mapUnitsToCodes(const wchar16* in, size_t count, const uint16_t* codes,
                             unsigned char* out, size_t room);

// True when mapUnitsToCodes converts anything at the active level, so that
// its table is worth building.
bool unitCodeLookupsOn();

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_TEXT_KERNELS_H_
