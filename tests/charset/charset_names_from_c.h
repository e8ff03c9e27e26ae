/* Wrappers compiled as C (charset_names_from_c.c) around the character-set
 * name functions, for the C++ tests to call. */
#ifndef KELULIB_TESTS_CHARSET_CHARSET_NAMES_FROM_C_H_
#define KELULIB_TESTS_CHARSET_CHARSET_NAMES_FROM_C_H_

#include "charset/charset_id.h"

#ifdef __cplusplus
extern "C" {
#endif

const char* kelulibTestNameFromC(KelCharSet id);
KelCharSet kelulibTestIdFromC(const char* name);

#ifdef __cplusplus
}
#endif

#endif /* KELULIB_TESTS_CHARSET_CHARSET_NAMES_FROM_C_H_ */
