#!/usr/bin/env bash
# Compiles each installed header alone, with the warnings that a careful host has on.
# usage: compile_alone.sh PREFIX COMPILER
set -euo pipefail
cd "$1/include"
compile() {
    local toolkit=()
    [[ $2 != */embed/gtk/* ]] || read -ra toolkit < <(pkg-config --cflags-only-I gtkmm-4.0 | sed 's/-I/-isystem /g')
    [[ $2 != */embed/qt/* ]] || read -ra toolkit < <(pkg-config --cflags-only-I Qt6Widgets | sed 's/-I/-isystem /g')
    "$1" -std=c++20 -fPIC -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only -I. "${toolkit[@]}" \
        -x c++ - <<<"#include <$2>"
}
export -f compile
find SentrelKit -name '*.h' -print0 | xargs -0 -P "$(nproc)" -I {} bash -c 'compile "$@"' compile "$2" {}
