// The module that holds the library, whose resources carry the UNICODEMAP
// tables on Windows.
#ifndef KELULIB_PLATFORM_LIBRARY_MODULE_H_
#define KELULIB_PLATFORM_LIBRARY_MODULE_H_

namespace kelulib {

// Made once, first of the library's objects when the library is loaded.
// On Windows it finds the module that holds the library's code from an
// address inside it and keeps its handle for libraryModule(): the DLL, or
// the program that the library is linked into statically. Elsewhere there
// is nothing to find: the tables are compiled into the library.
class LibraryModule {
 public:
  LibraryModule();
  LibraryModule(const LibraryModule&) = delete;
  LibraryModule& operator=(const LibraryModule&) = delete;
};

// The module's handle (Windows: an HMODULE), looked up once; null on systems
// without module handles.
void* libraryModule();

}  // namespace kelulib

#endif  // KELULIB_PLATFORM_LIBRARY_MODULE_H_
