# molte_options(TARGET): what every target of ours is compiled with.
if(MOLTELIB_SANITIZE)
  # The library has no type information, which the check of virtual calls would need.
  add_compile_options(-fsanitize=${MOLTELIB_SANITIZE} -fno-sanitize=vptr
                      -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${MOLTELIB_SANITIZE})
endif()
if(MOLTELIB_COVERAGE)
  add_link_options(--coverage)
endif()
if(MINGW)
  # The run-time travels inside the binaries, so that a DLL alone is enough.
  add_link_options(-static -static-libgcc -static-libstdc++)
  # No time of linking in what is linked.
  add_link_options(-Wl,--no-insert-timestamp)
  add_compile_definitions(_WIN32_WINNT=0x0601 WINVER=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN)
else()
  add_link_options(-Wl,-z,relro,-z,now)
endif()

function(molte_options target)
  # GCC 12 reports overlapping copies inside std::string that are none.
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
endfunction()

# molte_same_bytes(TARGET): every folder gives what is built the same bytes. Paths in it count from the
# tree; a debugger finds the sources when it is started there. ccache hands the compiler relative ones.
function(molte_same_bytes target)
  file(RELATIVE_PATH up ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  string(REGEX REPLACE "/$" "" up "${up}")
  foreach(folder ${up} ${PROJECT_SOURCE_DIR} ${CMAKE_BINARY_DIR})
    target_compile_options(${target} PRIVATE -ffile-prefix-map=${folder}=.)
  endforeach()
endfunction()

# molte_library_options(TARGET): as well, for what goes into the library itself.
function(molte_library_options target)
  molte_options(${target})
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>
    -fstack-protector-strong)
  if(NOT MOLTELIB_SANITIZE) # they check more, by the calls' plain names
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  endif()
  if(MOLTELIB_COVERAGE)
    # The calls stay those that the test programs stand in for: see tests/support/coverage_at_exit.cpp.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=prefer-atomic
                           -fno-builtin-execve)
    return()
  endif()
  molte_same_bytes(${target})
endfunction()
