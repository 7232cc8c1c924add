include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/moltelib)

install(TARGETS moltelib EXPORT moltelib-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT moltelib-targets NAMESPACE moltelib:: DESTINATION ${package_folder})
# What the users of a static library link besides; on Windows expat is in it.
set(find_dependencies "")
set(static_lines "")
set(static_flag "")
if(MOLTELIB_STATIC)
  set(static_flag " -DMOLTE_STATIC")
  get_target_property(libraries moltelib_platform INTERFACE_LINK_LIBRARIES)
  list(TRANSFORM libraries PREPEND -l)
  list(TRANSFORM libraries REPLACE -lThreads::Threads -pthread)
  list(JOIN libraries " " libraries)
  set(static_lines "Libs.private: ${libraries} -lstdc++\n")
  if(NOT TARGET expat)
    string(APPEND static_lines "Requires.private: expat\n")
    set(find_dependencies "include(CMakeFindDependencyMacro)
find_dependency(EXPAT)
find_dependency(Threads)
")
  endif()
endif()
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
if(MOLTELIB_TOOLS)
  install(TARGETS molte RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(TARGETS oxrunat RUNTIME DESTINATION ${skeleton}/BIN)
endif()
install(PROGRAMS ${PROJECT_SOURCE_DIR}/scripts/moltelib-installation
  DESTINATION ${CMAKE_INSTALL_BINDIR})
