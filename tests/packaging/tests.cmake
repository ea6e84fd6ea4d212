# The Debian package, built as `make package` builds it (packaging/build-package: a release
# build of its own in build-pkg/), then its contents and metadata checked and the package
# installed, upgraded and removed beside a private cupsd. The build takes both processors
# and most of the time, so it is started first.
execute_process(COMMAND dpkg --print-architecture
  OUTPUT_VARIABLE deb_arch OUTPUT_STRIP_TRAILING_WHITESPACE)
set(deb ${PROJECT_SOURCE_DIR}/build-pkg/faxolino_${PROJECT_VERSION}_${deb_arch}.deb)

add_test(NAME tst_package_build COMMAND ${PROJECT_SOURCE_DIR}/packaging/build-package)
set_tests_properties(tst_package_build PROPERTIES
  FIXTURES_SETUP faxolino_deb ENVIRONMENT JOBS=2 PROCESSORS 2 COST 10000 TIMEOUT 2400)
add_test(NAME tst_package_contents
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/check-package ${PROJECT_SOURCE_DIR} ${deb} ${PROJECT_VERSION})
add_test(NAME tst_package_install
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/check-install ${deb} ${PROJECT_SOURCE_DIR})
set_tests_properties(tst_package_contents tst_package_install PROPERTIES
  FIXTURES_REQUIRED faxolino_deb TIMEOUT 300)
set_tests_properties(tst_package_install PROPERTIES SKIP_RETURN_CODE 77)
