# Builds for Linux with a younger compiler and another standard library than elsewhere: what they refuse, and includes
# that the sources only have by chance, show here. Dependencies from the prefix that tools/setup --clang made.

set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++ -D_LIBCPP_REMOVE_TRANSITIVE_INCLUDES -D_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_DEBUG")
list(PREPEND CMAKE_PREFIX_PATH "$ENV{VEXIL_CLANG_DEPS}")
