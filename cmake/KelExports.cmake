# The library's binary interface, read from its public headers: the classes
# declared `class KELULIB_API Name` (or struct), the C functions declared
# `KELULIB_API ... Name(` in headers with an `extern "C"` block, and the C++
# free functions (operators, getline) declared `KELULIB_API` in the others.
# A new public header, class or function needs no change here.
#
# kel_public_interface(HEADERS h... CLASSES var C_FUNCTIONS var
#                      CXX_FUNCTIONS var)
#   Sets the three variables to the names found (C++ free functions as
#   their names in source: "operator==", "getline").
#
# kel_restrict_exports(TARGET HEADERS h...)
#   Where the linker takes a version script (ELF platforms), links TARGET
#   with one that exports exactly those names and makes every other symbol
#   local, among them the standard library's template instantiations that
#   the library's code makes (they keep default visibility whatever
#   -fvisibility says).
#
# Usable in a project and in script mode (cmake -P), which includes this
# file for kel_public_interface only.

function(kel_public_interface)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "CLASSES;C_FUNCTIONS;CXX_FUNCTIONS" "HEADERS")
  set(classes "")
  set(c_functions "")
  set(cxx_functions "")
  foreach(header IN LISTS arg_HEADERS)
    file(READ "${header}" text)
    string(REGEX MATCHALL "(class|struct)[ \t]+KELULIB_API[ \t]+[A-Za-z_][A-Za-z0-9_]*" found "${text}")
    foreach(declaration IN LISTS found)
      string(REGEX REPLACE ".*[ \t]" "" name "${declaration}")
      list(APPEND classes "${name}")
    endforeach()
    # Free functions: a line that starts with KELULIB_API and names a
    # function, "Name(" or "operatorXX(".
    string(REGEX MATCHALL "\nKELULIB_API[^\n(;]*[ *&](operator[^ \t(]+|[A-Za-z_][A-Za-z0-9_]*)\\("
           found "${text}")
    foreach(declaration IN LISTS found)
      string(REGEX REPLACE ".*[ *&](operator[^ \t(]+|[A-Za-z_][A-Za-z0-9_]*)\\($" "\\1" name
             "${declaration}")
      if(text MATCHES "extern \"C\"")
        list(APPEND c_functions "${name}")
      else()
        list(APPEND cxx_functions "${name}")
      endif()
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES classes)
  list(REMOVE_DUPLICATES c_functions)
  list(REMOVE_DUPLICATES cxx_functions)
  set(${arg_CLASSES} "${classes}" PARENT_SCOPE)
  set(${arg_C_FUNCTIONS} "${c_functions}" PARENT_SCOPE)
  set(${arg_CXX_FUNCTIONS} "${cxx_functions}" PARENT_SCOPE)
endfunction()

# The Itanium C++ ABI's two-letter code of an operator's name ("==" -> eq).
function(kel_operator_code operator out)
  set(codes "==:eq" "!=:ne" "<=:le" ">=:ge" "<<:ls" ">>:rs" "<:lt" ">:gt" "+:pl" "-:mi" "=:aS"
            "[]:ix" "():cl")
  foreach(pair IN LISTS codes)
    string(REGEX MATCH "^(.*):(..)$" ignored "${pair}")
    if(operator STREQUAL "operator${CMAKE_MATCH_1}")
      set(${out} "${CMAKE_MATCH_2}" PARENT_SCOPE)
      return()
    endif()
  endforeach()
  message(FATAL_ERROR "kel_operator_code: no code for ${operator}; add it here")
endfunction()

function(kel_restrict_exports target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS")
  if(WIN32 OR APPLE OR NOT CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    return()  # PE and Mach-O export only what is marked; no version scripts there
  endif()
  kel_public_interface(HEADERS ${arg_HEADERS} CLASSES classes C_FUNCTIONS c_functions
                       CXX_FUNCTIONS cxx_functions)
  set(patterns "")
  foreach(name IN LISTS c_functions)
    string(APPEND patterns "    ${name};\n")
  endforeach()
  # Mangled names: members (N), const members (NK), vtable (TV), typeinfo
  # (TI) and its name (TS), and the thunks of classes with several bases.
  foreach(class IN LISTS classes)
    string(LENGTH "${class}" length)
    set(n "${length}${class}")
    string(APPEND patterns "    _ZN${n}*; _ZNK${n}*; _ZTV${n}; _ZTI${n}; _ZTS${n};\n"
                           "    _ZTh*_N${n}*; _ZTh*_NK${n}*; _ZTv*_N${n}*; _ZTv*_NK${n}*;\n")
  endforeach()
  foreach(name IN LISTS cxx_functions)
    if(name MATCHES "^operator")
      kel_operator_code("${name}" code)
      string(APPEND patterns "    _Z${code}*;\n")
    else()
      string(LENGTH "${name}" length)
      string(APPEND patterns "    _Z${length}${name}*;\n")
    endif()
  endforeach()
  set(script "${CMAKE_CURRENT_BINARY_DIR}/${target}.exports.map")
  file(CONFIGURE OUTPUT "${script}" CONTENT "/* The symbols ${target} exports: its public classes and functions (made by
   cmake/KelExports.cmake from the public headers). */
{
  global:
${patterns}  local: *;
};
")
  target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
endfunction()
