// The UNICODEMAP tables that the module holding the library carries, as
// the platform holds them: the resources of type UNICODEMAP of the module
// on Windows, the list of embedded tables elsewhere. For the tests of the
// table lookup, which link the library statically.
#ifndef KELULIB_TESTS_SUPPORT_MAPPING_TABLE_LIST_H_
#define KELULIB_TESTS_SUPPORT_MAPPING_TABLE_LIST_H_

#include <set>
#include <string>

#include "platform/embedded_resources.h"

#if defined(_WIN32)
#include <windows.h>

#include "platform/library_module.h"
#endif

namespace kelulib_test {

// The names of all the tables.
inline std::set<std::string> mappingTableNames() {
  std::set<std::string> names;
#if defined(_WIN32)
  EnumResourceNamesA(
      static_cast<HMODULE>(kelulib::libraryModule()), "UNICODEMAP",
      [](HMODULE, LPCSTR, LPSTR name, LONG_PTR found) -> BOOL {
        if (!IS_INTRESOURCE(name)) reinterpret_cast<std::set<std::string>*>(found)->insert(name);
        return TRUE;
      },
      reinterpret_cast<LONG_PTR>(&names));
#else
  for (const kelulib::EmbeddedResource* r = kelMappingTableResources; r->name != nullptr; ++r) {
    names.insert(r->name);
  }
#endif
  return names;
}

// The module's own bytes of table `name`, looked up without the library's
// lookup: FindResourceA, LoadResource and LockResource on Windows, the list
// of embedded tables elsewhere. Size 0 and a null pointer when there is none.
inline kelulib::ResourceBytes modulesOwnTable(const char* name) {
  kelulib::ResourceBytes bytes;
#if defined(_WIN32)
  const auto module = static_cast<HMODULE>(kelulib::libraryModule());
  HRSRC resource = FindResourceA(module, name, "UNICODEMAP");
  if (resource == nullptr) return bytes;
  bytes.data = static_cast<const unsigned char*>(LockResource(LoadResource(module, resource)));
  bytes.size = SizeofResource(module, resource);
#else
  kelulib::findEmbeddedResource(kelMappingTableResources, name, &bytes);
#endif
  return bytes;
}

}  // namespace kelulib_test

#endif  // KELULIB_TESTS_SUPPORT_MAPPING_TABLE_LIST_H_
