#!/usr/bin/env bash
# Cross-builds the libraries that Vexil needs on Windows into a prefix.
#
#   build.sh SOURCES BUILD PREFIX
#
# SOURCES holds the archives named in sources.txt, BUILD is an empty scratch
# folder, PREFIX receives bin, include, lib, share and licenses. Called by
# tools/setup, which checks the archives and moves the prefix into place.
set -euo pipefail

sources=$1
build=$2
prefix=$3

here=$(cd "$(dirname "$0")" && pwd)
toolchain=$here/../../cmake/toolchain-mingw-w64.cmake
target=x86_64-w64-mingw32
# What only log4cxx.dll is made of; the prefix does not offer it to anybody else.
static=$build/static
documentation=/usr/share/doc

# The libraries find each other in this build's own folders, not in an older prefix.
export VEXIL_DEPS=$prefix

unpack() {
    mkdir -p "$build/$1"
    tar -xf "$(echo "$sources/$1"_*)" -C "$build/$1" --strip-components=1
}

# configure NAME SOURCE_FOLDER [CMAKE_OPTION...]
configure() {
    local name=$1 source=$2
    shift 2
    # Release binaries must not carry the folder that they were built in.
    local flags="-ffile-prefix-map=$build=. -ffile-prefix-map=/usr/src=."
    # Options given by the caller come last and win.
    cmake -S "$source" -B "$build/$name-build" -G Ninja -Wno-dev \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
        -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
        -DCMAKE_CXX_STANDARD=17 \
        -DCMAKE_POLICY_DEFAULT_CMP0048=NEW \
        -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib \
        "$@"
}

compile() { cmake --build "$build/$1-build" --target "${2:-all}"; }

compile_and_install() {
    compile "$1"
    cmake --install "$build/$1-build"
}

build_expat() {
    unpack expat
    configure expat "$build/expat/expat" -DCMAKE_INSTALL_PREFIX="$static" \
        -DEXPAT_SHARED_LIBS=OFF -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF \
        -DEXPAT_BUILD_TESTS=OFF -DEXPAT_BUILD_DOCS=OFF
    compile_and_install expat
}

build_apr() {
    unpack apr
    # The build runs a program of its own to make a table: that one has to be native.
    gcc -DWIN32 -o "$build/gen_test_char" "$build/apr/tools/gen_test_char.c"
    # shellcheck disable=SC2016 # the variable is CMake's
    sed -i 's|^ADD_EXECUTABLE(gen_test_char .*|ADD_EXECUTABLE(gen_test_char IMPORTED)\nSET_TARGET_PROPERTIES(gen_test_char PROPERTIES IMPORTED_LOCATION "${GEN_TEST_CHAR}")|' \
        "$build/apr/CMakeLists.txt"
    # Written for another compiler's headers and predefined macros: the Windows
    # headers have to come first, and the built-in atomics have to be asked for.
    local header headers=
    for header in winsock2.h ws2tcpip.h mswsock.h iphlpapi.h; do headers+=" -include $header"; done
    configure apr "$build/apr" -DGEN_TEST_CHAR="$build/gen_test_char" -DMIN_WINDOWS_VER=Windows7 \
        -DCMAKE_C_FLAGS="-w -ffile-prefix-map=$build=. -DFD_SETSIZE=1024 -DHAVE_ATOMIC_BUILTINS=1 -DHAVE_ATOMIC_BUILTINS64=1$headers"
    compile apr apr-1
    cp "$build/apr-build/libapr-1.a" "$static/lib/"
    cp "$build/apr/include/"*.h "$build/apr-build/apr.h" "$static/include/"
}

build_apr_util() {
    unpack apr-util
    configure apr-util "$build/apr-util" \
        -DCMAKE_FIND_ROOT_PATH="$static" -DCMAKE_PREFIX_PATH="$static" \
        -DAPR_INCLUDE_DIR="$static/include" -DAPR_LIBRARIES="$static/lib/libapr-1.a" \
        -DCMAKE_DISABLE_FIND_PACKAGE_OpenSSL=ON -DAPU_HAVE_ODBC=OFF -DAPR_HAS_LDAP=OFF \
        -DCMAKE_C_FLAGS="-w -ffile-prefix-map=$build=. -include winsock2.h -include ws2tcpip.h"
    compile apr-util aprutil-1
    cp "$build/apr-util-build/libaprutil-1.a" "$static/lib/"
    cp "$build/apr-util/include/"*.h "$build/apr-util-build/"{apu.h,apu_want.h} "$static/include/"
}

# One DLL, because a program that configures logging and a library that logs have
# to share the logging runtime; named as other Windows compilers name it.
build_log4cxx() {
    unpack log4cxx
    sed -i 's|<Heapapi.h>|<heapapi.h>|' "$build/log4cxx/src/main/cpp/nteventlogappender.cpp"
    configure log4cxx "$build/log4cxx" -DBUILD_SHARED_LIBS=ON \
        -DCMAKE_PREFIX_PATH="$static" \
        -DAPR_STATIC=ON -DAPR_CONFIG_EXECUTABLE=none \
        -DAPU_STATIC=ON -DAPR_UTIL_CONFIG_EXECUTABLE=none \
        -DAPR_LIBRARIES:STRING="$static/lib/libapr-1.a;iphlpapi" \
        -DCMAKE_SHARED_LIBRARY_PREFIX_CXX= -DCMAKE_SHARED_LIBRARY_PREFIX= \
        -DCMAKE_SHARED_LINKER_FLAGS="-s -Wl,--exclude-libs,ALL -Wl,--no-insert-timestamp" \
        -DLOG4CXX_CHAR=utf-8 -DENABLE_FMT_LAYOUT=OFF -DBUILD_EXAMPLES=OFF -DLOG4CXX_WITH_PKG_CONFIG=OFF
    compile_and_install log4cxx
}

build_fmt() {
    unpack fmtlib
    configure fmtlib "$build/fmtlib" -DFMT_DOC=OFF -DFMT_TEST=OFF
    compile_and_install fmtlib
}

build_googletest() {
    configure googletest /usr/src/googletest
    compile_and_install googletest
}

build_benchmark() {
    unpack benchmark
    configure benchmark "$build/benchmark" \
        -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_INSTALL_DOCS=OFF \
        -DHAVE_STD_REGEX=ON -DHAVE_STEADY_CLOCK=ON
    compile_and_install benchmark
}

# The header folders are copied one by one: the compiler must never see
# /usr/include as a whole.
copy_header_libraries() {
    mkdir -p "$prefix"/{include,lib,share/cmake}
    cp -r /usr/include/{flatbuffers,CL,CLI,nlohmann,vulkan,vk_video,level_zero} "$prefix/include/"
    cp -r /usr/share/cmake/{CLI11,nlohmann_json} "$prefix/share/cmake/"
}

# Every program needs these beside it, because strings and exceptions cross from
# one DLL to the next and have to mean the same on both sides.
copy_compiler_runtime() {
    local name file
    mkdir -p "$prefix/bin"
    for name in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
        file=$("$target-g++-posix" -print-file-name="$name")
        [[ $file == /* ]] || file=/usr/$target/lib/$name
        "$target-strip" -o "$prefix/bin/$name" "$file"
    done
}

# The texts that have to accompany the DLLs and what is compiled into them.
copy_licenses() {
    local licenses=$prefix/licenses
    mkdir -p "$licenses"
    cat "$build/log4cxx/"{LICENSE,NOTICE} >"$licenses/log4cxx.txt"
    cat "$build/apr/"{LICENSE,NOTICE} >"$licenses/apr.txt"
    cat "$build/apr-util/"{LICENSE,NOTICE} >"$licenses/apr-util.txt"
    cp "$build/expat/expat/COPYING" "$licenses/expat.txt"
    cp "$build/fmtlib/LICENSE.rst" "$licenses/fmt.txt"
    cat "$documentation/libflatbuffers-dev/copyright" /usr/share/common-licenses/Apache-2.0 >"$licenses/flatbuffers.txt"
    cat "$documentation/opencl-c-headers/copyright" /usr/share/common-licenses/Apache-2.0 >"$licenses/opencl-headers.txt"
    cat "$documentation/libvulkan-dev/copyright" /usr/share/common-licenses/Apache-2.0 >"$licenses/vulkan-headers.txt"
    cp "$documentation/libze-dev/copyright" "$licenses/level-zero-headers.txt"
    cp "$documentation/libcli11-dev/copyright" "$licenses/cli11.txt"
    cp "$documentation/nlohmann-json3-dev/copyright" "$licenses/nlohmann-json.txt"
    cat "$documentation/gcc-mingw-w64-x86-64-posix-runtime/copyright" /usr/share/common-licenses/GPL-3 >"$licenses/gcc-runtime.txt"
    cp "$documentation/mingw-w64-x86-64-dev/copyright" "$licenses/mingw-w64-winpthreads.txt"
    chmod u+w "$licenses"/*
}

build_expat
build_apr
build_apr_util
build_log4cxx
build_fmt
build_googletest
build_benchmark
copy_header_libraries
copy_compiler_runtime
copy_licenses
rm -rf "$prefix/lib/pkgconfig"
