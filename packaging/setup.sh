# What ./run and ./test share: installing the packages of a group, and building a preset. To be sourced at the root.

say() { printf '\033[1m==> %s\033[0m\n' "$*"; }

# Installs the packages of the named groups that are missing.
install_packages() {
    local wanted missing
    wanted=$(awk -v groups=" $* " '!/^#/ && index(groups, " " $1 " ") {print $2}' packaging/debian-packages)
    # dpkg-query complains about every package that it has never heard of: those are the ones to install.
    missing=$(comm -23 <(sort <<<"$wanted") <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' 2>/dev/null |
        sed -n 's/^installed //p' | sort))
    [ -n "$missing" ] || return 0
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "These Debian packages are missing and need root to install:" $missing >&2
            exit 1
        fi
        as_root=(sudo)
    fi
    say "Installing" $missing
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing
}

# build PRESET [options of cmake --build]: configures once, then builds.
build() {
    local preset=$1
    shift
    say "Building ($preset)"
    if [ ! -f "build/$preset/build.ninja" ]; then
        mkdir -p build
        cmake --preset "$preset" >"build/$preset.log" 2>&1 || { cat "build/$preset.log" >&2; return 1; }
    fi
    cmake --build "build/$preset" -j"$(nproc)" "$@"
}
