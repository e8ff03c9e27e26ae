# Makes the binary packages with CPack and lists what they hold: the
# versioned library and its SONAME link, the headers, the CMake package,
# kelulib.pc, kelconv and its manual page.
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DCPACK=... [-DDPKG_DEB=...] -P run_cpack_test.cmake

function(run output_variable)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "failed (${result}): ${command}\n${out}\n${err}")
  endif()
  set(${output_variable} "${out}" PARENT_SCOPE)
endfunction()

function(expect_entries listing package)
  foreach(entry IN ITEMS
      "lib/libKelULibDll.so.1"
      "lib/libKelULibDll.so"
      "include/KelULib/KelULib.h"
      "include/KelULib/charset/converter.h"
      "lib/cmake/KelULib/KelULibConfig.cmake"
      "lib/pkgconfig/kelulib.pc"
      "bin/kelconv"
      "share/man/man1/kelconv.1")
    string(FIND "${listing}" "${entry}" found)
    if(found EQUAL -1)
      message(FATAL_ERROR "${package} lacks ${entry}:\n${listing}")
    endif()
  endforeach()
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
run(ignored "${CPACK}" --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK_DIR}" -G TGZ)
file(GLOB tarball "${WORK_DIR}/*.tar.gz")
run(listing "${CMAKE_COMMAND}" -E tar tf "${tarball}")
message("${tarball}:\n${listing}")
expect_entries("${listing}" "${tarball}")

run(ignored "${CPACK}" --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK_DIR}" -G DEB)
file(GLOB deb "${WORK_DIR}/*.deb")
if(NOT deb)
  message(FATAL_ERROR "CPack made no .deb")
endif()
if(DPKG_DEB)
  run(listing "${DPKG_DEB}" --contents "${deb}")
  run(control "${DPKG_DEB}" --field "${deb}" Package Version Depends)
  message("${deb}:\n${control}\n${listing}")
  expect_entries("${listing}" "${deb}")
else()
  message("${deb} made; dpkg-deb is not here to list it")
endif()
