# Runs a GoogleTest program, through EMULATOR (Wine) when given, with ARGS,
# and writes gtest's XML report to REPORT.xml. The cases that the gtest
# filter SEPARATE matches ("*": all) run afterwards, each in a process of its
# own (they need a cold start), their reports REPORT.case-1.xml,
# REPORT.case-2.xml...
# Fails when any run fails.
#   cmake -DPROGRAM=<exe> [-DEMULATOR=<cmd;args>] [-DARGS=<a;b>] [-DSEPARATE=<filter>]
#         -DREPORT=<path without extension> -P RunTestProgram.cmake

cmake_minimum_required(VERSION 3.25)

if(NOT PROGRAM OR NOT REPORT)
  message(FATAL_ERROR "RunTestProgram.cmake needs PROGRAM and REPORT")
endif()

get_filename_component(report_dir "${REPORT}" DIRECTORY)
get_filename_component(report_name "${REPORT}" NAME)
file(GLOB old_reports "${REPORT}.xml" "${REPORT}.case-*.xml")
if(old_reports)
  file(REMOVE ${old_reports})
endif()
file(MAKE_DIRECTORY "${report_dir}")
# Marks the run as started: the summary reports a program that started and
# left no report.
file(WRITE "${REPORT}.started" "")

set(failures 0)
function(run_once report)
  # Relative to the working folder, which the program shares: a Windows
  # program does not take an absolute POSIX path as one.
  file(RELATIVE_PATH report "${CMAKE_CURRENT_BINARY_DIR}" "${report}")
  execute_process(COMMAND ${EMULATOR} "${PROGRAM}" ${ARGS} ${ARGN} "--gtest_output=xml:${report}"
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    math(EXPR failures "${failures} + 1")
    set(failures ${failures} PARENT_SCOPE)
    message("${PROGRAM} ${ARGN}: exit status ${result}")
  endif()
endfunction()

if(NOT SEPARATE)
  run_once("${REPORT}.xml")
else()
  execute_process(COMMAND ${EMULATOR} "${PROGRAM}" ${ARGS} --gtest_list_tests "--gtest_filter=${SEPARATE}"
    OUTPUT_VARIABLE listing RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} --gtest_list_tests failed (${result}):\n${listing}")
  endif()
  # "Suite." lines, each followed by "  Case" lines (a comment may follow).
  string(REPLACE "\r" "" listing "${listing}")
  string(REPLACE ";" "," listing "${listing}")
  string(REPLACE "\n" ";" lines "${listing}")
  set(cases "")
  set(suite "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^([^ #][^ ]*\\.)")
      set(suite "${CMAKE_MATCH_1}")
    elseif(line MATCHES "^  ([^ ]+)")
      list(APPEND cases "${suite}${CMAKE_MATCH_1}")
    endif()
  endforeach()
  if(NOT SEPARATE STREQUAL "*")
    run_once("${REPORT}.xml" "--gtest_filter=-${SEPARATE}")
  endif()
  set(index 0)
  foreach(case IN LISTS cases)
    math(EXPR index "${index} + 1")
    run_once("${REPORT}.case-${index}.xml" "--gtest_filter=${case}")
  endforeach()
endif()

if(failures GREATER 0)
  message(FATAL_ERROR "${report_name}: ${failures} run(s) failed")
endif()
