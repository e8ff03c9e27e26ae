#include "platform/embedded_resources.h"

#include <cstring>

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

bool findMappingTable(const char* name, ResourceBytes* bytes) {
  return findEmbeddedResource(kelMappingTableResources, name, bytes);
}

}  // namespace kelulib
