// Export macro for the public classes and functions of KelULibDll.
//
// The library is built with hidden symbol visibility; exactly the
// declarations marked KELULIB_API form its binary interface. Usable from C
// and C++.
#ifndef KELULIB_PLATFORM_EXPORT_H_
#define KELULIB_PLATFORM_EXPORT_H_

#if defined(KELULIB_STATIC)
#define KELULIB_API
#elif defined(_WIN32)
#if defined(KELULIB_BUILDING_DLL)
#define KELULIB_API __declspec(dllexport)
#else
#define KELULIB_API __declspec(dllimport)
#endif
#else
#define KELULIB_API __attribute__((visibility("default")))
#endif

#endif  // KELULIB_PLATFORM_EXPORT_H_
