#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Whether systemd takes the unit of the exporter and each of its drop-ins, and how exposed it finds the unit, out of 10.
# usage: service_unit.sh FOLDER     the folder with sentrel.service and its drop-ins
set -euo pipefail
units=$1
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
worst=2.0
export SYSTEMD_LOG_COLOR=0 SYSTEMD_PAGER=

fail() {
    echo "$*" >&2
    exit 1
}

# The program need not be installed for this.
prepare() {
    mkdir -p "$place/$1/sentrel.service.d"
    sed 's|/usr/bin/sentrel|/bin/true|' "$units/sentrel.service" >"$place/$1/sentrel.service"
}
verify() {
    local said
    said=$(SYSTEMD_UNIT_PATH="$place/$1:" systemd-analyze verify --man=no "$place/$1/sentrel.service" 2>&1) ||
        fail "$1 is refused: $said"
    ! grep -F "$place/$1" <<<"$said" || fail "$1 is not understood whole"
}
exposure() {
    systemd-analyze security --offline=true "$place/$1/sentrel.service" |
        sed -n 's/.*Overall exposure level for sentrel.service: \([0-9.]*\) .*/\1/p'
}
isBelow() { awk -v figure="$1" -v bound="$2" 'BEGIN { exit !(figure != "" && figure + 0 < bound + 0) }'; }

prepare plain
verify plain
found=$(exposure plain)
isBelow "$found" $worst || fail "its exposure is '$found', not below $worst"

for path in "$units"/*.conf; do
    name=$(basename "$path" .conf)
    prepare "$name"
    sed 's|/usr/bin/sentrel|/bin/true|' "$path" >"$place/$name/sentrel.service.d/$name.conf"
    verify "$name"
done

# Neither a misspelt line nor one that opens the door goes unnoticed.
prepare misspelt
sed -i 's/^ProtectHome=/ProtectHouse=/' "$place/misspelt/sentrel.service"
! (verify misspelt) >/dev/null 2>&1 || fail "a misspelt line is not found"
prepare open
sed -i '/^\(DynamicUser\|CapabilityBoundingSet\|ProtectSystem\|SystemCallFilter\)=/d' "$place/open/sentrel.service"
! isBelow "$(exposure open)" $worst || fail "a unit without its walls passes"
