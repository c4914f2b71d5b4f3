# What is installed beside the programs, and the Debian package:
#   cmake --install build/release --prefix /usr/local
#   cd build/release && cpack -G DEB
include(GNUInstallDirs)

set(bureau ${PROJECT_SOURCE_DIR}/src/res/bureau)
set(icones ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${bureau}/varnion.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${bureau}/varnion.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
install(FILES ${bureau}/varnion.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${PROJECT_SOURCE_DIR}/src/res/icones/varnion.svg DESTINATION ${icones}/scalable/apps)
foreach(cote 48 128)
  install(FILES ${bureau}/varnion-${cote}.png DESTINATION ${icones}/${cote}x${cote}/apps RENAME varnion.png)
endforeach()
file(GLOB dessins ${bureau}/application-x-varnion-*.svg)
install(FILES ${dessins} DESTINATION ${icones}/scalable/mimetypes)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/res/aide/ DESTINATION ${CMAKE_INSTALL_DATADIR}/varnion/help
        FILES_MATCHING PATTERN *.html PATTERN *.css)
install(FILES README.md CHANGELOG.md docs/manual.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/images DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Manual pages are kept compressed, without a date, so that the same sources give the same package.
find_program(VN_GZIP gzip)
foreach(programme varnion varnion-cli)
  set(page ${PROJECT_SOURCE_DIR}/docs/man/${programme}.1)
  if(VN_GZIP)
    set(tassee ${PROJECT_BINARY_DIR}/man/${programme}.1.gz)
    add_custom_command(OUTPUT ${tassee} COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
                       COMMAND ${VN_GZIP} -9 -n -c ${page} > ${tassee} DEPENDS ${page} VERBATIM)
    list(APPEND pages ${tassee})
  else()
    list(APPEND pages ${page})
  endif()
endforeach()
add_custom_target(pages_de_manuel ALL DEPENDS ${pages})
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

set(CPACK_PACKAGE_NAME varnion)
set(CPACK_PACKAGE_VENDOR Tarrowby)
set(CPACK_PACKAGE_CONTACT "Tarrowby <varnion@tarrowby.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "hybrid CD-ROM images for PC and Macintosh")
set(CPACK_PACKAGE_DESCRIPTION "Varnion masters hybrid CD-ROM images: one file tree and one copy of the data, read by
PCs through ISO 9660 and Joliet and by Macintoshes through HFS or HFS+. It opens
and changes Macintosh volumes in image files, carries files between Macintosh
and PC containers, joins and parts images and expands compressed disk images.
A desktop program and a command line program share the work.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION otherosfs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "hicolor-icon-theme, shared-mime-info")
# The platform theme, Wayland and the texts of Qt's own dialogs; the tools that refresh the desktop's databases.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, qt6-translations-l10n, xdg-utils, desktop-file-utils")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
