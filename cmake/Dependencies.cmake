# Third-party libraries, all from the system; their headers count as system headers.

find_package(PkgConfig REQUIRED)
pkg_check_modules(CZMQ REQUIRED IMPORTED_TARGET libczmq>=4.2 libzmq>=4.3)

find_path(RAPIDJSON_INCLUDE_DIR rapidjson/document.h REQUIRED)
add_library(rapidjson INTERFACE)
target_include_directories(rapidjson SYSTEM INTERFACE "${RAPIDJSON_INCLUDE_DIR}")

if(LOUDCALC_BUILD_TOOLS)
  find_package(CLI11 REQUIRED)
  find_package(fmt REQUIRED)
  find_package(utf8cpp REQUIRED)
  pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
  set(CURSES_NEED_WIDE TRUE)
  find_package(Curses REQUIRED)
endif()
if(LOUDCALC_BUILD_TESTS)
  find_package(GTest REQUIRED)
  find_package(nlohmann_json REQUIRED)
endif()
if(LOUDCALC_BUILD_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
