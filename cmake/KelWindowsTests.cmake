# How the tests build and run in a Windows build (cross-built with
# mingw-w64, run under Wine). Included at the top of tests/CMakeLists.txt in
# place of find_package(GTest).
#
# - GoogleTest is built from Debian's sources (package googletest) with the
#   cross-compiler; nothing is downloaded.
# - Every GoogleTest program runs as one test, in one Wine process, rather
#   than one process per case: starting Wine costs far more than a case.
#   gtest_discover_tests is redefined below to register it so. Cases that
#   need a process of their own (a cold start) run one by one.
# - One Wine server is started for the whole test run (fixture "wine") and
#   stopped after it; the Wine prefix lies inside the build tree.
# - After the tests, ctest prints how many cases ran, passed, failed and were
#   skipped, with every reason for a skip, and which tests of the Linux
#   presets have no Windows run and why (see cmake/TestSummary.cmake).

# (The top CMakeLists.txt turns the tests off when the sources are missing.)
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory("${KELULIB_GOOGLETEST_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/googletest"
                 EXCLUDE_FROM_ALL SYSTEM)
foreach(gtest_target IN ITEMS gtest gtest_main)
  if(NOT TARGET GTest::${gtest_target})
    add_library(GTest::${gtest_target} ALIAS ${gtest_target})
  endif()
endforeach()

include(GoogleTest)

set(KELULIB_TEST_RESULTS_DIR "${PROJECT_BINARY_DIR}/test-results")
set(KELULIB_WINDOWS_TESTS_DIR "${PROJECT_SOURCE_DIR}/cmake")

if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
  set(KELULIB_TEST_EMULATOR "")
else()
  string(REPLACE ";" "$<SEMICOLON>" KELULIB_TEST_EMULATOR "${CMAKE_CROSSCOMPILING_EMULATOR}")
endif()

# The Wine server of the test run, and the results of the last run cleared
# before it starts.
add_test(NAME wine.start_server
  COMMAND "${CMAKE_COMMAND}" "-DEMULATOR=${KELULIB_TEST_EMULATOR}" -DACTION=start
    "-DRESULTS_DIR=${KELULIB_TEST_RESULTS_DIR}" -P "${KELULIB_WINDOWS_TESTS_DIR}/WineSession.cmake")
add_test(NAME wine.stop_server
  COMMAND "${CMAKE_COMMAND}" "-DEMULATOR=${KELULIB_TEST_EMULATOR}" -DACTION=stop
    -P "${KELULIB_WINDOWS_TESTS_DIR}/WineSession.cmake")
set_tests_properties(wine.start_server PROPERTIES FIXTURES_SETUP wine)
set_tests_properties(wine.stop_server PROPERTIES FIXTURES_CLEANUP wine)

# kelulib_add_wine_gtest(NAME <test> TARGET <program> [ARGS <arg>...]
#                        [SEPARATE <gtest filter>] [ENVIRONMENT <NAME=value>...]
#                        [PROPERTIES <name> <value>...])
# Runs the GoogleTest program <program> as the test <test>, in one Wine
# process, its report in the results folder. The cases that SEPARATE
# matches run afterwards, each in a Wine process of its own.
function(kelulib_add_wine_gtest)
  cmake_parse_arguments(arg "" "NAME;TARGET;SEPARATE" "ARGS;ENVIRONMENT;PROPERTIES" ${ARGN})
  string(REPLACE ";" "$<SEMICOLON>" args "${arg_ARGS}")
  add_test(NAME "${arg_NAME}"
    COMMAND "${CMAKE_COMMAND}"
      "-DPROGRAM=$<TARGET_FILE:${arg_TARGET}>"
      "-DEMULATOR=${KELULIB_TEST_EMULATOR}"
      "-DARGS=${args}"
      "-DSEPARATE=${arg_SEPARATE}"
      "-DREPORT=${KELULIB_TEST_RESULTS_DIR}/${arg_NAME}"
      -P "${KELULIB_WINDOWS_TESTS_DIR}/RunTestProgram.cmake")
  set_tests_properties("${arg_NAME}" PROPERTIES FIXTURES_REQUIRED wine)
  if(arg_ENVIRONMENT)
    set_tests_properties("${arg_NAME}" PROPERTIES ENVIRONMENT "${arg_ENVIRONMENT}")
  endif()
  if(arg_PROPERTIES)
    set_tests_properties("${arg_NAME}" PROPERTIES ${arg_PROPERTIES})
  endif()
endfunction()

# gtest_discover_tests as the test CMakeLists call it, redefined: the
# program is one test named after it (with TEST_FILTER, the cases it
# selects; a second registration of a program is named after its filter).
# Programs labelled "concurrency" start cold in every case, so each case
# runs in a process of its own; so do the cases named in
# KELULIB_SEPARATE_CASES_<program>.
function(gtest_discover_tests target)
  cmake_parse_arguments(arg "NO_PRETTY_TYPES;NO_PRETTY_VALUES"
    "TEST_PREFIX;TEST_SUFFIX;WORKING_DIRECTORY;TEST_LIST;DISCOVERY_TIMEOUT;XML_OUTPUT_DIR;DISCOVERY_MODE;TEST_FILTER"
    "EXTRA_ARGS;PROPERTIES" ${ARGN})
  set(name "${target}")
  get_property(registered GLOBAL PROPERTY KELULIB_WINE_GTEST_PROGRAMS)
  if(arg_TEST_FILTER)
    list(APPEND arg_EXTRA_ARGS "--gtest_filter=${arg_TEST_FILTER}")
    if(target IN_LIST registered)
      string(MAKE_C_IDENTIFIER "${arg_TEST_FILTER}" filter_name)
      set(name "${target}.${filter_name}")
    endif()
  endif()
  set_property(GLOBAL APPEND PROPERTY KELULIB_WINE_GTEST_PROGRAMS "${target}")
  set(separate "${KELULIB_SEPARATE_CASES_${target}}")
  list(FIND arg_PROPERTIES LABELS labels_at)
  if(labels_at GREATER -1)
    math(EXPR labels_at "${labels_at} + 1")
    list(GET arg_PROPERTIES ${labels_at} labels)
    if("concurrency" IN_LIST labels)
      set(separate "*")
    endif()
  endif()
  kelulib_add_wine_gtest(NAME "${name}" TARGET "${target}" ARGS ${arg_EXTRA_ARGS}
                         SEPARATE "${separate}" PROPERTIES ${arg_PROPERTIES})
endfunction()

# The summary, printed by ctest after the tests (and failing the run when a
# program left no report).
file(WRITE "${PROJECT_BINARY_DIR}/CTestCustom.cmake"
  "set(CTEST_CUSTOM_POST_TEST \"\\\"${CMAKE_COMMAND}\\\" "
  "-DRESULTS_DIR=${KELULIB_TEST_RESULTS_DIR} "
  "-DNOT_ON_WINDOWS=${KELULIB_NOT_ON_WINDOWS_FILE} "
  "-P \\\"${KELULIB_WINDOWS_TESTS_DIR}/TestSummary.cmake\\\"\")\n")
