# The Debian package of the program: `cpack -G DEB` in the build folder
# makes tabulon_<version>_<arch>.deb from what `cmake --install` puts in place.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tabulon)
set(CPACK_PACKAGE_VENDOR "Varnel Technologies")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(TABULON_PACKAGE_MAINTAINER "Varnel Technologies <tabulon@varnel.invalid>"
    CACHE STRING "The Maintainer of the Debian package: a name and a mail address")
set(CPACK_PACKAGE_CONTACT "${TABULON_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "run the reports of a survey database into spreadsheets")
# The summary is the Description's first line; this text follows it.
set(CPACK_PACKAGE_DESCRIPTION "Tabulon lists the user reports kept in a fisheries field-survey database
(an Access .mdb file) and runs a report into a spreadsheet workbook made by
LibreOffice Calc: each saved query of the report, with its stored parameter
values, fills its place in a workbook template, and the report's macros run
on the result. Reports run from the main window or, on a schedule, from the
command line without a window.")
set(CPACK_DEBIAN_PACKAGE_SECTION database)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)

# The libraries the program links against, read from the binary.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What it loads without linking, which that reading cannot see:
# - the office it starts: soffice.bin of the desktop build (libreoffice-core,
#   whose view the recorded Basic macros select in) with Calc's own part;
# - the SVG image and icon plugins that draw the program's icons.
# The X11 platform plugin comes with libqt6gui6, which the binary links.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libreoffice-calc, libreoffice-core, libqt6svg6")
# Finished workbooks open in the desktop's own handler when xdg-open is there
# (else in the office), and a Wayland session needs Qt's Wayland plugin.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, qt6-wayland")

include(CPack)
