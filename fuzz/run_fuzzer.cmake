# Runs one fuzz target for a ctest.
#   MODE=fuzz         fuzz for SECONDS, starting from a fresh copy of SEED_DIR
#                     and REGRESSION_DIR in WORK_DIR (where the inputs found are kept);
#   MODE=regressions  run every file of REGRESSION_DIR and SEED_DIR once.
# FUZZER, ARTIFACT_DIR and OPTIONS (libFuzzer flags, space-separated) as
# fuzz/CMakeLists.txt passes them. A finding makes the fuzzer exit with a failure status, which
# fails the test; its input is in ARTIFACT_DIR.
separate_arguments(OPTIONS UNIX_COMMAND "${OPTIONS}")
file(MAKE_DIRECTORY "${ARTIFACT_DIR}")
if(MODE STREQUAL "fuzz")
  file(REMOVE_RECURSE "${WORK_DIR}")
  file(MAKE_DIRECTORY "${WORK_DIR}")
  file(GLOB seeds "${SEED_DIR}/*" "${REGRESSION_DIR}/*")
  list(FILTER seeds EXCLUDE REGEX "/README[^/]*$")
  if(seeds)
    file(COPY ${seeds} DESTINATION "${WORK_DIR}")
  endif()
  execute_process(
    COMMAND "${FUZZER}" ${OPTIONS} "-max_total_time=${SECONDS}"
            "-artifact_prefix=${ARTIFACT_DIR}/" "${WORK_DIR}"
    RESULT_VARIABLE status)
else()
  file(GLOB inputs "${REGRESSION_DIR}/*" "${SEED_DIR}/*")
  list(FILTER inputs EXCLUDE REGEX "/README[^/]*$")
  if(NOT inputs)
    message(FATAL_ERROR "no inputs in ${REGRESSION_DIR} or ${SEED_DIR}")
  endif()
  list(LENGTH inputs count)
  message(STATUS "running ${count} inputs")
  execute_process(
    COMMAND "${FUZZER}" ${OPTIONS} "-artifact_prefix=${ARTIFACT_DIR}/" ${inputs}
    RESULT_VARIABLE status)
endif()
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${FUZZER} failed (${status}); inputs that fail are in ${ARTIFACT_DIR}")
endif()
