# The reader needs libebook-contacts only (not the address book service), the regular-file
# check for PHOTO URIs, and Qt Gui for nothing but the QImage in FXPersonImageCache.h, whose
# picture size limit it applies.
find_package(Qt6 6.4 REQUIRED COMPONENTS Gui)
pkg_check_modules(EBOOK_CONTACTS REQUIRED IMPORTED_TARGET libebook-contacts-1.2)
set(FUZZ_SOURCES
  ${FAXOLINO_SRC}/recipients/FXVCardReader.cpp
  ${FAXOLINO_SRC}/foundation/FBRegularFile.cpp)
set(FUZZ_LIBRARIES Qt6::Gui PkgConfig::EBOOK_CONTACTS)
