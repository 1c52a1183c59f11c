# SPDX-License-Identifier: GPL-2.0-or-later
# The Debian package: `cpack --preset linux`.

install(FILES "${CMAKE_SOURCE_DIR}/LICENSE" RENAME copyright
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${PROJECT_NAME}" COMPONENT system)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_PACKAGE_NAME "${PROJECT_NAME}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "${spec_author}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${spec_description}")
set(CPACK_PACKAGE_HOMEPAGE_URL "${spec_website}")
set(CPACK_PACKAGE_DESCRIPTION
"Adds a dock to OBS Studio that receives live streams which a phone app
splits over several mobile and Wi-Fi links with the SRTLA protocol, joins
the links and forwards the stream to an OBS media source.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr) # Debian's OBS searches for plug-ins there
set(CPACK_STRIP_FILES ON)
# Only the files of the system-wide installation.
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};${PROJECT_NAME};system;/")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${spec_author} <plugins@${TARVOLINE_VENDOR_HOST}>")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
# dpkg-shlibdeps finds the packages of the linked libraries, but not the program that loads the module.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "obs-studio (>= 31.1)")
include(CPack)
