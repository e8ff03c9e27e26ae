#include "ustring/unit_search.h"

namespace kelulib {
namespace {

// The units of `needle` that decide a match: the first, then the rest up
// to and including the first zero unit after the first (the comparison
// ends there), or all of them.
size_t decidingLength(const wchar16* needle, size_t m) {
  for (size_t i = 1; i < m; ++i) {
    if (needle[i] == 0) return i + 1;
  }
  return m;
}

// Units read forwards from `first`, or backwards from `last`.
struct KelForward {
  const wchar16* first;
  wchar16 operator[](size_t i) const { return first[i]; }
};

struct KelBackward {
  const wchar16* last;
  wchar16 operator[](size_t i) const { return *(last - i); }
};

// The critical factorization of `needle` (n >= 1 units): the start of its
// right half, the longer of the maximal suffixes for the two orders of the
// units, and that suffix's period.
template <typename View>
size_t criticalFactorization(View needle, size_t n, size_t* period) {
  size_t suffix[2];
  size_t periods[2];
  for (int order = 0; order < 2; ++order) {
    size_t maxSuffix = static_cast<size_t>(-1);
    size_t j = 0;
    size_t k = 1;
    size_t p = 1;
    while (j + k < n) {
      const wchar16 a = needle[j + k];
      const wchar16 b = needle[maxSuffix + k];
      if (order == 0 ? a < b : b < a) {
        // The suffix is smaller: the period is the whole prefix so far.
        j += k;
        k = 1;
        p = j - maxSuffix;
      } else if (a == b) {
        // On through a repetition of the period.
        if (k != p) {
          ++k;
        } else {
          j += p;
          k = 1;
        }
      } else {
        // The suffix is larger: start over from here.
        maxSuffix = j++;
        k = p = 1;
      }
    }
    suffix[order] = maxSuffix + 1;
    periods[order] = p;
  }
  const int longer = suffix[1] < suffix[0] ? 0 : 1;
  *period = periods[longer];
  return suffix[longer];
}

// The first j with j + n <= length at which `haystack` holds `needle` (n >=
// 1 units); kNotFound when there is none.
template <typename View>
size_t twoWaySearch(View haystack, size_t length, View needle, size_t n) {
  if (n > length) return kNotFound;
  size_t period = 0;
  const size_t suffix = criticalFactorization(needle, n, &period);
  bool periodic = true;
  for (size_t i = 0; i < suffix && periodic; ++i) periodic = needle[i] == needle[i + period];
  size_t j = 0;
  if (periodic) {
    // A mismatch can move on by the period only; `memory` remembers how
    // much of the needle's start the last shift left matched.
    size_t memory = 0;
    while (j + n <= length) {
      size_t i = suffix > memory ? suffix : memory;
      while (i < n && needle[i] == haystack[i + j]) ++i;
      if (i < n) {
        j += i - suffix + 1;
        memory = 0;
        continue;
      }
      i = suffix;
      while (i > memory && needle[i - 1] == haystack[i - 1 + j]) --i;
      if (i <= memory) return j;
      j += period;
      memory = n - period;
    }
  } else {
    // The halves differ: any mismatch allows the largest shift.
    period = (suffix > n - suffix ? suffix : n - suffix) + 1;
    while (j + n <= length) {
      size_t i = suffix;
      while (i < n && needle[i] == haystack[i + j]) ++i;
      if (i < n) {
        j += i - suffix + 1;
        continue;
      }
      i = suffix;
      while (i > 0 && needle[i - 1] == haystack[i - 1 + j]) --i;
      if (i == 0) return j;
      j += period;
    }
  }
  return kNotFound;
}

// The plain comparison at one position: the string's code-unit comparison
// of text[i + 1...] with needle[1...] over m - 1 units, after the first.
bool matchesAt(const wchar16* text, size_t i, const wchar16* needle, size_t m) {
  if (text[i] != needle[0]) return false;
  const wchar16* a = text + i + 1;
  const wchar16* b = needle + 1;
  for (size_t k = 0; k + 1 < m; ++k) {
    if (a[k] == 0 || b[k] == 0) return a[k] == b[k];
    if (a[k] != b[k]) return false;
  }
  return true;
}

}  // namespace

size_t findUnits(const wchar16* text, size_t from, size_t last, const wchar16* needle, size_t m) {
  const size_t p = decidingLength(needle, m);
  const size_t found =
      twoWaySearch(KelForward{text + from}, last - from + p, KelForward{needle}, p);
  return found == kNotFound ? kNotFound : from + found;
}

size_t rfindUnits(const wchar16* text, size_t start, const wchar16* needle, size_t m) {
  const size_t p = decidingLength(needle, m);
  // The last occurrence is the first of the reversed needle in the
  // reversed text.
  const size_t found = twoWaySearch(KelBackward{text + start + p - 1}, start + p,
                                    KelBackward{needle + p - 1}, p);
  return found == kNotFound ? kNotFound : start - found;
}

size_t findUnitsPlain(const wchar16* text, size_t from, size_t last, const wchar16* needle,
                      size_t m) {
  for (size_t i = from; i <= last; ++i) {
    if (matchesAt(text, i, needle, m)) return i;
  }
  return kNotFound;
}

size_t rfindUnitsPlain(const wchar16* text, size_t start, const wchar16* needle, size_t m) {
  for (size_t i = start + 1; i-- > 0;) {
    if (matchesAt(text, i, needle, m)) return i;
  }
  return kNotFound;
}

}  // namespace kelulib
