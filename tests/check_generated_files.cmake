# Runs a generator into a scratch folder and fails when any file it writes
# differs from the committed copy (or is missing from it).
#   cmake -DPYTHON=... -DGENERATOR=... [-DGENERATOR_ARGS=a;b] -DCOMMITTED_DIR=...
#         -DSCRATCH_DIR=... [-DIGNORE_REGEX=<names not compared>]
#         [-DSKIP_STATUS=<exit status>] -P check_generated_files.cmake
# A generator that exits with SKIP_STATUS lacks an input on this machine: the
# script then prints "generator inputs missing" and compares nothing.
file(REMOVE_RECURSE "${SCRATCH_DIR}")
execute_process(COMMAND "${PYTHON}" "${GENERATOR}" ${GENERATOR_ARGS} "${SCRATCH_DIR}"
                RESULT_VARIABLE result)
if(DEFINED SKIP_STATUS AND result EQUAL SKIP_STATUS)
  message("generator inputs missing: ${GENERATOR} exited with ${result}")
  return()
endif()
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${GENERATOR} failed (${result})")
endif()
file(GLOB generated RELATIVE "${SCRATCH_DIR}" "${SCRATCH_DIR}/*")
if(DEFINED IGNORE_REGEX)
  list(FILTER generated EXCLUDE REGEX "${IGNORE_REGEX}")
endif()
if(NOT generated)
  message(FATAL_ERROR "${GENERATOR} wrote nothing")
endif()
foreach(name IN LISTS generated)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files
                          "${SCRATCH_DIR}/${name}" "${COMMITTED_DIR}/${name}"
                  RESULT_VARIABLE differs)
  if(NOT differs EQUAL 0)
    message(FATAL_ERROR "${COMMITTED_DIR}/${name} differs from what ${GENERATOR} writes: regenerate it")
  endif()
endforeach()
