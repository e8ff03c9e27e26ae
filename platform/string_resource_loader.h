// Reading one string of a module's string table.
#ifndef KELULIB_PLATFORM_STRING_RESOURCE_LOADER_H_
#define KELULIB_PLATFORM_STRING_RESOURCE_LOADER_H_

#include <cstddef>

#include "platform/string_resource.h"

namespace kelulib {

// Copies the text of string `id` of `module` into `buffer` (room
// `bufferUnits`, terminator included), cut to bufferUnits - 1 units, and
// returns the number of units copied. A null module or buffer, bufferUnits
// 0, a missing id or an empty text give 0.
size_t loadStringResource(KelModuleHandle module, unsigned int id, wchar16* buffer,
                          size_t bufferUnits);

}  // namespace kelulib

#endif  // KELULIB_PLATFORM_STRING_RESOURCE_LOADER_H_
