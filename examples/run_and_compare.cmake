# Runs a program and fails unless it succeeds and its standard output is
# exactly the expected file.
#   cmake "-DCOMMAND=program;arg;..." -DEXPECTED=file -P run_and_compare.cmake
execute_process(COMMAND ${COMMAND}
                OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${COMMAND} failed (${result}):\n${errors}")
endif()
file(READ "${EXPECTED}" expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${COMMAND} wrote:\n${output}\ninstead of ${EXPECTED}:\n${expected}")
endif()
message("${output}")
