#!/usr/bin/env bash
# Configures a host that has the project as a part of itself (add_subdirectory), and looks at what it would build.
# usage: subproject.sh SOURCE_FOLDER COMPILER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

fail() {
    echo "$*" >&2
    exit 1
}

configure() {
    local folder=$1
    shift
    cmake -G Ninja -S "$here/subproject" -B "$folder" -DSENTREL_SOURCE="$source" -DCMAKE_CXX_COMPILER="$compiler" "$@" \
        >/dev/null
}

source=$1
compiler=$2
configure "$place/shared"
cd "$place/shared"
ninja -t commands | grep -- ' -c /' >commands
ninja -t targets all >targets
if grep -v -m1 HOST_LAUNCHER=1 commands; then
    fail "the host's compiler launcher was overridden"
fi
grep 'subproject/main.cpp$' commands >host_commands
[ "$(wc -l <host_commands)" = 4 ] || fail "the host's programs are not built"
if grep -e -fvisibility -e -fPIC -e -Wconversion -e -std=c++ host_commands; then
    fail "the host is not compiled as it asked"
fi
if grep -r 'file(INSTALL' sentrelkit --include=cmake_install.cmake; then
    fail "the host's prefix would get files that it did not ask for"
fi
if grep -E '^sentrelkit/(examples|tests)/' targets; then
    fail "examples or tests would be built"
fi
grep -q '^sentrelkit/SentrelKit/libSentrelKitViews.so:' targets || fail "no shared libraries by default"
if grep '^BUILD_SHARED_LIBS' CMakeCache.txt; then
    fail "the kind of the host's own libraries was decided"
fi

# What the host asks for it gets.
configure "$place/static" -DBUILD_SHARED_LIBS=OFF -DSENTREL_INSTALL=ON
cd "$place/static"
ninja -t targets all >targets
grep -q '^sentrelkit/SentrelKit/libSentrelKitViews.a:' targets || fail "the host asked for static libraries"
grep -qr 'file(INSTALL' sentrelkit --include=cmake_install.cmake || fail "the host asked for the installation"
