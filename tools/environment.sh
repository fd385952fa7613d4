# shellcheck shell=bash
# The variables that the project's scripts share. Sourced by them, and by a shell
# that wants to call cmake or Wine as they do: . tools/environment.sh
#
# Everything that is built once and kept lies under one cache folder:
#   $VEXIL_CACHE/<stamp>         the cross-built dependencies (VEXIL_DEPS)
#   $VEXIL_CACHE/clang-<stamp>   those of the native builds with clang (VEXIL_CLANG_DEPS)
#   $VEXIL_CACHE/bindings-<stamp> .NET, Node and TypeScript (VEXIL_FOREIGN)
#   $VEXIL_CACHE/wine            the Wine prefix of the tests
#   $VEXIL_CACHE/wine-template   what new Wine prefixes are copied from
#
# Settings to override: VEXIL_CACHE, VEXIL_WINEPREFIX (another prefix, for tests
# that must not share a registry), VEXIL_DLLOVERRIDES (added to Wine's DLL
# overrides), VEXIL_WINEDEBUG (Wine's debug channels), VEXIL_DISPLAY (an X display).

VEXIL_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
VEXIL_CACHE=${VEXIL_CACHE:-${XDG_CACHE_HOME:-${HOME:?HOME is not set}/.cache}/vexil}

# A change of the recipe gets a prefix of its own: other checkouts keep theirs.
vexil_dependency_stamp() { (cd "$VEXIL_ROOT" && cat "$@" | sha256sum | cut -c1-16); }

VEXIL_DEPS=$VEXIL_CACHE/$(vexil_dependency_stamp \
    tools/dependencies/{build.sh,sources.txt} cmake/toolchain-mingw-w64.cmake)
VEXIL_CLANG_DEPS=$VEXIL_CACHE/clang-$(vexil_dependency_stamp \
    tools/dependencies/{build-clang.sh,sources.txt} cmake/toolchain-clang.cmake)
VEXIL_FOREIGN=$VEXIL_CACHE/bindings-$(vexil_dependency_stamp tools/dependencies/npm-packages.txt)

# A developer's own Wine settings and desktop must neither be touched by the
# tests nor change what they see.
WINEPREFIX=${VEXIL_WINEPREFIX:-$VEXIL_CACHE/wine}
WINEARCH=win64
WINEDEBUG=${VEXIL_WINEDEBUG:--all}
# No Mono, no Gecko, no entries in the desktop's menus.
WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d${VEXIL_DLLOVERRIDES:+;$VEXIL_DLLOVERRIDES}"
if [[ -n ${VEXIL_DISPLAY:-} ]]; then
    export DISPLAY=$VEXIL_DISPLAY
else
    unset DISPLAY
fi
unset WINELOADER WINESERVER WINEDLLPATH

export VEXIL_ROOT VEXIL_CACHE VEXIL_DEPS VEXIL_CLANG_DEPS VEXIL_FOREIGN WINEPREFIX WINEARCH WINEDEBUG WINEDLLOVERRIDES
