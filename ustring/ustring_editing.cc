// KelUString: editing. Every form reduces to the replace primitive; only
// erase and resize touch the storage themselves.
#include <algorithm>
#include <cstring>
#include <new>

#include "charset/converter.h"
#include "charset/scratch_buffer.h"
#include "ustring/ustring.h"

namespace {

// Results up to this many units are assembled on the stack (32 KiB), longer
// ones on the heap, so that no edit can overflow the thread's stack.
constexpr size_t kStackResultUnits = 16384;

// Narrow text for resize(n, char, cs): the bytes and a whole terminator.
constexpr size_t kNarrowTerminatorBytes = 4;

}  // namespace

// --- The primitive ----------------------------------------------------------

KelUString& KelUString::replace(size_t pos, size_t len, const KelUString& s, size_t pos2,
                                size_t len2) {
  const size_t length = size();
  if (pos > length || pos2 > s.size()) range_error();
  len = std::min(len, length - pos);
  len2 = std::min(len2, s.size() - pos2);
  const size_t kept = length - len;
  if (len2 > max_size() - kept) length_error();
  const size_t newLength = kept + len2;
  if (newLength == 0) return erase();

  // The result is built apart from both operands, so `s` may be this string.
  kelulib::KelScratchBuffer<wchar16, kStackResultUnits + 1> result(newLength + 1);
  wchar16* out = result.data();
  if (out == nullptr) throw std::bad_alloc();
  const wchar16* units = c_wstr();
  out = std::copy(units, units + pos, out);
  out = std::copy(s.c_wstr() + pos2, s.c_wstr() + pos2 + len2, out);
  out = std::copy(units + pos + len, units + length, out);
  *out = 0;

  dropNarrowCache();
  assureSize(newLength);
  KelStrData& data = *m_pStrData;
  std::memcpy(data.m_pData, result.data(), (newLength + 1) * sizeof(wchar16));
  data.m_nLength = newLength;
  return *this;
}

// --- Append -----------------------------------------------------------------

KelUString& KelUString::operator+=(wchar16 c) { return replace(size(), 0, KelUString(c)); }

KelUString& KelUString::operator+=(const wchar16* text) {
  return replace(size(), 0, KelUString(text));
}

KelUString& KelUString::operator+=(const KelUString& s) { return replace(size(), 0, s); }

KelUString& KelUString::operator+=(char c) {
  return replace(size(), 0, KelUString(c, KelCS_OS_DEFAULT));
}

KelUString& KelUString::operator+=(const char* narrow) {
  return replace(size(), 0, KelUString(narrow, KelCS_OS_DEFAULT));
}

KelUString& KelUString::append(wchar16 c) { return *this += c; }

KelUString& KelUString::append(wchar16 c, size_t n) {
  return replace(size(), 0, KelUString(c, n));
}

KelUString& KelUString::append(const wchar16* first, const wchar16* last) {
  return replace(size(), 0, KelUString(first, last));
}

KelUString& KelUString::append(char c, KelCharSet cs) {
  return replace(size(), 0, KelUString(c, cs));
}

KelUString& KelUString::append(char c, size_t n, KelCharSet cs) {
  return replace(size(), 0, KelUString(c, n, cs));
}

KelUString& KelUString::append(const char* narrow, KelCharSet cs) {
  return replace(size(), 0, KelUString(narrow, cs));
}

// --- Insert -----------------------------------------------------------------

KelUString& KelUString::insert(size_t pos, wchar16 c) { return replace(pos, 0, KelUString(c)); }

KelUString& KelUString::insert(size_t pos, wchar16 c, size_t n) {
  return replace(pos, 0, KelUString(c, n));
}

KelUString& KelUString::insert(size_t pos, const wchar16* text) {
  return replace(pos, 0, KelUString(text));
}

KelUString& KelUString::insert(size_t pos, const KelUString& s) { return replace(pos, 0, s); }

KelUString& KelUString::insert(size_t pos, char c, KelCharSet cs) {
  return replace(pos, 0, KelUString(c, cs));
}

KelUString& KelUString::insert(size_t pos, char c, size_t n, KelCharSet cs) {
  return replace(pos, 0, KelUString(c, n, cs));
}

KelUString& KelUString::insert(size_t pos, const char* narrow, KelCharSet cs) {
  return replace(pos, 0, KelUString(narrow, cs));
}

// --- Replace ----------------------------------------------------------------

KelUString& KelUString::replace(size_t pos, size_t n, wchar16 c) {
  return replace(pos, n, KelUString(c));
}

KelUString& KelUString::replace(size_t pos, size_t n, wchar16 c, size_t count) {
  return replace(pos, n, KelUString(c, count));
}

KelUString& KelUString::replace(size_t pos, size_t n, const wchar16* text) {
  return replace(pos, n, KelUString(text));
}

KelUString& KelUString::replace(size_t pos, size_t n, const KelUString& s) {
  return replace(pos, n, s, 0, s.size());
}

KelUString& KelUString::replace(size_t pos, size_t n, char c, KelCharSet cs) {
  return replace(pos, n, KelUString(c, cs));
}

KelUString& KelUString::replace(size_t pos, size_t n, char c, size_t count, KelCharSet cs) {
  return replace(pos, n, KelUString(c, count, cs));
}

KelUString& KelUString::replace(size_t pos, size_t n, const char* narrow, KelCharSet cs) {
  return replace(pos, n, KelUString(narrow, cs));
}

// --- Erase and setAt --------------------------------------------------------

KelUString& KelUString::erase() {
  makeEmpty();
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::erase(size_t pos, size_t n) {
  if (empty()) return *this;
  if (pos == 0 && (n == size() || n == npos)) return erase();
  return replace(pos, n, KelUString(), 0, 0);
}

void KelUString::setAt(size_t pos, wchar16 c) { replace(pos, 1, c); }

void KelUString::setAt(size_t pos, char c, KelCharSet cs) { replace(pos, 1, c, cs); }

// --- Resize -----------------------------------------------------------------

void KelUString::resize(size_t n) { resize(n, static_cast<wchar16>(0)); }

void KelUString::resize(size_t n, wchar16 c) {
  if (!prepareResize(n)) return;
  KelStrData& data = *m_pStrData;
  if (n > data.m_nLength) std::fill(data.m_pData + data.m_nLength, data.m_pData + n, c);
  finishResize(n);
}

void KelUString::resize(size_t n, char c, KelCharSet cs) {
  if (!prepareResize(n)) return;
  KelStrData& data = *m_pStrData;
  if (n > data.m_nLength) {
    // The new units are whatever the n - length bytes convert to; where they
    // give fewer units, the rest of the buffer shows through.
    const size_t byteCount = n - data.m_nLength;
    if (byteCount > SIZE_MAX - kNarrowTerminatorBytes) throw std::bad_alloc();
    kelulib::KelScratchBuffer<char, kLocalCapacity + kNarrowTerminatorBytes> bytes(
        byteCount + kNarrowTerminatorBytes);
    if (bytes.data() == nullptr) throw std::bad_alloc();
    std::memset(bytes.data(), static_cast<unsigned char>(c), byteCount);
    std::memset(bytes.data() + byteCount, 0, kNarrowTerminatorBytes);
    KelCharSetConverter::getConverter(cs)->toUTF16(data.m_pData + data.m_nLength, bytes.data(),
                                                   byteCount, ILLCHAR_REPLACE, nullptr, -1);
  }
  finishResize(n);
}

// The steps every resize shares before it writes new units: returns false
// when there is nothing more to do (same length, or emptied). Growth beyond
// the capacity takes a block of exactly n + 1 units and drops the text.
bool KelUString::prepareResize(size_t n) {
  if (n == size()) return false;
  if (n > max_size()) length_error();
  if (n == 0) {
    erase();
    return false;
  }
  assureSize(n);
  return true;
}

void KelUString::finishResize(size_t n) {
  KelStrData& data = *m_pStrData;
  data.m_pData[n] = 0;
  data.m_nLength = n;
  dropNarrowCache();
}

// --- Concatenation ----------------------------------------------------------

namespace {

template <typename Left, typename Right>
KelUString concatenated(const Left& left, const Right& right) {
  KelUString result(left);
  result += right;
  return result;
}

}  // namespace

KelUString KelUString::operator+(wchar16 c) const { return concatenated(*this, c); }

KelUString KelUString::operator+(const wchar16* text) const { return concatenated(*this, text); }

KelUString KelUString::operator+(const KelUString& s) const { return concatenated(*this, s); }

KelUString KelUString::operator+(char c) const { return concatenated(*this, c); }

KelUString KelUString::operator+(const char* narrow) const { return concatenated(*this, narrow); }

KelUString operator+(wchar16 c, const KelUString& s) { return concatenated(c, s); }

KelUString operator+(const wchar16* text, const KelUString& s) { return concatenated(text, s); }

KelUString operator+(char c, const KelUString& s) { return concatenated(c, s); }

KelUString operator+(const char* narrow, const KelUString& s) { return concatenated(narrow, s); }
