// KelUString: ordering, equality and search. Every ordering ends in
// canonicalCompare or canonicalCompareNoCase, every substring search in
// find(const KelUString&, size_t) or rfind(const KelUString&, size_t).
#include "uchar/uchar.h"
#include "ustring/unit_search.h"
#include "ustring/ustring.h"

namespace {

// Narrow text as the relational operators read it: in the OS character set.
KelUString osText(const char* s) { return KelUString(s, KelCS_OS_DEFAULT); }

int orderOf(wchar16 a, wchar16 b) { return a > b ? 1 : -1; }

// How many of the first n units of s come before its terminator: the text
// that an N form compares with. Measured before the temporary is built, so
// that the temporary reserves only that much, whatever n is (n = npos means
// the whole text).
size_t prefixLength(const wchar16* s, size_t n) {
  if (s == nullptr) return 0;
  size_t length = 0;
  while (length < n && s[length] != 0) ++length;
  return length;
}

}  // namespace

// --- The two primitives -----------------------------------------------------

int KelUString::canonicalCompare(const wchar16* a, const wchar16* b, size_t n) const {
  if (n == 0) return 0;
  if (a == nullptr) return b != nullptr ? -1 : 0;
  if (b == nullptr) return 1;
  size_t i = 0;
  for (; a[i] != 0 && b[i] != 0; ++i) {
    if (a[i] != b[i]) return orderOf(a[i], b[i]);
    if (n != npos && i + 1 == n) return 0;
  }
  if (a[i] != 0) return 1;
  return b[i] != 0 ? -1 : 0;
}

int KelUString::canonicalCompareNoCase(const wchar16* a, const wchar16* b, size_t n) const {
  if (n == 0) return 0;
  if (a == nullptr) return b != nullptr ? -1 : 0;
  if (b == nullptr) return 1;
  for (size_t i = 0;; ++i) {
    if (a[i] != b[i]) {
      // Only units that differ are folded; the table is not consulted for
      // equal units.
      const wchar16 upperA = KelUChar::toUpperCase(a[i]);
      const wchar16 upperB = KelUChar::toUpperCase(b[i]);
      if (upperA != upperB) return orderOf(upperA, upperB);
    }
    if (n != npos && i + 1 == n) return 0;
    if (a[i] == 0) return b[i] != 0 ? -1 : 0;
    if (b[i] == 0) return 1;
  }
}

// --- Ordering -----------------------------------------------------------------

int KelUString::compare(const KelUString& s, size_t n) const {
  if (m_pStrData == s.m_pStrData) return 0;
  return canonicalCompare(c_wstr(), s.c_wstr(), n);
}

int KelUString::compare(const wchar16* s, size_t n) const {
  return canonicalCompare(c_wstr(), s, n);
}

int KelUString::compare(const char* s, KelCharSet cs, size_t n) const {
  return compare(KelUString(s, cs), n);
}

int KelUString::compareNoCase(const KelUString& s, size_t n) const {
  if (m_pStrData == s.m_pStrData) return 0;
  return canonicalCompareNoCase(c_wstr(), s.c_wstr(), n);
}

int KelUString::compareNoCase(const wchar16* s, size_t n) const {
  return canonicalCompareNoCase(c_wstr(), s, n);
}

int KelUString::compareNoCase(const char* s, KelCharSet cs, size_t n) const {
  return compareNoCase(KelUString(s, cs), n);
}

// --- Equality -----------------------------------------------------------------

bool KelUString::equal(const KelUString& s) const { return compare(s) == 0; }

bool KelUString::equal(const char* s, KelCharSet cs) const { return equal(KelUString(s, cs)); }

bool KelUString::equalNoCase(const KelUString& s) const { return compareNoCase(s) == 0; }

bool KelUString::equalNoCase(const wchar16* s) const { return equalNoCase(KelUString(s)); }

bool KelUString::equalNoCase(const char* s, KelCharSet cs) const {
  return equalNoCase(KelUString(s, cs));
}

bool KelUString::equalN(const wchar16* s, size_t n) const {
  return equal(KelUString(s, prefixLength(s, n)));
}

bool KelUString::equalN(const char* s, size_t n, KelCharSet cs) const {
  return equal(KelUString(s, n, cs));
}

bool KelUString::equalN(const KelUString& s, size_t pos, size_t n) const {
  return equal(KelUString(s, pos, n));
}

bool KelUString::equalNoCaseN(const wchar16* s, size_t n) const {
  return equalNoCase(KelUString(s, prefixLength(s, n)));
}

bool KelUString::equalNoCaseN(const char* s, size_t n, KelCharSet cs) const {
  return equalNoCase(KelUString(s, n, cs));
}

bool KelUString::equalNoCaseN(const KelUString& s, size_t pos, size_t n) const {
  return equalNoCase(KelUString(s, pos, n));
}

// --- Relational operators -------------------------------------------------------
// Each operator compares its left operand with its right one without a
// count and tests the -1/0/1 result against 0 with the same operator.

#define KELULIB_DEFINE_RELATIONAL_OPERATOR(op)                                                \
  bool KelUString::operator op(const KelUString& s) const { return compare(s) op 0; }         \
  bool KelUString::operator op(const wchar16* s) const { return compare(KelUString(s)) op 0; } \
  bool KelUString::operator op(const char* s) const { return compare(osText(s)) op 0; }       \
  bool operator op(const wchar16* text, const KelUString& s) {                                \
    return KelUString(text).compare(s) op 0;                                                  \
  }                                                                                           \
  bool operator op(const char* narrow, const KelUString& s) {                                 \
    return osText(narrow).compare(s) op 0;                                                    \
  }

KELULIB_DEFINE_RELATIONAL_OPERATOR(==)
KELULIB_DEFINE_RELATIONAL_OPERATOR(!=)
KELULIB_DEFINE_RELATIONAL_OPERATOR(<)
KELULIB_DEFINE_RELATIONAL_OPERATOR(>)
KELULIB_DEFINE_RELATIONAL_OPERATOR(<=)
KELULIB_DEFINE_RELATIONAL_OPERATOR(>=)

#undef KELULIB_DEFINE_RELATIONAL_OPERATOR

// --- Search -----------------------------------------------------------------

size_t KelUString::find(wchar16 c, size_t pos) const {
  const size_t length = size();
  if (pos >= length || c == 0) return npos;
  const wchar16* units = c_wstr();
  for (size_t i = pos; i < length; ++i) {
    if (units[i] == c) return i;
  }
  return npos;
}

size_t KelUString::find(const KelUString& s, size_t pos) const {
  const size_t length = size();
  const size_t m = s.size();
  if (length == 0 || pos >= length || m == 0) return npos;
  if (&s == this) return pos == 0 ? 0 : npos;
  if (m > length || pos > length - m) return npos;
  // Linear in the text and the needle, however repetitive they are.
  const size_t found = kelulib::findUnits(c_wstr(), pos, length - m, s.c_wstr(), m);
  return found == kelulib::kNotFound ? npos : found;
}

size_t KelUString::find(const wchar16* s, size_t pos) const { return find(KelUString(s), pos); }

size_t KelUString::find(const char* s, KelCharSet cs) const { return find(KelUString(s, cs), 0); }

size_t KelUString::find(const char* s, size_t pos, KelCharSet cs) const {
  return find(KelUString(s, cs), pos);
}

size_t KelUString::find(char c, KelCharSet cs) const { return find(KelUString(c, cs), 0); }

size_t KelUString::find(char c, size_t pos, KelCharSet cs) const {
  return find(KelUString(c, cs), pos);
}

size_t KelUString::rfind(wchar16 c) const { return rfind(c, size() - 1); }

size_t KelUString::rfind(wchar16 c, size_t pos) const {
  const size_t length = size();
  // Deliberately no search here: the answer is the last position.
  if (pos >= length || c == 0) return length - 1;
  const wchar16* units = c_wstr();
  for (size_t i = pos + 1; i-- > 0;) {
    if (units[i] == c) return i;
  }
  return npos;
}

size_t KelUString::rfind(const KelUString& s, size_t pos) const {
  const size_t length = size();
  const size_t m = s.size();
  if (length == 0 || m == 0) return npos;
  if (&s == this) return 0;
  if (m > length) return npos;
  const size_t start = pos > length - m ? length - m : pos;
  const size_t found = kelulib::rfindUnits(c_wstr(), start, s.c_wstr(), m);
  return found == kelulib::kNotFound ? npos : found;
}

size_t KelUString::rfind(const wchar16* s, size_t pos) const {
  return rfind(KelUString(s), pos);
}

size_t KelUString::rfind(const char* s, KelCharSet cs) const {
  return rfind(KelUString(s, cs), npos);
}

size_t KelUString::rfind(const char* s, size_t pos, KelCharSet cs) const {
  return rfind(KelUString(s, cs), pos);
}

size_t KelUString::rfind(char c, KelCharSet cs) const { return rfind(KelUString(c, cs), npos); }

size_t KelUString::rfind(char c, size_t pos, KelCharSet cs) const {
  return rfind(KelUString(c, cs), pos);
}
