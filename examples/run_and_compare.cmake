# Runs a program and fails unless it succeeds and its standard output is
# exactly the expected file.
#   cmake "-DCOMMAND=program;arg;..." -DEXPECTED=file [-DINPUT=file] -P run_and_compare.cmake
# INPUT, when given, is the program's standard input.
set(input_file /dev/null)
if(DEFINED INPUT)
  set(input_file "${INPUT}")
endif()
execute_process(COMMAND ${COMMAND} INPUT_FILE "${input_file}"
                OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${COMMAND} failed (${result}):\n${errors}")
endif()
file(READ "${EXPECTED}" expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${COMMAND} wrote:\n${output}\ninstead of ${EXPECTED}:\n${expected}")
endif()
message("${output}")
