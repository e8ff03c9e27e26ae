# kel_embed_files(OUTPUT <file.cc> SYMBOL <array name> FILES <file>...)
#
# Adds a build step that writes <file.cc>, a source embedding every listed
# file as bytes in a kelulib::EmbeddedResource array named <array name>,
# found by file name. The step reruns when any file changes; the caller adds
# <file.cc> to a target's sources.
set(KEL_EMBED_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/EmbedFiles.cmake")

function(kel_embed_files)
  cmake_parse_arguments(EMBED "" "OUTPUT;SYMBOL" "FILES" ${ARGN})
  string(REPLACE ";" "\\;" escaped_files "${EMBED_FILES}")
  add_custom_command(
    OUTPUT "${EMBED_OUTPUT}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${EMBED_OUTPUT}" "-DSYMBOL=${EMBED_SYMBOL}"
            "-DFILES=${escaped_files}" -P "${KEL_EMBED_SCRIPT}"
    DEPENDS ${EMBED_FILES} "${KEL_EMBED_SCRIPT}"
    COMMENT "Embedding ${EMBED_SYMBOL}"
    VERBATIM)
endfunction()
