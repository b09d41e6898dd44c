#!/usr/bin/env bash
# Builds and runs hosts that find the installed package with CMake.
# usage: find_package.sh PREFIX COMPILER
set -euo pipefail
consumer=$(cd "$(dirname "${BASH_SOURCE[0]}")/../consumer" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cmake -G Ninja -S "$consumer" -B "$place" -DWAY=find_package -DCMAKE_CXX_COMPILER="$2" -DCMAKE_PREFIX_PATH="$1" >/dev/null
cmake --build "$place"
for host in "$place"/{host,core_only,views_only}_{20,23}; do
    "$host"
done
for toolkit in Gtk Qt; do
    if [ -n "$(find "$1" -name "libSentrelKit$toolkit.*")" ]; then
        for host in "$place/${toolkit,,}_only"_{20,23}; do
            "$host"
        done
    fi
done
