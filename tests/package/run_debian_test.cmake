# Makes the Debian packages as a user does (`cmake --preset deb`, then a
# build and cpack, in a scratch folder), checks their names, control fields
# and contents, runs lintian on them where it is installed (no error and no
# warning), unpacks them into a scratch root with `dpkg -x`, runs kelconv
# from there and builds and runs the consumer project against the unpacked
# files (find_package and pkg-config).
#   cmake -DSOURCE_DIR=... -DWORK_DIR=... -DCPACK=... -DDPKG_DEB=... [-DLINTIAN=...]
#         -DCONSUMER_SOURCE_DIR=... [compilers, flags, generator, PKG_CONFIG]
#         -P run_debian_test.cmake
include("${CMAKE_CURRENT_LIST_DIR}/consumer_checks.cmake")

file(REMOVE_RECURSE "${WORK_DIR}")
set(build "${WORK_DIR}/build")
run("${CMAKE_COMMAND}" -S "${SOURCE_DIR}" --preset deb -B "${build}")
run("${CMAKE_COMMAND}" --build "${build}" -j 2)
run("${CPACK}" --config "${build}/CPackConfig.cmake" -B "${WORK_DIR}/packages")

execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE arch
                OUTPUT_STRIP_TRAILING_WHITESPACE)
file(STRINGS "${build}/CMakeCache.txt" libdir REGEX "^CMAKE_INSTALL_LIBDIR:")
string(REGEX REPLACE "^[^=]*=" "" libdir "${libdir}")
include("${build}/CPackConfig.cmake")
set(version "${CPACK_PACKAGE_VERSION}")
if(NOT libdir MATCHES "^lib/.+-linux-gnu")
  message(FATAL_ERROR "the deb build's library folder is ${libdir}, not a multiarch one")
endif()

# Each package: its file, fields, what it must hold, what it must not.
function(check_package package expected_fields expected_files unexpected_files)
  set(deb "${WORK_DIR}/packages/${package}_${version}_${arch}.deb")
  if(NOT EXISTS "${deb}")
    file(GLOB made "${WORK_DIR}/packages/*.deb")
    message(FATAL_ERROR "no ${deb}; CPack made: ${made}")
  endif()
  execute_process(COMMAND "${DPKG_DEB}" --field "${deb}" OUTPUT_VARIABLE fields)
  execute_process(COMMAND "${DPKG_DEB}" --contents "${deb}" OUTPUT_VARIABLE contents)
  execute_process(COMMAND "${DPKG_DEB}" --ctrl-tarfile "${deb}"
                  OUTPUT_FILE "${WORK_DIR}/${package}.control.tar")
  execute_process(COMMAND "${CMAKE_COMMAND}" -E tar tf "${WORK_DIR}/${package}.control.tar"
                  OUTPUT_VARIABLE control_files)
  message("${deb}:\n${fields}${control_files}${contents}")
  foreach(field IN LISTS expected_fields)
    if(NOT fields MATCHES "(^|\n)${field}")
      message(FATAL_ERROR "${package}: no field matching \"${field}\" in\n${fields}")
    endif()
  endforeach()
  foreach(entry IN LISTS expected_files)
    string(FIND "${contents}\n${control_files}" "${entry}" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "${package} lacks ${entry}")
    endif()
  endforeach()
  foreach(entry IN LISTS unexpected_files)
    string(FIND "${contents}\n${control_files}" "${entry}" found)
    if(NOT found EQUAL -1)
      message(FATAL_ERROR "${package} holds ${entry}")
    endif()
  endforeach()
  set(debs ${debs} "${deb}" PARENT_SCOPE)
endfunction()

set(debs "")
set(common_fields "Maintainer: KelULib Maintainers <[a-z.]+@kelulib.org>" "Priority: optional"
                  "Description: [^\n]+\n [^\n]+\n [^\n]+")
check_package(libkelulib1
  "${common_fields};Section: libs;Multi-Arch: same;Depends: .*libc6 .*libstdc\\+\\+6"
  "./usr/${libdir}/libKelULibDll.so.1.0.0;./usr/${libdir}/libKelULibDll.so.1 -> libKelULibDll.so.1.0.0;./usr/share/doc/libkelulib1/copyright;./usr/share/doc/libkelulib1/changelog.gz;./shlibs;./triggers"
  "libKelULibDll.so ;/include/;./postinst;./postrm")
check_package(libkelulib-dev
  "${common_fields};Section: libdevel;Multi-Arch: same;Depends: libkelulib1 \\(= ${version}\\)"
  "./usr/${libdir}/libKelULibDll.so -> libKelULibDll.so.1;./usr/include/KelULib.h;./usr/include/KelULib/ustring/ustring.h;./usr/${libdir}/cmake/KelULib/KelULibConfig.cmake;./usr/${libdir}/pkgconfig/kelulib.pc;./usr/share/doc/libkelulib-dev/copyright;./usr/share/doc/libkelulib-dev/changelog.gz"
  "libKelULibDll.so.1.0.0")
check_package(kelconv
  "${common_fields};Section: text;Multi-Arch: foreign;Depends: libkelulib1 \\(>= ${version}\\)"
  "./usr/bin/kelconv;./usr/share/man/man1/kelconv.1.gz;./usr/share/doc/kelconv/copyright;./usr/share/doc/kelconv/changelog.gz"
  "libKelULibDll;/include/")

if(LINTIAN)
  execute_process(COMMAND "${LINTIAN}" --fail-on error,warning ${debs}
                  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  message("lintian: ${out}")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "lintian found errors or warnings (${result}):\n${out}\n${err}")
  endif()
else()
  message("lintian is not installed: the packages were not checked with it")
endif()

set(root "${WORK_DIR}/root")
foreach(deb IN LISTS debs)
  run(dpkg -x "${deb}" "${root}")
endforeach()
set(ENV{LD_LIBRARY_PATH} "${root}/usr/${libdir}")
run("${root}/usr/bin/kelconv" --version)
execute_process(COMMAND "${root}/usr/bin/kelconv" -f BIG5 -t UTF-8
                INPUT_FILE "${SOURCE_DIR}/tests/kelconv/data/golden/KelCS_BIG5.txt"
                OUTPUT_FILE "${WORK_DIR}/big5.utf8" RESULT_VARIABLE result)
file(SHA256 "${WORK_DIR}/big5.utf8" converted)
file(SHA256 "${SOURCE_DIR}/tests/kelconv/data/golden/KelCS_BIG5.utf8" expected)
if(NOT result EQUAL 0 OR NOT converted STREQUAL expected)
  message(FATAL_ERROR "the packaged kelconv did not convert the Big5 golden file (${result})")
endif()
unset(ENV{LD_LIBRARY_PATH})

check_installed_headers("${root}/usr/include")
build_consumer(debian "-DCMAKE_PREFIX_PATH=${root}/usr")
pkg_config_consumer(debian "${root}/usr/${libdir}/pkgconfig" "${root}/usr/${libdir}"
                    "${root}/usr/include")
