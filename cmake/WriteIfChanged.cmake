# kel_write_if_changed(<file> <content>)
# Writes <content> into <file> unless the file holds exactly that already,
# so that what is built from a generated file is not rebuilt for nothing.
# For the scripts that write sources (EmbedFiles.cmake, ResourceScript.cmake).
function(kel_write_if_changed file content)
  if(EXISTS "${file}")
    file(READ "${file}" previous)
    if(previous STREQUAL content)
      return()
    endif()
  endif()
  file(WRITE "${file}" "${content}")
endfunction()
