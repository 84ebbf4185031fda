# Writes the unit file while it is installed, since only then is the prefix known for sure. `unit` is its
# template, `bindir` where the service lies, below the prefix unless it is absolute.

cmake_path(ABSOLUTE_PATH bindir BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
set(unit_dir "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/systemd/system")
message(STATUS "Installing: ${unit_dir}/loudcalc@.service")
configure_file("${unit}" "${unit_dir}/loudcalc@.service" @ONLY)
