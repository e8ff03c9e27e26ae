// String resources: the module handle through which KelUString loads a
// string by its numeric id.
//
// On Windows a module handle is the module's HINSTANCE and the strings come
// from its string table. Elsewhere a module handle points at the module's
// string table itself: an array of KelStringResource records that ends with
// a record whose text is null.
#ifndef KELULIB_PLATFORM_STRING_RESOURCE_H_
#define KELULIB_PLATFORM_STRING_RESOURCE_H_

#include "../charset/charset_id.h"

#ifdef _WIN32
struct HINSTANCE__;
// The module's instance handle (HINSTANCE).
typedef HINSTANCE__* KelModuleHandle;
#else
// One string of a module's string table: its id and its zero-terminated
// UTF-16 text.
struct KelStringResource {
  unsigned int id;
  const wchar16* text;
};
// The module's string table, ended by a record whose text is null.
typedef const KelStringResource* KelModuleHandle;
#endif

#endif  // KELULIB_PLATFORM_STRING_RESOURCE_H_
