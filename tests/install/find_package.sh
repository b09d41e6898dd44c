#!/usr/bin/env bash
# Builds and runs hosts that find the installed package with CMake.
# usage: find_package.sh PREFIX COMPILER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cmake -G Ninja -S "$here/host" -B "$place" -DCMAKE_CXX_COMPILER="$2" -DCMAKE_PREFIX_PATH="$1" >/dev/null
cmake --build "$place"
for host in host core_only views_only; do
    "$place/$host"
done
