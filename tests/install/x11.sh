#!/usr/bin/env bash
# Compiles the installed headers, and hosts that use both, in every order with X11's.
# usage: x11.sh PREFIX COMPILER
set -euo pipefail
compiler=$2
cd "$1/include"
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

cat >"$place/use.h" <<'END'
inline int use(Display* display) {
    const Status status = XFlush(display);
    const Bool nothing = status == Success ? True : False;
    sentrel::Timer timer(1.0, [] {});
    return timer.status() == sentrel::Timer::Status::initial && nothing ? int(None) : 1;
}
END
compile() {
    printf '%s\n' "$@" >"$place/host.cpp"
    "$compiler" -std=c++20 -fsyntax-only -I. -I"$place" "$place/host.cpp"
}

# Every header after X11's, but for those of toolkits, which do not go after X11 themselves.
every=$(find SentrelKit -name '*.h' ! -path '*/embed/*' | sort | sed 's/.*/#include <&>/')
compile '#include <X11/Xlib.h>' "$every" '#include <X11/Xutil.h>' '#include "use.h"'
# Some before, some after.
compile '#include <SentrelKit/system/Timer.h>' '#include <X11/Xlib.h>' '#include <SentrelKit/system/System.h>' \
    '#include "use.h"'
# All before: the host puts the names right itself.
compile '#include <SentrelKit/system/Timer.h>' '#include <X11/Xlib.h>' '#include <SentrelKit/X11Names.h>' '#include "use.h"'
