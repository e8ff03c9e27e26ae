// The two single-byte to-Unicode tables compiled into the library (the
// other single-byte sets come from UNICODEMAP tables). Entry b is the UTF-16
// unit of byte b; 0 means unmapped, and entry 0 is always 0.
#ifndef KELULIB_CHARSET_TABLES_BUILTIN_SBCS_TABLES_H_
#define KELULIB_CHARSET_TABLES_BUILTIN_SBCS_TABLES_H_

#include "charset/charset_id.h"

namespace kelulib {

// ISO 8859-1: the identity.
extern const wchar16* const kIso88591ToUnicode;

// Windows-1252: the identity except 0x80-0x9F, which follow the Windows-1252
// code page; 0x81, 0x8D, 0x8F, 0x90 and 0x9D are unmapped.
extern const wchar16* const kWindows1252ToUnicode;

}  // namespace kelulib

#endif  // KELULIB_CHARSET_TABLES_BUILTIN_SBCS_TABLES_H_
