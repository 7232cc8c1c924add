# expat, which the library itself links. On a cross build Debian has no package of it for the target,
# so the source that scripts/setup fetched is built along.
set(MOLTELIB_EXPAT_SOURCE "" CACHE PATH "expat's source, for a target that has no expat of its own")
find_package(EXPAT QUIET)
if(NOT EXPAT_FOUND AND WIN32)
  set(cache "$ENV{XDG_CACHE_HOME}")
  if(NOT cache)
    set(cache "$ENV{HOME}/.cache")
  endif()
  set(source "${MOLTELIB_EXPAT_SOURCE}")
  if(NOT source)
    set(source "${cache}/moltelib/expat")
  endif()
  set(source "${source}/expat/lib")
  if(NOT EXISTS ${source}/xmlparse.c)
    message(FATAL_ERROR "no expat: run scripts/setup windows, or set MOLTELIB_EXPAT_SOURCE")
  endif()
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/expat/expat_config.h CONTENT
"#define BYTEORDER 1234
#define XML_CONTEXT_BYTES 1024
#define XML_DTD 1
#define XML_NS 1
")
  add_library(expat STATIC ${source}/xmlparse.c ${source}/xmlrole.c ${source}/xmltok.c)
  target_include_directories(expat SYSTEM PUBLIC ${source} PRIVATE ${PROJECT_BINARY_DIR}/expat)
  target_compile_definitions(expat PUBLIC XML_STATIC)
  target_compile_options(expat PRIVATE -w)
  add_library(EXPAT::EXPAT ALIAS expat)
else()
  find_package(EXPAT REQUIRED)
endif()

find_package(Threads REQUIRED)

# What the tests need from outside. On a cross build Debian has no GoogleTest for the target, so
# its packaged source is built along.
if(MOLTELIB_TESTS)
  if(CMAKE_CROSSCOMPILING AND EXISTS /usr/src/googletest/CMakeLists.txt)
    set(BUILD_GMOCK OFF)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    target_compile_options(gtest PRIVATE -w)
    if(NOT TARGET GTest::gtest)
      add_library(GTest::gtest ALIAS gtest)
    endif()
  else()
    find_package(GTest REQUIRED)
  endif()
  include(GoogleTest)
endif()
