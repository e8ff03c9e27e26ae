# What every package test checks of an installed tree (from `cmake
# --install`, from the tarball, from the Debian packages), for the scripts
# of this folder. They set, before including this file:
#   WORK_DIR, CONSUMER_SOURCE_DIR, GENERATOR, BUILD_TYPE, C_COMPILER,
#   CXX_COMPILER, C_FLAGS, CXX_FLAGS, LINKER_FLAGS, PKG_CONFIG

# Runs a command; fails the test, with its output, unless it succeeds.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "failed (${result}): ${command}\n${out}\n${err}")
  endif()
  message(STATUS "${out}")
endfunction()

# The headers under `include_root`: KelULib.h and the folder KelULib beside
# it, nothing else; each header compiles alone with only the include root on
# the path; together they are exactly what KelULib.h includes.
function(check_installed_headers include_root)
  file(GLOB top_level RELATIVE "${include_root}" "${include_root}/*")
  if(NOT top_level STREQUAL "KelULib;KelULib.h")
    message(FATAL_ERROR "${include_root} holds ${top_level}, not just KelULib.h and KelULib/")
  endif()
  file(GLOB_RECURSE installed_headers RELATIVE "${include_root}" "${include_root}/KelULib/*")
  list(SORT installed_headers)
  separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
  separate_arguments(c_flags UNIX_COMMAND "${C_FLAGS}")
  set(header_dir "${WORK_DIR}/headers")
  file(MAKE_DIRECTORY "${header_dir}")
  foreach(header IN LISTS installed_headers)
    string(MAKE_C_IDENTIFIER "${header}" stem)
    file(WRITE "${header_dir}/${stem}.cc" "#include <${header}>\n")
    run("${CXX_COMPILER}" ${cxx_flags} -std=c++17 -fsyntax-only -I "${include_root}"
        "${header_dir}/${stem}.cc")
  endforeach()
  # From C: the one header, and both spellings of it.
  file(WRITE "${header_dir}/from_c.c" "#include <KelULib.h>\n#include <KelULib/KelULib.h>\n")
  run("${C_COMPILER}" ${c_flags} -fsyntax-only -I "${include_root}" "${header_dir}/from_c.c")
  # What KelULib.h includes, as the compiler sees it: every installed
  # header, and nothing that is not installed.
  execute_process(COMMAND "${CXX_COMPILER}" ${cxx_flags} -std=c++17 -MM -I "${include_root}"
                          "${include_root}/KelULib.h"
                  RESULT_VARIABLE result OUTPUT_VARIABLE dependencies ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "listing what KelULib.h includes failed:\n${err}")
  endif()
  string(REPLACE "${include_root}/" "" dependencies "${dependencies}")
  string(REGEX MATCHALL "KelULib/[^ \t\n\\]+" paths "${dependencies}")
  set(included "")
  foreach(path IN LISTS paths)
    cmake_path(NORMAL_PATH path)  # KelULib/charset/../platform/export.h
    list(APPEND included "${path}")
  endforeach()
  list(REMOVE_DUPLICATES included)
  list(SORT included)
  if(NOT included STREQUAL installed_headers)
    message(FATAL_ERROR "installed headers:\n${installed_headers}\nincluded by KelULib.h:\n${included}")
  endif()
  list(LENGTH installed_headers header_count)
  message(STATUS "${header_count} installed headers, each compiles alone; KelULib.h needs them all")
endfunction()

# Builds the consumer project with find_package(KelULib), located by
# `locate` (-DCMAKE_PREFIX_PATH=... or -DKelULib_DIR=...), and runs its C++
# and C programs. LD_LIBRARY_PATH is set first where the library is not where
# the programs' run path says (a tree unpacked elsewhere than it was built for).
function(build_consumer kind locate)
  set(binary_dir "${WORK_DIR}/consumer-${kind}")
  run("${CMAKE_COMMAND}" -S "${CONSUMER_SOURCE_DIR}" -B "${binary_dir}"
      -G "${GENERATOR}"
      "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}"
      "-DCMAKE_C_COMPILER=${C_COMPILER}"
      "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
      "-DCMAKE_C_FLAGS=${C_FLAGS}"
      "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
      "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}"
      "${locate}" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
  run("${CMAKE_COMMAND}" --build "${binary_dir}")
  run("${binary_dir}/consumer_cpp")
  run("${binary_dir}/consumer_c")
endfunction()

# Builds the C consumer with the C compiler and the flags that pkg-config
# gives for kelulib from `pc_dir`, which must name `include_root` and nothing
# else as the include path, and runs it with `library_dir` on LD_LIBRARY_PATH.
function(pkg_config_consumer kind pc_dir library_dir include_root)
  if(NOT PKG_CONFIG)
    message(FATAL_ERROR "pkg-config is needed for this test (Debian package pkgconf)")
  endif()
  set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
  execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs kelulib
    RESULT_VARIABLE result OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know kelulib in ${pc_dir}")
  endif()
  set(include_flag "")
  if(flags MATCHES "^-I([^ ]+)( |$)")
    set(include_flag "${CMAKE_MATCH_1}")
    cmake_path(NORMAL_PATH include_flag)
  endif()
  cmake_path(NORMAL_PATH include_root)
  if(NOT include_flag STREQUAL include_root)
    message(FATAL_ERROR "pkg-config's flags do not name the include root ${include_root}: ${flags}")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(extra_flags UNIX_COMMAND "${C_FLAGS} ${LINKER_FLAGS}")
  set(program "${WORK_DIR}/consumer_c_pkgconfig_${kind}")
  run("${C_COMPILER}" ${extra_flags} "${CONSUMER_SOURCE_DIR}/consumer.c" -o "${program}" ${flags})
  set(ENV{LD_LIBRARY_PATH} "${library_dir}")
  run("${program}")
  unset(ENV{LD_LIBRARY_PATH})
endfunction()
