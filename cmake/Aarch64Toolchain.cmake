# Cross build for the unit's board: Debian's compiler, Debian's libraries for arm64 in a root of their own, and
# QEMU to run what was built. `Packaging/install-missing.sh aarch64` provides all three.

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
