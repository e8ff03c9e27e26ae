// The substring search of KelUString (find and rfind of a string): where a
// needle's units occur in a text, as the string's code-unit comparison
// matches them. The comparison stops at a zero unit on either side, so a
// needle matches at i when text[i] equals its first unit and the rest of it
// compares equal up to its first zero unit after the first (which the text
// must then hold at the same place), or to its end.
//
// Two forms: the plain search, which compares at every position (and is
// the reference the tests hold the other to), and the Two-Way search
// (Crochemore and Perrin), which finds the same positions in time linear in
// the text and the needle, also on repetitive texts, without allocating.
#ifndef KELULIB_USTRING_UNIT_SEARCH_H_
#define KELULIB_USTRING_UNIT_SEARCH_H_

#include <cstddef>

#include "charset/charset_id.h"

namespace kelulib {

constexpr size_t kNotFound = static_cast<size_t>(-1);

// The first i in [from, last] at which the `m` units of `needle` (m >= 1)
// match `text` (whose units up to last + m - 1 are readable); kNotFound
// when there is none.
size_t findUnits(const wchar16* text, size_t from, size_t last, const wchar16* needle, size_t m);

// The last i in [0, start] at which `needle` matches `text` (whose units up
// to start + m - 1 are readable); kNotFound when there is none.
size_t rfindUnits(const wchar16* text, size_t start, const wchar16* needle, size_t m);

// The same, comparing at every position.
size_t findUnitsPlain(const wchar16* text, size_t from, size_t last, const wchar16* needle,
                      size_t m);
size_t rfindUnitsPlain(const wchar16* text, size_t start, const wchar16* needle, size_t m);

}  // namespace kelulib

#endif  // KELULIB_USTRING_UNIT_SEARCH_H_
