# Formats a manual page as plain text for the Windows package, where there
# is no man(1): UTF-8 with a byte-order mark (which Windows' editors take as
# the sign of UTF-8) and Windows line ends (\r\n), without hyphenation.
#   cmake -DGROFF=<groff> -DMANUAL_PAGE=<page.1> -DOUTPUT=<page.txt> -P ManualAsText.cmake

cmake_minimum_required(VERSION 3.25)

# tbl for the tables; no bold, underlining or overstriking.
execute_process(COMMAND "${GROFF}" -t -man -Tutf8 -rHY=0 -P-cbou "${MANUAL_PAGE}"
  OUTPUT_VARIABLE text ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT errors STREQUAL "")
  message(FATAL_ERROR "${GROFF} could not format ${MANUAL_PAGE} (${result}):\n${errors}")
endif()
string(REPLACE "\n" "\r\n" text "${text}")
string(ASCII 239 187 191 byte_order_mark)
file(WRITE "${OUTPUT}" "${byte_order_mark}${text}")
