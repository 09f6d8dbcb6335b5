# Installed form: libraries, headers under include/gnss, find_package(GNSS) and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS gnss_platform gnss_gnss EXPORT GNSSTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/gnss DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(EXPORT GNSSTargets NAMESPACE GNSS:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/GNSS)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/GNSSConfig.cmake.in ${PROJECT_BINARY_DIR}/GNSSConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/GNSS)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/GNSSConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/GNSSConfig.cmake ${PROJECT_BINARY_DIR}/GNSSConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/GNSS)
configure_file(${PROJECT_SOURCE_DIR}/cmake/gnss.pc.in ${PROJECT_BINARY_DIR}/gnss.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/gnss.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
