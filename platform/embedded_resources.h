// Named binary tables that travel inside the library (the UNICODEMAP
// tables).
//
// On Windows they are resources of type UNICODEMAP in the module that holds
// the library, made from resources/ at build time, and found with
// FindResourceA; the bytes are used in place. Elsewhere every file of
// resources/ is embedded at build time into a generated source that defines
// kelMappingTableResources, and a table is found by its file name.
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

// Finds the UNICODEMAP table `name` among the library's tables: on Windows
// the resource of that name in the library's module (FindResourceA,
// LoadResource, LockResource, SizeofResource; resource names are compared
// without regard to case there), elsewhere the embedded table of that exact
// name. The bytes live as long as the library and are never freed or
// copied. Returns false, leaving *bytes untouched, when there is no such
// table or either pointer is null.
bool findMappingTable(const char* name, ResourceBytes* bytes);

}  // namespace kelulib

#if !defined(_WIN32)
// Generated from resources/ at build time.
extern const kelulib::EmbeddedResource kelMappingTableResources[];
#endif

#endif  // KELULIB_PLATFORM_EMBEDDED_RESOURCES_H_
