# Installs the library into a scratch prefix, runs the installed kelconv,
# checks the installed headers, then builds and runs the consumer project
# three ways: find_package on the installed package, find_package on the
# build tree, and pkg-config's flags with the C compiler.
include("${CMAKE_CURRENT_LIST_DIR}/consumer_checks.cmake")

set(prefix "${WORK_DIR}/install")
file(REMOVE_RECURSE "${WORK_DIR}")

run("${CMAKE_COMMAND}" --install "${KELULIB_BUILD_DIR}" --prefix "${prefix}" --config "${BUILD_TYPE}")

# The installed kelconv finds the installed library beside it.
if(EXISTS "${prefix}/bin/kelconv")
  run("${prefix}/bin/kelconv" --version)
endif()

check_installed_headers("${prefix}/include")
build_consumer(installed "-DCMAKE_PREFIX_PATH=${prefix}")
build_consumer(buildtree "-DKelULib_DIR=${KELULIB_BUILD_DIR}")
pkg_config_consumer(installed "${prefix}/${INSTALL_LIBDIR}/pkgconfig" "${prefix}/${INSTALL_LIBDIR}"
                    "${prefix}/include")
