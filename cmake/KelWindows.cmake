# What a Windows build adds: every program and DLL in one folder, and the
# runtime DLLs of mingw-w64's compiler beside them. Included from the top
# CMakeLists.txt before any target is made.

# Windows looks for a program's DLLs beside the program first: with
# KelULibDll.dll, the test-only DLLs and the runtime DLLs in the programs'
# own folder, every program of the build tree runs as it is, under Wine or
# on Windows.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")

# The DLLs that programs built by mingw-w64's g++ load: the C++ and GCC
# runtimes and, with posix threads, winpthreads. Asked of the compiler, so
# that they match the compiler in use.
set(KELULIB_MINGW_RUNTIME_DLLS "")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(dll IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${dll}"
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
      message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not know where ${dll} is")
    endif()
    list(APPEND KELULIB_MINGW_RUNTIME_DLLS "${path}")
  endforeach()
  file(COPY ${KELULIB_MINGW_RUNTIME_DLLS} DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
endif()

# GCC does not align the stack for 32- and 64-byte vectors on 64-bit
# Windows, so an aligned move of a spilled AVX register may fault. The
# assembler writes every vector move as an unaligned one (no slower on the
# processors that have AVX), which keeps the run-time chosen AVX2 and
# AVX-512 kernels safe whatever the compiler spills.
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-Wa,-muse-unaligned-vector-move>")

# GoogleTest's sources, which a Windows build compiles with the
# cross-compiler for its tests (cmake/KelWindowsTests.cmake).
set(KELULIB_GOOGLETEST_SOURCE_DIR "/usr/src/googletest" CACHE PATH
    "GoogleTest's sources (Debian package googletest)")

# kelulib_not_on_windows(<test name pattern> <reason>)
# Records a test of the Linux presets that has no run here, with the reason
# that the summary of a test run prints (cmake/TestSummary.cmake).
set(KELULIB_NOT_ON_WINDOWS_FILE "${PROJECT_BINARY_DIR}/tests-not-run-on-windows.txt")
file(WRITE "${KELULIB_NOT_ON_WINDOWS_FILE}" "")
function(kelulib_not_on_windows pattern reason)
  file(APPEND "${KELULIB_NOT_ON_WINDOWS_FILE}" "${pattern}\t${reason}\n")
endfunction()
