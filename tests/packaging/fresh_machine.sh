#!/usr/bin/env bash
# Does what the README says, on a machine that has Debian 12 and git and nothing else: clones the tree, runs ./run and
# ./test, builds the Debian packages, installs them, and runs the README's programs against them. Tells the seconds that
# each step takes. Needs root, for the chroot; takes a while, so ./test --all leaves it out.
# usage: fresh_machine.sh FOLDER      the machine and the log of its steps are in FOLDER
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# Mounts of a namespace of their own go away with this process, however it ends.
[ "${SENTREL_FRESH_MACHINE:-}" = mounted ] ||
    SENTREL_FRESH_MACHINE=mounted exec unshare --mount --propagation private "$0" "$@"
out=$1
rm -rf --one-file-system "$out"
mkdir -p "$out"
out=$(cd "$out" && pwd)
machine=$out/machine
log=$out/log
home=/home/somebody/sentrelkit

# step WORDS COMMAND...: what a person types, or what stands for it here.
step() {
    local words=$1 since=$SECONDS
    shift
    printf '==> %s\n' "$words" >>"$log"
    "$@" >>"$log" 2>&1 </dev/null || {
        tail -60 "$log" >&2
        echo "failed: $words (the whole log: $log)" >&2
        exit 1
    }
    printf '%5d s  %s\n' $((SECONDS - since)) "$words"
}
inside() { chroot "$machine" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin "$@"; }
in_tree() { inside sh -c "cd $home && $1"; }

step "a machine with Debian 12 and git" mmdebstrap --mode=root --variant=minbase --include=git --format=directory \
    bookworm "$machine" /etc/apt/sources.list.d/debian.sources
# What an installer leaves on every machine; and the root folder is a mount point there.
printf '127.0.0.1\tlocalhost\n::1\tlocalhost\n' >"$machine/etc/hosts"
mount --bind "$machine" "$machine"
mount -t proc proc "$machine/proc"
mount --rbind /sys "$machine/sys"
mount --rbind /dev "$machine/dev"
step "git clone" git clone --no-local --quiet . "$machine$home"
step "./run --seconds 3" in_tree "./run --seconds 3"
[ -s "$machine$home/dashboard.png" ] || { echo "./run leaves no dashboard.png" >&2 && exit 1; }
step "./test" in_tree "./test"
step "packaging/build-packages /packages" in_tree "packaging/build-packages /packages"
step "apt install /packages/*.deb" inside sh -c "DEBIAN_FRONTEND=noninteractive apt install -y /packages/*.deb"
# Nothing of the build is left in its place that could stand in for what was installed.
mv "$machine$home" "$machine/documents"
for document in README.md docs/getting-started.md docs/writing-a-widget.md; do
    step "the programs of $document" inside python3 /documents/tests/install/samples.py "/documents/$document" /usr g++
done
step "sentrelkit-dashboard --seconds 3" inside sh -c "cd /tmp && sentrelkit-dashboard --seconds 3"

# What goes on until somebody ends it is ended after a moment, as a person at the terminal does.
at_terminal() {
    inside env TERM=xterm-256color LANG=C.UTF-8 script --quiet --return --command \
        "stty cols 80 rows 24; timeout --foreground --signal=INT 8 $1" /dev/null || [ $? = 124 ]
}
while read -r command; do
    step "$command" at_terminal "$command"
done < <(sed -n '/^## On the command line/,/^## /{s/ *#.*//;/^sentrel\>/p}' README.md)
scrape() {
    inside apt install -y curl && inside sh -c 'sentrel serve & serve=$!
        curl --retry 9 --retry-connrefused -s http://127.0.0.1:9866/metrics; status=$?
        kill $serve && wait $serve; exit $status'
}
step "sentrel serve" scrape
echo "A new machine does what the README says"
