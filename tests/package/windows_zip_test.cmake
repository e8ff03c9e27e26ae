# The Windows ZIP that `cpack` makes: what it holds, a consumer project built
# against it with CMake and with a plain -lKelULibDll, and its programs run
# under Wine from where the ZIP was unpacked.
add_test(NAME package.windows_zip
  COMMAND "${CMAKE_COMMAND}"
    "-DBUILD_DIR=${PROJECT_BINARY_DIR}"
    "-DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/windows-zip"
    "-DCPACK=${CMAKE_CPACK_COMMAND}"
    "-DCONSUMER_SOURCE_DIR=${CMAKE_CURRENT_SOURCE_DIR}/consumer"
    "-DTOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}"
    "-DGENERATOR=${CMAKE_GENERATOR}"
    "-DC_COMPILER=${CMAKE_C_COMPILER}"
    "-DCXX_COMPILER=${CMAKE_CXX_COMPILER}"
    "-DEMULATOR=${KELULIB_TEST_EMULATOR}"
    "-DTEXT_FILE=${PROJECT_SOURCE_DIR}/examples/data/sample-cp1252.txt"
    "-DTEXT_FILE_UTF8=${PROJECT_SOURCE_DIR}/examples/data/sample-cp1252.utf8"
    -P "${CMAKE_CURRENT_SOURCE_DIR}/run_windows_zip_test.cmake")
set_tests_properties(package.windows_zip PROPERTIES
  TIMEOUT 600 RUN_SERIAL TRUE FIXTURES_REQUIRED wine)

kelulib_not_on_windows("package.consumer, package.cpack_archives, package.debian"
  "test the Linux packages (tarball, .deb, pkg-config); package.windows_zip tests the Windows ZIP")
kelulib_not_on_windows("package.exported_symbols"
  "an ELF library's version script; a DLL exports only what is marked for export")
