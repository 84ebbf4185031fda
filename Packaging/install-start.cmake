# Writes the systemd units, and the script that one of them runs. This happens during installation
# because the prefix is known only then. `templates` is the folder of the templates; `with_gate` is
# true if the gate is installed. `bindir` and `libexecdir` are the folders of the programs and the
# script, below the prefix unless they are absolute.

cmake_path(ABSOLUTE_PATH bindir BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
cmake_path(ABSOLUTE_PATH libexecdir BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
set(unit "${CMAKE_INSTALL_PREFIX}/lib/systemd/system/loudcalc@.service")
set(start "${libexecdir}/loudcalc/start")

message(STATUS "Installing: $ENV{DESTDIR}${unit}")
configure_file("${templates}/loudcalc@.service.in" "$ENV{DESTDIR}${unit}" @ONLY)
message(STATUS "Installing: $ENV{DESTDIR}${start}")
configure_file("${templates}/start.in" "$ENV{DESTDIR}${start}" @ONLY
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
if(with_gate)
  set(unit "${CMAKE_INSTALL_PREFIX}/lib/systemd/system/loudgate.service")
  message(STATUS "Installing: $ENV{DESTDIR}${unit}")
  configure_file("${templates}/loudgate.service.in" "$ENV{DESTDIR}${unit}" @ONLY)
endif()
