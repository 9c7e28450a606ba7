# The Debian package: whatever the install rules put in place, under /usr,
# with the libraries it needs found by dpkg-shlibdeps (package dpkg-dev).
# Made by `cpack -G DEB` in the build folder, or `make deb`.
set(VELLIX_PACKAGE_MAINTAINER "Vellix Control developers <support@vellix.example>"
    CACHE STRING "The Debian package's Maintainer field")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vellix-control)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Vellix")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "control panel of the Vellix mail archiving engine")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
              "Vellix Control lives in the notification area and is the user's handle\n"
              "on the Vellix archiving engine, which files mail into period stores by\n"
              "rules called agents, purges what it has filed and backs the stores up.\n"
              "The control panel sets up a first configuration, edits agents, periods,\n"
              "store and backup settings, starts and stops the engine, shows its\n"
              "activity, runs backups and recovers a lost configuration. This package\n"
              "holds the panel with its stand-ins for the engine and its servers, and a\n"
              "demo mail profile.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VELLIX_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Mail goes to the desktop's mail program through xdg-email, and the web
# browser is found with xdg-mime; without them the panel still runs.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS xdg-utils)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/VellixConffiles.cmake)

include(CPack)
