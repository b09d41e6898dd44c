#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Boots a machine that has Debian 12 with systemd and the packages, and nothing else, and runs the exporter there as the
# service that it is: what it shows behind the walls of its unit, how it ends and comes again, each of the drop-ins, and
# how quiet it is. Needs root, for the namespaces, and a loop device; takes some minutes, so ./test --all leaves it out.
# usage: booted_machine.sh FOLDER [PACKAGES]
#   the machine and the log of its steps are in FOLDER; PACKAGES is a folder with the packages, such as
#   machine/packages of fresh_machine.sh; they are built without it
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# Mounts of a namespace of their own go away with this process, however it ends.
[ "${SENTREL_BOOTED_MACHINE:-}" = mounted ] ||
    SENTREL_BOOTED_MACHINE=mounted exec unshare --mount --propagation private "$0" "$@"
out=$1
packages=${2:+$(cd "$2" && pwd)}
rm -rf --one-file-system "$out"
mkdir -p "$out"
out=$(cd "$out" && pwd)
machine=$out/machine
log=$out/log
drop_ins=/etc/systemd/system/sentrel.service.d
metrics=http://127.0.0.1:9866/metrics

fail() {
    echo "$*" >&2
    exit 1
}
# step WORDS COMMAND...: a step that says what it does, and all that is known if it does not.
step() {
    local words=$1 since=$SECONDS
    shift
    printf '==> %s\n' "$words" >>"$log"
    # On its own, so that whatever fails in it ends it.
    set +e
    (
        set -e
        "$@"
    ) >>"$log" 2>&1 </dev/null
    local status=$?
    set -e
    if [ $status != 0 ]; then
        [ -z "${init:-}" ] || inside journalctl --no-pager -u sentrel -n 40 >>"$log" 2>&1 || true
        tail -60 "$log" >&2
        fail "failed: $words (the whole log: $log)"
    fi
    printf '%5d s  %s\n' $((SECONDS - since)) "$words"
}
environment=(env -i --chdir=/ HOME=/root LANG=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin
    DEBIAN_FRONTEND=noninteractive SYSTEMD_PAGER= SYSTEMD_COLORS=0)
# On the machine before it is booted, and on the one that runs.
in_folder() { chroot "$machine" "${environment[@]}" "$@"; }
inside() {
    nsenter --target "$init" --mount --uts --ipc --net --pid --cgroup --root -- "${environment[@]}" "$@"
}
# Waits until something is so.
until_so() {
    local left=120
    until "$@"; do
        [ $((left -= 1)) -gt 0 ] || fail "not within a minute: $*"
        sleep 0.5
    done
}

# ---- the machine
make_machine() {
    mmdebstrap --quiet --mode=root --variant=minbase --format=directory \
        --include=systemd,dbus,curl,openssl,e2fsprogs,iproute2 bookworm "$machine" /etc/apt/sources.list.d/debian.sources
    printf '127.0.0.1\tlocalhost\n::1\tlocalhost\n' >"$machine/etc/hosts"
    echo bare >"$machine/etc/hostname"
    : >"$machine/etc/machine-id"
}
install_packages() {
    mkdir "$machine/packages"
    cp "$packages"/libsentrelkit-core*.deb "$packages"/sentrel_*.deb "$machine/packages"
    rm -f "$machine"/packages/*-dbgsym_*
    mount -t proc proc "$machine/proc"
    in_folder apt-get update -q
    in_folder sh -c 'apt-get install -y -q --no-install-recommends /packages/*.deb'
    umount "$machine/proc"
}
# The first process of the machine, in namespaces of its own. Of this kernel it changes no setting and no clock.
first_process() {
    mount --bind "$machine" "$machine"
    cd "$machine"
    mount -t proc proc proc
    mount --bind proc/sys proc/sys
    mount -o remount,bind,ro proc/sys
    mount -t sysfs -o ro sysfs sys
    mount -t cgroup2 cgroup2 sys/fs/cgroup
    mount -t tmpfs -o mode=755 tmpfs dev
    local node
    for node in null zero full random urandom tty fuse loop-control $(cd /dev && ls -d loop[0-9]*); do
        : >"dev/$node"
        mount --bind "/dev/$node" "dev/$node"
    done
    mkdir dev/pts dev/shm
    mount -t devpts -o newinstance,ptmxmode=666 devpts dev/pts
    ln -s pts/ptmx dev/ptmx
    ln -s /proc/self/fd dev/fd
    mount -t tmpfs tmpfs dev/shm
    mount -t tmpfs -o mode=755 tmpfs run
    pivot_root . .
    umount -l .
    mount --make-rshared / # as systemd leaves it to whoever makes a container
    exec env -i container=machine PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        setpriv --bounding-set=-sys_time,-sys_module /lib/systemd/systemd
}
boot() {
    mkdir "$out/groups"
    mount -t cgroup2 cgroup2 "$out/groups"
    group=$out/groups/sentrel-machine-$$
    mkdir "$group"
    export -f first_process
    machine=$machine bash -c 'echo $$ >"$0/cgroup.procs"
        exec unshare --mount --cgroup --pid --net --uts --ipc --fork --propagation private \
            bash -euc first_process' "$group" >"$out/boot.log" 2>&1 </dev/null &
    outer=$!
    trap end EXIT
    local left=100
    until init=$(cat /proc/$outer/task/$outer/children 2>/dev/null) && init=${init% } && [ -n "$init" ] &&
        [ "$(cat "/proc/$init/comm" 2>/dev/null)" = systemd ]; do
        kill -0 $outer && [ $((left -= 1)) -gt 0 ] || fail "no first process: $(cat "$out/boot.log")"
        sleep 0.1
    done
}
end() {
    # The first process takes all others of the machine along.
    kill -KILL "${init:-$outer}" 2>/dev/null || true
    wait $outer 2>/dev/null || true
    find "$group" -depth -type d -exec rmdir {} + || true
}
is_booted() {
    until_so inside test -S /run/systemd/private
    inside systemctl is-system-running --wait || {
        inside systemctl --failed --no-legend
        return 1
    }
}

# ---- the service
property() { inside systemctl show --property "$1" --value sentrel; }
# What the program itself wrote since a moment.
lines_since() { inside journalctl --no-pager --output cat --since "$1" SYSLOG_IDENTIFIER=sentrel; }
now() { inside date '+%Y-%m-%d %H:%M:%S'; }
scrape() { inside curl --silent --show-error --fail --retry 20 --retry-connrefused --retry-delay 1 "$@" $metrics; }
with_drop_ins() {
    inside rm -rf $drop_ins
    inside mkdir $drop_ins
    local name
    for name in "$@"; do inside cp "/usr/share/doc/sentrel/examples/systemd/$name.conf" $drop_ins; done
    inside systemctl daemon-reload
}
write_configuration() {
    inside sh -c 'cat >/etc/sentrel.conf && chmod 600 /etc/sentrel.conf' <<<"$1"
}
is_exposed_below() {
    inside systemd-analyze --no-pager security sentrel | tee /dev/stderr |
        awk -v bound="$1" '/Overall exposure level/ { exit !($(NF - 2) < bound) }'
}
start() {
    inside systemctl enable --now sentrel
    scrape >"$out/first"
    is_exposed_below 2.0
}
# Whatever moves between two looks, the series do not.
tells_the_same() {
    local root
    inside sh -c 'sentrel serve --listen 127.0.0.1:9801 & root=$!
        setpriv --reuid=65534 --regid=65534 --clear-groups sentrel serve --listen 127.0.0.1:9802 & nobody=$!
        sleep 5
        for port in 9801 9802; do curl --silent http://127.0.0.1:$port/metrics >/tmp/of.$port; done
        kill $root $nobody
        wait'
    scrape >"$out/unit"
    for root in 9801 9802; do
        inside cat /tmp/of.$root >"$out/of.$root"
        [ "$(grep -c '^sentrel_' "$out/of.$root")" -gt 100 ]
        diff <(series "$out/of.$root") <(series "$out/unit")
        # Nor do the sizes.
        diff <(grep -E '^sentrel_(volume_size|mem_physical|cpu_boot|cpu_logical)' "$out/of.$root") \
            <(grep -E '^sentrel_(volume_size|mem_physical|cpu_boot|cpu_logical)' "$out/unit")
    done
}
series() { sed '/^#/d; s/ [^ ]*$//' "$1" | sort; }
has() { scrape | grep -F -x "$1"; }
tells() { scrape | grep -F "$1 "; }
has_no() { ! scrape | grep -F "$1"; }
sees_volumes_come_and_go() {
    inside sh -c 'mkdir -p /mnt/later /root/closed && truncate -s 32M /root/image && mkfs.ext4 -q /root/image'
    local disk
    disk=$(inside losetup --find --show /root/image)
    local labels="{device=\"${disk#/dev/}\",mountpoint=\"/mnt/later\"}"
    inside mount "$disk" /mnt/later
    until_so has "sentrel_volume_up$labels 1"
    inside umount /mnt/later
    until_so has_no "sentrel_volume_up$labels"
    # Below a folder that is closed to others nobody but root may ask.
    inside mount "$disk" /root/closed
    until_so tells "sentrel_volume_written_bytes_total{device=\"${disk#/dev/}\",mountpoint=\"/root/closed\"}"
    until_so has_no "sentrel_volume_up{device=\"${disk#/dev/}\",mountpoint=\"/root/closed\"}"
    inside umount /root/closed
    inside losetup --detach "$disk"
}
comes_again() {
    inside sh -c "kill -KILL $(property MainPID)"
    until_so came_again
    scrape >/dev/null
}
came_again() { [ "$(property NRestarts)" = 1 ] && [ "$(property ActiveState)" = active ]; }
# One line that says why, and no second try.
refuses_once() {
    local since
    inside systemctl reset-failed sentrel
    sleep 1 # the log's moments are of seconds
    since=$(now)
    inside systemctl restart sentrel || true
    until_so has_failed
    sleep 8 # longer than it waits between two tries
    has_failed
    [ "$(property NRestarts)" = 0 ]
    lines_since "$since" | tee "$out/lines"
    [ "$(wc -l <"$out/lines")" = 1 ]
    grep -F "$1" "$out/lines"
}
has_failed() { [ "$(property ActiveState)" = failed ]; }
refuses_a_bad_option() {
    echo 'ARGS=--no-such-option' | inside sh -c 'cat >/etc/default/sentrel'
    refuses_once 'no-such-option'
    inside rm /etc/default/sentrel
}
refuses_a_bad_configuration() {
    with_drop_ins configuration
    write_configuration $'[server]\nlisten=127.0.0.1:9866\nlisen=127.0.0.1:9867'
    refuses_once "sentrel.conf:3: [server] has no 'lisen'"
}
asks_for_the_password() {
    with_drop_ins configuration
    inside sh -c 'cd /etc && openssl req -quiet -x509 -newkey rsa:2048 -nodes -keyout sentrel.key -out sentrel.pem \
        -days 2 -subj /CN=localhost -addext subjectAltName=DNS:localhost 2>/dev/null ||
        openssl req -x509 -newkey rsa:2048 -nodes -keyout sentrel.key -out sentrel.pem -days 2 -subj /CN=localhost \
        -addext subjectAltName=DNS:localhost; chmod 600 sentrel.key'
    inside sh -c "printf 'LoadCredential=chain.pem:/etc/sentrel.pem\nLoadCredential=key.pem:/etc/sentrel.key\n' \
        >>$drop_ins/configuration.conf"
    write_configuration $'[authentication]\nuser=prometheus\npassword=a long one\n[tls]
certificate=/run/credentials/sentrel.service/chain.pem\nkey=/run/credentials/sentrel.service/key.pem'
    inside systemctl daemon-reload
    inside systemctl restart sentrel
    local metrics=https://localhost:9866/metrics
    scrape --cacert /etc/sentrel.pem --user 'prometheus:a long one' >/dev/null
    [ "$(answer --cacert /etc/sentrel.pem $metrics)" = 401 ]
    is_exposed_below 2.0
}
answer() { inside curl --silent --max-time 4 --output /dev/null --write-out '%{http_code}' "$@"; }
# Two machines, of which one is of the network that may come.
listens_to_a_network() {
    with_drop_ins configuration remote
    write_configuration $'[authentication]\nuser=prometheus\npassword=a long one'
    inside sh -c 'ip netns add others && ip link add inner type veth peer name outer netns others
        ip addr add 192.0.2.1/24 dev inner && ip addr add 198.51.100.1/24 dev inner && ip link set inner up
        in_others="ip -n others"
        $in_others addr add 192.0.2.2/24 dev outer && $in_others addr add 198.51.100.2/24 dev outer
        $in_others link set outer up && $in_others link set lo up'
    inside systemctl restart sentrel
    scrape --user 'prometheus:a long one' >/dev/null
    is_exposed_below 2.0
    [ "$(from_others http://192.0.2.1:9866/metrics)" = 401 ]
    [ "$(from_others --user 'prometheus:a long one' http://192.0.2.1:9866/metrics)" = 200 ]
    [ "$(from_others --user 'prometheus:a long one' http://198.51.100.1:9866/metrics)" = 000 ]
}
from_others() {
    inside ip netns exec others curl --silent --max-time 4 --output /dev/null --write-out '%{http_code}' "$@" || true
}
has_two_capabilities() {
    with_drop_ins smart
    inside systemctl restart sentrel
    scrape >/dev/null
    # 17 and 21: CAP_SYS_RAWIO, CAP_SYS_ADMIN
    [ "$(inside grep ^Cap "/proc/$(property MainPID)/status" | sort -u -k2,2 | awk '{ print $2 }')" = 0000000000220000 ]
    inside grep -E '^Groups:.*\<6\>' "/proc/$(property MainPID)/status"
    is_exposed_below 2.5
}
tells_applications() {
    with_drop_ins configuration applications
    write_configuration $'[applications]\nenabled=true'
    inside useradd somebody
    inside sh -c 'setpriv --reuid=somebody --regid=somebody --clear-groups sleep 300 >/dev/null 2>&1 &'
    inside systemctl restart sentrel
    until_so applications_hold sleep
    applications_hold dbus-daemon && return 1 # another user's
    is_exposed_below 2.0
}
applications_hold() { scrape | grep "^sentrel_application_resident_bytes{application=\"$1\"}"; }
# A share that never answers, whose program does not even begin to.
is_quiet() {
    with_drop_ins
    inside systemctl restart sentrel
    scrape >/dev/null
    sleep 1
    local since
    since=$(now)
    inside sh -c 'mkdir -p /mnt/dead; exec 9<>/dev/fuse
        mount -i -t fuse.sshfs -o fd=9,rootmode=40000,user_id=0,group_id=0,allow_other host:/dead /mnt/dead
        exec sleep 70' &
    local holder=$!
    until_so has 'sentrel_volume_up{device="dead",mountpoint="/mnt/dead"} 0'
    wait $holder # which ends the share
    lines_since "$since" | tee "$out/lines"
    inside umount --lazy /mnt/dead
    [ "$(wc -l <"$out/lines")" = 1 ]
    grep -F "Error: statfs failed for '/mnt/dead'" "$out/lines"
    [ "$(property NRestarts)" = 0 ]
}
stops() {
    inside systemctl stop sentrel
    [ "$(property Result)" = success ]
    # systemd itself found nothing to say of the unit.
    ! inside journalctl --no-pager --output cat --priority warning _PID=1 | grep -E 'sentrel\.service:[0-9]+:'
}

[ -n "$packages" ] || step "packaging/build-packages" packaging/build-packages "$out/packages"
packages=${packages:-$out/packages}
step "a machine with Debian 12 and systemd" make_machine
step "apt install" install_packages
boot
step "it boots" is_booted
step "systemctl enable --now sentrel" start
step "it tells what it tells to root" tells_the_same
step "volumes come and go" sees_volumes_come_and_go
step "killed, it comes again" comes_again
step "an option that it does not know" refuses_a_bad_option
step "a configuration that it does not understand" refuses_a_bad_configuration
step "configuration.conf, with a password and TLS" asks_for_the_password
step "configuration.conf and remote.conf" listens_to_a_network
step "smart.conf" has_two_capabilities
step "configuration.conf and applications.conf" tells_applications
step "a minute beside a share that never answers" is_quiet
step "systemctl stop sentrel" stops
echo "The service does what its unit and its drop-ins say"
