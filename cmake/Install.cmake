include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/moltelib)

install(TARGETS moltelib EXPORT moltelib-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT moltelib-targets NAMESPACE moltelib:: DESTINATION ${package_folder})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/moltelib-config.cmake.in
  ${PROJECT_BINARY_DIR}/moltelib-config.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/moltelib-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/moltelib-config.cmake
  ${PROJECT_BINARY_DIR}/moltelib-config-version.cmake DESTINATION ${package_folder})
# Counted from where the file stands, so that an installed tree may be moved.
file(RELATIVE_PATH path_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/moltelib.pc.in ${PROJECT_BINARY_DIR}/moltelib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/moltelib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The skeleton of an installation, and the script that makes one of it.
set(skeleton ${CMAKE_INSTALL_DATADIR}/moltelib/installation)
install(CODE "set(DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${skeleton}\")")
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/installation.cmake)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/scripts/moltelib-installation
  DESTINATION ${CMAKE_INSTALL_BINDIR})
