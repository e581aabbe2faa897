# `cpack -G DEB` in a build folder makes the Debian package (README, "Install").

set(CPACK_PACKAGE_NAME tarnwell)
set(CPACK_PACKAGE_VENDOR "The Tarnwell developers")
set(CPACK_PACKAGE_CONTACT "The Tarnwell developers <support@tarnwell.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "memory monitor and cleaner for the desktop's panel")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${TARNWELL_BUILD_NUMBER})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${TARNWELL_SITE_URL})
# CPack puts the summary line first itself.
set(CPACK_PACKAGE_DESCRIPTION
    "Tarnwell shows the machine's free memory in the panel, as text and as an
icon, with the kernel's memory figures in its menu. It frees memory on
demand or automatically: when free memory falls below a threshold, when
inactive memory rises above one, every few minutes, or when chosen
applications start, quit, hide or show. A console mode and the commands
'tarnwell stats' and 'tarnwell clean' serve machines without a desktop.")
# The libraries come from dpkg-shlibdeps; Qt's plugins are loaded at run time,
# so the SVG renderer and the display plugins are named here, and so is the web
# engine's helper process that the welcome window starts.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6svg6, qt6-qpa-plugins, libqt6webenginecore6-bin")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "dbus-user-session")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "pkexec")

include(CPack)
