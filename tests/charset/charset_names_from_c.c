/* The character-set names called from a C translation unit: this file only
 * links when both functions have C linkage. */
#include <KelULib.h>

#include "tests/charset/charset_names_from_c.h"

const char* kelulibTestNameFromC(KelCharSet id) { return KelCharSetToString(id); }

KelCharSet kelulibTestIdFromC(const char* name) { return KelCharSetFromString(name); }
