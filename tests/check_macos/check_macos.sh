#!/usr/bin/env bash
# Runs packaging/check-macos on a project of two sources, with a folder that holds as much of an SDK as they need.
# usage: check_macos.sh SOURCE_FOLDER CASE
set -euo pipefail
source=$1
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
sdk=$place/sdk
project=$place/project

mkdir -p "$sdk/System/Library/Frameworks/Foundation.framework/Headers" "$sdk/usr/include/c++/v1" \
    "$project"/{SentrelKit/linux,examples,tests,packaging,cmake}
cp "$source/packaging/check-macos" "$project/packaging"
cp "$source/cmake/MacOSToolchain.cmake" "$project/cmake"
cat >"$project/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.22)
project(small CXX)
file(GLOB sources SentrelKit/*.cpp SentrelKit/*.mm)
add_library(small STATIC ${sources})
target_compile_options(small PRIVATE -Wall -Werror)
END
echo 'int one() { return 1; }' >"$project/SentrelKit/one.cpp"
echo '@interface Two @end' >"$project/SentrelKit/two.mm"

# expect STATUS OUTPUT ARGUMENTS...: what it writes, errors included, and its status.
expect() {
    local expected_status=$1 expected=$2 output status=0
    shift 2
    output=$("$project/packaging/check-macos" "$@" 2>&1) || status=$?
    if [ "$status" != "$expected_status" ] || [ "$output" != "$expected" ]; then
        printf 'status %s instead of %s\n%s\ninstead of\n%s\n' "$status" "$expected_status" "$output" "$expected" >&2
        exit 1
    fi
}

# stub PATH NAMES: a stub of a library that has these names.
stub() {
    mkdir -p "$(dirname "$sdk/$1")"
    printf -- "--- !tapi-tbd\ntbd-version: 4\ntargets: [ x86_64-macos ]\ninstall-name: '/%s'\nexports:\n%s\n...\n" "$1" \
        "  - targets: [ x86_64-macos ]
    symbols: [ $2 ]" >"$sdk/$1"
}
stubs() {
    local name
    stub usr/lib/libSystem.tbd "dyld_stub_binder, _main"
    stub usr/lib/libc++.tbd _cxx
    stub usr/lib/libobjc.tbd "__objc_empty_cache, __objc_empty_vtable"
    for name in Foundation AppKit CoreGraphics CoreText ImageIO IOKit DiskArbitration SystemConfiguration; do
        stub "System/Library/Frameworks/$name.framework/$name.tbd" "_$name"
    done
}

case $2 in
usage)
    expect 2 "usage: check-macos SDK_DIR [BUILD_DIR]"
    ;;
no_headers)
    expect 2 "check-macos: no headers of an SDK in $place/none" "$place/none"
    rm -r "$sdk/usr/include"
    expect 2 "check-macos: no headers of an SDK in $sdk" "$sdk"
    [ ! -e "$project/build" ]
    ;;
compiles)
    expect 0 "2 compiled, 0 failed" "$sdk"
    [ -n "$(find "$project/build/macos" -name two.mm.o)" ]
    expect 0 "2 compiled, 0 failed" "$sdk" "$place/elsewhere"
    file=$(find "$place/elsewhere" -name one.cpp.o)
    [ "$(od -An -tx4 -N4 "$file")" = " feedfacf" ] # an object file of macOS
    ;;
failing_source)
    echo 'int three() { return "three"; }' >"$project/SentrelKit/three.cpp"
    echo 'static int unused() { return 4; }' >"$project/SentrelKit/four.mm"
    expected="failed: SentrelKit/four.mm: unused function 'unused' [-Werror,-Wunused-function]
failed: SentrelKit/three.cpp: cannot initialize return object of type 'int' with an lvalue of type 'const char[6]'
2 compiled, 2 failed"
    # In which order they fail is the machine's affair.
    status=0
    output=$("$project/packaging/check-macos" "$sdk" 2>&1) || status=$?
    [ "$status" = 1 ]
    diff <(sort <<<"$expected") <(sort <<<"$output")
    [ "$(tail -n 1 <<<"$output")" = "2 compiled, 2 failed" ]
    # Once they are right, nothing is left of it.
    echo 'int three() { return 3; }' >"$project/SentrelKit/three.cpp"
    echo 'int four() { return 4; }' >"$project/SentrelKit/four.mm"
    expect 0 "4 compiled, 0 failed" "$sdk"
    ;;
foreign_source)
    echo '#error' >"$project/SentrelKit/linux/three.cpp"
    expect 0 "2 compiled, 0 failed" "$sdk"
    ;;
left_out_source)
    echo 'int three() { return 3; }' >"$project/examples/three.cpp"
    expect 1 "failed: examples/three.cpp: no target compiles it
2 compiled, 1 failed" "$sdk"
    ;;
failing_configuration)
    echo 'message(FATAL_ERROR "no such thing")' >>"$project/CMakeLists.txt"
    expect 1 "failed: configure: CMake Error at CMakeLists.txt:6 (message): no such thing
0 compiled, 1 failed" "$sdk"
    ;;
failing_link)
    # An archive may lack what its objects name; the image of all objects may not.
    stubs
    echo 'int absent(); int three() { return absent(); }' >"$project/SentrelKit/three.cpp"
    expect 1 "failed: image: ld64.lld-14: error: undefined symbol: absent() >>> referenced by $project/build/macos/\
CMakeFiles/small.dir/SentrelKit/three.cpp.o
3 compiled, 1 failed" "$sdk"
    ;;
*)
    echo "no case $2" >&2
    exit 2
    ;;
esac
