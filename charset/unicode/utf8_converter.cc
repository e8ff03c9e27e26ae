#include "charset/unicode/utf8_converter.h"

#include <cstdint>
#include <cstring>

#include "charset/simd/nonzero_run.h"
#include "charset/simd/simd_level.h"
#include "charset/simd/text_kernels.h"
#include "charset/unmappable.h"

namespace {

// Sequence length of a lead byte by its high four bits; 0 marks a
// continuation byte, which cannot start a sequence.
constexpr unsigned char kSequenceLength[16] = {1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 2, 2, 3, 4};

inline size_t sequenceLength(unsigned char lead) { return kSequenceLength[lead >> 4]; }

// A continuation byte is 10xxxxxx (and so never zero).
inline bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

inline unsigned char continuation(unsigned bits) {
  return static_cast<unsigned char>(0x80 | (bits & 0x3F));
}

// Shorter runs than these are left to the one-character-at-a-time code.
constexpr size_t kShortestByteRun = 16;
constexpr size_t kShortestUnitRun = 16;
constexpr size_t kLeastRoomForUnitRun = 48;

}  // namespace

KelCharSetConverterUTF8::KelCharSetConverterUTF8() : KelCharSetConverter(KelCS_UTF8) {}

KelCharSetConverterUTF8::KelCharSetConverterUTF8(const KelCharSetConverterUTF8& other) = default;

size_t KelCharSetConverterUTF8::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr || srcBytes == 0) return 0;
  const auto* bytes = static_cast<const unsigned char*>(src);
  if (srcBytes == static_cast<size_t>(-1)) srcBytes = std::strlen(static_cast<const char*>(src));
  size_t count = 0;
  size_t at = 0;
  while (at < srcBytes && bytes[at] != 0) {
    const size_t length = sequenceLength(bytes[at]);
    if (length == 0 || length > srcBytes - at) break;
    ++count;
    at += length;
  }
  return count;
}

size_t KelCharSetConverterUTF8::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                        ILLCHAR_OPTYPE, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  const auto* in = static_cast<const unsigned char*>(src);
  wchar16* out = dst;
  size_t room = dstUnits;
  size_t bytesRead = 0;
  bool malformed = false;
  const bool fast = kelulib::fastPathsOn();
  kelulib::KelNonZeroRun<unsigned char> known(in);
  while (room > 0) {
    if (fast && room >= kShortestByteRun) {
      // The plain loop below reads at least `room` bytes (every unit takes
      // one or more) and at most up to the source limit, so a run may look
      // that far ahead.
      size_t window = room;
      if (srcLimit > 0 && static_cast<size_t>(srcLimit) - bytesRead < window) {
        window = static_cast<size_t>(srcLimit) - bytesRead;
      }
      const size_t readable = known.from(in, window);
      if (readable >= kShortestByteRun) {
        const kelulib::KelKernelRun run = kelulib::utf8ToUtf16(in, readable, out);
        in += run.read;
        bytesRead += run.read;
        out += run.written;
        room -= run.written;
        if (run.read != 0 && srcLimit > 0 && bytesRead >= static_cast<size_t>(srcLimit)) break;
        if (room == 0) break;
      }
    }
    const unsigned char lead = in[0];
    if (lead == 0) break;
    size_t consumed = 1;
    switch (sequenceLength(lead)) {
      case 0:  // stray continuation byte: dropped
        malformed = true;
        break;
      case 1:
        *out++ = lead;
        --room;
        break;
      case 2:
        if (isContinuation(in[1])) {
          *out++ = static_cast<wchar16>((lead & 0x1F) << 6 | (in[1] & 0x3F));
          consumed = 2;
        } else {
          *out++ = kelulib::kReplacementCharacter;
          malformed = true;
        }
        --room;
        break;
      case 3:
        if (isContinuation(in[1]) && isContinuation(in[2])) {
          *out++ = static_cast<wchar16>(lead << 12 | (in[1] & 0x3F) << 6 | (in[2] & 0x3F));
          consumed = 3;
        } else {
          *out++ = kelulib::kReplacementCharacter;
          malformed = true;
        }
        --room;
        break;
      default:  // 4
        if (room >= 2 && isContinuation(in[1]) && isContinuation(in[2]) &&
            isContinuation(in[3])) {
          const uint32_t value = static_cast<uint32_t>(lead & 0x0F) << 18 |
                                 static_cast<uint32_t>(in[1] & 0x3F) << 12 |
                                 static_cast<uint32_t>(in[2] & 0x3F) << 6 |
                                 static_cast<uint32_t>(in[3] & 0x3F);
          *out++ = static_cast<wchar16>(0xD7C0 + (value >> 10));
          *out++ = static_cast<wchar16>(0xDC00 + (value & 0x3FF));
          room -= 2;
          consumed = 4;
        } else {
          *out++ = kelulib::kReplacementCharacter;
          --room;
          malformed = true;
        }
        break;
    }
    in += consumed;
    bytesRead += consumed;
    if (srcLimit > 0 && bytesRead >= static_cast<size_t>(srcLimit)) break;
  }
  *out = 0;
  if (malformed && illegal != nullptr) *illegal = true;
  return static_cast<size_t>(out - dst);
}

size_t KelCharSetConverterUTF8::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr || srcUnits == 0) return 0;
  size_t bytes = 0;
  size_t at = 0;
  while (at < srcUnits && src[at] != 0) {
    const wchar16 unit = src[at];
    if (unit < 0x80) {
      bytes += 1;
    } else if (unit < 0x800) {
      bytes += 2;
    } else if (!kelulib::isHighSurrogate(unit)) {
      bytes += 3;
    } else {
      if (at + 1 >= srcUnits || src[at + 1] == 0) break;
      if (kelulib::isLowSurrogate(src[at + 1])) {
        bytes += 4;
        at += 2;
        continue;
      }
      bytes += 1;  // "?"; the next unit is counted on its own
    }
    ++at;
  }
  return bytes;
}

size_t KelCharSetConverterUTF8::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                          ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  auto* const start = static_cast<unsigned char*>(dst);
  unsigned char* out = start;
  size_t room = dstBytes;
  const wchar16* in = src;
  const bool fast = kelulib::fastPathsOn();
  kelulib::KelNonZeroRun<wchar16> known(src);
  while (room > 0) {
    if (fast && room >= kLeastRoomForUnitRun) {
      // Every unit becomes at least one byte: `room` units are as far as the
      // loop below can get.
      kelulib::KelKernelRun run{0, 0};
      if (kelulib::utf16ToUtf8FindsZero(in)) {
        run = kelulib::utf16ToUtf8UpToZero(in, room, out, room);
      } else if (const size_t readable = known.from(in, room); readable >= kShortestUnitRun) {
        run = kelulib::utf16ToUtf8(in, readable, out, room);
      }
      in += run.read;
      out += run.written;
      room -= run.written;
      if (room == 0) break;
    }
    const unsigned unit = *in;
    if (unit == 0) break;
    if (unit < 0x80) {
      *out++ = static_cast<unsigned char>(unit);
      room -= 1;
      in += 1;
    } else if (unit < 0x800) {
      if (room < 2) break;
      *out++ = static_cast<unsigned char>(0xC0 | unit >> 6);
      *out++ = continuation(unit);
      room -= 2;
      in += 1;
    } else if (!kelulib::isHighSurrogate(unit)) {
      if (room < 3) break;
      *out++ = static_cast<unsigned char>(0xE0 | unit >> 12);
      *out++ = continuation(unit >> 6);
      *out++ = continuation(unit);
      room -= 3;
      in += 1;
    } else if (kelulib::isLowSurrogate(in[1])) {
      if (room < 4) break;
      const uint32_t codePoint = (static_cast<uint32_t>(unit) << 10) + in[1] - 0x35FDC00;
      *out++ = static_cast<unsigned char>(0xF0 | ((codePoint >> 18) & 7));
      *out++ = continuation(codePoint >> 12);
      *out++ = continuation(codePoint >> 6);
      *out++ = continuation(codePoint);
      room -= 4;
      in += 2;
    } else {
      // Unpaired high surrogate.
      if (illegal != nullptr) *illegal = true;
      const size_t written =
          kelulib::writeUnmappable(out, room, static_cast<wchar16>(unit), op);
      if (written == 0) break;
      out += written;
      if (written == kelulib::kUnitEscapeLength) {
        // The escape counts five bytes against the room, and the unit after
        // the surrogate is dropped; a terminator there ends the text.
        room -= written - 1;
        if (in[1] == 0) break;
        in += 2;
      } else {
        room -= written;
        in += 1;
      }
    }
  }
  *out = 0;
  return static_cast<size_t>(out - start);
}

size_t KelCharSetConverterUTF8::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterUTF8::getMaxUnitSize() const { return 3; }
size_t KelCharSetConverterUTF8::getNullCharSize() const { return 1; }
