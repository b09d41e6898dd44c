#!/usr/bin/env bash
# Asks packaging/abi what it says of the packages in a folder: nothing against their own dumps, and the truth where they
# lack a function, have a type of another size, or a function more. Then compares them with the record: what breaks the
# hosts of a released version fails.
# usage: abi.sh FOLDER      as packaging/build-packages leaves it
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
packages=$1
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

fail() {
    echo "$*" >&2
    exit 1
}

packaging/abi dump "$packages" "$place/same"
packaging/abi compare "$packages" "$place/same" >"$place/said" || fail "the packages differ from their own dumps"
[ ! -s "$place/said" ] || fail "the packages differ from their own dumps: $(cat "$place/said")"

# An earlier release is the dump of now with an edit: planted NAME SED-SCRIPT.
planted() {
    mkdir "$place/$1"
    xz -d <"$place/same/libsentrelkit-core0.1.abi.xz" >"$place/now"
    sed -E "$2" "$place/now" >"$place/then"
    ! cmp -s "$place/now" "$place/then" || fail "the edit $1 changes nothing"
    xz <"$place/then" >"$place/$1/libsentrelkit-core0.1.abi.xz"
}
says() { grep -q -F "$1" "$place/said" || fail "not told: $1. Told: $(cat "$place/said")"; }

planted removed "s/7byteStrB/7byteTxtB/g; s/name='byteStr'/name='byteTxt'/"
! packaging/abi compare "$packages" "$place/removed" >"$place/said" || fail "a function that is gone breaks no host?"
says "1 Removed"
says "byteTxt"

planted resized "s/(<class-decl name='CPUData' size-in-bits=')[0-9]+'/\1192'/"
! packaging/abi compare "$packages" "$place/resized" >"$place/said" || fail "a type of another size breaks no host?"
says "type size changed from 192 to"

planted added "/<function-decl name='byteStr'/,/<\/function-decl>/d; /<elf-symbol name='_ZN7sentrel7byteStrB/d"
packaging/abi compare "$packages" "$place/added" >"$place/said" || fail "a function that is new breaks a host: $(cat "$place/said")"
says "1 Added"
says "byteStr"

# A minor version has no hosts to break before its first release.
minor=$(sed -n 's/.* version = "\(.*\)\..*";/\1/p' SentrelKit/Version.h)
if ! packaging/abi compare "$packages"; then
    ! grep "^sentrelkit ($minor\..*) " packaging/debian/changelog | grep -q -v UNRELEASED ||
        fail "hosts of $minor break: put it right, or raise the minor version"
    echo "That breaks hosts. $minor is not released: note it for them in CHANGELOG.md, then packaging/abi refresh"
fi
