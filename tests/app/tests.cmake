# The string catalog checks once more with the application library linked, so that the
# compiled application catalog is loaded and compared with its sources as well.
faxolino_add_test(tst_stringcatalogs_app
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/../foundation/tst_stringcatalogs.cpp
  LIBRARIES faxolino_app)

# The printing tests run the built backend (directly, and through a private cupsd) and the
# faxolino program itself.
foreach(test tst_faxolinobackend tst_mvpdfservices)
  add_dependencies(${test} faxolino_backend)
  target_compile_definitions(${test} PRIVATE
    FAXOLINO_BACKEND_BINARY="$<TARGET_FILE:faxolino_backend>")
endforeach()
target_compile_definitions(tst_faxolinobackend PRIVATE
  FAXOLINO_CMAKE_COMMAND="${CMAKE_COMMAND}"
  FAXOLINO_BUILD_DIR="${CMAKE_BINARY_DIR}"
  FAXOLINO_INSTALL_PREFIX="${CMAKE_INSTALL_PREFIX}"
  FAXOLINO_INSTALLED_BACKEND="${FAXOLINO_CUPS_BACKEND_DIR}/faxolino")
add_dependencies(tst_fbapplicationinstance faxolino)

# `make screenshots` renders the windows under Xvfb (scripts/screenshots).
add_executable(faxolino-screenshots ${CMAKE_CURRENT_LIST_DIR}/screenshots/screenshots.cpp)
target_link_libraries(faxolino-screenshots PRIVATE faxolino_testsupport faxolino_app)
faxolino_apply_build_flags(faxolino-screenshots)
add_dependencies(faxolino-screenshots faxolino)
