#!/usr/bin/env bash
# Fetches what the packages for .NET and Node are made and tested with: .NET and Node for Windows and the TypeScript
# compiler from the npm registry, the reference of .NET's base library from Debian.
#
#   fetch-bindings.sh SOURCES BUILD FOLDER
#
# FOLDER receives node_modules/ and mscorlib.dll; nothing else is used. Called by tools/setup. 200 MB are downloaded.
set -euo pipefail
list=$(cd "$(dirname "$0")" && pwd)/npm-packages.txt
cd "$3"

while read -r name version hash; do
    archive=$(npm pack --silent "$name@$version")
    sha256sum --check --status <<<"$hash  $archive" || {
        printf '%s is not the archive that is wanted\n' "$archive" >&2
        exit 1
    }
    mkdir -p "node_modules/$name"
    tar -xzf "$archive" -C "node_modules/$name" --strip-components=1
    rm "$archive"
done < <(grep -v '^#' "$list")

# Of the package only this one file, so it is not installed.
apt-get -qq -o APT::Sandbox::User=root download mono-devel
dpkg-deb --fsys-tarfile mono-devel_*.deb | tar -xf - --strip-components=5 ./usr/lib/mono/4.6.1-api/mscorlib.dll
rm mono-devel_*.deb
