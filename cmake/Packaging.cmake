# `make install` and `make package`: the worker, the host command, the host library with its
# header and pkg-config file, and both manual pages; a Debian package built by CPack.
include(GNUInstallDirs)
# Installing (and packaging) takes what is built; `make install` and `make package` build first.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS PDFAnnotations pdfannotations-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS pdfannotations_host
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  NAMELINK_COMPONENT Unspecified)
install(FILES ${CMAKE_SOURCE_DIR}/include/pdfannotations/host.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pdfannotations)
install(FILES ${CMAKE_SOURCE_DIR}/man/PDFAnnotations.1 ${CMAKE_SOURCE_DIR}/man/pdfannotations-host.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The pkg-config file names the prefix installed to, which is known only when installing
# (`make install PREFIX=...`, or /usr in the package); DESTDIR is not part of it.
install(CODE "
  set(PDFA_HOST_VERSION ${PDFA_HOST_VERSION})
  set(PDFA_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
  set(PDFA_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
  configure_file(${CMAKE_SOURCE_DIR}/cmake/pdfannotations-host.pc.in
    ${CMAKE_BINARY_DIR}/pdfannotations-host.pc @ONLY)")
install(FILES ${CMAKE_BINARY_DIR}/pdfannotations-host.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pdfannotations)
set(CPACK_PACKAGE_VERSION ${PDFA_HOST_VERSION})
set(CPACK_PACKAGE_CONTACT "PDFAnnotations maintainers <maintainers@pdfannotations.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "PDF link annotations to editor XML, and links from page text")
set(CPACK_PACKAGE_DESCRIPTION
  "PDFAnnotations converts the link annotations of a PDF into XML for a publishing host's page
editor or HTML5 animation editor, or adds links for the web addresses, e-mail addresses and phone
numbers found in the page text. pdfannotations-host and libpdfannotations-host drive it as a host
application does.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
