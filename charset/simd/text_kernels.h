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
#include "charset/simd/pair_decoding.h"

namespace kelulib {

struct KelKernelRun {
  size_t read;
  size_t written;
};

// The ASCII runs of most character sets end at 0x80; the EUC sets' at 0x7F.
constexpr unsigned kAsciiEnd = 0x80;

// Bytes below `end` (1 to 0x80) to the units of the same value. Writes at
// most `count` units.
size_t widenAscii(const unsigned char* in, size_t count, wchar16* out, unsigned end = kAsciiEnd);

// Units below `end` (1 to 0x80) to the bytes of the same value. Writes at
// most `count` bytes.
size_t narrowAscii(const wchar16* in, size_t count, unsigned char* out, unsigned end = kAsciiEnd);

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

// True when utf16ToUtf8UpToZero converts text at `in` at the active level.
bool utf16ToUtf8FindsZero(const wchar16* in);

// As utf16ToUtf8, for a text whose run is not known in advance: converts up
// to its first zero unit (not included) and at most `window` units, finding
// the zero itself. It reads the text only in whole aligned 32-byte blocks
// (never crossing into another page), so it may read the bytes of such a
// block past the terminator, or before `in`, without using them. Returns
// {0, 0} where utf16ToUtf8FindsZero is false.
KelKernelRun utf16ToUtf8UpToZero(const wchar16* in, size_t window, unsigned char* out,
                                 size_t room);

// Bytes to the units `table` (256 entries) gives them. Stops before a byte
// whose entry is 0. Writes at most `count` units.
size_t mapBytesToUnits(const unsigned char* in, size_t count, const wchar16* table, wchar16* out);

// Units below 0x100 to the bytes `table` (256 entries) gives them. Stops
// before a unit of 0x100 or above and before one whose entry is 0. Writes at
// most `count` bytes.
size_t mapLowUnitsToBytes(const wchar16* in, size_t count, const unsigned char* table,
                          unsigned char* out);

// Units to the codes `codes` (65,536 entries and two more, readable) gives
// them: a code below 0x100 as one byte, any other as two, high first. Stops
// before a surrogate and before a unit whose code is 0. Units below
// `asciiEnd` (0 for none) must have themselves as codes; their runs are
// copied in blocks. Writes at most `room` bytes.
KelKernelRun mapUnitsToCodes(const wchar16* in, size_t count, const uint16_t* codes,
                             unsigned asciiEnd, unsigned char* out, size_t room);

// EUC text (EUC-CN, EUC-KR) to UTF-16: bytes below 0x7F to themselves, and
// pairs of bytes 0xA1-0xFE to `unitsOfCodes[(first & 0x7F) << 8 | (second &
// 0x7F)]` (a table of 65,536 units and two more, readable). Stops before any
// other byte, before a 0xA1-0xFE byte without a partner, and before a pair
// whose unit is 0. Writes at most `count` units.
KelKernelRun eucToUtf16(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                        wchar16* out);

// Bytes to the UTF-8 sequences `sequences` (256 entries) gives them: an
// entry holds the sequence's bytes, first byte lowest, in bits 0-23 and its
// length (1 to 3) in bits 24-31; 0 for a byte the kernel leaves to its
// caller. Every byte 0x01-0x7F must have itself as its sequence (its runs
// are copied in blocks). Stops before a byte whose entry is 0, and before
// that only when the room runs short: with room for three bytes a byte and
// one more, it never does. Writes at most `room` bytes.
KelKernelRun mapBytesToUtf8(const unsigned char* in, size_t count, const uint32_t* sequences,
                            unsigned char* out, size_t room);

// Double-byte text as `decoding` describes it (see pair_decoding.h) to
// UTF-16: bytes below decoding.asciiEnd that start a character to
// themselves, pairs to `unitsOfCodes[code]` (a table of 65,536 units and two
// more, readable), and, when decoding.singlesLookedUp, other bytes that
// start a character to the unit of their own code. The start of `in` must
// be a character boundary. Stops before a lead byte that no trail byte
// follows, before a byte that starts a character and neither is below
// asciiEnd nor is looked up, and before a character whose unit is 0. Writes
// at most `count` units.
KelKernelRun pairsToUtf16(const unsigned char* in, size_t count, const uint16_t* unitsOfCodes,
                          const KelPairDecoding& decoding, wchar16* out);

// True when pairsToUtf16 converts anything at the active level, so that the
// table of units it reads is worth building.
bool pairKernelsOn();

// True when the table kernels mapUnitsToCodes and eucToUtf16 convert
// anything at the active level, so that their tables are worth building.
bool tableKernelsOn();

}  // namespace kelulib

#endif  // KELULIB_CHARSET_SIMD_TEXT_KERNELS_H_
