# Cross-compiles for 64-bit Windows with mingw-w64 (Debian's
# g++-mingw-w64-x86-64, posix threads) and runs what it builds under Wine:
#   cmake -S . -B build/windows --toolchain cmake/toolchains/mingw-w64-x86_64.cmake
# The programs run through CMAKE_CROSSCOMPILING_EMULATOR, with a Wine prefix
# of their own inside the build tree (never ~/.wine) and Wine's own
# diagnostics off.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KELULIB_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KELULIB_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KELULIB_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${KELULIB_MINGW_TRIPLET}-windres)

# Libraries, headers and packages only from the mingw-w64 tree; programs
# (python3, the build tools) from the host.
set(CMAKE_FIND_ROOT_PATH /usr/${KELULIB_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(KELULIB_WINE64 NAMES wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(NOT KELULIB_WINE64)
  message(WARNING "wine64 not found (Debian package wine64): the Windows programs cannot be run")
else()
  set(KELULIB_WINEPREFIX "${CMAKE_BINARY_DIR}/wine-prefix" CACHE PATH
      "The Wine prefix the Windows programs run in")
  set(CMAKE_CROSSCOMPILING_EMULATOR
      env "WINEPREFIX=${KELULIB_WINEPREFIX}" WINEDEBUG=-all "${KELULIB_WINE64}")
endif()
