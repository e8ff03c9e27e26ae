# Makes the tarball with CPack, checks what it holds (the versioned library
# and its SONAME link, the headers, the CMake package, kelulib.pc, kelconv
# and its manual page, the licence), unpacks it elsewhere, runs its kelconv
# and builds and runs the consumer project against it (find_package and
# pkg-config).
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DCPACK=... -DCONSUMER_SOURCE_DIR=...
#         [compilers, flags, generator, PKG_CONFIG] -P run_cpack_test.cmake
include("${CMAKE_CURRENT_LIST_DIR}/consumer_checks.cmake")

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
run("${CPACK}" --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK_DIR}" -G TGZ)
file(GLOB tarball "${WORK_DIR}/*.tar.gz")
execute_process(COMMAND "${CMAKE_COMMAND}" -E tar tf "${tarball}" OUTPUT_VARIABLE listing
                RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT tarball)
  message(FATAL_ERROR "CPack made no readable tarball in ${WORK_DIR}")
endif()
message("${tarball}:\n${listing}")
foreach(entry IN ITEMS
    "/${INSTALL_LIBDIR}/libKelULibDll.so.1"
    "/${INSTALL_LIBDIR}/libKelULibDll.so"
    "/include/KelULib.h"
    "/include/KelULib/KelULib.h"
    "/include/KelULib/charset/converter.h"
    "/${INSTALL_LIBDIR}/cmake/KelULib/KelULibConfig.cmake"
    "/${INSTALL_LIBDIR}/pkgconfig/kelulib.pc"
    "/bin/kelconv"
    "/share/man/man1/kelconv.1"
    "/share/doc/kelulib/LICENSE")
  string(FIND "${listing}" "${entry}" found)
  if(found EQUAL -1)
    message(FATAL_ERROR "${tarball} lacks ${entry}")
  endif()
endforeach()

# Unpacked in a folder of its own, far from where it was built.
set(unpacked "${WORK_DIR}/unpacked")
file(MAKE_DIRECTORY "${unpacked}")
run("${CMAKE_COMMAND}" -E chdir "${unpacked}" "${CMAKE_COMMAND}" -E tar xf "${tarball}")
file(GLOB root LIST_DIRECTORIES true "${unpacked}/*")
run("${root}/bin/kelconv" --version)
check_installed_headers("${root}/include")
build_consumer(tarball "-DCMAKE_PREFIX_PATH=${root}")
pkg_config_consumer(tarball "${root}/${INSTALL_LIBDIR}/pkgconfig" "${root}/${INSTALL_LIBDIR}"
                    "${root}/include")
