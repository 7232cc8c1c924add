include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/moltelib)

install(TARGETS moltelib EXPORT moltelib-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT moltelib-targets NAMESPACE moltelib:: DESTINATION ${package_folder})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/moltelib-config.cmake.in
  ${CMAKE_BINARY_DIR}/moltelib-config.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/moltelib-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/moltelib-config.cmake
  ${CMAKE_BINARY_DIR}/moltelib-config-version.cmake DESTINATION ${package_folder})
# Counted from where the file stands, so that an installed tree may be moved.
file(RELATIVE_PATH path_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/moltelib.pc.in ${CMAKE_BINARY_DIR}/moltelib.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/moltelib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The texts. Each language is also what its other countries get, in its folder "default".
install(DIRECTORY ${PROJECT_SOURCE_DIR}/resource DESTINATION ${CMAKE_INSTALL_DATADIR}/moltelib)
foreach(language zh/cn en/us es/es2)
  string(REGEX REPLACE "/.*" "" folder ${language})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/resource/${language}/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/moltelib/resource/${folder}/default)
endforeach()
