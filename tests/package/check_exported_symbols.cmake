# Lists the dynamic symbols that the shared library defines and fails on any
# that is not part of its public interface: a member, vtable or typeinfo of
# a public class, a public C++ free function (an operator or getline of the
# library's types), or a public C function. Standard-library template
# instantiations (std::vector<KelUString>, std::map<...>) and internal
# functions fail the test. Also fails when a public C function, C++ free
# function or class exports nothing.
#   cmake -DLIBRARY=lib.so -DNM=nm -DSOURCE_DIR=... "-DHEADERS=h1;h2;..."
#         -P check_exported_symbols.cmake
# The public classes and functions are read from the public headers (see
# cmake/KelExports.cmake), so a new one needs no change here.

cmake_minimum_required(VERSION 3.25)
include("${SOURCE_DIR}/cmake/KelExports.cmake")

set(headers "")
foreach(header IN LISTS HEADERS)
  list(APPEND headers "${SOURCE_DIR}/${header}")
endforeach()
kel_public_interface(HEADERS ${headers} CLASSES classes C_FUNCTIONS c_functions
                     CXX_FUNCTIONS cxx_functions)

# The same symbols twice, mangled and demangled, in the same order.
get_filename_component(work "${LIBRARY}" DIRECTORY)
foreach(form IN ITEMS mangled demangled)
  set(demangle "")
  if(form STREQUAL "demangled")
    set(demangle "--demangle")
  endif()
  execute_process(COMMAND "${NM}" --dynamic --defined-only --format=posix ${demangle} "${LIBRARY}"
                  OUTPUT_FILE "${work}/exported_symbols_${form}.txt" RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${NM} could not list the symbols of ${LIBRARY}")
  endif()
  file(STRINGS "${work}/exported_symbols_${form}.txt" ${form})
endforeach()
list(LENGTH mangled count)
list(LENGTH demangled demangled_count)
if(count EQUAL 0 OR NOT count EQUAL demangled_count)
  message(FATAL_ERROR "nm listed ${count} mangled and ${demangled_count} demangled symbols")
endif()

# An nm --format=posix line: "NAME TYPE VALUE [SIZE]"; NAME may hold spaces.
function(symbol_name line out)
  if(NOT line MATCHES "^(.+) [A-Za-z] [0-9a-fA-F]+( [0-9a-fA-F]+)?$")
    message(FATAL_ERROR "cannot read nm's line: ${line}")
  endif()
  set(${out} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

# Whether `text` names one of the public classes as a whole word.
function(mentions_public_class text out)
  foreach(class IN LISTS classes)
    if(text MATCHES "(^|[^A-Za-z0-9_])${class}([^A-Za-z0-9_]|$)")
      set(${out} TRUE PARENT_SCOPE)
      return()
    endif()
  endforeach()
  set(${out} FALSE PARENT_SCOPE)
endfunction()

set(outside "")
set(seen_names "")
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
  list(GET mangled ${i} mangled_line)
  list(GET demangled ${i} demangled_line)
  symbol_name("${mangled_line}" raw)
  symbol_name("${demangled_line}" name)
  set(public FALSE)
  if(NOT raw MATCHES "^_Z")
    # A C symbol: one of the public C functions.
    if(raw IN_LIST c_functions)
      set(public TRUE)
      list(APPEND seen_names "${raw}")
    endif()
  else()
    string(REGEX REPLACE "^(typeinfo name for |typeinfo for |vtable for |VTT for |construction vtable for |non-virtual thunk to |virtual thunk to |covariant return thunk to )+" "" entity "${name}")
    # A member of a public class (also its static data, vtable, typeinfo).
    foreach(class IN LISTS classes)
      if(entity MATCHES "^${class}(::|$)")
        set(public TRUE)
        list(APPEND seen_names "${class}")
        break()
      endif()
    endforeach()
    # A public free function of the global namespace, over the library's
    # types: "operator==(char const*, KelUString const&)".
    if(NOT public AND entity MATCHES "^(operator[^(]+|[A-Za-z_][A-Za-z0-9_]*)\\((.*)\\)$")
      set(function "${CMAKE_MATCH_1}")
      mentions_public_class("${CMAKE_MATCH_2}" over_public_types)
      if(function IN_LIST cxx_functions AND over_public_types)
        set(public TRUE)
        list(APPEND seen_names "${function}")
      endif()
    endif()
  endif()
  if(NOT public)
    string(APPEND outside "  ${name}  [${raw}]\n")
  endif()
endforeach()

set(missing "")
foreach(name IN LISTS c_functions cxx_functions classes)
  if(NOT name IN_LIST seen_names)
    string(APPEND missing "  ${name}\n")
  endif()
endforeach()

message("${count} dynamic symbols; public classes: ${classes}; C functions: ${c_functions}; "
        "C++ free functions: ${cxx_functions}")
if(outside OR missing)
  message(FATAL_ERROR "${LIBRARY}:\nexported but not part of the public interface:\n${outside}"
                      "part of the public interface but not exported:\n${missing}")
endif()
