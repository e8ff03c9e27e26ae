# CPack pre-build script of builds that are not laid out for the Debian
# packages (cmake/KelPackageDebian.cmake): `cpack -G DEB` there would put the
# library outside the multiarch directory, so it stops with where the
# packages come from.
if(CPACK_GENERATOR STREQUAL "DEB")
  message(FATAL_ERROR "The Debian packages come from a build for /usr: run "
                      "`cmake --workflow --preset deb` in the source tree (packages in build/deb).")
endif()
