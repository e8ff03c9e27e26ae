// KelUString: construction, assignment and the narrow and UTF-32 renderings.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>

#include "charset/converter.h"
#include "charset/registry.h"
#include "charset/scratch_buffer.h"
#include "platform/string_resource_loader.h"
#include "ustring/ustring.h"

namespace {

// Zeros after narrow text that the string makes itself: a whole terminator
// for every converter, so none reads beyond the text.
constexpr size_t kNarrowTerminatorBytes = 4;
// Slack after the narrow cache's converted bytes, for the converter's
// terminator.
constexpr size_t kNarrowCacheSlack = 8;
// Room of the area that copy(KelPascalString*) converts into.
constexpr size_t kPascalRoom = 255;
// Units that the string table stand-in may copy, terminator included.
constexpr size_t kResourceBufferUnits = 512;
// "No byte limit" for toUTF16.
constexpr int kNoSourceLimit = -1;

// What empty strings hand out as their narrow text: a zero of every width.
alignas(8) const char kEmptyText[8] = {};

KelCharSetConverter* osConverter() { return kelulib::cachedOsConverter(); }

KelCharSetConverter* utf32Converter() { return kelulib::charSetRegistry().lookUp(KelCS_UTF32); }

size_t unitCount(const wchar16* text) {
  size_t n = 0;
  while (text[n] != 0) ++n;
  return n;
}

const char* pascalText(const KelPascalString& p) {
  return reinterpret_cast<const char*>(&p) + offsetof(KelPascalString, text);
}

char* pascalText(KelPascalString& p) {
  return reinterpret_cast<char*>(&p) + offsetof(KelPascalString, text);
}

// The text of a KelPascalString, copied and followed by a whole
// terminator. The record's storage ends with its text, but a converter
// looks at the byte after a lead byte whatever its source limit says, so
// the text is converted from this copy, never in place.
class TerminatedPascalText {
 public:
  explicit TerminatedPascalText(const KelPascalString& p) {
    std::memcpy(m_bytes, pascalText(p), p.length);
    std::memset(m_bytes + p.length, 0, kNarrowTerminatorBytes);
  }
  const char* data() const { return m_bytes; }

 private:
  char m_bytes[255 + kNarrowTerminatorBytes];
};

const wchar16* bstrText(const KelBSTR& b) {
  return reinterpret_cast<const wchar16*>(reinterpret_cast<const char*>(&b) +
                                          offsetof(KelBSTR, text));
}

wchar16* bstrText(KelBSTR& b) {
  return reinterpret_cast<wchar16*>(reinterpret_cast<char*>(&b) + offsetof(KelBSTR, text));
}

// Decimal text of `value` into `out` (room for 12 units), returning its length.
size_t formatDecimal(int value, wchar16* out) {
  wchar16 digits[10];
  size_t count = 0;
  uint32_t magnitude = value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
  do {
    digits[count++] = static_cast<wchar16>(u'0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  size_t length = 0;
  if (value < 0) out[length++] = u'-';
  while (count > 0) out[length++] = digits[--count];
  return length;
}

// `n` bytes of value `c` followed by a whole terminator, on the stack for
// short runs and on the heap beyond.
class RepeatedBytes {
 public:
  RepeatedBytes(char c, size_t n) : m_bytes(checkedSize(n)) {
    if (m_bytes.data() == nullptr) throw std::bad_alloc();
    std::memset(m_bytes.data(), static_cast<unsigned char>(c), n);
    std::memset(m_bytes.data() + n, 0, kNarrowTerminatorBytes);
  }
  const char* data() const { return m_bytes.data(); }

 private:
  static size_t checkedSize(size_t n) {
    if (n > SIZE_MAX - kNarrowTerminatorBytes) throw std::bad_alloc();
    return n + kNarrowTerminatorBytes;
  }
  kelulib::KelScratchBuffer<char, KelUString::kLocalCapacity + kNarrowTerminatorBytes> m_bytes;
};

}  // namespace

// --- Construction -----------------------------------------------------------

KelUString::KelUString(const KelUString& s, size_t pos, size_t count) {
  initForAlloc();
  pos = std::min(pos, s.size());
  count = std::min(count, s.size() - pos);
  initFromUnits(s.c_wstr() + pos, count);
}

KelUString::KelUString(wchar16 c) {
  initForAlloc();
  if (c != 0) initFromUnits(&c, 1);
}

KelUString::KelUString(wchar16 c, size_t n) {
  initForAlloc();
  if (c == 0 || n == 0) return;
  KelStrData& data = *SetupSpace(n);
  std::fill_n(data.m_pData, n, c);
  data.m_pData[n] = 0;
  data.m_nLength = n;
}

KelUString::KelUString(const wchar16* s) {
  initForAlloc();
  if (s != nullptr) initFromUnits(s, unitCount(s));
}

KelUString::KelUString(const wchar16* s, size_t n) {
  initForAlloc();
  if (s == nullptr || n == 0) return;
  KelStrData& data = *SetupSpace(n);
  size_t count = 0;
  while (count < n && s[count] != 0) {
    data.m_pData[count] = s[count];
    ++count;
  }
  data.m_pData[count] = 0;
  data.m_nLength = count;
}

KelUString::KelUString(const wchar16* first, const wchar16* last) {
  initForAlloc();
  if (first == nullptr || last == nullptr || !std::less<const wchar16*>()(first, last)) return;
  initFromUnits(first, static_cast<size_t>(last - first));
}

KelUString::KelUString(int value) {
  initForAlloc();
  wchar16 text[12];
  initFromUnits(text, formatDecimal(value, text));
}

KelUString::KelUString(char c, KelCharSet cs) {
  initForAlloc();
  if (c == 0) return;
  const char text[1 + kNarrowTerminatorBytes] = {c};
  initFromNarrow(KelCharSetConverter::getConverter(cs), text, 1, kNoSourceLimit);
}

KelUString::KelUString(char c, size_t n, KelCharSet cs) {
  initForAlloc();
  initFromRepeatedByte(c, n, cs);
}

KelUString::KelUString(const char* s, KelCharSet cs) {
  initForAlloc();
  if (s != nullptr) initFromNarrow(KelCharSetConverter::getConverter(cs), s, SIZE_MAX, kNoSourceLimit);
}

KelUString::KelUString(const char* s, size_t n, KelCharSet cs) {
  initForAlloc();
  if (s != nullptr) initFromNarrow(KelCharSetConverter::getConverter(cs), s, n, kNoSourceLimit);
}

KelUString::KelUString(const KelPascalString& p, KelCharSet cs) {
  initForAlloc();
  const TerminatedPascalText text(p);
  initFromNarrow(KelCharSetConverter::getConverter(cs), text.data(), p.length, p.length);
}

KelUString::KelUString(const KelPascalString* p, KelCharSet cs) {
  initForAlloc();
  if (p != nullptr) {
    const TerminatedPascalText text(*p);
    initFromNarrow(KelCharSetConverter::getConverter(cs), text.data(), p->length, p->length);
  }
}

KelUString::KelUString(const KelBSTR& b) {
  initForAlloc();
  initFromUnits(bstrText(b), b.length);
}

KelUString::KelUString(const KelBSTR* b) {
  initForAlloc();
  if (b != nullptr) initFromUnits(bstrText(*b), b->length);
}

KelUString::KelUString(KelModuleHandle module, unsigned int id) {
  initForAlloc();
  initFromResource(module, id);
}

void KelUString::initFromNarrow(KelCharSetConverter* converter, const void* src, size_t srcBytes,
                                int srcLimit) {
  const size_t units = converter->getNumUnits(src, srcBytes);
  if (units == 0) return;
  KelStrData& data = *SetupSpace(units);
  data.m_nLength = converter->toUTF16(data.m_pData, src, units, ILLCHAR_REPLACE, nullptr, srcLimit);
}

void KelUString::initFromRepeatedByte(char c, size_t n, KelCharSet cs) {
  if (c == 0 || n == 0) return;
  const RepeatedBytes bytes(c, n);
  initFromNarrow(KelCharSetConverter::getConverter(cs), bytes.data(), n, kNoSourceLimit);
}

void KelUString::initFromResource(KelModuleHandle module, unsigned int id) {
  wchar16 buffer[kResourceBufferUnits];
  const size_t units = kelulib::loadStringResource(module, id, buffer, kResourceBufferUnits);
  if (units > 0) copyIn(buffer, units);
}

// --- Assignment -------------------------------------------------------------

KelUString& KelUString::assign(const KelUString& s) {
  if (&s == this) return *this;
  dropNarrowCache();
  freeHeapBlock();
  initFromUnits(s.c_wstr(), s.size());
  return *this;
}

KelUString& KelUString::operator=(const KelUString& s) {
  if (&s != this) assign(s);
  return *this;
}

KelUString& KelUString::assign(char c, KelCharSet cs) { return assign(KelUString(c, cs)); }

KelUString& KelUString::assign(char c, size_t n, KelCharSet cs) {
  return assign(KelUString(c, n, cs));
}

KelUString& KelUString::assign(wchar16 c, size_t n) { return assign(KelUString(c, n)); }

KelUString& KelUString::assign(wchar16 c) { return *this = c; }

KelUString& KelUString::operator=(const wchar16* s) {
  if (s == nullptr || s[0] == 0) {
    makeEmpty();
  } else {
    copyIn(s, unitCount(s));
  }
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::operator=(wchar16 c) {
  if (c == 0) {
    makeEmpty();
  } else {
    copyIn(&c, 1);
  }
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::operator=(const KelBSTR& b) {
  if (b.length == 0) {
    makeEmpty();
  } else {
    copyIn(bstrText(b), b.length);
  }
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::operator=(const char* s) {
  if (s == nullptr) {
    makeEmpty();
    dropNarrowCache();
    return *this;
  }
  assignFromNarrow(osConverter(), s, SIZE_MAX, kNoSourceLimit);
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::operator=(const KelPascalString* p) {
  if (p == nullptr || p->length == 0) {
    makeEmpty();
    dropNarrowCache();
    return *this;
  }
  const TerminatedPascalText text(*p);
  assignFromNarrow(osConverter(), text.data(), p->length, p->length);
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::operator=(char c) {
  const char text[1 + kNarrowTerminatorBytes] = {c};
  // The narrow cache stays when the byte gives text: this is the one
  // assignment that keeps it.
  if (c == 0 || !assignFromNarrow(osConverter(), text, 1, kNoSourceLimit)) {
    makeEmpty();
    dropNarrowCache();
  }
  return *this;
}

// Converts `src` into this string's buffer, growing it exactly when it is
// short; empties the string and returns false when the text gives no unit.
// The caller drops the narrow cache afterwards, since `src` may be that
// cache.
bool KelUString::assignFromNarrow(KelCharSetConverter* converter, const void* src,
                                  size_t srcBytes, int srcLimit) {
  const size_t units = converter->getNumUnits(src, srcBytes);
  if (units == 0) {
    makeEmpty();
    return false;
  }
  assureSize(units);
  KelStrData& data = *m_pStrData;
  data.m_nLength = converter->toUTF16(data.m_pData, src, units, ILLCHAR_REPLACE, nullptr, srcLimit);
  return true;
}

KelUString& KelUString::LoadResString(KelModuleHandle module, unsigned int id) {
  dropNarrowCache();
  freeHeapBlock();
  initForAlloc();
  initFromResource(module, id);
  return *this;
}

// --- Narrow and UTF-32 output -----------------------------------------------

const char* KelUString::c_str(KelCharSet cs) {
  if (empty()) return kEmptyText;
  const KelStrData& data = *m_pStrData;
  if (data.m_pNarrow != nullptr && data.m_eNarrowCharSet == cs) return data.m_pNarrow;
  return buildNarrowCache(KelCharSetConverter::getConverter(cs), cs);
}

char* KelUString::buildNarrowCache(KelCharSetConverter* converter, KelCharSet cs) {
  dropNarrowCache();
  KelStrData& data = *m_pStrData;
  const size_t bytes = converter->getNumBytes(data.m_pData, data.m_nLength);
  if (bytes > SIZE_MAX - kNarrowCacheSlack) throw std::bad_alloc();
  char* cache = new char[bytes + kNarrowCacheSlack];
  std::memset(cache + bytes, 0, kNarrowCacheSlack);
  data.m_nNarrowLength = converter->fromUTF16(cache, data.m_pData, bytes, ILLCHAR_REPLACE, nullptr);
  data.m_eNarrowCharSet = cs;
  data.m_pNarrow = cache;
  return cache;
}

size_t KelUString::size(KelCharSet cs) const {
  if (empty()) return 0;
  return KelCharSetConverter::getConverter(cs)->getNumBytes(c_wstr(), size());
}

size_t KelUString::length(KelCharSet cs) const { return size(cs); }

size_t KelUString::numChars() const {
  const KelStrData& data = *m_pStrData;
  if (data.m_pNarrow != nullptr && data.m_eNarrowCharSet == KelCS_UTF32) {
    return data.m_nNarrowLength / sizeof(uint32_t);
  }
  if (empty()) return 0;
  return utf32Converter()->getNumBytes(c_wstr(), size()) / sizeof(uint32_t);
}

unsigned int& KelUString::at_utf32(size_t i) {
  KelStrData& data = *m_pStrData;
  if (empty()) {
    // Nothing is converted; the bound is the cache length as it stands. The
    // reference handed out is a zero private to the calling thread, so a
    // stray write through it cannot change any other string.
    if (i >= data.m_nNarrowLength / sizeof(uint32_t)) range_error();
    static thread_local unsigned int emptyValue;
    emptyValue = 0;
    return emptyValue;
  }
  char* cache = data.m_pNarrow != nullptr && data.m_eNarrowCharSet == KelCS_UTF32
                    ? data.m_pNarrow
                    : buildNarrowCache(utf32Converter(), KelCS_UTF32);
  if (i >= data.m_nNarrowLength / sizeof(uint32_t)) range_error();
  return reinterpret_cast<unsigned int*>(cache)[i];
}

size_t KelUString::copy(char* dst, size_t dstBytes, KelCharSet cs) const {
  if (dst == nullptr || dstBytes == 0 || empty()) return 0;
  return KelCharSetConverter::getConverter(cs)->fromUTF16(dst, c_wstr(), dstBytes,
                                                          ILLCHAR_REPLACE, nullptr);
}

size_t KelUString::copy(wchar16* dst, size_t n) const {
  if (dst == nullptr || n == 0 || empty()) return 0;
  const size_t count = std::min(size(), n);
  std::memcpy(dst, c_wstr(), count * sizeof(wchar16));
  return count;
}

size_t KelUString::copy(KelPascalString* p, KelCharSet cs) const {
  if (p == nullptr) return 0;
  char area[kPascalRoom + kNarrowCacheSlack];
  const size_t written = KelCharSetConverter::getConverter(cs)->fromUTF16(
      area, c_wstr(), kPascalRoom, ILLCHAR_REPLACE, nullptr);
  const unsigned char n = static_cast<unsigned char>(written & 0xFF);
  std::memcpy(pascalText(*p), area, n);
  p->length = n;
  return n;
}

size_t KelUString::copy(KelPascalString& p, KelCharSet cs) const { return copy(&p, cs); }

size_t KelUString::copy(KelBSTR* b, size_t n) const {
  if (b == nullptr) return 0;
  const uint16_t m = static_cast<uint16_t>(std::min<size_t>(size() & 0xFFFF, n));
  std::memcpy(bstrText(*b), c_wstr(), m * sizeof(wchar16));
  b->length = m;
  return m;
}

size_t KelUString::copy(KelBSTR& b, size_t n) const { return copy(&b, n); }
