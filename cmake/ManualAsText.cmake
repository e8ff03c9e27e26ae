# Formats a manual page as plain ASCII text with Windows line ends (\r\n),
# for the Windows package, where there is no man(1).
#   cmake -DGROFF=<groff> -DMANUAL_PAGE=<page.1> -DOUTPUT=<page.txt> -P ManualAsText.cmake

cmake_minimum_required(VERSION 3.25)

# tbl for the tables; no bold, underlining or overstriking.
execute_process(COMMAND "${GROFF}" -t -man -Tascii -P-cbou "${MANUAL_PAGE}"
  OUTPUT_VARIABLE text ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT errors STREQUAL "")
  message(FATAL_ERROR "${GROFF} could not format ${MANUAL_PAGE} (${result}):\n${errors}")
endif()
string(REPLACE "\n" "\r\n" text "${text}")
file(WRITE "${OUTPUT}" "${text}")
