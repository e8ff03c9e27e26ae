# Records what glibc's iconv and ICU answer to the questions that the
# conversion tests ask them, into the answer files of tests/oracle that the
# tests read on every system (tests/support/oracle_answers.h).
#
# It runs each test program of RUNS with KELULIB_ORACLE_RECORD set to a
# fresh folder: the tests then ask the real converters and record every
# answer, each run adding to what the runs before it recorded. RUNS is a
# file with one run a line: a CMake list of NAME=VALUE environment settings
# followed by the program and its arguments. The build writes it (Linux
# only: that is where glibc's iconv is); regenerate the answers with
#   cmake --build build/default --target record_oracle_answers
# which calls
#   cmake -DRUNS=<file> -DOUTPUT_DIR=tests/oracle -P tools/record_oracle_answers.cmake
# With -DCHECK_DIR=<folder> instead of OUTPUT_DIR it records into
# SCRATCH_DIR and fails unless CHECK_DIR holds exactly the same answer files
# (the test tools.oracle_answers_are_recorded).

cmake_minimum_required(VERSION 3.25)

if(NOT RUNS)
  message(FATAL_ERROR "record_oracle_answers.cmake needs RUNS")
endif()
if(CHECK_DIR)
  if(NOT SCRATCH_DIR)
    message(FATAL_ERROR "CHECK_DIR needs SCRATCH_DIR")
  endif()
  set(record_dir "${SCRATCH_DIR}")
elseif(OUTPUT_DIR)
  set(record_dir "${OUTPUT_DIR}")
else()
  message(FATAL_ERROR "record_oracle_answers.cmake needs OUTPUT_DIR or CHECK_DIR")
endif()

# A fresh recording: no answer of an earlier one stays.
file(MAKE_DIRECTORY "${record_dir}")
file(GLOB old_answers "${record_dir}/*.answers")
if(old_answers)
  file(REMOVE ${old_answers})
endif()

file(STRINGS "${RUNS}" runs)
foreach(run IN LISTS runs)
  # Each line is a list; file(STRINGS) has turned its ';' into separators
  # of the outer list, so the line is read back through its marker.
  string(REPLACE "|" ";" run "${run}")
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "KELULIB_ORACLE_RECORD=${record_dir}" ${run}
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    string(REPLACE ";" " " command "${run}")
    message(FATAL_ERROR "recording failed (${result}): ${command}\n${output}")
  endif()
endforeach()

file(GLOB recorded RELATIVE "${record_dir}" "${record_dir}/*.answers")
if(NOT recorded)
  message(FATAL_ERROR "nothing was recorded into ${record_dir}")
endif()
list(LENGTH recorded count)
message(STATUS "${count} answer files in ${record_dir}")

if(NOT CHECK_DIR)
  return()
endif()
file(GLOB committed RELATIVE "${CHECK_DIR}" "${CHECK_DIR}/*.answers")
set(problems "")
foreach(name IN LISTS recorded)
  if(NOT name IN_LIST committed)
    string(APPEND problems "\n  ${name}: recorded, but not in ${CHECK_DIR}")
    continue()
  endif()
  execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files
                          "${record_dir}/${name}" "${CHECK_DIR}/${name}"
                  RESULT_VARIABLE differs)
  if(NOT differs EQUAL 0)
    string(APPEND problems "\n  ${name}: differs from what the oracle answers now")
  endif()
endforeach()
foreach(name IN LISTS committed)
  if(NOT name IN_LIST recorded)
    string(APPEND problems "\n  ${name}: no test asks this oracle any more")
  endif()
endforeach()
if(problems)
  message(FATAL_ERROR "the recorded oracle answers are out of date; record them again with "
                      "`cmake --build <build dir> --target record_oracle_answers`:${problems}")
endif()
