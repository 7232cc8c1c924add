# What is installed, by component: library, development, tools, reference.
include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/moltelib)

install(TARGETS moltelib EXPORT moltelib-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
install(EXPORT moltelib-targets NAMESPACE moltelib:: DESTINATION ${package_folder}
  COMPONENT development)
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
  ${PROJECT_BINARY_DIR}/moltelib-config-version.cmake DESTINATION ${package_folder}
  COMPONENT development)
# Counted from where the file stands, so that an installed tree may be moved.
file(RELATIVE_PATH path_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/moltelib.pc.in ${PROJECT_BINARY_DIR}/moltelib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/moltelib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

if(WIN32 AND NOT MOLTELIB_STATIC)
  # The import library of other linkers, and the list that it is made from.
  set(definitions ${PROJECT_BINARY_DIR}/moltelib.def)
  set(import_library ${PROJECT_BINARY_DIR}/moltelib.lib)
  find_program(DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
  target_link_options(moltelib PRIVATE -Wl,--output-def,${definitions})
  install(FILES ${definitions} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  if(DLLTOOL)
    add_custom_command(OUTPUT ${import_library} DEPENDS moltelib
      COMMAND ${DLLTOOL} -m i386:x86-64 -D $<TARGET_FILE_NAME:moltelib> -d ${definitions}
              -l ${import_library})
    add_custom_target(moltelib_import_library ALL DEPENDS ${import_library})
    install(FILES ${import_library} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  endif()
endif()

# The skeleton of an installation, and the script that makes one of it.
set(skeleton ${CMAKE_INSTALL_DATADIR}/moltelib/installation)
install(CODE "set(DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${skeleton}\")" COMPONENT tools)
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/installation.cmake COMPONENT tools)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/scripts/moltelib-installation
  DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
if(MOLTELIB_TOOLS)
  foreach(tool oxrunat molte)
    if(TARGET ${tool})
      molte_same_bytes(${tool})
    endif()
  endforeach()
  if(TARGET molte)
    install(TARGETS molte RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  endif()
  if(WIN32)
    install(TARGETS oxrunat RUNTIME DESTINATION ${skeleton}/BIN COMPONENT tools)
  else()
    # A program is no data: the skeleton has a link to it, which an installation doesn't keep.
    set(programs ${CMAKE_INSTALL_LIBEXECDIR}/moltelib)
    install(TARGETS oxrunat RUNTIME DESTINATION ${programs} COMPONENT tools)
    file(RELATIVE_PATH link /${skeleton}/BIN /${programs}/oxrunat.exe)
    install(CODE "file(CREATE_LINK ${link}
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${skeleton}/BIN/oxrunat.exe\" SYMBOLIC)"
      COMPONENT tools)
  endif()
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(Package)
endif()
