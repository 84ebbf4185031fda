# How tests start programs and how long they wait: on this machine, or in the emulator of another.

set(LOUDCALC_TEST_SLOWNESS 1 CACHE STRING
    "How many times longer than on a desk anything may take in a test, a whole number")

# loudcalc_define_emulation(): what stands behind Tests/Support/Emulation.h, for the calling folder and those below.
macro(loudcalc_define_emulation)
  add_compile_definitions(LOUDCALC_TEST_SLOWNESS=${LOUDCALC_TEST_SLOWNESS})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    add_compile_definitions(LOUDCALC_TEST_EMULATED)
  endif()
endmacro()

# loudcalc_timeout(VARIABLE SECONDS): how long CTest waits for a test that may take SECONDS on a desk.
function(loudcalc_timeout variable seconds)
  math(EXPR seconds "${seconds} * ${LOUDCALC_TEST_SLOWNESS}")
  set(${variable} ${seconds} PARENT_SCOPE)
endfunction()

# loudcalc_program_path(VARIABLE PROGRAM): the path by which a test starts PROGRAM, a target. In a build for another
# machine that is a script that starts it in the emulator and passes for it, so that what starts it needs to know of
# neither.
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
  # By its own name a program then starts itself again as the script does.
  set_target_properties(${program} PROPERTIES
    CROSSCOMPILING_EMULATOR "${CMAKE_CROSSCOMPILING_EMULATOR};-0;${launcher}")
endfunction()

# loudcalc_define_program(TARGET SCOPE MACRO PROGRAM): MACRO is, in the code of TARGET, the path by which a test
# starts PROGRAM.
function(loudcalc_define_program target scope macro program)
  loudcalc_program_path(path ${program})
  target_compile_definitions(${target} ${scope} "${macro}=\"${path}\"")
  add_dependencies(${target} ${program})
endfunction()
