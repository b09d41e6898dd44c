#!/usr/bin/env bash
# Formats what the installed headers print, in each language that has std::format, on a C++ library that has it.
# usage: format.sh SOURCE_DIR PREFIX CLANG LIBCXX
set -euo pipefail
source=$1 prefix=$2 compiler=$3 libcxx=$4
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

# The operators are compiled along: a library that was built with another C++ library has other texts and streams.
options=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fPIC -I"$prefix/include" -I"$place"
    -nostdinc++ -isystem "$libcxx/include/c++/v1" -D_LIBCPP_ENABLE_EXPERIMENTAL)
library=(-nostdlib++ -L"$libcxx/lib" -Wl,-rpath,"$libcxx/lib" -lc++experimental -l:libc++.so.1 -l:libc++abi.so.1)

# Each type that a header declares an operator for, as a line that asks whether it can be formatted.
headers=$(cd "$prefix/include" && find SentrelKit -name '*.h' | sort)
(cd "$prefix/include" && xargs sed -nE \
    's/.*operator<<\(std::ostream& stream, (const )?([A-Za-z:]+)&? value\);.*/static_assert(isFormattable<\2>);/p') \
    <<<"$headers" >"$place/every_type.inc"
[ "$(wc -l <"$place/every_type.inc")" -ge 40 ]

compile() {
    "$compiler" "${options[@]}" -I"$source" -c "$source/$2" -o "$place/$1.o" "${@:3}"
}
for folder in platform system views; do
    compile $folder SentrelKit/$folder/Printing.cpp -std=c++20
done
for language in c++20 c++2b; do
    compile host tests/install/format.cpp -std=$language
    "$compiler" "$place"/{host,platform,system,views}.o "${library[@]}" -o "$place/host"
    "$place/host"
done

# Without the switch that turns std::format on, this library has a header of that name with nothing in it.
echo '#include <SentrelKit/Format.h>
static_assert(!SENTREL_HAS_FORMAT);' >"$place/without.cpp"
"$compiler" -std=c++20 "${options[@]}" -U_LIBCPP_ENABLE_EXPERIMENTAL -fsyntax-only "$place/without.cpp"
