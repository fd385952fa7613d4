# Compiles with Microsoft's binary interface: clang and lld, with the headers and the C runtime that Wine has.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_C_COMPILER_TARGET x86_64-pc-windows-msvc19.34)
# For projects that ask for one: there is no C++ library for it.
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET x86_64-pc-windows-msvc19.34)
set(CMAKE_LINKER lld-link-14)
set(CMAKE_AR llvm-ar-14)
set(CMAKE_RC_COMPILER llvm-rc-14)
set(CMAKE_MT llvm-mt-14)
# There is nothing that a test program could be linked with.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_C_FLAGS_INIT "-isystem /usr/include/wine/wine/msvcrt -isystem /usr/include/wine/wine/windows")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld-link-14 -nostdlib -Wl,/nodefaultlib,/entry:mainCRTStartup")
set(CMAKE_C_STANDARD_LIBRARIES "" CACHE STRING "")
set(_wine /usr/lib/x86_64-linux-gnu/wine/x86_64-windows)
set(C_RUNTIME ${_wine}/libucrtbase.a ${_wine}/libkernel32.a)
