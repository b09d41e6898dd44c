#!/usr/bin/env bash
# Builds the Debian packages, looks at them as Debian's own checks do, and installs, uses and removes them on a machine
# that has nothing else. Needs root, for the chroot.
# usage: debian.sh FOLDER
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
out=$1
rm -rf "$out"
mkdir -p "$out"
out=$(cd "$out" && pwd)

fail() {
    echo "$*" >&2
    exit 1
}

packaging/build-packages "$out" >"$out/build.log" 2>&1 || {
    tail -40 "$out/build.log" | c++filt >&2
    exit 1
}
# What hosts can use anew is no failure; it bears the revision of these packages until packaging/abi puts it on record.
grep '^+ _Z' "$out/build.log" | sort -u | c++filt | sed 's/@Base.*//; s/^+/New to hosts:/' || true
lintian --allow-root --fail-on error,warning \
    --suppress-tags symbols-file-contains-current-version-with-debian-revision "$out"/*.changes
tests/packaging/abi.sh "$out"

# Every source is compiled with checked string functions, whether it calls any that the compiler can check or not. Every
# program and library has protected stacks, and tables that are read-only before it starts.
if grep -E '^\[.* -c ' "$out/build.log" | grep -v -e -D_FORTIFY_SOURCE=2; then
    fail "compiled without checked string functions"
fi
hardened() {
    local wanted=(--nofortify --nocfprotection)
    case $1 in
    *.so.*) wanted+=(--nopie) ;;
    esac
    hardening-check --quiet "${wanted[@]}" "$1" || fail "$(hardening-check "${wanted[@]}" "$1")"
}
mkdir "$out/content"
for package in "$out"/*.deb; do
    case $package in *-dbgsym_*) ;; *) dpkg-deb -x "$package" "$out/content" ;; esac
done
while read -r file; do hardened "$file"; done < <(find "$out/content" -type f \( -path '*/bin/*' -o -name '*.so.*' \))
rm -rf "$out/content"

# A bare machine, with the package sources of this one.
machine=$out/machine
mmdebstrap --quiet --mode=root --variant=minbase --format=directory bookworm "$machine" \
    /etc/apt/sources.list.d/debian.sources
trap 'umount "$machine/proc" 2>/dev/null; rm -rf "$machine"' EXIT
mount -t proc proc "$machine/proc"
inside() { chroot "$machine" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive LANG=C.UTF-8 "$@"; }
install() { inside apt-get install -y -q --no-install-recommends "$@" >>"$out/machine.log" 2>&1 || fail "$(tail -20 "$out/machine.log")"; }

inside apt-get update -q >"$out/machine.log"
install g++ cmake ninja-build pkg-config python3
inside dpkg-query -W -f '${Package}\n' | sort >"$out/before"
mkdir "$machine/packages" "$machine/program"
for package in "$out"/*.deb; do
    case $package in *-dbgsym_*) ;; *) cp "$package" "$machine/packages" ;; esac
done
install $(cd "$machine" && ls -d ./packages/*.deb)
cp README.md docs/testing.md tests/install/samples.py tests/support/png.py "$machine/program"
for document in README.md testing.md; do
    inside python3 /program/samples.py /program/$document /usr g++
done
inside sentrelkit-dashboard --seconds 2 --output /program/dashboard.png
[ -s "$machine/program/dashboard.png" ] || fail "the installed dashboard draws nothing"

inside sentrel show --json >"$machine/program/line.json"
inside python3 -c 'import json; assert json.load(open("/program/line.json"))["cpu"]["logical_cores"] > 0' ||
    fail "the installed command tells nothing"
for file in man/man1/sentrel.1.gz bash-completion/completions/sentrel zsh/vendor-completions/_sentrel \
    fish/vendor_completions.d/sentrel.fish; do
    [ -s "$machine/usr/share/$file" ] || fail "$file is not installed"
done

inside apt-get purge -y -q 'libsentrelkit-*' sentrelkit-dashboard sentrel >>"$out/machine.log"
inside apt-get autoremove --purge -y -q >>"$out/machine.log"
left=$(find "$machine/usr" "$machine/etc" "$machine/var/lib" -iname '*sentrel*' -not -path '*/var/lib/apt/*')
[ -z "$left" ] || fail "left behind after the removal: $left"
echo "The packages were built, installed, used and removed"
