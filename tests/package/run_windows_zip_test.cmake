# Makes the Windows ZIP with CPack, checks what it holds, unpacks it, builds
# the consumer project against the unpacked tree (find_package, and the C
# consumer with nothing but -I, -L and -lKelULibDll), and runs the consumers
# and the unpacked kelconv.exe under Wine.
#   cmake -DBUILD_DIR=... -DWORK_DIR=... -DCPACK=... -DCONSUMER_SOURCE_DIR=...
#         -DTOOLCHAIN_FILE=... -DGENERATOR=... -DC_COMPILER=... -DCXX_COMPILER=...
#         -DEMULATOR=<env;...;wine64> -DTEXT_FILE=... -DTEXT_FILE_UTF8=...
#         -P run_windows_zip_test.cmake

cmake_minimum_required(VERSION 3.25)

function(run output_variable)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "failed (${result}): ${command}\n${out}\n${err}")
  endif()
  set(${output_variable} "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
run(ignored "${CPACK}" --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK_DIR}" -G ZIP)
file(GLOB zip "${WORK_DIR}/*.zip")
if(NOT zip)
  message(FATAL_ERROR "CPack made no ZIP")
endif()
run(listing "${CMAKE_COMMAND}" -E tar tf "${zip}")
message("${zip}:\n${listing}")

# The package's own folder inside the ZIP.
string(REGEX MATCH "([^\n/]+)/bin/KelULibDll.dll" found "${listing}")
if(NOT found)
  message(FATAL_ERROR "${zip} has no bin/KelULibDll.dll")
endif()
set(top "${CMAKE_MATCH_1}")
foreach(entry IN ITEMS
    "bin/KelULibDll.dll"
    "bin/kelconv.exe"
    "bin/libstdc++-6.dll"
    "bin/libgcc_s_seh-1.dll"
    "bin/libwinpthread-1.dll"
    "lib/libKelULibDll.dll.a"
    "lib/cmake/KelULib/KelULibConfig.cmake"
    "include/KelULib.h"
    "share/doc/kelulib/kelconv.txt"
    "share/doc/kelulib/LICENSE")
  string(FIND "${listing}" "${entry}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${zip} lacks ${entry}")
  endif()
endforeach()

file(MAKE_DIRECTORY "${WORK_DIR}/unpacked")
execute_process(COMMAND "${CMAKE_COMMAND}" -E tar xf "${zip}" WORKING_DIRECTORY "${WORK_DIR}/unpacked"
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cannot unpack ${zip}")
endif()
set(root "${WORK_DIR}/unpacked/${top}")

# The manual page is text with Windows line ends.
file(READ "${root}/share/doc/kelulib/kelconv.txt" manual HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\1 " manual "${manual}")
string(REGEX MATCHALL "0a " line_ends "${manual}")
string(REGEX MATCHALL "0d 0a " windows_line_ends "${manual}")
list(LENGTH line_ends lines)
list(LENGTH windows_line_ends windows_lines)
if(lines LESS 50 OR NOT lines EQUAL windows_lines)
  message(FATAL_ERROR "kelconv.txt is no text with \\r\\n line ends "
                      "(${lines} line ends, ${windows_lines} of them \\r\\n)")
endif()

# Windows finds a program's DLLs in the folders of WINEPATH too: there the
# package's bin/ (Z: is the root of the Unix file system under Wine).
string(REPLACE "/" "\\" wine_bin "Z:${root}/bin")
set(wine ${EMULATOR})
list(INSERT wine 1 "WINEPATH=${wine_bin}")

# The unpacked kelconv.exe, beside the DLLs it needs.
run(version ${EMULATOR} "${root}/bin/kelconv.exe" --version)
message("${version}")
run(converted ${EMULATOR} "${root}/bin/kelconv.exe" -f WINDOWS-1252 -t UTF-8 "${TEXT_FILE}")
file(READ "${TEXT_FILE_UTF8}" expected)
if(NOT converted STREQUAL expected)
  message(FATAL_ERROR "the unpacked kelconv.exe wrote:\n${converted}\ninstead of:\n${expected}")
endif()

# The consumer project, finding the package with find_package. (The
# cross-compiling toolchain confines package searches to mingw-w64's own
# tree, so the package's folder is named directly; on Windows
# CMAKE_PREFIX_PATH does.)
set(consumer "${WORK_DIR}/consumer")
run(ignored "${CMAKE_COMMAND}" -S "${CONSUMER_SOURCE_DIR}" -B "${consumer}" -G "${GENERATOR}"
    "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE}" -DCMAKE_BUILD_TYPE=Release
    "-DKelULib_DIR=${root}/lib/cmake/KelULib" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run(ignored "${CMAKE_COMMAND}" --build "${consumer}")
foreach(program IN ITEMS consumer_cpp consumer_c)
  run(output ${wine} "${consumer}/${program}.exe")
  message("${output}")
endforeach()

# The C consumer with nothing but the compiler, the include root and
# -lKelULibDll.
set(plain "${WORK_DIR}/consumer_c_plain.exe")
run(ignored "${C_COMPILER}" "${CONSUMER_SOURCE_DIR}/consumer.c" "-I${root}/include" "-L${root}/lib"
    -lKelULibDll -o "${plain}")
run(output ${wine} "${plain}")
message("${output}")
