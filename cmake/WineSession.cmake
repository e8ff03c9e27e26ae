# Starts or stops the Wine server of a test run.
#   cmake -DEMULATOR=<env;WINEPREFIX=...;wine64> -DACTION=start -DRESULTS_DIR=<dir> -P WineSession.cmake
#   cmake -DEMULATOR=<...> -DACTION=stop -P WineSession.cmake
# start: clears the test reports of the last run, starts a persistent Wine
# server for the emulator's prefix (so that the programs of the run do not
# each start and stop one) and makes the prefix ready (created on the first
# run, which takes a while). stop: ends the server and everything it runs.

cmake_minimum_required(VERSION 3.25)

if(NOT EMULATOR)
  message(FATAL_ERROR "WineSession.cmake needs EMULATOR (CMAKE_CROSSCOMPILING_EMULATOR)")
endif()

# The emulator is `env VAR=value... wine64`: the same environment with the
# Wine server that sits beside wine64.
list(POP_BACK EMULATOR wine)
get_filename_component(wine_dir "${wine}" DIRECTORY)
find_program(wineserver NAMES wineserver wineserver64 PATHS "${wine_dir}" /usr/lib/wine
             NO_DEFAULT_PATH)
if(NOT wineserver)
  find_program(wineserver NAMES wineserver)
endif()
if(NOT wineserver)
  message(FATAL_ERROR "no wineserver beside ${wine}")
endif()

if(ACTION STREQUAL "start")
  file(REMOVE_RECURSE "${RESULTS_DIR}")
  file(MAKE_DIRECTORY "${RESULTS_DIR}")
  # The server goes into the background; its output goes to a file, not to
  # a pipe that this step would wait on.
  # (When a server of the prefix runs already, it stays the one used.)
  execute_process(COMMAND ${EMULATOR} "${wineserver}" -p
    OUTPUT_FILE "${RESULTS_DIR}/wineserver.log" ERROR_FILE "${RESULTS_DIR}/wineserver.log")
  # Boots the prefix (making it, the first time) before any test runs: the
  # prefix is not made by several tests at once, and Wine's background
  # services start now, with a file as their output. Started by a test, they
  # would hold on to the pipes of its output, and ctest would wait for them
  # to close until the server ends.
  execute_process(COMMAND ${EMULATOR} "${wine}" wineboot.exe
    OUTPUT_FILE "${RESULTS_DIR}/wineboot.log" ERROR_FILE "${RESULTS_DIR}/wineboot.log"
    RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    file(READ "${RESULTS_DIR}/wineboot.log" log)
    message(FATAL_ERROR "wineboot failed (${result}):\n${log}")
  endif()
elseif(ACTION STREQUAL "stop")
  execute_process(COMMAND ${EMULATOR} "${wineserver}" -k RESULT_VARIABLE result)
else()
  message(FATAL_ERROR "ACTION must be start or stop")
endif()
