# The Windows package. Included from the top CMakeLists.txt before
# include(CPack) in a Windows build: `cpack` then makes
# kelulib-VERSION-win64.zip of what `cmake --install` installs (bin/
# KelULibDll.dll and kelconv.exe, lib/ the import library and the CMake
# package, include/ the headers, share/doc/kelulib/ the licence), plus the
# runtime DLLs of mingw-w64's compiler that the two need, beside them in
# bin/, and kelconv's manual page as text with Windows line ends.

set(CPACK_GENERATOR ZIP)
set(CPACK_SYSTEM_NAME win64)

# The DLLs that KelULibDll.dll and kelconv.exe load besides Windows' own
# (cmake/KelWindows.cmake found them).
install(FILES ${KELULIB_MINGW_RUNTIME_DLLS} DESTINATION "${CMAKE_INSTALL_BINDIR}"
        COMPONENT runtime)

if(TARGET kelconv)
  find_program(KELULIB_GROFF groff)
  if(NOT KELULIB_GROFF)
    message(FATAL_ERROR "groff (Debian package groff-base) is needed for kelconv's manual page as text")
  endif()
  set(manual_page "${PROJECT_BINARY_DIR}/tools/kelconv/kelconv.1")
  set(manual_text "${PROJECT_BINARY_DIR}/kelconv.txt")
  add_custom_command(
    OUTPUT "${manual_text}"
    COMMAND "${CMAKE_COMMAND}" "-DGROFF=${KELULIB_GROFF}" "-DMANUAL_PAGE=${manual_page}"
            "-DOUTPUT=${manual_text}" -P "${CMAKE_CURRENT_LIST_DIR}/ManualAsText.cmake"
    DEPENDS "${manual_page}" "${CMAKE_CURRENT_LIST_DIR}/ManualAsText.cmake"
    COMMENT "Writing kelconv's manual page as text"
    VERBATIM)
  add_custom_target(kelconv_manual_text ALL DEPENDS "${manual_text}")
  # Beside the licence.
  install(FILES "${manual_text}" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/kelulib"
          COMPONENT kelconv)
endif()
