#!/usr/bin/env bash
# Each source has a file of tests of its name in the folder of tests that mirrors its own, and each such file a source;
# what stands in the list of exceptions has neither, for the reason given there. usage: mirror.sh <folder of the sources>
set -euo pipefail
cd "$1"
list=tests/layout/mirror_exceptions.txt
status=0
complain() {
    echo "$1"
    status=1
}

# Whether the list names a file: by its path without extension, or by a folder above it.
declare -A used
excepted() {
    local path=$1
    while [[ $path == */* ]]; do
        if [[ -n ${reasons[$path]:-} ]]; then
            used[$path]=1
            return 0
        fi
        path=${path%/*}
    done
    return 1
}
declare -A reasons
while read -r path reason; do
    [[ -z $path || $path == \#* ]] && continue
    reasons[$path]=$reason
    for test in $(grep -oE 'tests/[A-Za-z/_]+\.[a-z]+' <<<"$reason" || true); do
        [[ -e $test ]] || complain "$list: $path: there is no $test"
    done
done <$list

while read -r source; do
    test=tests/${source#SentrelKit/}
    [[ -e ${test}Test.cpp || -e ${test}LiveTest.cpp ]] || excepted "$source" ||
        complain "$source has no tests of its name"
done < <(find SentrelKit -name '*.cpp' -o -name '*.h' -o -name '*.mm' | sed 's/\.[a-z]*$//' | sort -u)

while read -r test; do
    source=SentrelKit/${test#tests/}
    # What only Linux can test of a portable source stands in a folder of that name.
    [[ $source == SentrelKit/platform/* ]] || source=${source/\/linux\//\/}
    [[ -e $source.h || -e $source.cpp ]] || excepted "$test" || complain "$test: no source has this name"
done < <(find tests/{base,embed,platform,probes,settings,system,views} -name '*Test.cpp' 2>/dev/null |
    sed -E 's/(Live)?Test\.cpp$//' | sort -u)

for path in "${!reasons[@]}"; do
    [[ -n ${used[$path]:-} ]] || complain "$list: $path needs no exception any more"
done
exit $status
