# The string catalog checks once more with the application library linked, so that the
# compiled application catalog is loaded and compared with its sources as well.
faxolino_add_test(tst_stringcatalogs_app
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/../service/tst_stringcatalogs.cpp
  LIBRARIES faxolino_gui)
