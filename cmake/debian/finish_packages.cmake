# CPack post-build script of the Debian packages (cmake/KelPackageDebian.cmake):
# makes each package again with dpkg-deb where CPack 3.25 cannot write what
# Debian expects:
# - CPack gives a package that holds a shared library postinst and postrm
#   scripts that run ldconfig; Debian replaces such calls by the ldconfig
#   trigger, which the package has. Those two scripts are dropped.
# - CPack writes no Multi-Arch field; the component's
#   CPACK_DEBIAN_<COMPONENT>_PACKAGE_MULTIARCH ("same", "foreign") is added.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
find_program(DPKG_DEB dpkg-deb REQUIRED)

# The Multi-Arch value of the package named `package`, from its component.
function(multi_arch_of package out)
  set(${out} "" PARENT_SCOPE)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER "${component}" upper)
    if(CPACK_DEBIAN_${upper}_PACKAGE_NAME STREQUAL package)
      set(${out} "${CPACK_DEBIAN_${upper}_PACKAGE_MULTIARCH}" PARENT_SCOPE)
    endif()
  endforeach()
endfunction()

foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  set(tree "${deb}.tree")
  file(REMOVE_RECURSE "${tree}")
  execute_process(COMMAND "${DPKG_DEB}" --raw-extract "${deb}" "${tree}" RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "dpkg-deb could not unpack ${deb}")
  endif()
  set(changed FALSE)
  foreach(script IN ITEMS postinst postrm)
    set(path "${tree}/DEBIAN/${script}")
    if(EXISTS "${path}")
      file(READ "${path}" text)
      # Only CPack's own script, which does nothing but run ldconfig once.
      string(REGEX REPLACE "[ \t\n]+" " " words "${text}")
      if(words MATCHES "ldconfig" AND NOT words MATCHES "ldconfig.*ldconfig")
        file(REMOVE "${path}")
        set(changed TRUE)
      endif()
    endif()
  endforeach()
  file(READ "${tree}/DEBIAN/control" control)
  string(REGEX MATCH "(^|\n)Package: ([^\n]+)" ignored "${control}")
  multi_arch_of("${CMAKE_MATCH_2}" multi_arch)
  if(NOT control MATCHES "\nMulti-Arch:")
    if(multi_arch)
      string(REGEX REPLACE "\n+$" "" control "${control}")
      file(WRITE "${tree}/DEBIAN/control" "${control}\nMulti-Arch: ${multi_arch}\n")
      set(changed TRUE)
    endif()
  endif()
  if(changed)
    execute_process(COMMAND "${DPKG_DEB}" --root-owner-group --build "${tree}" "${deb}"
                    RESULT_VARIABLE result OUTPUT_QUIET)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "dpkg-deb could not make ${deb} again")
    endif()
  endif()
  file(REMOVE_RECURSE "${tree}")
endforeach()
