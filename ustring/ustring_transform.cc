// KelUString: trimming, case conversion, substrings and splitting.
#include <algorithm>
#include <cstring>

#include "uchar/uchar.h"
#include "ustring/ustring.h"
#include "ustring/ustring_list.h"

bool KelUString::matchesTrimTarget(wchar16 c, TrimTarget target) {
  switch (target) {
    case TRIM_WHITESPACE:
      return KelUChar::isWhiteSpace(c);
    case TRIM_SPACE:
      return c == u' ';
    case TRIM_WHITESPACE_NONCHAR:
      return KelUChar::isWhiteSpace(c) || KelUChar::isNonChar(c);
  }
  return false;
}

KelUString& KelUString::trim(TrimCmd cmd, TrimTarget target) {
  KelStrData& data = *m_pStrData;
  size_t length = data.m_nLength;
  if ((cmd & TRIM_LEFT) != 0 && length > 0) {
    size_t removed = 0;
    while (removed < length && matchesTrimTarget(data.m_pData[removed], target)) ++removed;
    if (removed > 0) {
      length -= removed;
      std::memmove(data.m_pData, data.m_pData + removed, length * sizeof(wchar16));
    }
  }
  if ((cmd & TRIM_RIGHT) != 0) {
    while (length > 0 && matchesTrimTarget(data.m_pData[length - 1], target)) --length;
  }
  data.m_nLength = length;
  data.m_pData[length] = 0;
  dropNarrowCache();
  return *this;
}

KelUString& KelUString::trimLeft(TrimTarget target) { return trim(TRIM_LEFT, target); }

KelUString& KelUString::trimRight(TrimTarget target) { return trim(TRIM_RIGHT, target); }

void KelUString::toUpper(bool asciiOnly) {
  wchar16* units = m_pStrData->m_pData;
  for (size_t i = 0; i < size(); ++i) {
    const wchar16 c = units[i];
    if (!asciiOnly) {
      units[i] = KelUChar::toUpperCase(c);
    } else if (c >= u'a' && c <= u'z') {
      units[i] = static_cast<wchar16>(c - 0x20);
    }
  }
}

void KelUString::toLower(bool asciiOnly) {
  wchar16* units = m_pStrData->m_pData;
  for (size_t i = 0; i < size(); ++i) {
    const wchar16 c = units[i];
    if (!asciiOnly) {
      units[i] = KelUChar::toLowerCase(c);
    } else if (c >= u'A' && c <= u'Z') {
      units[i] = static_cast<wchar16>(c + 0x20);
    }
  }
}

KelUString KelUString::left(size_t n) const {
  if (n > size()) range_error();
  return KelUString(*this, 0, n);
}

KelUString KelUString::mid(size_t pos, size_t n) const {
  // npos (or anything above max_size()) means "to the end", computed with
  // wrap-round so that a pos beyond the end passes only for right().
  if (n > max_size()) n = size() - pos;
  if (pos + n > size()) range_error();
  return KelUString(*this, pos, n);
}

KelUString KelUString::right(size_t pos) const { return mid(pos, npos); }

KelUStringList KelUString::split(wchar16 c) const { return KelUStringList(*this, c); }

KelUStringList KelUString::split(const KelUString& sep) const {
  return KelUStringList(*this, sep);
}

KelUStringList KelUString::split(char c, KelCharSet cs) const {
  return KelUStringList(*this, KelUString(c, cs));
}
