# `make package`: one Debian package per install component (cmake/QuilbyInstall.cmake), built by
# CPack into <build>/packages/.
#
#   libquilby       the plug-in; needs a set of device libraries (quilby-device-libraries)
#   libquilby-sim   the simulated device libraries; provides quilby-device-libraries
#   quilby-host     the development host, its console, man page and docs
#   libquilby-dev   the C headers, pkg-config file and CMake package
#
# Run-time dependencies on Debian's shared libraries come from dpkg-shlibdeps. The plug-in's
# measurement library is left to the virtual package: in the field the maker's device libraries
# provide it instead of the simulated ones.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libquilby)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The libquilby developers")
set(CPACK_PACKAGE_CONTACT "libquilby developers <libquilby@localhost>")
# Each package's description: this line, then its component's description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "libquilby, a plug-in that drives the colour sensors of monitors")
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Packages carry no debug information and no build paths.
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL plugin simulator host headers)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps finds the device libraries beside the plug-in here and leaves them to the
# virtual package below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${QUILBY_EXPORTS_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)

set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME libquilby)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_DEPENDS quilby-device-libraries)
set(CPACK_COMPONENT_PLUGIN_DESCRIPTION "Colour-sensor plug-in for a host application's web page
libquilby.so, loaded by a host application from its exports directory, drives the
colour-measurement sensors of monitors through the maker's device libraries.")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME libquilby-sim)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_PROVIDES quilby-device-libraries)
set(CPACK_COMPONENT_SIMULATOR_DESCRIPTION "Simulated device libraries for libquilby
A deterministic, configurable device world with fault injection, in place of the maker's
device libraries, for running and testing libquilby without hardware.")

set(CPACK_DEBIAN_HOST_PACKAGE_NAME quilby-host)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS "libquilby (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_HOST_PACKAGE_SUGGESTS libquilby-sim)
set(CPACK_COMPONENT_HOST_DESCRIPTION "Development host for libquilby
Loads libquilby.so as a host application does and serves its routes over HTTP with a web
console, answers request scripts, and measures from the command line.")

set(CPACK_DEBIAN_HEADERS_PACKAGE_NAME libquilby-dev)
set(CPACK_DEBIAN_HEADERS_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_HEADERS_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_HEADERS_DESCRIPTION "C headers of libquilby
The plug-in's exports, the host interface and the device libraries' prototypes, with a
pkg-config file and a CMake package (quilby::headers).")

include(CPack)
