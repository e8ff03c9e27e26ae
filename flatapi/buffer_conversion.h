/* Whole-buffer conversions between a local character set, UTF-8 and UTF-16,
 * and the unit sizes of a character set. Usable from C and C++.
 *
 * Every function takes a zero-terminated `src` and the full size of `dst`
 * (`dstSize`: bytes for narrow output, UTF-16 units for wchar16 output),
 * reserves room for the terminator out of it, and returns the bytes or units
 * written without the terminator. 0 means an empty input or a failure (null
 * pointer, too small a buffer); nothing else is reported. Unmappable
 * characters are replaced ("?" or U+FFFD), and too small a buffer truncates
 * at a character boundary with the terminator written. A negative `int`
 * dstSize acts as an unbounded room, except in LocalToUTF16.
 *
 * The character set of the "local" side is `charSet`, resolved by
 * KelCharSetConverter::getConverter (KelCS_OS_DEFAULT: the operating
 * system's code page; ids without a converter: UTF-8). */
#ifndef KELULIB_FLATAPI_BUFFER_CONVERSION_H_
#define KELULIB_FLATAPI_BUFFER_CONVERSION_H_

#include <stddef.h>

#include "../charset/charset_id.h"
#include "../platform/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Local text to UTF-8. Text that is not valid in `charSet` is read as
 * ISO 8859-1 instead. */
KELULIB_API size_t LocalToUTF8(char* dst, char const* src, int dstSize, KelCharSet charSet);

/* UTF-8 to local text (terminated by a zero of the set's null size). An
 * input that decodes to nothing returns 0 and leaves `dst` untouched. */
KELULIB_API size_t UTF8ToLocal(char* dst, char const* src, int dstSize, KelCharSet charSet);

/* Local text to UTF-16; text that is not valid in `charSet` is converted
 * again as ISO 8859-1. A dstSize below 1 returns 0. */
KELULIB_API size_t LocalToUTF16(wchar16* dst, char const* src, int dstSize, KelCharSet charSet);

/* UTF-16 to local text (terminated by a zero of the set's null size). */
KELULIB_API size_t UTF16ToLocal(char* dst, wchar16 const* src, int dstSize, KelCharSet charSet);

/* UTF-8 to UTF-16. */
KELULIB_API size_t UTF8ToUTF16(wchar16* dst, char const* src, size_t dstSize);

/* UTF-16 to UTF-8. */
KELULIB_API size_t UTF16ToUTF8(char* dst, wchar16 const* src, size_t dstSize);

/* A path in the operating system's code page to UTF-8: each "U+XXXX"
 * (upper-case hex digits) in it becomes the UTF-16 unit it spells, so that
 * names written by UTF8ToLocalPath come back whole. */
KELULIB_API size_t LocalPathToUTF8(char* dst, char const* src, int dstSize);

/* A UTF-8 path to the operating system's code page: every character the
 * code page lacks becomes the six characters "U+XXXX" of its UTF-16 unit
 * (a character that does not fit whole ends the output). When the code page
 * is UTF-8 itself, only an unpaired high surrogate (from encoded surrogates
 * in `src`) is escaped, and the unit after it is dropped, as the UTF-8
 * converter escapes; the output still never runs past dstSize, and the
 * text ends at its terminator even when it ends in such a surrogate. */
KELULIB_API size_t UTF8ToLocalPath(char* dst, char const* src, int dstSize);

/* UTF-16 units that the local text `src` converts to (the converter's
 * count, up to the terminator); 0 for a null `src`. */
KELULIB_API size_t GetNumUnits(char const* src, KelCharSet charSet);

/* Bytes that the UTF-16 text `src` converts to in `charSet` under
 * replacement, terminator excluded; 0 for a null `src`. */
KELULIB_API size_t GetNumBytes(wchar16 const* src, KelCharSet charSet);

/* Fewest bytes one character of `charSet` takes. */
KELULIB_API size_t GetMinUnitSize(KelCharSet charSet);

/* Most bytes one UTF-16 unit can become in `charSet`. */
KELULIB_API size_t GetMaxUnitSize(KelCharSet charSet);

/* Size in bytes of the terminating zero of `charSet`. */
KELULIB_API size_t GetNullCharSize(KelCharSet charSet);

#ifdef __cplusplus
}
#endif

#endif /* KELULIB_FLATAPI_BUFFER_CONVERSION_H_ */
