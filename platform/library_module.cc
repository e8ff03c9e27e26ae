#include "platform/library_module.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kelulib {
namespace {

#if defined(_WIN32)
// Any address inside the library does; this one is the library's own.
const char kAddressInsideTheLibrary = 0;
#endif

// The handle comes from GetModuleHandleExW on an address of the library,
// looked up while the library's objects are built (for the DLL: at process
// attach, inside the runtime's start-up code), rather than from a DllMain of
// our own. The same code then finds the right module whether the library is
// KelULibDll.dll or linked statically into a program, whose resources then
// carry the tables; no DllMain stands beside the runtime's; and start-up
// keeps the one order of charset/library_objects.cc on every system.
void* findLibraryModule() {
#if defined(_WIN32)
  HMODULE module = nullptr;
  if (GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&kAddressInsideTheLibrary), &module)) {
    return module;
  }
#endif
  return nullptr;
}

}  // namespace

LibraryModule::LibraryModule() { libraryModule(); }

// Looked up once; a program that links only some of the library's parts
// statically (and so not the LibraryModule object) finds it on first use.
void* libraryModule() {
  static void* const module = findLibraryModule();
  return module;
}

}  // namespace kelulib
