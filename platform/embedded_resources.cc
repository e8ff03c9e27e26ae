#include "platform/embedded_resources.h"

#include <cstring>

#if defined(_WIN32)
#include <windows.h>

#include "platform/library_module.h"
#endif

namespace kelulib {

bool findEmbeddedResource(const EmbeddedResource* resources, const char* name,
                          ResourceBytes* bytes) {
  if (resources == nullptr || name == nullptr || bytes == nullptr) return false;
  for (const EmbeddedResource* resource = resources; resource->name != nullptr; ++resource) {
    if (std::strcmp(resource->name, name) == 0) {
      bytes->data = resource->data;
      bytes->size = resource->size;
      return true;
    }
  }
  return false;
}

#if defined(_WIN32)

bool findMappingTable(const char* name, ResourceBytes* bytes) {
  if (name == nullptr || bytes == nullptr) return false;
  const auto module = static_cast<HMODULE>(libraryModule());
  if (module == nullptr) return false;
  HRSRC resource = FindResourceA(module, name, "UNICODEMAP");
  if (resource == nullptr) return false;
  HGLOBAL loaded = LoadResource(module, resource);
  if (loaded == nullptr) return false;
  const void* data = LockResource(loaded);
  if (data == nullptr) return false;
  bytes->data = static_cast<const unsigned char*>(data);
  bytes->size = SizeofResource(module, resource);
  return true;
}

#else

bool findMappingTable(const char* name, ResourceBytes* bytes) {
  return findEmbeddedResource(kelMappingTableResources, name, bytes);
}

#endif

}  // namespace kelulib
