/* Character-set names: each KelCharSet value has one name, "KelCS_" and a
 * suffix ("KelCS_UTF8", "KelCS_WCP1252", "KelCS_OS_DEFAULT"). Usable from C
 * and C++: both functions have C linkage, so they are found by these names
 * (dlsym, GetProcAddress) and called from C. */
#ifndef KELULIB_CHARSET_CHARSET_NAMES_H_
#define KELULIB_CHARSET_CHARSET_NAMES_H_

#include "charset_id.h"
#include "../platform/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The name of `id` as ISO 8859-1 text, owned by the library and the same
 * pointer on every call; "KelCS_OS_DEFAULT" for an id without a name. -2 is
 * not resolved to the operating system's code page: it has its own name. */
KELULIB_API const char* KelCharSetToString(KelCharSet id);

/* The id whose name is exactly `name` (read as ISO 8859-1; no case folding,
 * no trimming); KelCS_OS_DEFAULT for a null, empty or unknown name. */
KELULIB_API KelCharSet KelCharSetFromString(const char* name);

#ifdef __cplusplus
}
#endif

#endif  /* KELULIB_CHARSET_CHARSET_NAMES_H_ */
