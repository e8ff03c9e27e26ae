# Runs a generator into a scratch folder and fails when any file it writes
# differs from the committed copy (or is missing from it).
#   cmake -DPYTHON=... -DGENERATOR=... [-DGENERATOR_ARGS=a;b] -DCOMMITTED_DIR=...
#         -DSCRATCH_DIR=... -P check_generated_files.cmake
# A generator that exits with 77 lacks an input it needs; its message
# ("inputs unavailable: ...") is passed on and nothing is compared.
file(REMOVE_RECURSE "${SCRATCH_DIR}")
execute_process(COMMAND "${PYTHON}" "${GENERATOR}" ${GENERATOR_ARGS} "${SCRATCH_DIR}"
                RESULT_VARIABLE result)
if(result EQUAL 77)
  return()
endif()
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${GENERATOR} failed (${result})")
endif()
file(GLOB generated RELATIVE "${SCRATCH_DIR}" "${SCRATCH_DIR}/*")
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
