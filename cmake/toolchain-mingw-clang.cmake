# The same Windows programs, compiled by clang with the headers and libraries of mingw-w64's GCC.

include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw-w64.cmake)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=
  OUTPUT_VARIABLE _gcc OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

# A younger one declares what these headers declare otherwise.
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
# CMake understands what GNU's prints.
find_program(CMAKE_OBJDUMP x86_64-w64-mingw32-objdump REQUIRED)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
# Thread-local variables of the standard library are GCC's.
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls -nostdinc++ -Wno-unused-command-line-argument")
foreach(folder IN ITEMS . x86_64-w64-mingw32 backward)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${_gcc}include/c++/${folder}")
endforeach()
foreach(kind IN ITEMS EXE SHARED MODULE)
  string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -pthread -L${_gcc}")
endforeach()
