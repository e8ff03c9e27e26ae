#include "tools/kelconv/ascii_converter.h"

#include <cstring>

namespace kelconv {
namespace {

constexpr unsigned kAsciiEnd = 0x80;
constexpr size_t kEscapeLength = 6;  // "U+XXXX"

// Elements before the first zero or non-ASCII one, at most `limit`.
template <typename Element>
size_t asciiPrefix(const Element* text, size_t limit) {
  size_t n = 0;
  while (n < limit && text[n] != 0 && static_cast<unsigned>(text[n]) < kAsciiEnd) ++n;
  return n;
}

KelCharSetConverter& latin1() { return *KelCharSetConverter::getConverter(KelCS_ISO_8859_1); }

}  // namespace

AsciiConverter::AsciiConverter() : KelCharSetConverter(KelCS_ISO_8859_1) {}

AsciiConverter& AsciiConverter::instance() {
  static AsciiConverter converter;
  return converter;
}

size_t AsciiConverter::getNumUnits(void const* src, size_t srcBytes) {
  if (src == nullptr) return 0;
  const auto* in = static_cast<const unsigned char*>(src);
  return asciiPrefix(in, srcBytes == static_cast<size_t>(-1)
                             ? std::strlen(static_cast<const char*>(src))
                             : srcBytes);
}

size_t AsciiConverter::toUTF16(wchar16* dst, void const* src, size_t dstUnits, ILLCHAR_OPTYPE op,
                               bool* illegal, int srcLimit) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  const auto* in = static_cast<const unsigned char*>(src);
  size_t budget = srcLimit > 0 ? static_cast<size_t>(srcLimit) : static_cast<size_t>(-1);
  size_t written = 0;
  while (written < dstUnits && budget > 0 && *in != 0) {
    const size_t run = asciiPrefix(in, std::min(dstUnits - written, budget));
    if (run > 0) {
      latin1().toUTF16(dst + written, in, run, ILLCHAR_REPLACE, nullptr, static_cast<int>(run));
      in += run;
      written += run;
      budget -= run;
      continue;
    }
    // A byte 0x80-0xFF.
    if (illegal != nullptr) *illegal = true;
    if (op == ILLCHAR_STOP) break;
    dst[written++] = 0xFFFD;
    ++in;
    --budget;
  }
  dst[written] = 0;
  return written;
}

size_t AsciiConverter::getNumBytes(wchar16 const* src, size_t srcUnits) {
  if (src == nullptr) return 0;
  size_t n = 0;
  while (n < srcUnits && src[n] != 0) ++n;
  return n;
}

size_t AsciiConverter::fromUTF16(void* dst, wchar16 const* src, size_t dstBytes, ILLCHAR_OPTYPE op,
                                 bool* illegal) {
  if (dst == nullptr || src == nullptr) return 0;
  if (illegal != nullptr) *illegal = false;
  auto* out = static_cast<unsigned char*>(dst);
  size_t written = 0;
  while (written < dstBytes && *src != 0) {
    const size_t run = asciiPrefix(src, dstBytes - written);
    if (run > 0) {
      latin1().fromUTF16(out + written, src, run, ILLCHAR_REPLACE, nullptr);
      src += run;
      written += run;
      continue;
    }
    // A unit above 0x7F.
    if (illegal != nullptr) *illegal = true;
    if (op == ILLCHAR_STOP) break;
    if (op == ILLCHAR_ESCAPE) {
      if (dstBytes - written < kEscapeLength) break;
      const wchar16 unit[2] = {*src, 0};
      KelCharSetConverter::getConverter(KelCS_UTF16ESC)
          ->fromUTF16(out + written, unit, kEscapeLength, ILLCHAR_ESCAPE, nullptr);
      written += kEscapeLength;
    } else {
      out[written++] = '?';
    }
    ++src;
  }
  out[written] = 0;
  return written;
}

size_t AsciiConverter::getMinUnitSize() const { return 1; }
size_t AsciiConverter::getMaxUnitSize() const { return 1; }
size_t AsciiConverter::getNullCharSize() const { return 1; }

}  // namespace kelconv
