// KelUString: a string of UTF-16 code units that converts to and from any
// supported narrow character set on demand.
//
// Storage. Up to 257 units live in a buffer inside the object; longer text
// lives in a heap block of exactly the length needed (no growth factor).
// Capacity never shrinks, and the text is always followed by a zero unit.
//
// Narrow text. Every operation that takes narrow text takes a KelCharSet as
// well, or uses KelCS_OS_DEFAULT where it takes none, and converts through
// the converter that KelCharSetConverter::getConverter hands out (an unknown
// id reads and writes UTF-8). Conversions replace what they cannot convert
// (ILLCHAR_REPLACE) and never report it. The last narrow rendering asked for
// is kept in a one-entry cache, keyed by the KelCharSet exactly as passed.
//
// Errors. A bad position throws std::out_of_range("invalid string index
// given"), a result longer than max_size() throws std::length_error("exceed
// maximum string length"); both are thrown before anything changes. Out of
// memory throws std::bad_alloc. Null text pointers mean empty text.
//
// Default arguments. Narrow character sets default to KelCS_OS_DEFAULT,
// except in the counted narrow constructor, where a default would let
// KelUString(text, 1252) compile as a byte count; counts that mean "to the
// end" default to npos. Repeat counts and rooms never have a default.
//
// Pointers handed out (c_wstr, begin, c_str, at_utf32) stay valid until the
// next change of the string. A string is not safe for concurrent use, not
// even for c_str, which fills the cache.
#ifndef KELULIB_USTRING_USTRING_H_
#define KELULIB_USTRING_USTRING_H_

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "../charset/charset_id.h"
#include "../platform/export.h"
#include "../platform/string_resource.h"

class KelCharSetConverter;
class KelUStringList;

// Narrow text with an 8-bit length in front and no terminator. The record is
// declared with one byte of text; it is always used through pointers or
// references to storage with room for `length` bytes (1 + 255 bytes when it
// receives text).
struct KelPascalString {
  unsigned char length;
  char text[1];
};

// UTF-16 text with a 16-bit length in front and no terminator. Declared with
// one unit of text; always used through pointers or references to storage
// with room for `length` units.
struct KelBSTR {
  uint16_t length;
  wchar16 text[1];
};

// The storage record of a KelUString.
struct KelStrData {
  // 1 when m_pData is a heap block owned by the string, 0 when it is m_aLocal.
  uint32_t m_bHeap;
  wchar16* m_pData;
  // Length in units, terminator not counted.
  size_t m_nLength;
  // Capacity in units, terminator not counted: 257 for m_aLocal, else the
  // size the heap block was allocated for (it holds m_nAllocSize + 1 units).
  size_t m_nAllocSize;
  // The narrow cache (new[]-allocated) or null; the next two fields mean
  // nothing while it is null.
  char* m_pNarrow;
  size_t m_nNarrowLength;
  KelCharSet m_eNarrowCharSet;
  wchar16 m_aLocal[258];
};

class KELULIB_API KelUString {
  // Iterator arguments are pointers into this string's buffer. The forms
  // that take them are templates over exactly wchar16* and const wchar16*, so
  // that a literal 0 position (erase(0), insert(0, c)) picks the position
  // form instead of being read as a null pointer.
  template <typename P>
  static constexpr bool kIsUnitPointer =
      std::is_same<P, wchar16*>::value || std::is_same<P, const wchar16*>::value;
  template <typename P, typename R = KelUString&>
  using IfUnitPointer = std::enable_if_t<kIsUnitPointer<P>, R>;
  template <typename P, typename Q>
  using IfUnitPointers = std::enable_if_t<kIsUnitPointer<P> && kIsUnitPointer<Q>, KelUString&>;

 public:
  // Which ends trim() works on (bit 1: the start, bit 2: the end). Both
  // enumerations are over int, so any int value is a valid one.
  enum TrimCmd : int { TRIM_LEFT = 1, TRIM_RIGHT = 2, TRIM_BOTH = 3 };
  // Which units trim() removes; any other value removes nothing.
  enum TrimTarget : int {
    // Units that KelUChar::isWhiteSpace accepts.
    TRIM_WHITESPACE = 0,
    // U+0020 only.
    TRIM_SPACE = 1,
    // White space and units without a character class (KelUChar::isNonChar).
    TRIM_WHITESPACE_NONCHAR = 2
  };

  // As a position: none. As a count: to the end.
  static constexpr size_t npos = static_cast<size_t>(-1);
  // Units held in the buffer inside the object, terminator not counted.
  static constexpr size_t kLocalCapacity = 257;

  // --- Construction -------------------------------------------------------
  // No constructor builds a narrow cache. A string that needs n > 257 units
  // starts on a heap block of exactly n + 1 units.

  // The empty string: length 0, capacity 257.
  KelUString();
  // A copy of `s`'s text (not of its narrow cache or spare capacity).
  KelUString(const KelUString& s);
  // The `count` units of `s` from `pos`; pos is clamped to s.size() and count
  // to what remains, never throwing.
  KelUString(const KelUString& s, size_t pos, size_t count = npos);
  // The one unit `c`; empty when c is 0.
  KelUString(wchar16 c);
  // `n` copies of `c`; empty when c or n is 0.
  KelUString(wchar16 c, size_t n);
  // The units of `s` up to its zero unit; empty for null.
  KelUString(const wchar16* s);
  // The units of `s` up to its zero unit but at most `n`; capacity n is
  // reserved. Empty for null s or n 0.
  KelUString(const wchar16* s, size_t n);
  // The units of [first, last), zero units included.
  KelUString(const wchar16* first, const wchar16* last);
  // `value` in signed decimal ("-2147483648", "0", "42").
  explicit KelUString(int value);
  // The byte `c` read in `cs`; empty when c is 0 or is not a whole character
  // by itself (a lead byte).
  KelUString(char c, KelCharSet cs = KelCS_OS_DEFAULT);
  // `n` bytes `c` read in `cs`; empty when c or n is 0.
  KelUString(char c, size_t n, KelCharSet cs = KelCS_OS_DEFAULT);
  // The zero-terminated narrow text `s` read in `cs`; empty for null.
  KelUString(const char* s, KelCharSet cs = KelCS_OS_DEFAULT);
  // The narrow text `s` read in `cs`: as many units as the first `n` bytes
  // (up to a zero byte) give. A character that begins within the n bytes is
  // read whole, so `s` must be readable to its end. Empty for null.
  KelUString(const char* s, size_t n, KelCharSet cs);
  // The text of `p` read in `cs`; empty when its length is 0.
  KelUString(const KelPascalString& p, KelCharSet cs = KelCS_OS_DEFAULT);
  // As the reference form; empty for null.
  KelUString(const KelPascalString* p, KelCharSet cs = KelCS_OS_DEFAULT);
  // The units of `b`, zero units included.
  KelUString(const KelBSTR& b);
  // As the reference form; empty for null.
  KelUString(const KelBSTR* b);
  // String `id` of `module`'s string table, cut to 511 units; empty when the
  // module is null or the string is missing or empty.
  KelUString(KelModuleHandle module, unsigned int id);

  // Frees the heap block and the narrow cache.
  virtual ~KelUString();

  // --- Assignment ---------------------------------------------------------
  // Every form below drops the narrow cache except operator=(char) when the
  // byte converts to text.

  // Copies `s`'s text; a no-op for self-assignment. Afterwards the capacity
  // is 257 or exactly s.size(), whichever is larger: a heap block the
  // string held is released first.
  KelUString& assign(const KelUString& s);
  KelUString& operator=(const KelUString& s);
  // The same as assigning KelUString(c), KelUString(c, n, cs) and
  // KelUString(c, n) respectively.
  KelUString& assign(char c, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& assign(char c, size_t n, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& assign(wchar16 c, size_t n);
  // The same as operator=(wchar16).
  KelUString& assign(wchar16 c);
  // The units of `s` up to its zero unit (null: empty). Grows to exactly the
  // length when the capacity is short; `s` may point into this string.
  KelUString& operator=(const wchar16* s);
  // The one unit `c`; empty when c is 0.
  KelUString& operator=(wchar16 c);
  // The units of `b`, zero units included, growing exactly when needed.
  KelUString& operator=(const KelBSTR& b);
  // The zero-terminated narrow text `s` read in the OS character set (null:
  // empty), growing exactly when needed. `s` may be this string's c_str().
  KelUString& operator=(const char* s);
  // The text of `p` read in the OS character set; empty for null or length 0.
  KelUString& operator=(const KelPascalString* p);
  // The byte `c` read in the OS character set; empty when c is 0 or gives no
  // unit. When it gives text, the narrow cache is deliberately kept: c_str
  // for the cached set returns the text from before the assignment.
  KelUString& operator=(char c);

  // Replaces the text by string `id` of `module`'s string table (at most 511
  // units); empty when the module is null or the string is missing or empty.
  // Capacity goes back to 257 and the narrow cache is dropped.
  KelUString& LoadResString(KelModuleHandle module, unsigned int id);

  // --- Storage ------------------------------------------------------------

  // Puts the string into the empty inline state (capacity 257) without
  // releasing the heap block or narrow cache it held: only for storage that
  // holds neither, such as raw memory being turned into a string.
  void initForAlloc();
  // Makes the capacity at least `n`. When it is short, the heap block is
  // replaced by one of exactly n + 1 units and the string becomes empty (the
  // text is not kept); otherwise nothing changes.
  void assureSize(size_t n);
  // Capacity in units, terminator not counted.
  size_t allocSize() const { return m_pStrData->m_nAllocSize; }
  // Length in UTF-16 units.
  size_t size() const { return m_pStrData->m_nLength; }
  size_t length() const { return m_pStrData->m_nLength; }
  bool empty() const { return m_pStrData->m_nLength == 0; }
  // The longest length a string may have: npos - 1.
  size_t max_size() const { return npos - 1; }

  // Exchanges the texts of the two strings (by copying); both end without a
  // narrow cache, each with capacity 257 or the other's old length.
  void swap(KelUString& other);

  // --- Element access -----------------------------------------------------
  // Writes through these pointers and references change the text in place
  // and keep the narrow cache.

  // Unit `i`, unchecked; operator[](size()) is the terminator.
  wchar16& operator[](size_t i) { return m_pStrData->m_pData[i]; }
  const wchar16& operator[](size_t i) const { return m_pStrData->m_pData[i]; }
  // Unit `i`; throws std::out_of_range when i >= size().
  wchar16& at(size_t i);
  const wchar16& at(size_t i) const;
  // The zero-terminated text.
  const wchar16* c_wstr() const { return m_pStrData->m_pData; }
  wchar16* begin() { return m_pStrData->m_pData; }
  const wchar16* begin() const { return m_pStrData->m_pData; }
  wchar16* end() { return m_pStrData->m_pData + m_pStrData->m_nLength; }
  const wchar16* end() const { return m_pStrData->m_pData + m_pStrData->m_nLength; }
  // Plain pointers for walking backwards: rbegin() is the last unit, rend()
  // one before the first; equal for an empty string.
  wchar16* rbegin() { return m_pStrData->m_pData + m_pStrData->m_nLength - 1; }
  const wchar16* rbegin() const { return m_pStrData->m_pData + m_pStrData->m_nLength - 1; }
  wchar16* rend() { return m_pStrData->m_pData - 1; }
  const wchar16* rend() const { return m_pStrData->m_pData - 1; }

  // --- Narrow and UTF-32 output -------------------------------------------

  // The text in `cs`, zero-terminated, kept in the narrow cache: a second
  // call with the same `cs` returns the same pointer. An empty string gives
  // a shared zero area and leaves the cache alone.
  const char* c_str(KelCharSet cs = KelCS_OS_DEFAULT);
  // Bytes of the text in `cs`, terminator not counted (0 when empty).
  size_t size(KelCharSet cs) const;
  size_t length(KelCharSet cs) const;
  // Number of Unicode characters: a surrogate pair counts once.
  size_t numChars() const;
  // Character `i` as a UTF-32 value, in the cache of the UTF-32 rendering
  // (writing it changes only the cache). Throws std::out_of_range when i is
  // not below the number of values the cache holds.
  unsigned int& at_utf32(size_t i);
  // Writes the text in `cs` into `dst` (room `dstBytes` plus the
  // terminator of `cs`) and returns the bytes written; 0 and nothing
  // written for null dst, dstBytes 0 or an empty string.
  size_t copy(char* dst, size_t dstBytes, KelCharSet cs = KelCS_OS_DEFAULT) const;
  // Copies min(size(), n) units into `dst` without a terminator and returns
  // the count; 0 for null dst, n 0 or an empty string.
  size_t copy(wchar16* dst, size_t n) const;
  // Stores the text in `cs`, at most 255 bytes, behind the length byte of
  // `p`, and returns that length; 0 for null p.
  size_t copy(KelPascalString* p, KelCharSet cs = KelCS_OS_DEFAULT) const;
  size_t copy(KelPascalString& p, KelCharSet cs = KelCS_OS_DEFAULT) const;
  // Stores m = min(size() mod 65536, n) units behind the length of `b` (no
  // terminator) and returns m; 0 for null b.
  size_t copy(KelBSTR* b, size_t n) const;
  size_t copy(KelBSTR& b, size_t n) const;

  // --- Editing ------------------------------------------------------------
  // Every edit ends in the replace primitive below, which drops the narrow
  // cache even when the text ends up unchanged. A unit argument 0, a repeat
  // count 0 or a null text stand for empty text. Narrow arguments without a
  // KelCharSet are read in the OS character set.

  // Replaces the `len` units at `pos` by the `len2` units of `s` at `pos2`.
  // Throws std::out_of_range when pos > size() or pos2 > s.size(); len and
  // len2 are clamped. `s` may be this string. Growth is exact: capacity
  // becomes the new length when it was short.
  KelUString& replace(size_t pos, size_t len, const KelUString& s, size_t pos2, size_t len2);

  KelUString& operator+=(wchar16 c);
  KelUString& operator+=(const wchar16* text);
  KelUString& operator+=(const KelUString& s);
  KelUString& operator+=(char c);
  KelUString& operator+=(const char* narrow);
  // The same as operator+=(c).
  KelUString& append(wchar16 c);
  KelUString& append(wchar16 c, size_t n);
  // Appends the units of [first, last).
  KelUString& append(const wchar16* first, const wchar16* last);
  KelUString& append(char c, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& append(char c, size_t n, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& append(const char* narrow, KelCharSet cs = KelCS_OS_DEFAULT);

  // Inserts before unit `pos`; pos > size() throws.
  KelUString& insert(size_t pos, wchar16 c);
  KelUString& insert(size_t pos, wchar16 c, size_t n);
  KelUString& insert(size_t pos, const wchar16* text);
  KelUString& insert(size_t pos, const KelUString& s);
  KelUString& insert(size_t pos, char c, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& insert(size_t pos, char c, size_t n, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& insert(size_t pos, const char* narrow, KelCharSet cs = KelCS_OS_DEFAULT);
  // Inserts before `p`; throws unless begin() <= p <= end().
  template <typename P>
  IfUnitPointer<P> insert(P p, wchar16 c) { return insert(insertPosition(p), c); }
  template <typename P>
  IfUnitPointer<P> insert(P p, wchar16 c, size_t n) { return insert(insertPosition(p), c, n); }
  template <typename P>
  IfUnitPointer<P> insert(P p, const wchar16* text) { return insert(insertPosition(p), text); }
  template <typename P>
  IfUnitPointer<P> insert(P p, const KelUString& s) { return insert(insertPosition(p), s); }
  template <typename P>
  IfUnitPointer<P> insert(P p, char c, KelCharSet cs = KelCS_OS_DEFAULT) {
    return insert(insertPosition(p), c, cs);
  }
  template <typename P>
  IfUnitPointer<P> insert(P p, char c, size_t n, KelCharSet cs = KelCS_OS_DEFAULT) {
    return insert(insertPosition(p), c, n, cs);
  }
  template <typename P>
  IfUnitPointer<P> insert(P p, const char* narrow, KelCharSet cs = KelCS_OS_DEFAULT) {
    return insert(insertPosition(p), narrow, cs);
  }

  // Replaces the `n` units at `pos` (clamped); pos > size() throws.
  KelUString& replace(size_t pos, size_t n, wchar16 c);
  KelUString& replace(size_t pos, size_t n, wchar16 c, size_t count);
  KelUString& replace(size_t pos, size_t n, const wchar16* text);
  KelUString& replace(size_t pos, size_t n, const KelUString& s);
  KelUString& replace(size_t pos, size_t n, char c, KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& replace(size_t pos, size_t n, char c, size_t count,
                      KelCharSet cs = KelCS_OS_DEFAULT);
  KelUString& replace(size_t pos, size_t n, const char* narrow,
                      KelCharSet cs = KelCS_OS_DEFAULT);
  // Replaces [first, last); throws unless both lie in [begin(), end()]. A
  // `last` below `first` counts as "to the end".
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, wchar16 c) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, c);
  }
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, wchar16 c, size_t count) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, c, count);
  }
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, const wchar16* text) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, text);
  }
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, const KelUString& s) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, s);
  }
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, char c, KelCharSet cs = KelCS_OS_DEFAULT) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, c, cs);
  }
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, char c, size_t count,
                               KelCharSet cs = KelCS_OS_DEFAULT) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, c, count, cs);
  }
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, const char* narrow,
                               KelCharSet cs = KelCS_OS_DEFAULT) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, narrow, cs);
  }
  // Replaces [first, last) by the `len2` units of `s` at `pos2`, both
  // clamped to `s`.
  template <typename P, typename Q>
  IfUnitPointers<P, Q> replace(P first, Q last, const KelUString& s, size_t pos2, size_t len2) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, KelUString(s, pos2, len2));
  }

  // Empties the string; capacity is kept.
  KelUString& erase();
  // Removes `n` units (clamped) at `pos`. Does nothing on an empty string;
  // otherwise pos > size() throws.
  KelUString& erase(size_t pos, size_t n = npos);
  // Removes the unit at `p`; throws unless begin() <= p < end().
  template <typename P>
  IfUnitPointer<P> erase(P p) {
    return replace(unitPosition(p), 1, KelUString(), 0, 0);
  }
  // Removes [first, last); throws unless both lie in [begin(), end()].
  template <typename P, typename Q>
  IfUnitPointers<P, Q> erase(P first, Q last) {
    const UnitRange r = checkedRange(first, last);
    return replace(r.pos, r.count, KelUString(), 0, 0);
  }

  // Replaces the unit at `pos` (pos > size() throws; at size() it appends).
  void setAt(size_t pos, wchar16 c);
  void setAt(size_t pos, char c, KelCharSet cs = KelCS_OS_DEFAULT);
  // Replaces the unit at `p`; throws unless begin() <= p < end().
  template <typename P>
  IfUnitPointer<P, void> setAt(P p, wchar16 c) {
    replace(unitPosition(p), 1, c);
  }
  template <typename P>
  IfUnitPointer<P, void> setAt(P p, char c, KelCharSet cs = KelCS_OS_DEFAULT) {
    replace(unitPosition(p), 1, c, cs);
  }

  // Sets the length to `n`. Shrinking cuts the text; growing within the
  // capacity appends copies of `c` (unit 0 for resize(n)); growing beyond
  // the capacity takes a block of exactly n + 1 units and fills all n units
  // with `c`, the old text being dropped. Resizing to the current length
  // changes nothing; resize(npos) throws std::length_error.
  void resize(size_t n);
  void resize(size_t n, wchar16 c);
  // As resize(n, wchar16), the new units being the n - size() bytes `c`
  // converted from `cs` (the length is n whatever they convert to).
  void resize(size_t n, char c, KelCharSet cs = KelCS_OS_DEFAULT);

  // --- Comparison ---------------------------------------------------------
  // Comparisons read both sides as zero-terminated units (an embedded zero
  // ends a text) in plain code-unit order, and return exactly -1, 0 or 1.
  // A count n compares at most n leading units; npos means no limit and 0
  // gives 0. The no-case forms fold differing units to upper case. Narrow
  // text in the named functions always comes with its KelCharSet; the
  // operators read it in the OS character set. Nothing here throws except
  // std::bad_alloc for a temporary of more than 257 units.

  int compare(const KelUString& s, size_t n = npos) const;
  // Compares with the text `s` directly (null ranks below everything).
  int compare(const wchar16* s, size_t n = npos) const;
  int compare(const char* s, KelCharSet cs, size_t n = npos) const;
  int compareNoCase(const KelUString& s, size_t n = npos) const;
  int compareNoCase(const wchar16* s, size_t n = npos) const;
  int compareNoCase(const char* s, KelCharSet cs, size_t n = npos) const;

  // Whether this whole text equals the argument.
  bool equal(const KelUString& s) const;
  bool equal(const char* s, KelCharSet cs) const;
  bool equalNoCase(const KelUString& s) const;
  bool equalNoCase(const wchar16* s) const;
  bool equalNoCase(const char* s, KelCharSet cs) const;
  // The N forms cut the argument (not this string) to its first `n` units,
  // or to the `n` units of `s` at `pos` (both clamped), and compare this
  // whole text with that: "abc".equalN(u"abcdef", 3) is true,
  // "abcdef".equalN(u"abc", 3) is false.
  bool equalN(const wchar16* s, size_t n) const;
  bool equalN(const char* s, size_t n, KelCharSet cs) const;
  bool equalN(const KelUString& s, size_t pos, size_t n) const;
  bool equalNoCaseN(const wchar16* s, size_t n) const;
  bool equalNoCaseN(const char* s, size_t n, KelCharSet cs) const;
  bool equalNoCaseN(const KelUString& s, size_t pos, size_t n) const;

  bool operator==(const KelUString& s) const;
  bool operator!=(const KelUString& s) const;
  bool operator<(const KelUString& s) const;
  bool operator>(const KelUString& s) const;
  bool operator<=(const KelUString& s) const;
  bool operator>=(const KelUString& s) const;
  bool operator==(const wchar16* s) const;
  bool operator!=(const wchar16* s) const;
  bool operator<(const wchar16* s) const;
  bool operator>(const wchar16* s) const;
  bool operator<=(const wchar16* s) const;
  bool operator>=(const wchar16* s) const;
  bool operator==(const char* s) const;
  bool operator!=(const char* s) const;
  bool operator<(const char* s) const;
  bool operator>(const char* s) const;
  bool operator<=(const char* s) const;
  bool operator>=(const char* s) const;

  // --- Search -------------------------------------------------------------
  // Positions are in units; a failed search gives npos. An empty needle and
  // unit 0 are never found.

  // First position of `c` at or after `pos`.
  size_t find(wchar16 c, size_t pos = 0) const;
  // First position of `s` at or after `pos`. Searching a string for itself
  // finds it at 0 only when pos is 0.
  size_t find(const KelUString& s, size_t pos = 0) const;
  size_t find(const wchar16* s, size_t pos = 0) const;
  size_t find(const char* s, KelCharSet cs) const;
  size_t find(const char* s, size_t pos, KelCharSet cs) const;
  // Finds the text that the byte `c` converts to (maybe several units).
  size_t find(char c, KelCharSet cs) const;
  size_t find(char c, size_t pos, KelCharSet cs) const;
  // Last position of `c`, searching down from the last unit.
  size_t rfind(wchar16 c) const;
  // Last position of `c` at or before `pos`. When pos >= size() or c is 0
  // the answer is size() - 1 without any search (npos for an empty string).
  size_t rfind(wchar16 c, size_t pos) const;
  // Last position of `s` starting at or before `pos` (a larger pos means
  // from the end). Searching a string for itself always gives 0.
  size_t rfind(const KelUString& s, size_t pos = npos) const;
  size_t rfind(const wchar16* s, size_t pos = npos) const;
  size_t rfind(const char* s, KelCharSet cs) const;
  size_t rfind(const char* s, size_t pos, KelCharSet cs) const;
  size_t rfind(char c, KelCharSet cs) const;
  size_t rfind(char c, size_t pos, KelCharSet cs) const;

  // --- Trimming, case, substrings, splitting ------------------------------

  // Removes the units that match `target` from the ends `cmd` names. Always
  // drops the narrow cache, even when nothing is removed.
  KelUString& trim(TrimCmd cmd = TRIM_BOTH, TrimTarget target = TRIM_WHITESPACE);
  KelUString& trimLeft(TrimTarget target = TRIM_WHITESPACE);
  KelUString& trimRight(TrimTarget target = TRIM_WHITESPACE);

  // Maps every unit to upper (lower) case in place, one unit for one:
  // only a-z (A-Z) when `asciiOnly`, else through KelUChar's case tables.
  // The narrow cache is kept as it was.
  void toUpper(bool asciiOnly = false);
  void toLower(bool asciiOnly = false);

  // The first `n` units; n > size() throws std::out_of_range.
  KelUString left(size_t n) const;
  // The `n` units from `pos` (npos: to the end). A range that runs past the
  // end throws std::out_of_range: counts are not clamped.
  KelUString mid(size_t pos, size_t n = npos) const;
  // The units from `pos` to the end (not the last pos units); empty when
  // pos >= size(), never throwing.
  KelUString right(size_t pos) const;

  // The pieces between the separators (see the KelUStringList splitting
  // constructors for empty pieces and ends).
  KelUStringList split(wchar16 c) const;
  KelUStringList split(const KelUString& sep) const;
  // The separator is the text the byte `c` converts to in `cs`.
  KelUStringList split(char c, KelCharSet cs = KelCS_OS_DEFAULT) const;

  // A new string: this text followed by the right operand.
  KelUString operator+(wchar16 c) const;
  KelUString operator+(const wchar16* text) const;
  KelUString operator+(const KelUString& s) const;
  KelUString operator+(char c) const;
  KelUString operator+(const char* narrow) const;

 protected:
  // Resets to the empty inline state without releasing anything.
  KelStrData* SetupSpace();
  // Resets as SetupSpace(), then for n > 257 takes a heap block of n + 1
  // units (capacity n, length 0).
  KelStrData* SetupSpace(size_t n);
  // The same operation as assureSize.
  KelStrData* AssureSpace(size_t n);

  // Code-unit comparison of the zero-terminated texts `a` and `b` over at
  // most `n` units: -1, 0 or 1. A null text ranks below any other and
  // equals another null text.
  int canonicalCompare(const wchar16* a, const wchar16* b, size_t n) const;
  // The same, folding units that differ to upper case first.
  int canonicalCompareNoCase(const wchar16* a, const wchar16* b, size_t n) const;

  [[noreturn]] void range_error() const;
  [[noreturn]] void length_error() const;

  KelStrData* m_pStrData;
  KelStrData m_localData;

 private:
  // Shared steps of the members above.
  void dropNarrowCache();
  // Frees the heap block, if any, and returns to the empty inline buffer.
  void freeHeapBlock();
  void makeEmpty();
  void copyIn(const wchar16* units, size_t count);
  bool assignFromNarrow(KelCharSetConverter* converter, const void* src, size_t srcBytes,
                        int srcLimit);
  void initFromNarrow(KelCharSetConverter* converter, const void* src, size_t srcBytes,
                      int srcLimit);
  void initFromRepeatedByte(char c, size_t n, KelCharSet cs);
  void initFromUnits(const wchar16* units, size_t count);
  void initFromResource(KelModuleHandle module, unsigned int id);
  char* buildNarrowCache(KelCharSetConverter* converter, KelCharSet cs);
  bool prepareResize(size_t n);
  void finishResize(size_t n);

  // Whether unit `c` is one that `target` removes.
  static bool matchesTrimTarget(wchar16 c, TrimTarget target);

  // Iterator checks: each throws std::out_of_range for a pointer outside the
  // range it allows and returns the pointer's position.
  // `p` in [begin(), end()].
  size_t insertPosition(const wchar16* p) const;
  // `p` in [begin(), end()).
  size_t unitPosition(const wchar16* p) const;
  // Both ends in [begin(), end()]; the count is last - first taken as a
  // size_t, so a `last` below `first` is clamped later as "to the end".
  struct UnitRange {
    size_t pos;
    size_t count;
  };
  UnitRange checkedRange(const wchar16* first, const wchar16* last) const;
};

// A new string: the left operand followed by `s`; narrow text is read in the
// OS character set.
KELULIB_API KelUString operator+(wchar16 c, const KelUString& s);
KELULIB_API KelUString operator+(const wchar16* text, const KelUString& s);
KELULIB_API KelUString operator+(char c, const KelUString& s);
KELULIB_API KelUString operator+(const char* narrow, const KelUString& s);

// Comparisons with the text on the left: the text (narrow text read in the
// OS character set) compared with `s`.
KELULIB_API bool operator==(const wchar16* text, const KelUString& s);
KELULIB_API bool operator!=(const wchar16* text, const KelUString& s);
KELULIB_API bool operator<(const wchar16* text, const KelUString& s);
KELULIB_API bool operator>(const wchar16* text, const KelUString& s);
KELULIB_API bool operator<=(const wchar16* text, const KelUString& s);
KELULIB_API bool operator>=(const wchar16* text, const KelUString& s);
KELULIB_API bool operator==(const char* narrow, const KelUString& s);
KELULIB_API bool operator!=(const char* narrow, const KelUString& s);
KELULIB_API bool operator<(const char* narrow, const KelUString& s);
KELULIB_API bool operator>(const char* narrow, const KelUString& s);
KELULIB_API bool operator<=(const char* narrow, const KelUString& s);
KELULIB_API bool operator>=(const char* narrow, const KelUString& s);

// split() returns lists: users of KelUString get KelUStringList as well.
#include "ustring_list.h"

#endif  // KELULIB_USTRING_USTRING_H_
