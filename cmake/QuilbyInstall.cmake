# What `cmake --install` puts where, in four components (one Debian package each, see
# QuilbyPackaging.cmake):
#
#   plugin     libquilby.so in its exports directory, lib/quilby/exports/
#   simulator  the simulated device libraries beside it (the real ones replace them in the field)
#   host       bin/quilby-host, its web console (share/quilby/console/), man page and docs
#   headers    include/quilby/, a pkg-config file and a CMake package (quilby::headers)
#
# quilby-host finds the plug-in and the console relative to its own executable, so the
# installed tree can be moved as a whole (host/install_layout.h). QUILBY_INSTALL_EXPORTSDIR and
# QUILBY_INSTALL_CONSOLEDIR are set in the top-level CMakeLists.txt, where the host reads them.

include(CMakePackageConfigHelpers)

set(QUILBY_INSTALL_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/quilby-host)
# Arch-independent: the package carries headers only (hosts load the plug-in at run time).
set(QUILBY_INSTALL_CMAKEDIR ${CMAKE_INSTALL_DATADIR}/cmake/quilby)
set(QUILBY_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_DATADIR}/pkgconfig)

install(TARGETS quilby LIBRARY DESTINATION ${QUILBY_INSTALL_EXPORTSDIR} COMPONENT plugin)

install(TARGETS quilby_sim
  quilby_sim_measurementdevice quilby_sim_emc quilby_sim_mSensor quilby_sim_halvex
  quilby_sim_mdcorrector quilby_sim_mirelto2
  LIBRARY DESTINATION ${QUILBY_INSTALL_EXPORTSDIR} COMPONENT simulator)

install(TARGETS quilby-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT host)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/web/ DESTINATION ${QUILBY_INSTALL_CONSOLEDIR}
  COMPONENT host)
configure_file(${PROJECT_SOURCE_DIR}/docs/quilby-host.1.in ${PROJECT_BINARY_DIR}/quilby-host.1
  @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quilby-host.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
  COMPONENT host)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${QUILBY_INSTALL_DOCDIR} COMPONENT host)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${QUILBY_INSTALL_DOCDIR}
  COMPONENT host FILES_MATCHING PATTERN "*.md")

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/quilby DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT headers)
install(TARGETS quilby_headers EXPORT quilbyTargets COMPONENT headers)
install(EXPORT quilbyTargets NAMESPACE quilby:: DESTINATION ${QUILBY_INSTALL_CMAKEDIR}
  COMPONENT headers)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quilbyConfig.cmake.in
  ${PROJECT_BINARY_DIR}/quilbyConfig.cmake
  INSTALL_DESTINATION ${QUILBY_INSTALL_CMAKEDIR}
  PATH_VARS QUILBY_INSTALL_EXPORTSDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quilbyConfigVersion.cmake
  COMPATIBILITY SameMinorVersion ARCH_INDEPENDENT)
install(FILES ${PROJECT_BINARY_DIR}/quilbyConfig.cmake ${PROJECT_BINARY_DIR}/quilbyConfigVersion.cmake
  DESTINATION ${QUILBY_INSTALL_CMAKEDIR} COMPONENT headers)
file(RELATIVE_PATH QUILBY_PKGCONFIG_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${QUILBY_INSTALL_PKGCONFIGDIR}
  ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/quilby.pc.in ${PROJECT_BINARY_DIR}/quilby.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quilby.pc DESTINATION ${QUILBY_INSTALL_PKGCONFIGDIR}
  COMPONENT headers)
