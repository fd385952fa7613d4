# Builds Windows programs on Linux: mingw-w64 with POSIX threads (std::mutex and
# std::thread need them), dependencies from the prefix that tools/setup made, and
# Wine to run what was built.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# A build that was not started through the project's scripts (an IDE, a bare
# "cmake --preset") finds the same prefix as one that was.
if(NOT DEFINED ENV{VEXIL_DEPS})
  execute_process(
    COMMAND bash -c ". \"$0\" && printf %s \"$VEXIL_DEPS\"" "${CMAKE_CURRENT_LIST_DIR}/../tools/environment.sh"
    OUTPUT_VARIABLE _vexil_deps
    COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{VEXIL_DEPS} "${_vexil_deps}")
  unset(_vexil_deps)
endif()

# CMAKE_PREFIX_PATH is searched as a root of its own, so that a consumer of an
# installed package can name the folder in the usual way.
set(CMAKE_FIND_ROOT_PATH "$ENV{VEXIL_DEPS}" ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

get_filename_component(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../tools/wine" ABSOLUTE)
