# Packages for Debian by component, and what else the archive for Windows holds: scripts/package makes
# them. Dates in them are SOURCE_DATE_EPOCH, so that what was built alike is packed alike.
option(MOLTELIB_PACKAGES "Prepare packages" OFF)
set(MOLTELIB_REFERENCE "" CACHE PATH "What scripts/docs has built, for the package of the reference")
set(MOLTELIB_MAINTAINER "The owner of moltelib <moltelib@moltelib.example>" CACHE STRING
    "Who answers for the packages: name and address")
if(NOT MOLTELIB_PACKAGES)
  return()
endif()
set(soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

# Of others' code in what is packed the licences come along, as their packages tell them.
set(copyright ${PROJECT_SOURCE_DIR}/packaging/copyright)
function(write_copyright file) # [TITLE PATH] ...
  file(READ ${copyright} text)
  while(ARGN)
    list(POP_FRONT ARGN title path)
    file(READ ${path} theirs)
    string(APPEND text "\n\n==== ${title}, parts of which are in it ====\n\n${theirs}")
  endwhile()
  file(WRITE ${file} "${text}")
endfunction()
set(of_molte "")
if(TARGET molte)
  set(of_molte CLI11 /usr/share/doc/libcli11-dev/copyright
      "JSON for Modern C++" /usr/share/doc/nlohmann-json3-dev/copyright)
endif()

if(WIN32)
  set(notes ${PROJECT_BINARY_DIR}/package/copyright.txt)
  get_target_property(expat_includes expat INTERFACE_INCLUDE_DIRECTORIES)
  write_copyright(${notes} Expat ${expat_includes}/../../COPYING
                  "The run-time of MinGW-w64" /usr/share/doc/mingw-w64-x86-64-dev/copyright ${of_molte})
  install(FILES ${notes} ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    ${PROJECT_SOURCE_DIR}/SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  file(WRITE ${PROJECT_BINARY_DIR}/package/name moltelib-${PROJECT_VERSION}-windows-x64)
  return()
endif()

set(CPACK_PACKAGE_NAME moltelib)
set(CPACK_PACKAGE_VENDOR moltelib)
set(CPACK_PACKAGE_CONTACT "${MOLTELIB_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/source)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has its own
set(CPACK_COMPONENTS_ALL library development tools)

# debian_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION [TITLE COPYRIGHT] ...)
macro(debian_package component name section summary description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${description}")
  set(folder ${PROJECT_BINARY_DIR}/package/${component})
  write_copyright(${folder}/copyright ${ARGN})
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE ${folder}/changelog "moltelib (${PROJECT_VERSION}) unstable; urgency=medium

  * What changed: CHANGELOG.md of the sources.

 -- ${MOLTELIB_MAINTAINER}  ${date}
")
  execute_process(COMMAND gzip -9nf ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${folder}/copyright ${folder}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component})
endmacro()

debian_package(library libmoltelib${soversion} libs "base library of an identification system"
"Errors that can be read back, printed, logged and sent; configuration; text,
Chinese included; files, threads and locks; dates; and the byte-exact records
that programs store and send.
.
This package holds the shared library.")
file(WRITE ${PROJECT_BINARY_DIR}/package/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/package/triggers)

debian_package(development libmoltelib-dev libdevel
"base library of an identification system, for building programs"
"Headers, and what CMake and pkg-config want to know, to build programs that use
moltelib.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)

debian_package(tools moltelib-tools utils
"base library of an identification system, for those who run it"
"Makes installations, the folders in which programs of moltelib find their
parameters and texts, brings them up to date, and works on what lies in them."
${of_molte})
set(CPACK_COMPONENT_TOOLS_DEPENDS library)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/moltelib-installation.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
install(CODE "file(GLOB pages \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/*.1\")
  execute_process(COMMAND gzip -9nf \${pages} COMMAND_ERROR_IS_FATAL ANY)" COMPONENT tools)
if(TARGET molte) # the system finds the library
  set_target_properties(molte PROPERTIES INSTALL_RPATH "")
endif()

if(MOLTELIB_REFERENCE)
  list(APPEND CPACK_COMPONENTS_ALL reference)
  debian_package(reference moltelib-doc doc "base library of an identification system, its reference"
"The contract of every function and record of moltelib, and guides: a site to
read in a browser, and man pages of section 3."
    Furo /usr/share/doc/furo/copyright Sphinx /usr/share/doc/sphinx-common/copyright)
  set(CPACK_DEBIAN_REFERENCE_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_REFERENCE_PACKAGE_SHLIBDEPS OFF)
  install(DIRECTORY ${MOLTELIB_REFERENCE}/html DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/moltelib-doc
    COMPONENT reference)
  install(DIRECTORY ${MOLTELIB_REFERENCE}/man/man3 DESTINATION ${CMAKE_INSTALL_MANDIR}
    COMPONENT reference)
endif()
include(CPack)
