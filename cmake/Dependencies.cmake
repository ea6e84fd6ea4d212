# Every library comes from Debian 12's packages (scripts/install-deps).
find_package(Qt6 6.4 REQUIRED COMPONENTS
  Core Gui Widgets Network Sql Pdf PdfWidgets DBus Concurrent Test LinguistTools)
find_package(PkgConfig REQUIRED)
# The same SQLite that Qt's driver loads: the journal adds a function to its connection.
find_package(SQLite3 REQUIRED)
pkg_check_modules(LIBSECRET REQUIRED IMPORTED_TARGET libsecret-1)
pkg_check_modules(EXPAT REQUIRED IMPORTED_TARGET expat)
pkg_check_modules(QPDF REQUIRED IMPORTED_TARGET libqpdf)
pkg_check_modules(TIFF REQUIRED IMPORTED_TARGET libtiff-4)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(EBOOK REQUIRED IMPORTED_TARGET libebook-1.2 libebook-contacts-1.2)
find_package(Cups REQUIRED)

# libphonenumber ships no pkg-config file on Debian 12.
find_path(PHONENUMBER_INCLUDE_DIR phonenumbers/phonenumberutil.h REQUIRED)
find_library(PHONENUMBER_LIBRARY phonenumber REQUIRED)
add_library(PhoneNumber::PhoneNumber UNKNOWN IMPORTED)
set_target_properties(PhoneNumber::PhoneNumber PROPERTIES
  IMPORTED_LOCATION ${PHONENUMBER_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${PHONENUMBER_INCLUDE_DIR})
