#include "charset/unicode/utf16_converters.h"

#include <cstring>

#include "charset/unmappable.h"

namespace {

// UTF-16 local text may sit at any address: read and write it bytewise.
inline wchar16 loadUnit(const unsigned char* at) {
  wchar16 unit = 0;
  std::memcpy(&unit, at, sizeof unit);
  return unit;
}

inline void storeUnit(unsigned char* at, wchar16 unit) { std::memcpy(at, &unit, sizeof unit); }

}  // namespace

// --- KelCharSetConverterUTF16 ---------------------------------------------

KelCharSetConverterUTF16::KelCharSetConverterUTF16() : KelCharSetConverter(KelCS_UTF16) {}

KelCharSetConverterUTF16::KelCharSetConverterUTF16(const KelCharSetConverterUTF16& other) = default;

size_t KelCharSetConverterUTF16::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr || srcBytes == 0) return 0;
  const auto* bytes = static_cast<const unsigned char*>(src);
  const size_t maxUnits = srcBytes == static_cast<size_t>(-1) ? srcBytes : srcBytes / 2;
  size_t count = 0;
  while (count < maxUnits && loadUnit(bytes + 2 * count) != 0) ++count;
  return count;
}

size_t KelCharSetConverterUTF16::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                         ILLCHAR_OPTYPE, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  const auto* bytes = static_cast<const unsigned char*>(src);
  size_t count = 0;
  for (int limit = srcLimit; count < dstUnits && limit > 0; --limit) {
    const wchar16 unit = loadUnit(bytes + 2 * count);
    if (unit == 0) break;
    dst[count++] = unit;
  }
  dst[count] = 0;
  return count;
}

size_t KelCharSetConverterUTF16::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr || srcUnits == 0) return 0;
  size_t count = 0;
  while (count < srcUnits && src[count] != 0) ++count;
  return 2 * count;
}

size_t KelCharSetConverterUTF16::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                           ILLCHAR_OPTYPE, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  auto* out = static_cast<unsigned char*>(dst);
  const size_t roomUnits = dstBytes / 2;
  size_t count = 0;
  while (count < roomUnits && src[count] != 0) {
    storeUnit(out + 2 * count, src[count]);
    ++count;
  }
  storeUnit(out + 2 * count, 0);
  return 2 * count;
}

size_t KelCharSetConverterUTF16::getMinUnitSize() const { return 2; }
size_t KelCharSetConverterUTF16::getMaxUnitSize() const { return 2; }
size_t KelCharSetConverterUTF16::getNullCharSize() const { return 2; }

// --- KelCharSetConverterUTF16Esc ------------------------------------------

KelCharSetConverterUTF16Esc::KelCharSetConverterUTF16Esc() : KelCharSetConverter(KelCS_UTF16ESC) {}

KelCharSetConverterUTF16Esc::KelCharSetConverterUTF16Esc(const KelCharSetConverterUTF16Esc& other) =
    default;

size_t KelCharSetConverterUTF16Esc::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr || srcBytes == 0) return 0;
  const auto* bytes = static_cast<const unsigned char*>(src);
  if (srcBytes == static_cast<size_t>(-1)) srcBytes = std::strlen(static_cast<const char*>(src));
  size_t count = 0;
  size_t at = 0;
  wchar16 unit = 0;
  while (at < srcBytes && bytes[at] != 0) {
    const bool escape = srcBytes - at >= kelulib::kUnitEscapeLength &&
                        kelulib::parseUnitEscape(bytes + at, &unit);
    at += escape ? kelulib::kUnitEscapeLength : 1;
    ++count;
  }
  return count;
}

size_t KelCharSetConverterUTF16Esc::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                            ILLCHAR_OPTYPE, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  const auto* in = static_cast<const unsigned char*>(src);
  size_t count = 0;
  size_t bytesRead = 0;
  while (count < dstUnits && in[bytesRead] != 0) {
    wchar16 unit = 0;
    if (kelulib::parseUnitEscape(in + bytesRead, &unit)) {
      bytesRead += kelulib::kUnitEscapeLength;
    } else {
      // Any other byte stands for itself, read as a signed 8-bit value.
      unit = static_cast<wchar16>(static_cast<signed char>(in[bytesRead]));
      bytesRead += 1;
    }
    dst[count++] = unit;
    if (srcLimit > 0 && bytesRead >= static_cast<size_t>(srcLimit)) break;
  }
  dst[count] = 0;
  return count;
}

size_t KelCharSetConverterUTF16Esc::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr || srcUnits == 0) return 0;
  size_t bytes = 0;
  for (size_t at = 0; at < srcUnits && src[at] != 0; ++at) {
    bytes += src[at] < 0x80 ? 1 : kelulib::kUnitEscapeLength;
  }
  return bytes;
}

size_t KelCharSetConverterUTF16Esc::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                              ILLCHAR_OPTYPE, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  auto* const start = static_cast<unsigned char*>(dst);
  unsigned char* out = start;
  size_t room = dstBytes;
  for (const wchar16* in = src; *in != 0; ++in) {
    if (*in < 0x80) {
      if (room == 0) break;
      *out++ = static_cast<unsigned char>(*in);
      room -= 1;
    } else {
      if (room < kelulib::kUnitEscapeLength) break;
      kelulib::formatUnitEscape(*in, out);
      out += kelulib::kUnitEscapeLength;
      room -= kelulib::kUnitEscapeLength;
    }
  }
  *out = 0;
  return static_cast<size_t>(out - start);
}

size_t KelCharSetConverterUTF16Esc::getMinUnitSize() const { return 1; }
size_t KelCharSetConverterUTF16Esc::getMaxUnitSize() const { return 6; }
size_t KelCharSetConverterUTF16Esc::getNullCharSize() const { return 1; }
