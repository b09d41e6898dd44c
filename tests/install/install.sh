#!/usr/bin/env bash
# Installs into a prefix and looks whether everything is there.
# usage: install.sh BUILD_FOLDER PREFIX VERSION
set -euo pipefail
prefix=$2
version=$3
fail() {
    echo "$*" >&2
    exit 1
}

# A packager installs below another root, and a tree that is installed can be moved: what the other tests use was.
rm -rf "$prefix" "$prefix.root"
DESTDIR=$prefix.root cmake --install "$1" --prefix /usr/local >/dev/null
[ "$(ls "$prefix.root")" = usr ] && [ "$(ls "$prefix.root/usr")" = local ] || fail "something is outside the prefix"
mv "$prefix.root/usr/local" "$prefix"
rm -rf "$prefix.root"
if grep -rlF -e "$1" -e "$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)" "$prefix"; then
    fail "these files name folders of the build"
fi

[ "$(grep -c 'Copyright .* The SentrelKit authors' "$prefix/share/doc/SentrelKit/LICENSE")" = 1 ] ||
    fail "the licence names no holder"
for part in core views testing; do
    file=$(find "$prefix" -name "sentrelkit-$part.pc")
    [ -n "$file" ] || fail "sentrelkit-$part.pc is not installed"
    grep -qx "Version: $version" "$file" || fail "$file tells another version than $version"
done

for toolkit in Gtk Qt; do
    if compgen -G "$1/SentrelKit/libSentrelKit$toolkit.*" >/dev/null; then
        [ -n "$(find "$prefix" -name "sentrelkit-${toolkit,,}.pc")" ] || fail "sentrelkit-${toolkit,,}.pc is not installed"
    fi
done

if [ -x "$1/tools/sentrel/sentrel" ]; then
    [ -s "$prefix/share/man/man1/sentrel.1" ] || fail "the command has no manual page"
    "$prefix/bin/sentrel" show --json mem | grep -q '"physical_bytes"' || fail "the installed command does not run"
fi

# Until 1.0 each minor version may break hosts, so both numbers are in the name that a host loads.
while read -r library; do
    name=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
    expected=$(basename "$library").$(sed -E 's/^(0\.[0-9]+|[0-9]+).*/\1/' <<<"$version")
    [ "$name" = "$expected" ] || fail "$library calls itself $name, not $expected"
done < <(find "$prefix" -name '*.so')
