// Named binary tables compiled into the library (the UNICODEMAP tables).
//
// Every file of resources/ is embedded at build time into a generated source
// that defines kelMappingTableResources; a table is found by its file name.
#ifndef KELULIB_PLATFORM_EMBEDDED_RESOURCES_H_
#define KELULIB_PLATFORM_EMBEDDED_RESOURCES_H_

#include <cstddef>

namespace kelulib {

struct EmbeddedResource {
  const char* name;  // null in the record that ends a list
  const unsigned char* data;
  size_t size;
};

struct ResourceBytes {
  const unsigned char* data = nullptr;
  size_t size = 0;
};

// Finds `name` (compared exactly) in `resources`, a list ended by a record
// with a null name. Returns false, leaving *bytes untouched, when it is not
// there or when either pointer is null.
bool findEmbeddedResource(const EmbeddedResource* resources, const char* name,
                          ResourceBytes* bytes);

// Finds the UNICODEMAP table `name` among the library's embedded tables. The
// bytes live as long as the library and are never freed.
bool findMappingTable(const char* name, ResourceBytes* bytes);

}  // namespace kelulib

// Generated from resources/ at build time.
extern const kelulib::EmbeddedResource kelMappingTableResources[];

#endif  // KELULIB_PLATFORM_EMBEDDED_RESOURCES_H_
