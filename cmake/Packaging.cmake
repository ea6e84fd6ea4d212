# The Debian package (`make package`, the `package` presets): CPack's DEB generator over the
# installed tree of a release build with the prefix /usr. The libraries the programs link are
# found by dpkg-shlibdeps; what they only talk to is named here.

# The maintainer scripts add the very queue the application adds, so that it finds it.
file(STRINGS ${PROJECT_SOURCE_DIR}/src/app/MVPDFServices.h queue_lines
  REGEX "^inline constexpr char kPDFService")
foreach(line IN LISTS queue_lines)
  if(line MATCHES "kPDFService([A-Za-z]+)\\[\\] = \"([^\"]*)\";")
    set(FAXOLINO_QUEUE_${CMAKE_MATCH_1} "${CMAKE_MATCH_2}")
  endif()
endforeach()
if(NOT FAXOLINO_QUEUE_QueueName OR NOT FAXOLINO_QUEUE_Name OR NOT FAXOLINO_QUEUE_DeviceURI)
  message(FATAL_ERROR "The print queue's name, description or device are not in MVPDFServices.h")
endif()

set(FAXOLINO_MAINTAINER "voxaria <voxaria@users.noreply.github.com>" CACHE STRING
  "The package's maintainer: name and mail address")
execute_process(COMMAND date -u -R -d ${FAXOLINO_RELEASE_DATE}
  OUTPUT_VARIABLE FAXOLINO_RELEASE_DATE_RFC2822 OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)

set(debian ${CMAKE_BINARY_DIR}/packaging/debian)
foreach(script postinst prerm postrm)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/${script}.in ${debian}/${script} @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                     WORLD_READ WORLD_EXECUTE)
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in ${debian}/changelog @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/copyright.in ${debian}/copyright @ONLY)

# Debian wants the changelog compressed as gzip does it at its best, without a time stamp.
add_custom_command(OUTPUT ${debian}/changelog.gz
  COMMAND gzip -9nfk ${debian}/changelog
  DEPENDS ${debian}/changelog VERBATIM)
add_custom_target(faxolino_changelog ALL DEPENDS ${debian}/changelog.gz)

set(docdir ${CMAKE_INSTALL_DATADIR}/doc/faxolino)
install(FILES ${debian}/copyright ${debian}/changelog.gz DESTINATION ${docdir}
  COMPONENT package)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME faxolino COMPONENT package)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME faxolino)
set(CPACK_PACKAGE_VENDOR voxaria)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${FAXOLINO_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${FAXOLINO_SUMMARY}")
# The extended description as lines short enough for package managers; CPack's
# configuration file would mangle quotation marks.
string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
  "Faxolino sends PDF documents as faxes through the XML-RPC API of the VoIP"
  "provider voxaria. Print from any program to the voxaria Faxolino printer, or"
  "open or drop a PDF; arrange the fax pages, put a cover sheet in front, pick"
  "the receivers from the address book or type their numbers, and send to many"
  "at once. Every fax and every transmission attempt is kept in a journal, with a"
  "transmission report PDF for each fax. Servers and scripts use the same engine"
  "from the command line.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY faxolino)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${FAXOLINO_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The printer needs a scheduler (and lpadmin for the maintainer scripts); the password lives
# with a Secret Service; Evolution's address books are welcome but not needed.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "cups-daemon, cups-client, gnome-keyring | org.freedesktop.secrets")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "evolution-data-server")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${debian}/postinst;${debian}/prerm;${debian}/postrm")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
