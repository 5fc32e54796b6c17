# The Debian package: `make package` (or `cpack -G DEB` in the build folder)
# writes build/quillarc_<version>_<arch>.deb. Whatever `cmake --install` puts
# in place goes into the package under /usr, whatever prefix the build folder
# was configured with.

set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "quillarc")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "Quillarc")
set(CPACK_PACKAGE_CONTACT "Quillarc maintainers <quillarc@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Unalterable archive for receipts, invoices and contracts")
set(CPACK_PACKAGE_DESCRIPTION
    "Quillarc keeps business records so that an archived file's bytes are never rewritten. \
Every file and the archive's database carry a salted fingerprint, every intake and deletion \
leaves an audit-log entry, and an integrity validation proves that nothing was changed. \
Text is extracted or recognised so that full-text search finds every record. The package \
holds the desktop application quillarc and the command-line tool quillarc-cli.")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
# Release builds carry debug information; the package does not need it.
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME "DEB-DEFAULT")
set(CPACK_DEBIAN_PACKAGE_SECTION "misc")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
set(CPACK_DEBIAN_COMPRESSION_TYPE "xz")

find_program(QUILLARC_DPKG dpkg)
if(QUILLARC_DPKG)
  execute_process(COMMAND ${QUILLARC_DPKG} --print-architecture
                  OUTPUT_VARIABLE QUILLARC_DEB_ARCH OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${QUILLARC_DEB_ARCH}")
endif()

# The libraries the programs link are found by dpkg-shlibdeps, with the
# versions their symbols need. Qt's platform plugins, the OCR language data,
# the MIME database, the fonts and the desktop tools are loaded or called at
# run time, so no linker sees them: they are always named here.
set(QUILLARC_DEB_LINKED
    libqt6core6 libqt6gui6 libqt6widgets6 libqt6network6 libqt6svg6 libqt6dbus6 libqt6concurrent6
    libpoppler-qt6-3 libtesseract5 libzip4 libuchardet0 libheif1 libsane1 libjpeg62-turbo zlib1g)
set(QUILLARC_DEB_RUNTIME
    # the platform plugins (xcb, wayland, offscreen) and the image readers (TIFF, WebP)
    qt6-qpa-plugins qt6-image-formats-plugins
    # OCR of English, German and the page orientation
    tesseract-ocr-eng tesseract-ocr-deu tesseract-ocr-osd
    # the MIME database, the window's and the reports' typefaces
    shared-mime-info fonts-inter fonts-dejavu-core
    # registering the quillarc:// handler and refreshing the menu
    xdg-utils desktop-file-utils)
find_program(QUILLARC_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(QUILLARC_DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(QUILLARC_DEB_DEPENDS ${QUILLARC_DEB_RUNTIME})
else()
  # Without dpkg-shlibdeps the linked libraries are named without versions.
  set(QUILLARC_DEB_DEPENDS ${QUILLARC_DEB_LINKED} ${QUILLARC_DEB_RUNTIME})
endif()
list(JOIN QUILLARC_DEB_DEPENDS ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
# Reports that quote Chinese, Japanese or Korean text need a font that has the glyphs.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-wqy-microhei")

# The menu and the quillarc:// handler are refreshed after installing and
# removing; the scripts never fail the package operation.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    "${CMAKE_SOURCE_DIR}/cmake/debian/postinst;${CMAKE_SOURCE_DIR}/cmake/debian/postrm")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
