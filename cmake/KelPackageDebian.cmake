# The Debian packages, made by CPack's DEB generator from a build for /usr
# (the deb presets: `cmake --workflow --preset deb`, packages in build/deb):
#
#   libkelulib1     the shared library in the multiarch directory, its shlibs
#                   file and the ldconfig trigger
#   libkelulib-dev  the headers, the .so link, the CMake package, kelulib.pc
#   kelconv         the command-line converter and its compressed manual page
#
# each with /usr/share/doc/<package>/copyright (the licence, in Debian's
# machine-readable form) and changelog.gz. Binaries are stripped; the
# dependencies on the C and C++ runtimes come from dpkg-shlibdeps.
#
# Included from the CPack section of the top CMakeLists.txt. In any other
# build, it only makes `cpack -G DEB` refuse, saying where the packages come
# from: a build for /usr/local lays the files out for no Debian package.

set(KELULIB_DEBIAN_DIR "${CMAKE_CURRENT_LIST_DIR}/debian")

if(NOT KELULIB_DEBIAN_PACKAGE)
  list(APPEND CPACK_PRE_BUILD_SCRIPTS "${KELULIB_DEBIAN_DIR}/refuse_deb.cmake")
  return()
endif()

if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux" OR NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(FATAL_ERROR "KELULIB_DEBIAN_PACKAGE needs a Linux build with CMAKE_INSTALL_PREFIX /usr "
                      "(the deb preset)")
endif()
find_program(KELULIB_GZIP gzip REQUIRED)

set(KELULIB_DEBIAN_BUILD_DIR "${PROJECT_BINARY_DIR}/debian")
file(MAKE_DIRECTORY "${KELULIB_DEBIAN_BUILD_DIR}")

# gzip -9n, as Debian compresses manual pages and changelogs.
function(kel_debian_gzip input output)
  execute_process(COMMAND "${KELULIB_GZIP}" -9 -n -c "${input}" OUTPUT_FILE "${output}"
                  RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "gzip ${input} failed")
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${input}")
endfunction()

# The copyright file: LICENSE in Debian's machine-readable format. The MIT
# licence is the one Debian calls "Expat".
file(STRINGS "${PROJECT_SOURCE_DIR}/LICENSE" licence_lines)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/LICENSE")
list(FILTER licence_lines INCLUDE REGEX "^Copyright \\(c\\) ")
list(GET licence_lines 0 copyright_line)
string(REGEX REPLACE "^Copyright \\(c\\) " "" copyright_holder "${copyright_line}")
file(READ "${PROJECT_SOURCE_DIR}/LICENSE" licence_text)
string(REGEX REPLACE "^.*\nPermission is" "Permission is" licence_text "${licence_text}")
string(STRIP "${licence_text}" licence_text)
string(REGEX REPLACE "\n\n" "\n.\n" licence_text "${licence_text}")
string(REGEX REPLACE "\n" "\n " licence_text "${licence_text}")
file(WRITE "${KELULIB_DEBIAN_BUILD_DIR}/copyright" "\
Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: KelULib
Upstream-Contact: ${CPACK_PACKAGE_CONTACT}

Files: *
Copyright: ${copyright_holder}
License: Expat
 ${licence_text}
")

kel_debian_gzip("${KELULIB_DEBIAN_DIR}/changelog" "${KELULIB_DEBIAN_BUILD_DIR}/changelog.gz")
kel_debian_gzip("${PROJECT_BINARY_DIR}/tools/kelconv/kelconv.1" "${KELULIB_DEBIAN_BUILD_DIR}/kelconv.1.gz")
install(FILES "${KELULIB_DEBIAN_BUILD_DIR}/kelconv.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
        COMPONENT kelconv)

# Each package's synopsis is the first line of its own description: CPack
# puts the project's summary before it unless the summary is CPack's
# placeholder for none, which is therefore what it is here.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development kelconv)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps runs in each package's staging folder; kelconv's library is
# in the runtime package's, beside it. (It has no shlibs to read there, so
# kelconv's dependency on libkelulib1 is named below.)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "../runtime/usr/${CMAKE_INSTALL_LIBDIR}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkelulib1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${KELULIB_DEBIAN_DIR}/triggers")
install(FILES "${KELULIB_DEBIAN_DIR}/libkelulib1.lintian-overrides"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides" RENAME libkelulib1
        COMPONENT runtime)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "UTF-16 strings and character-set conversion (library)
KelULib gives programs one way to hold and convert text: a UTF-16 string
class, KelUString, and its list; character-set converters behind one
interface (UTF-8/16/32, the Windows and ISO single-byte code pages, the
Chinese, Japanese and Korean double-byte code pages, EUC and GB18030);
Unicode character properties; and flat C functions that convert whole
buffers.

This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkelulib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libkelulib1 (= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "UTF-16 strings and character-set conversion (development files)
KelULib gives programs one way to hold and convert text: a UTF-16 string
class, character-set converters behind one interface, Unicode character
properties and flat C functions that convert whole buffers.

This package contains the headers (#include <KelULib.h>), the link to the
shared library, the CMake package (find_package(KelULib)) and the
pkg-config file (kelulib).")

set(CPACK_DEBIAN_KELCONV_PACKAGE_NAME kelconv)
set(CPACK_DEBIAN_KELCONV_PACKAGE_SECTION text)
set(CPACK_DEBIAN_KELCONV_PACKAGE_MULTIARCH foreign)
set(CPACK_DEBIAN_KELCONV_PACKAGE_DEPENDS "libkelulib1 (>= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_KELCONV_DESCRIPTION "convert text between character sets with KelULib
kelconv converts files from one character set to another in the manner of
iconv, through the KelULib library: UTF-8, UTF-16, UTF-32, the Windows and
ISO 8859 code pages, KOI8-R, Shift_JIS, EUC-JP, GBK, GB18030, Big5, EUC-KR
and more. It streams its input in bounded memory, converts characters that
a chunk boundary cuts whole, and can replace, escape or stop at what the
target set lacks.")

foreach(pair IN ITEMS "runtime:libkelulib1" "development:libkelulib-dev" "kelconv:kelconv")
  string(REPLACE ":" ";" pair "${pair}")
  list(GET pair 0 component)
  list(GET pair 1 package)
  install(FILES "${KELULIB_DEBIAN_BUILD_DIR}/copyright" "${KELULIB_DEBIAN_BUILD_DIR}/changelog.gz"
          DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}" COMPONENT ${component})
endforeach()

# CPack adds maintainer scripts that run ldconfig to a package with a shared
# library (Debian wants the trigger, above) and writes no Multi-Arch field
# (the *_PACKAGE_MULTIARCH values above): the packages are made again.
list(APPEND CPACK_POST_BUILD_SCRIPTS "${KELULIB_DEBIAN_DIR}/finish_packages.cmake")
