# The library built once more with clang and a sanitizer, for the projects
# that instrument it (fuzz/ and tests/threads/); the GCC builds of the main
# project are not touched.
#
#   zeqj_add_sanitized_library(<-fsanitize list> [EXAMPLES])
#
# compiles the library (and, with EXAMPLES, the example codecs) with
# -fsanitize=<list> (any report is fatal), no tests and no benchmarks. The sanitizer runtime lives
# in the executables, so the shared libraries are linked leaving its symbols
# undefined until they are loaded.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "This build needs clang: configure with -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++")
endif()
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

set(ZEQJ_SOURCE_DIR ${CMAKE_CURRENT_LIST_DIR}/..)

macro(zeqj_add_sanitized_library sanitizers)
  cmake_parse_arguments(ZEQJ_SANITIZED "EXAMPLES" "" "" ${ARGN})
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  string(REPLACE "fuzzer-no-link," "" ZEQJ_LINK_SANITIZERS "${sanitizers}")
  add_link_options(-fsanitize=${ZEQJ_LINK_SANITIZERS} -fno-sanitize-recover=all)
  set(ZEQJ_BUILD_TESTS OFF)
  set(ZEQJ_BUILD_BENCH OFF)
  set(ZEQJ_BUILD_EXAMPLES ${ZEQJ_SANITIZED_EXAMPLES})
  add_subdirectory(${ZEQJ_SOURCE_DIR} zeqj EXCLUDE_FROM_ALL)
  foreach(shared zeqcore zeqj)
    get_target_property(options ${shared} LINK_OPTIONS)
    list(REMOVE_ITEM options -Wl,--no-undefined)
    set_target_properties(${shared} PROPERTIES LINK_OPTIONS "${options}")
  endforeach()
endmacro()
