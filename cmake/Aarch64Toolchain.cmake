# Cross build for the unit's board: Debian's cross compiler, Debian's arm64 libraries in a separate
# root, and QEMU to run the programs. `Packaging/install-missing.sh aarch64` installs all three.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

get_filename_component(CMAKE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/aarch64-root" ABSOLUTE)
if(NOT EXISTS "${CMAKE_SYSROOT}")
  message(FATAL_ERROR "There are no libraries for arm64; run Packaging/install-missing.sh aarch64")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
  "${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")

find_program(LOUDCALC_QEMU qemu-aarch64-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR "${LOUDCALC_QEMU}" -L "${CMAKE_SYSROOT}")
