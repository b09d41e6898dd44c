#!/usr/bin/env bash
# Builds and runs hosts that have the project as a part of their own build: as a folder and fetched from a clone, with
# shared and with static libraries.
# One of them asks for the toolkits' widgets too.
# usage: whole_builds.sh FOLDER COMPILER...
set -euo pipefail
consumer=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source=$(cd "$consumer/../.." && pwd)
mkdir -p "$1"
out=$(cd "$1" && pwd)
shift
launcher=$(command -v ccache || true)

for compiler in "$@"; do
    for way in add_subdirectory FetchContent; do
        toolkits=OFF
        [ $way != add_subdirectory ] || toolkits=ON
        for shared in ON OFF; do
            place=$out/$way-$shared-$(basename "$compiler")
            rm -rf "$place"
            cmake -G Ninja -S "$consumer" -B "$place" -DWAY=$way -DBUILD_SHARED_LIBS=$shared -DSENTREL_TOOLKITS=$toolkits -DSENTREL_SOURCE="$source" \
                -DSENTREL_COMMIT="$(git -C "$source" rev-parse HEAD)" -DCMAKE_BUILD_TYPE=Release \
                -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher" >/dev/null
            CCACHE_BASEDIR=$place CCACHE_NOHASHDIR=1 cmake --build "$place" -j"$(nproc)"
            for host in "$place"/{host,core_only,views_only}_{20,23}; do
                "$host"
            done
            rm -rf "$place"
            echo "$way, shared $shared, $compiler: built and run"
        done
    done
done
