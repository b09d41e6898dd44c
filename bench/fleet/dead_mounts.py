#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What mounts that never answer do to "sentrel serve" and to Debian's node_exporter: both run on this machine, in a
mount namespace with so many of them, and are scraped one after the other. Prints a table. Needs root and /dev/fuse.

usage: dead_mounts.py SENTREL [--mounts 100] [--scrapes 10000] [--seconds 120]
"""
import argparse
import contextlib
import ctypes
import os
import pathlib
import subprocess
import tempfile
import time
import urllib.request

CLONE_NEWNS, CLONE_NEWPID, MS_REC, MS_PRIVATE = 0x00020000, 0x20000000, 0x4000, 1 << 18
libc = ctypes.CDLL(None, use_errno=True)


def checked(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


class DeadMount:
    """A user-space file system that nobody answers for, from its beginning: each question to it waits."""

    def __init__(self, number, folder):
        folder.mkdir()
        self.server = os.open("/dev/fuse", os.O_RDWR)
        options = f"fd={self.server},rootmode=40000,user_id=0,group_id=0"
        source, target, kind = (each.encode() for each in (f"host:/share{number}", str(folder), "fuse.sshfs"))
        checked(libc.mount(source, target, kind, 0, options.encode()))


def go_on_with_own_mounts():
    """In a process that is the first one of its own: node_exporter looks at the mounts that the first one has."""
    checked(libc.unshare(CLONE_NEWNS | CLONE_NEWPID))
    if child := os.fork():
        os._exit(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
    checked(libc.mount(b"none", b"/", None, MS_REC | MS_PRIVATE, None))
    checked(libc.mount(b"proc", b"/proc", b"proc", 0, None))


def entries(process, folder):
    return len(os.listdir(f"/proc/{process.pid}/{folder}"))


def scrape(port, timeout=10):  # Prometheus's own
    with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics", timeout=timeout) as answer:
        return answer.read().decode()


def until_it_listens(port):
    for _ in range(300):
        try:
            return scrape(port)
        except TimeoutError:
            return None
        except OSError:
            time.sleep(0.1)
    raise SystemExit(f"nothing answers on port {port}")


def measure(name, command, port, volume_up, options):
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        until_it_listens(port)
        threads, descriptors = entries(process, "task"), entries(process, "fd")
        times, failed, text = [], 0, ""
        end = time.monotonic() + options.seconds
        while len(times) + failed < options.scrapes and time.monotonic() < end:
            begin = time.monotonic()
            try:
                text = scrape(port)
                times.append(time.monotonic() - begin)
            except OSError:
                failed += 1
        times.sort()
        return {
            "": name,
            "scrapes": len(times) + failed,
            "without an answer in 10 s": failed,
            "median": f"{times[len(times) // 2] * 1000:.2f} ms" if times else "none",
            "slowest": f"{times[-1] * 1000:.1f} ms" if times else "none",
            "over 50 ms": sum(each > 0.05 for each in times),
            "mounts told as dead": sum(volume_up(line) for line in text.splitlines()),
            "threads": f"{threads} → {entries(process, 'task')}",
            "descriptors": f"{descriptors} → {entries(process, 'fd')}",
        }
    finally:
        process.kill()
        with contextlib.suppress(subprocess.TimeoutExpired):  # a thread of it may wait in the kernel
            process.wait(timeout=10)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("sentrel", type=pathlib.Path)
    parser.add_argument("--mounts", type=int, default=100)
    parser.add_argument("--scrapes", type=int, default=10000)
    parser.add_argument("--seconds", type=float, default=120, help="at most, for each exporter")
    parser.add_argument("--node-exporter", default="prometheus-node-exporter")
    options = parser.parse_args()
    go_on_with_own_mounts()
    load = os.getloadavg()[0]  # threads that wait for a dead mount count for it
    with tempfile.TemporaryDirectory() as place:
        checked(libc.mount(b"none", place.encode(), b"tmpfs", 0, None))
        mounts = [DeadMount(number, pathlib.Path(place) / str(number)) for number in range(options.mounts)]
        try:
            rows = [
                measure("sentrel serve", [options.sentrel, "serve", "--listen", "127.0.0.1:19866"], 19866,
                        lambda line: line.startswith("sentrel_volume_up{") and line.endswith(" 0"), options),
                measure("node_exporter", [options.node_exporter, "--web.listen-address=127.0.0.1:19100"], 19100,
                        lambda line: line.startswith("node_filesystem_device_error{") and line.endswith(" 1"), options),
            ]
        finally:
            for mount in mounts:
                os.close(mount.server)  # whoever waits is told that nobody will answer
            checked(libc.umount2(place.encode(), 2))  # with all that is mounted below
    print(f"{options.mounts} dead mounts, load before {load:.1f}\n")
    print("| " + " | ".join(rows[0]) + " |\n| --- |" + " ---: |" * (len(rows[0]) - 1))
    for row in rows:
        print("| " + " | ".join(str(value) for value in row.values()) + " |")


main()
