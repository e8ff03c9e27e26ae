# Installs the library into a scratch prefix, runs the installed kelconv,
# then builds and runs the consumer project three ways: find_package on the
# installed package, find_package on the build tree, and pkg-config's flags
# with the C compiler.

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "failed (${result}): ${command}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

set(prefix "${WORK_DIR}/install")
file(REMOVE_RECURSE "${WORK_DIR}")

run("${CMAKE_COMMAND}" --install "${KELULIB_BUILD_DIR}" --prefix "${prefix}" --config "${BUILD_TYPE}")

# The installed kelconv finds the installed library beside it.
if(EXISTS "${prefix}/bin/kelconv")
  run("${prefix}/bin/kelconv" --version)
endif()

set(common_args
  -G "${GENERATOR}"
  "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}"
  "-DCMAKE_C_COMPILER=${C_COMPILER}"
  "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
  "-DCMAKE_C_FLAGS=${C_FLAGS}"
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}")

foreach(kind installed buildtree)
  set(binary_dir "${WORK_DIR}/consumer-${kind}")
  if(kind STREQUAL "installed")
    set(locate "-DCMAKE_PREFIX_PATH=${prefix}")
  else()
    set(locate "-DKelULib_DIR=${KELULIB_BUILD_DIR}")
  endif()
  run("${CMAKE_COMMAND}" -S "${CONSUMER_SOURCE_DIR}" -B "${binary_dir}" ${common_args} "${locate}"
      -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
  run("${CMAKE_COMMAND}" --build "${binary_dir}")
  run("${binary_dir}/consumer_cpp")
  run("${binary_dir}/consumer_c")
endforeach()

# The installed package found through pkg-config, from C.
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config is needed for this test (Debian package pkgconf)")
endif()
set(ENV{PKG_CONFIG_PATH} "${prefix}/${INSTALL_LIBDIR}/pkgconfig")
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs kelulib
  RESULT_VARIABLE result OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know kelulib")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(extra_flags UNIX_COMMAND "${C_FLAGS} ${LINKER_FLAGS}")
set(program "${WORK_DIR}/consumer_c_pkgconfig")
run("${C_COMPILER}" ${extra_flags} "${CONSUMER_SOURCE_DIR}/consumer.c" -o "${program}" ${flags})
set(ENV{LD_LIBRARY_PATH} "${prefix}/${INSTALL_LIBDIR}")
run("${program}")
