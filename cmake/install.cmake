# Install rules and the Debian package: the two programs, the desktop entry
# with its icon, and the manual pages.
include(GNUInstallDirs)

set(QUERN_DIST ${PROJECT_SOURCE_DIR}/dist)

# Manual pages go in compressed, as Debian's policy has them: gzip -9n keeps
# no name or time, so the same page always gives the same file.
find_program(QUERN_GZIP gzip REQUIRED)
set(QUERN_MAN_DIR ${CMAKE_BINARY_DIR}/man)
set(QUERN_MAN_PAGES)
foreach(page quernline-batch.1 quernline.1)
  add_custom_command(
    OUTPUT ${QUERN_MAN_DIR}/${page}.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QUERN_MAN_DIR}
    COMMAND sh -c "${QUERN_GZIP} -9nc '${QUERN_DIST}/${page}' > '${QUERN_MAN_DIR}/${page}.gz'"
    DEPENDS ${QUERN_DIST}/${page}
    VERBATIM)
  list(APPEND QUERN_MAN_PAGES ${QUERN_MAN_DIR}/${page}.gz)
endforeach()
add_custom_target(quern_manual_pages ALL DEPENDS ${QUERN_MAN_PAGES})

if(TARGET quern)
  install(TARGETS quern RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${QUERN_DIST}/quernline.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${QUERN_DIST}/quernline.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
  install(FILES ${QUERN_MAN_DIR}/quernline.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
install(TARGETS quern_batch_exe RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${QUERN_MAN_DIR}/quernline-batch.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${QUERN_DIST}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quernline)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quernline)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Quernline developers <quernline@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "centre lines of raster line work as a DXF drawing")
set(CPACK_PACKAGE_DESCRIPTION "Quernline turns a scanned or drawn picture of line work (JPEG, BMP or GIF)
into centre lines and writes them as a DXF (R12 or R2000) drawing for CAD and CNC: a
window, quernline, and a headless driver, quernline-batch.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
# The dependencies are read off the shared libraries the programs link, and
# libtiff, which they load when a TIFF is read.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libtiff6")
include(CPack)
