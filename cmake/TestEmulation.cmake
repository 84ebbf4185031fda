# How tests start programs, how long they wait, and in which order they run, on this machine or in an emulator of
# another one.

set(LOUDCALC_TEST_SLOWNESS 1 CACHE STRING
    "How many times longer than on a desk anything may take in a test, a whole number")

# loudcalc_define_emulation(): defines the macros of Tests/Support/Emulation.h for the calling
# folder and those below it.
macro(loudcalc_define_emulation)
  add_compile_definitions(LOUDCALC_TEST_SLOWNESS=${LOUDCALC_TEST_SLOWNESS})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    add_compile_definitions(LOUDCALC_TEST_EMULATED)
  endif()
endmacro()

# loudcalc_timeout(VARIABLE SECONDS): the CTest timeout for a test that may take SECONDS on a desk.
function(loudcalc_timeout variable seconds)
  math(EXPR seconds "${seconds} * ${LOUDCALC_TEST_SLOWNESS}")
  set(${variable} ${seconds} PARENT_SCOPE)
endfunction()

# loudcalc_program_path(VARIABLE PROGRAM): the path that starts the target PROGRAM in a test. In a
# cross build this is a script that runs the program in the emulator, so tests need not know about
# either.
function(loudcalc_program_path variable program)
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    set(${variable} "$<TARGET_FILE:${program}>" PARENT_SCOPE)
    return()
  endif()
  set(launcher "${CMAKE_BINARY_DIR}/emulated/${program}")
  set(${variable} "${launcher}" PARENT_SCOPE)
  get_property(has_launcher TARGET ${program} PROPERTY LOUDCALC_HAS_LAUNCHER)
  if(has_launcher)
    return()
  endif()
  set_property(TARGET ${program} PROPERTY LOUDCALC_HAS_LAUNCHER ON)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
  file(GENERATE OUTPUT "${launcher}"
    CONTENT "#!/bin/sh\nexec '${emulator}' -0 \"$0\" '$<TARGET_FILE:${program}>' \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  # The program sees the path of the script as its own name, and so can restart itself.
  set_target_properties(${program} PROPERTIES
    CROSSCOMPILING_EMULATOR "${CMAKE_CROSSCOMPILING_EMULATOR};-0;${launcher}")
endfunction()

# loudcalc_define_program(TARGET SCOPE MACRO PROGRAM): defines MACRO in the code of TARGET as the
# path that starts PROGRAM.
function(loudcalc_define_program target scope macro program)
  loudcalc_program_path(path ${program})
  target_compile_definitions(${target} ${scope} "${macro}=\"${path}\"")
  add_dependencies(${target} ${program})
endfunction()

# CTest starts tests of a higher cost earlier. Those that take longer than five seconds come first:
# started late, they would run alone at the end.
set(LOUDCALC_COST_OF_LONG_TESTS 100)
