#include "ustring/ustring_list.h"

#include <stdexcept>

KelUStringList::KelUStringList() = default;

KelUStringList::KelUStringList(const KelUString& s) { m_strings.push_back(s); }

KelUStringList::KelUStringList(const KelUString& s, wchar16 sep) {
  if (sep == 0) {
    m_strings.push_back(s);
    return;
  }
  size_t start = 0;
  while (start < s.size()) {
    const size_t found = s.find(sep, start);
    if (found == KelUString::npos) break;
    m_strings.emplace_back(s, start, found - start);
    start = found + 1;
  }
  appendRest(s, start);
}

KelUStringList::KelUStringList(const KelUString& s, const KelUString& sep) {
  if (sep.empty()) {
    m_strings.push_back(s);
    return;
  }
  size_t start = 0;
  for (size_t found = s.find(sep, 0); found != KelUString::npos; found = s.find(sep, start)) {
    m_strings.emplace_back(s, start, found - start);
    start = found + sep.size();
  }
  appendRest(s, start);
}

KelUStringList::KelUStringList(const KelUStringList& other) = default;

KelUStringList::~KelUStringList() = default;

void KelUStringList::appendRest(const KelUString& s, size_t start) {
  if (start < s.size()) m_strings.emplace_back(s, start, KelUString::npos);
}

const KelUStringList& KelUStringList::operator=(const KelUStringList& other) {
  if (&other != this) m_strings = other.m_strings;
  return *this;
}

const KelUStringList& KelUStringList::operator=(const KelUString& s) {
  // Copied first: `s` may be one of the elements.
  KelUString kept(s);
  m_strings.clear();
  m_strings.push_back(kept);
  return *this;
}

const KelUStringList& KelUStringList::clear() {
  m_strings.clear();
  return *this;
}

const KelUString& KelUStringList::at(size_t i) const {
  if (i >= size()) range_error();
  return m_strings[i];
}

const KelUStringList& KelUStringList::operator+=(const KelUString& s) {
  return insert(size(), s);
}

const KelUStringList& KelUStringList::operator+=(const KelUStringList& other) {
  return append(other);
}

const KelUStringList& KelUStringList::append(const KelUStringList& other) {
  return insert(size(), other);
}

const KelUStringList& KelUStringList::insert(size_t i, const KelUString& s) {
  if (size() == max_size()) length_error();
  if (i > size()) range_error();
  m_strings.insert(m_strings.begin() + static_cast<std::ptrdiff_t>(i), s);
  return *this;
}

const KelUStringList& KelUStringList::insert(size_t i, const KelUStringList& other) {
  if (&other == this) return *this;
  if (max_size() - size() < other.size()) length_error();
  for (size_t k = 0; k < other.size(); ++k) insert(i + k, other.m_strings[k]);
  return *this;
}

const KelUStringList& KelUStringList::erase(size_t i) {
  if (i >= size()) range_error();
  m_strings.erase(m_strings.begin() + static_cast<std::ptrdiff_t>(i));
  return *this;
}

KelUString KelUStringList::combine(const KelUString& sep) const {
  KelUString joined;
  for (size_t i = 0; i < size(); ++i) {
    if (i > 0) joined += sep;
    joined += m_strings[i];
  }
  return joined;
}

KelUString KelUStringList::combine() const { return combine(KelUString()); }

KelUString KelUStringList::combine(wchar16 c) const { return combine(KelUString(c)); }

KelUString KelUStringList::combine(char c, KelCharSet cs) const {
  return combine(KelUString(c, cs));
}

void KelUStringList::range_error() const {
  throw std::out_of_range("invalid string list index given");
}

void KelUStringList::length_error() const {
  throw std::length_error("exceed maximum string list length");
}
