# What the desktop sees of an installed Faxolino besides the desktop entry (src/): the icon in
# the hicolor theme, the AppStream metainfo and the manual page. The manual page is written
# from the built program's help by packaging/make-manpage.py, so that the two say the same.

install(DIRECTORY ${PROJECT_SOURCE_DIR}/resources/app/icons/hicolor
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icons COMPONENT desktop)

set(FAXOLINO_SCREENSHOTS
  https://raw.githubusercontent.com/voxaria/faxolino/main/docs/screenshots)
configure_file(${PROJECT_SOURCE_DIR}/packaging/org.voxaria.Faxolino.metainfo.xml.in
  ${CMAKE_BINARY_DIR}/packaging/org.voxaria.Faxolino.metainfo.xml @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/org.voxaria.Faxolino.metainfo.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT desktop)

set(manpage ${CMAKE_BINARY_DIR}/packaging/faxolino.1)
add_custom_command(OUTPUT ${manpage} ${manpage}.gz
  COMMAND python3 ${PROJECT_SOURCE_DIR}/packaging/make-manpage.py $<TARGET_FILE:faxolino>
          ${manpage} --version ${PROJECT_VERSION} --date ${FAXOLINO_RELEASE_DATE}
          --summary ${FAXOLINO_SUMMARY}
  COMMAND gzip -9nfk ${manpage}
  DEPENDS faxolino ${PROJECT_SOURCE_DIR}/packaging/make-manpage.py
  COMMENT "Writing the manual page from faxolino --help"
  VERBATIM)
add_custom_target(faxolino_manpage ALL DEPENDS ${manpage}.gz)
install(FILES ${manpage}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT desktop)
