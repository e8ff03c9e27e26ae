# Runs a program and fails unless it succeeds and its standard output is
# exactly the expected file. With -DLINE_ENDS=CRLF the program writes text
# with Windows line ends: each \n of the expected file is then \r\n.
#   cmake "-DCOMMAND=program;arg;..." -DEXPECTED=file [-DINPUT=file]
#         [-DLINE_ENDS=LF|CRLF] -P run_and_compare.cmake
# INPUT, when given, is the program's standard input.

cmake_minimum_required(VERSION 3.25)

set(input_file /dev/null)
if(DEFINED INPUT)
  set(input_file "${INPUT}")
endif()
# The output goes through a file, read as bytes: CMake hands text over with
# each \r\n as \n.
string(MD5 key "${COMMAND}")
set(output_file "${CMAKE_CURRENT_BINARY_DIR}/run_and_compare-${key}.out")
execute_process(COMMAND ${COMMAND} INPUT_FILE "${input_file}"
                OUTPUT_FILE "${output_file}" ERROR_VARIABLE errors RESULT_VARIABLE result)
file(READ "${output_file}" output)
file(READ "${output_file}" output_hex HEX)
file(REMOVE "${output_file}")
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${COMMAND} failed (${result}):\n${errors}")
endif()
file(READ "${EXPECTED}" expected)
file(READ "${EXPECTED}" expected_hex HEX)
if(LINE_ENDS STREQUAL "CRLF")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\1 " expected_hex "${expected_hex}")
  string(REPLACE "0a " "0d 0a " expected_hex "${expected_hex}")
  string(REPLACE " " "" expected_hex "${expected_hex}")
endif()
if(NOT output_hex STREQUAL expected_hex)
  message(FATAL_ERROR "${COMMAND} wrote:\n${output}\ninstead of ${EXPECTED} "
                      "(line ends ${LINE_ENDS}):\n${expected}")
endif()
message("${output}")
