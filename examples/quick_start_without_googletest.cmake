# The Quick start's main command, `cmake --workflow --preset example`, on a
# machine without GoogleTest: the default preset configured in a scratch
# folder with GoogleTest hidden must say, once, that the tests are off, and
# the example's build must convert the bundled sample and print it in UTF-8.
#   cmake -DSOURCE_DIR=... -DWORK_DIR=... -DSAMPLE=<expected UTF-8 file>
#         -P quick_start_without_googletest.cmake
file(REMOVE_RECURSE "${WORK_DIR}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" --preset default -B "${WORK_DIR}"
                        -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON
                RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "configuring without GoogleTest failed:\n${out}\n${err}")
endif()
string(REGEX MATCHALL "GoogleTest is not installed" notes "${err}")
list(LENGTH notes count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "expected one message that the tests are off, got ${count}:\n${err}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK_DIR}" --target run_example -j 2
                RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
file(READ "${SAMPLE}" expected)
string(FIND "${out}" "${expected}" found)
if(NOT result EQUAL 0 OR found EQUAL -1)
  message(FATAL_ERROR "the example did not print ${SAMPLE} (${result}):\n${out}\n${err}")
endif()
message("${out}")
