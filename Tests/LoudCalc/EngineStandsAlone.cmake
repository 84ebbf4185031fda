# Asks the compiler what each engine source includes and fails when that is anything of ZeroMQ, of
# JSON or of another component.
#
#   cmake -DCOMPILER=c++ -DPROJECT_ROOT=dir -DINCLUDE_DIRS=dir,... -DSOURCES=file,...
#         -P EngineStandsAlone.cmake
#
# The include directories are those of every component, so that a forbidden header is found and
# named.

cmake_minimum_required(VERSION 3.25)

set(ENGINE_HEADERS
  Bin.h Circbuf.h DispatcherHook.h LoudCalcBase.h LoudConfigUser.h LoudInteg.h LoudnessData.h
  LuEnumerations.h RawLoudnessData.h)
set(FORBIDDEN_LIBRARIES "(czmq|zmq|zsock|rapidjson)")

string(REPLACE "," ";" INCLUDE_DIRS "${INCLUDE_DIRS}")
string(REPLACE "," ";" SOURCES "${SOURCES}")
list(TRANSFORM INCLUDE_DIRS PREPEND "-I")
if(NOT SOURCES)
  message(FATAL_ERROR "no engine sources to look at")
endif()

# The headers of one source file, system headers included, as a list.
function(headers_of source out)
  execute_process(COMMAND "${COMPILER}" -std=c++17 -M ${INCLUDE_DIRS} "${source}"
                  OUTPUT_VARIABLE rule RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${source} does not compile")
  endif()
  string(REGEX REPLACE "^[^:]*:" "" rule "${rule}")
  string(REGEX REPLACE "[ \\\n]+" ";" files "${rule}")
  list(REMOVE_ITEM files "" "${source}")
  set(${out} "${files}" PARENT_SCOPE)
endfunction()

set(violations "")
foreach(source IN LISTS SOURCES)
  headers_of("${source}" headers)
  foreach(header IN LISTS headers)
    get_filename_component(name "${header}" NAME)
    string(FIND "${header}" "${PROJECT_ROOT}/" position)
    if(header MATCHES "/${FORBIDDEN_LIBRARIES}" OR
       (position EQUAL 0 AND NOT name IN_LIST ENGINE_HEADERS))
      string(APPEND violations "\n  ${source} includes ${name}")
    endif()
  endforeach()
endforeach()
if(violations)
  message(FATAL_ERROR "the engine does not stand alone:${violations}")
endif()
