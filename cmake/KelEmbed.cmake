# kel_embed_files(OUTPUT <file.cc> SYMBOL <array name> FILES <file>...)
#
# Adds a build step that writes <file.cc>, a source embedding every listed
# file as bytes in a kelulib::EmbeddedResource array named <array name>,
# found by file name. The step reruns when any file changes; the caller adds
# <file.cc> to a target's sources.
set(KEL_EMBED_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/EmbedFiles.cmake")

function(kel_embed_files)
  cmake_parse_arguments(EMBED "" "OUTPUT;SYMBOL" "FILES;CUT" ${ARGN})
  string(REPLACE ";" "\\;" escaped_files "${EMBED_FILES}")
  string(REPLACE ";" "," cuts "${EMBED_CUT}")
  add_custom_command(
    OUTPUT "${EMBED_OUTPUT}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${EMBED_OUTPUT}" "-DSYMBOL=${EMBED_SYMBOL}"
            "-DFILES=${escaped_files}" "-DCUT=${cuts}" -P "${KEL_EMBED_SCRIPT}"
    DEPENDS ${EMBED_FILES} "${KEL_EMBED_SCRIPT}"
    COMMENT "Embedding ${EMBED_SYMBOL}"
    VERBATIM)
endfunction()

# kel_table_resources(<variable> OUTPUT_BASE <path without extension>
#                     SYMBOL <array name> FILES <file>...
#                     [CUT <file name>:<bytes>...])
#
# The named tables as the platform carries them, found by file name: on
# Windows a resource script (<base>.rc) making each file a UNICODEMAP
# resource, elsewhere a source (<base>.cc) embedding them as
# kel_embed_files does. Sets <variable> to the generated file, which the
# caller compiles into the module that must hold the tables. CUT keeps only
# the first bytes of a file (an even number), for tests of tables that end
# early.
set(KEL_RESOURCE_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/ResourceScript.cmake")

function(kel_table_resources variable)
  cmake_parse_arguments(TABLES "" "OUTPUT_BASE;SYMBOL" "FILES;CUT" ${ARGN})
  if(NOT WIN32)
    kel_embed_files(OUTPUT "${TABLES_OUTPUT_BASE}.cc" SYMBOL "${TABLES_SYMBOL}"
                    FILES ${TABLES_FILES} CUT ${TABLES_CUT})
    set(${variable} "${TABLES_OUTPUT_BASE}.cc" PARENT_SCOPE)
    return()
  endif()
  set(script "${TABLES_OUTPUT_BASE}.rc")
  string(REPLACE ";" "\\;" escaped_files "${TABLES_FILES}")
  string(REPLACE ";" "," cuts "${TABLES_CUT}")
  add_custom_command(
    OUTPUT "${script}"
    COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${script}" -DTYPE=UNICODEMAP
            "-DFILES=${escaped_files}" "-DCUT=${cuts}" -P "${KEL_RESOURCE_SCRIPT}"
    DEPENDS ${TABLES_FILES} "${KEL_RESOURCE_SCRIPT}"
    COMMENT "Writing the resource script of ${TABLES_SYMBOL}"
    VERBATIM)
  # The script names the files; the compiled resources hold their bytes.
  set_source_files_properties("${script}" PROPERTIES OBJECT_DEPENDS "${TABLES_FILES}")
  set(${variable} "${script}" PARENT_SCOPE)
endfunction()
