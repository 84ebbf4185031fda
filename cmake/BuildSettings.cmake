# Compiler settings for the project's own code, and the functions by which folders declare their
# libraries and tests.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

add_library(loudcalc_build_settings INTERFACE)
target_compile_options(loudcalc_build_settings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow
  # No fused multiply-add: all figures are the same on the board and on a desk.
  -ffp-contract=off
  # Assertion messages contain paths relative to the project, independent of the build machine.
  "-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=")
target_compile_definitions(loudcalc_build_settings INTERFACE _GNU_SOURCE)
if(LOUDCALC_SANITIZERS)
  target_compile_options(loudcalc_build_settings INTERFACE
    -fsanitize=${LOUDCALC_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # The standard library's own checks too: an index beyond an array may still be within the
    # enclosing object, which no sanitizer notices.
    -D_GLIBCXX_ASSERTIONS)
  target_link_options(loudcalc_build_settings INTERFACE -fsanitize=${LOUDCALC_SANITIZERS})
endif()

# Hardens releases: overflows of the stack and of the C library's buffers end the process, code has
# random addresses, and the tables of functions are read-only. Checks of jump targets are left out
# because the unit's processor does not support them.
set(LOUDCALC_IS_HARDENED OFF)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT LOUDCALC_SANITIZERS)
  set(LOUDCALC_IS_HARDENED ON)
  target_compile_options(loudcalc_build_settings INTERFACE
    -fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
    $<$<NOT:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>>:-fPIE>)
  target_link_options(loudcalc_build_settings INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-pie> LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()

# loudcalc_add_library(NAME SOURCES files... [LINK libraries...]): adds a static library. Its
# headers are in the folder Include/ beside the calling CMakeLists.txt or, if there is none,
# directly beside it.
function(loudcalc_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  set(headers "${CMAKE_CURRENT_SOURCE_DIR}/Include")
  if(NOT IS_DIRECTORY "${headers}")
    set(headers "${CMAKE_CURRENT_SOURCE_DIR}")
  endif()
  target_include_directories(${name} PUBLIC "${headers}")
  target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE loudcalc_build_settings)
endfunction()

# loudcalc_embed_text(SYMBOL HEADER FILE TEXT [NAMESPACE]): generates SYMBOL.cpp, which defines the
# text constant SYMBOL with the contents TEXT. HEADER declares it in NAMESPACE (louddesk by
# default). CMake regenerates it when FILE, the source of the text, changes.
function(loudcalc_embed_text symbol header file text)
  set(namespace louddesk ${ARGN})
  list(GET namespace -1 namespace)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
  cmake_path(RELATIVE_PATH file BASE_DIRECTORY "${CMAKE_SOURCE_DIR}")
  configure_file("${CMAKE_SOURCE_DIR}/cmake/EmbeddedText.cpp.in" ${symbol}.cpp @ONLY)
endfunction()
