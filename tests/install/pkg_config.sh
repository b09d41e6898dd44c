#!/usr/bin/env bash
# Builds and runs hosts that find the installed package with pkg-config.
# usage: pkg_config.sh PREFIX COMPILER
set -euo pipefail
prefix=$1
compiler=$2
consumer=$(cd "$(dirname "${BASH_SOURCE[0]}")/../consumer" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name sentrelkit-core.pc)")
export PKG_CONFIG_PATH
libraries=$(pkg-config --variable=libdir sentrelkit-core)
how=()
[ -e "$libraries/libSentrelKitCore.so" ] || how=(--static)

# build_and_run SOURCE MODULE...
build_and_run() {
    local program language
    for language in c++20 c++2b; do
        program="$place/$(basename "$1" .cpp)"
        "$compiler" -std=$language -Wall -Wextra -Wpedantic -Wconversion -Werror \
            -DPACKAGE_VERSION="\"$(pkg-config --modversion sentrelkit-core)\"" "$consumer/$1" \
            -o "$program" -Wl,--as-needed,-rpath,"$libraries" $(echo " $(pkg-config "${how[@]}" --cflags --libs "${@:2}")" |
                sed 's, -I/usr/, -isystem /usr/,g') # the warnings are for the host's own code
        "$program"
    done
}
build_and_run core_only.cpp sentrelkit-core
build_and_run views_only.cpp sentrelkit-views
build_and_run host.cpp sentrelkit-views sentrelkit-testing
for toolkit in gtk qt; do
    if pkg-config --exists sentrelkit-$toolkit; then
        build_and_run ${toolkit}_only.cpp sentrelkit-$toolkit
    fi
done

# A host that draws nothing pulls in no drawing library.
if ldd "$place/core_only" | grep -E 'cairo|pango'; then
    echo "the host that draws nothing loads a drawing library" >&2
    exit 1
fi
