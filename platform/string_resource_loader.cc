#include "platform/string_resource_loader.h"

#ifdef _WIN32
#include <windows.h>

#include <climits>
#endif

namespace kelulib {

#ifdef _WIN32

size_t loadStringResource(KelModuleHandle module, unsigned int id, wchar16* buffer,
                          size_t bufferUnits) {
  if (module == nullptr || buffer == nullptr || bufferUnits == 0) return 0;
  const int room = bufferUnits > INT_MAX ? INT_MAX : static_cast<int>(bufferUnits);
  const int units = LoadStringW(module, id, reinterpret_cast<LPWSTR>(buffer), room);
  return units > 0 ? static_cast<size_t>(units) : 0;
}

#else

namespace {

const KelStringResource* findStringResource(KelModuleHandle module, unsigned int id) {
  for (const KelStringResource* entry = module; entry->text != nullptr; ++entry) {
    if (entry->id == id) return entry;
  }
  return nullptr;
}

}  // namespace

size_t loadStringResource(KelModuleHandle module, unsigned int id, wchar16* buffer,
                          size_t bufferUnits) {
  if (module == nullptr || buffer == nullptr || bufferUnits == 0) return 0;
  const KelStringResource* entry = findStringResource(module, id);
  if (entry == nullptr) return 0;
  size_t units = 0;
  while (units + 1 < bufferUnits && entry->text[units] != 0) {
    buffer[units] = entry->text[units];
    ++units;
  }
  buffer[units] = 0;
  return units;
}

#endif

}  // namespace kelulib
