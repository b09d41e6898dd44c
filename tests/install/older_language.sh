#!/usr/bin/env bash
# Each installed header, compiled as an older C++, says with one #error what it needs and then ends the compilation.
# usage: older_language.sh PREFIX COMPILER
set -euo pipefail
cd "$1/include"
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

while read -r header; do
    echo "#include <$header>" >"$place/host.cpp"
    if "$2" -std=c++17 -fsyntax-only -I. "$place/host.cpp" 2>"$place/errors"; then
        echo "$header compiles, but does not say that it needs C++20" >&2
        exit 1
    fi
    # The second is the end of the compilation.
    if [ "$(grep -c 'error:' "$place/errors")" != 2 ] || ! grep -q 'SentrelKit needs C++20' "$place/errors"; then
        echo "$header as C++17:" >&2
        head -20 "$place/errors" >&2
        exit 1
    fi
done < <(find SentrelKit -name '*.h' ! -name X11Names.h | sort)
