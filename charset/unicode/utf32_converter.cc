#include "charset/unicode/utf32_converter.h"

#include <cstdint>
#include <cstring>

#include "charset/unmappable.h"

namespace {

constexpr size_t kValueSize = 4;

// UTF-32 local text may sit at any address: read and write it bytewise.
inline uint32_t loadValue(const unsigned char* at) {
  uint32_t value = 0;
  std::memcpy(&value, at, sizeof value);
  return value;
}

inline void storeValue(unsigned char* at, uint32_t value) { std::memcpy(at, &value, sizeof value); }

// Length of the sequence a lead byte starts, 0 for a byte that cannot.
inline size_t leadLength(unsigned char byte) {
  if (byte < 0x80) return 1;
  if (byte < 0xC0) return 0;
  if (byte < 0xE0) return 2;
  if (byte < 0xF0) return 3;
  if (byte < 0xF8) return 4;
  if (byte < 0xFC) return 5;
  if (byte < 0xFE) return 6;
  return 0;
}

// Smallest value that a sequence of each length may encode.
constexpr uint32_t kSmallestValue[7] = {0, 0, 0x80, 0x800, 0x10000, 0x200000, 0x4000000};

// Bytes of the 31-bit UTF-8 encoding of `value` (below 0x80000000).
size_t encodedLength(uint32_t value) {
  if (value < 0x80) return 1;
  if (value < 0x800) return 2;
  if (value < 0x10000) return 3;
  if (value < 0x200000) return 4;
  if (value < 0x4000000) return 5;
  return 6;
}

// Lead-byte marker and the mask of the value bits the lead byte carries.
constexpr unsigned char kLeadMarker[7] = {0, 0, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
constexpr unsigned char kLeadBits[7] = {0, 0x7F, 0x1F, 0x0F, 0x07, 0x03, 0x01};

size_t encodeUtf8(uint32_t value, unsigned char* out) {
  const size_t length = encodedLength(value);
  if (length == 1) {
    out[0] = static_cast<unsigned char>(value);
    return 1;
  }
  for (size_t i = length - 1; i > 0; --i) {
    out[i] = static_cast<unsigned char>(0x80 | (value & 0x3F));
    value >>= 6;
  }
  out[0] = static_cast<unsigned char>(kLeadMarker[length] | (value & kLeadBits[length]));
  return length;
}

constexpr unsigned char kEncodedReplacement[3] = {0xEF, 0xBF, 0xBD};

}  // namespace

KelCharSetConverterUTF32::KelCharSetConverterUTF32() : KelCharSetConverter(KelCS_UTF32) {}

KelCharSetConverterUTF32::KelCharSetConverterUTF32(const KelCharSetConverterUTF32& other) = default;

size_t KelCharSetConverterUTF32::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr || srcBytes == 0) return 0;
  const auto* bytes = static_cast<const unsigned char*>(src);
  const size_t maxValues = srcBytes == static_cast<size_t>(-1) ? srcBytes : srcBytes / kValueSize;
  size_t count = 0;
  while (count < maxValues && loadValue(bytes + kValueSize * count) != 0) ++count;
  return count;
}

size_t KelCharSetConverterUTF32::toUTF16(wchar16* dst, void const* src, size_t dstUnits,
                                         ILLCHAR_OPTYPE, bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  const auto* in = static_cast<const unsigned char*>(src);
  size_t count = 0;
  for (int limit = srcLimit; count < dstUnits && limit != 0; in += kValueSize) {
    const uint32_t value = loadValue(in);
    if (value == 0) break;
    if (value < 0x10000) {
      dst[count++] = static_cast<wchar16>(value);
    } else {
      if (dstUnits - count < 2) break;
      dst[count++] = static_cast<wchar16>(0xD7C0 + (value >> 10));
      dst[count++] = static_cast<wchar16>(0xDC00 + (value & 0x3FF));
    }
    if (limit > 0) --limit;
  }
  dst[count] = 0;
  return count;
}

size_t KelCharSetConverterUTF32::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr || srcUnits == 0) return 0;
  size_t values = 0;
  size_t at = 0;
  while (at < srcUnits && src[at] != 0) {
    if (kelulib::isHighSurrogate(src[at])) {
      if (at + 1 >= srcUnits || src[at + 1] == 0) break;
      if (kelulib::isLowSurrogate(src[at + 1])) ++at;  // the pair is one value
    }
    ++values;
    ++at;
  }
  return kValueSize * values;
}

size_t KelCharSetConverterUTF32::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes,
                                           ILLCHAR_OPTYPE op, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  auto* const out = static_cast<unsigned char*>(dst);
  const size_t room = dstBytes / kValueSize;
  size_t count = 0;
  const wchar16* in = src;
  while (count < room && *in != 0) {
    const uint32_t unit = *in;
    if (!kelulib::isHighSurrogate(unit)) {
      storeValue(out + kValueSize * count++, unit);
      in += 1;
    } else if (kelulib::isLowSurrogate(in[1])) {
      storeValue(out + kValueSize * count++, (unit << 10) + in[1] - 0x35FDC00);
      in += 2;
    } else {
      if (illegal != nullptr) *illegal = true;
      if (op == ILLCHAR_STOP) break;
      if (op == ILLCHAR_ESCAPE) {
        if (room - count < kelulib::kUnitEscapeLength) break;
        unsigned char escape[kelulib::kUnitEscapeLength];
        kelulib::formatUnitEscape(static_cast<wchar16>(unit), escape);
        for (unsigned char c : escape) storeValue(out + kValueSize * count++, c);
      } else {
        storeValue(out + kValueSize * count++, kelulib::kReplacementByte);
      }
      in += 1;  // the next unit is converted on its own
    }
  }
  storeValue(out + kValueSize * count, 0);
  return kValueSize * count;
}

unsigned int KelCharSetConverterUTF32::UTF32fromUTF8(unsigned char** p) {
  const unsigned char* in = *p;
  const size_t length = leadLength(in[0]);
  if (length == 1) {
    *p += 1;
    return in[0];
  }
  if (length == 0) {
    *p += 1;
    return kelulib::kReplacementCharacter;
  }
  uint32_t value = in[0] & kLeadBits[length];
  for (size_t i = 1; i < length; ++i) {
    if ((in[i] & 0xC0) != 0x80) {
      *p += 1;
      return kelulib::kReplacementCharacter;
    }
    value = value << 6 | (in[i] & 0x3F);
  }
  *p += length;
  if (value < kSmallestValue[length] || (value >= 0xD800 && value <= 0xDFFF) || value == 0xFFFE ||
      value == 0xFFFF) {
    return kelulib::kReplacementCharacter;
  }
  return value;
}

size_t KelCharSetConverterUTF32::fromUTF8(void* dst, unsigned char const* src, size_t n,
                                          ILLCHAR_OPTYPE, bool* illegal) {
  if (dst == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  auto* const out = static_cast<unsigned char*>(dst);
  // The decoder advances a mutable pointer but never writes through it.
  auto* in = const_cast<unsigned char*>(src);
  size_t count = 0;
  while (in != nullptr && count < n) {
    const uint32_t value = UTF32fromUTF8(&in);
    if (value == 0) break;
    storeValue(out + kValueSize * count++, value);
  }
  storeValue(out + kValueSize * count, 0);
  return count;
}

size_t KelCharSetConverterUTF32::toUTF8(unsigned char* dst, void const* src, size_t n,
                                        ILLCHAR_OPTYPE, bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  const auto* in = static_cast<const unsigned char*>(src);
  size_t count = 0;
  while (count < n) {
    const uint32_t value = loadValue(in);
    in += kValueSize;
    if (value == 0) {
      dst[count] = 0;  // the terminator; not counted
      return count;
    }
    if ((value >= 0xD800 && value <= 0xDFFF) || value >= 0x80000000u) {
      std::memcpy(dst + count, kEncodedReplacement, sizeof kEncodedReplacement);
      count += sizeof kEncodedReplacement;
      if (illegal != nullptr) *illegal = true;
    } else {
      count += encodeUtf8(value, dst + count);
    }
  }
  // Room is checked between characters only: the last one may overrun n,
  // and a terminator follows only an output that filled n exactly.
  if (count == n) dst[count] = 0;
  return count;
}

size_t KelCharSetConverterUTF32::getMinUnitSize() const { return 4; }
size_t KelCharSetConverterUTF32::getMaxUnitSize() const { return 4; }
size_t KelCharSetConverterUTF32::getNullCharSize() const { return 4; }
