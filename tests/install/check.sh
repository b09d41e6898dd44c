#!/usr/bin/env bash
# usage: check.sh BUILD_FOLDER COMPILER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cmake --install "$1" --prefix "$place/prefix" >/dev/null

cmake -G Ninja -S "$here/host" -B "$place/build" -DCMAKE_CXX_COMPILER="$2" -DCMAKE_PREFIX_PATH="$place/prefix" >/dev/null
cmake --build "$place/build"
"$place/build/host"
"$place/build/headless"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$place/prefix" -name sentrelkit-core.pc)")
"$2" -std=c++20 "$here/host/headless.cpp" -o "$place/headless" $(pkg-config --cflags --libs sentrelkit-core)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir sentrelkit-core) "$place/headless"

# A headless host pulls in no drawing library.
if LD_LIBRARY_PATH=$(pkg-config --variable=libdir sentrelkit-core) ldd "$place/headless" | grep -E 'cairo|pango'; then
    echo "the headless host loads a drawing library" >&2
    exit 1
fi
