#!/usr/bin/env bash
# Builds the libraries that pass strings, for clang's standard library.
#
#   build-clang.sh SOURCES BUILD PREFIX
#
# SOURCES holds the archives named in sources.txt, BUILD is an empty scratch folder, PREFIX receives include and lib.
# Called by tools/setup.
set -euo pipefail

sources=$1
build=$2
prefix=$3
toolchain=$(cd "$(dirname "$0")" && pwd)/../../cmake/toolchain-clang.cmake

# build NAME [CMAKE_OPTION...]
build() {
    local name=$1
    shift
    mkdir -p "$build/$name"
    if [[ -d /usr/src/$name ]]; then
        cp -r "/usr/src/$name/." "$build/$name"
    else
        tar -xf "$(echo "$sources/$name"_*)" -C "$build/$name" --strip-components=1
    fi
    # Not optimised: they only have to be there.
    cmake -S "$build/$name" -B "$build/$name-build" -G Ninja -Wno-dev \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_CXX_STANDARD=17 -DBUILD_SHARED_LIBS=ON -DBUILD_TESTING=OFF \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib "$@"
    cmake --build "$build/$name-build"
    cmake --install "$build/$name-build"
}

build googletest
build fmtlib -DFMT_DOC=OFF -DFMT_TEST=OFF
build log4cxx -DENABLE_FMT_LAYOUT=OFF -DBUILD_EXAMPLES=OFF -DLOG4CXX_WITH_PKG_CONFIG=OFF
