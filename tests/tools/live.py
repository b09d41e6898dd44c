#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The live view as its users see it: on a terminal that a test holds the other end of.

usage: live.py SENTREL
"""
import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import sys
import termios
import time
import unittest

import pyte

sentrel = sys.argv.pop(1)
leave_other_screen = b"\x1b[?1049l"


class Terminal:
    """A terminal with the view on it, as a shell would start it: in a session and a group of its own."""

    def __init__(self, columns=80, rows=24, **environment):
        self.screen = pyte.Screen(columns, rows)
        self.stream = pyte.ByteStream(self.screen)
        self.output = b""
        self.master, self.slave = os.openpty()  # the slave stays open, so that its modes can be read afterwards
        self.resize(columns, rows)
        self.modes = termios.tcgetattr(self.slave)
        variables = {"PATH": os.environ["PATH"], "TERM": "xterm-256color", "LANG": "C.UTF-8", **environment}
        self.pid = os.fork()
        if self.pid == 0:
            os.setsid()
            fcntl.ioctl(self.slave, termios.TIOCSCTTY, 0)
            for descriptor in range(3):
                os.dup2(self.slave, descriptor)
            os.execve(sentrel, [sentrel], variables)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.pid:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.master)
        os.close(self.slave)

    def resize(self, columns, rows):
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))
        self.screen.resize(rows, columns)

    def read(self, seconds):
        if not select.select([self.master], [], [], seconds)[0]:
            return False
        data = os.read(self.master, 65536)
        self.output += data
        self.stream.feed(data)
        return True

    def wait_for(self, condition, what):
        end = time.monotonic() + 30
        while not condition():
            assert time.monotonic() < end, f"not within 30 s: {what}\n" + "\n".join(self.screen.display)
            self.read(0.2)

    def wait_for_text(self, *texts):
        self.wait_for(lambda: all(text in "\n".join(self.screen.display) for text in texts), texts)

    def press(self, keys):
        os.write(self.master, keys.encode())

    def end(self):
        """The status with which it ended; what it wrote until then is read."""
        status = []

        def has_ended():
            pid, code = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self.pid = 0
                status.append(os.waitstatus_to_exitcode(code))
            return bool(pid)

        self.wait_for(has_ended, "the end")
        while self.read(0):
            pass
        return status[0]


class Live(unittest.TestCase):
    def assert_restored(self, terminal):
        self.assertEqual(termios.tcgetattr(terminal.slave), terminal.modes)
        self.assertGreater(
            terminal.output.rfind(leave_other_screen), terminal.output.rfind(b"\x1b[?1049h"), "on the other screen still"
        )
        self.assertGreater(terminal.output.rfind(b"\x1b[?25h"), terminal.output.rfind(b"\x1b[?25l"), "without cursor")

    def test_it_shows_this_machine_and_q_quits(self):
        with Terminal() as terminal:
            terminal.wait_for_text("CPU", "Memory", "Net in", "Applications", "q quit")
            self.assertNotEqual(termios.tcgetattr(terminal.slave), terminal.modes)
            terminal.press("q")
            self.assertEqual(terminal.end(), 0)
            self.assert_restored(terminal)

    def test_whatever_ends_it_the_terminal_is_as_it_was(self):
        for end, status in (
            (signal.SIGTERM, -signal.SIGTERM),
            (signal.SIGHUP, -signal.SIGHUP),
            (signal.SIGINT, 0),
            (signal.SIGSEGV, -signal.SIGSEGV),
            (signal.SIGABRT, -signal.SIGABRT),
        ):
            with self.subTest(end=end.name), Terminal() as terminal:
                terminal.wait_for_text("q quit")
                os.kill(terminal.pid, end)
                self.assertEqual(terminal.end(), status)
                self.assert_restored(terminal)

    def test_ctrl_c_quits(self):
        with Terminal() as terminal:
            terminal.wait_for_text("q quit")
            terminal.press("\x03")
            self.assertEqual(terminal.end(), 0)
            self.assert_restored(terminal)

    def test_ctrl_z_gives_the_terminal_back_until_it_goes_on(self):
        with Terminal() as terminal:
            terminal.wait_for_text("q quit")
            os.kill(terminal.pid, signal.SIGTSTP)  # the kernel keeps Ctrl-Z from a group without a shell above it
            terminal.wait_for(lambda: leave_other_screen in terminal.output, "the screen that was there before")
            os.kill(terminal.pid, signal.SIGCONT)
            terminal.wait_for(lambda: terminal.output.count(b"\x1b[?1049h") >= 2, "the other screen again")
            terminal.wait_for_text("CPU", "q quit")
            terminal.press("q")
            self.assertEqual(terminal.end(), 0)
            self.assert_restored(terminal)

    def test_it_fits_every_size_and_follows_a_change(self):
        with Terminal(40, 10) as terminal:
            terminal.wait_for_text("CPU", "Memory", "Applications", "q quit")
            for columns, rows in ((200, 60), (60, 8), (12, 3), (1, 1), (80, 24)):
                terminal.resize(columns, rows)
                terminal.wait_for(
                    lambda: rows < 3 or terminal.screen.display[rows - 1].startswith("q quit"), f"{columns}x{rows}"
                )
            terminal.wait_for_text("Applications")
            terminal.press("q")
            self.assertEqual(terminal.end(), 0)

    def test_its_size_is_the_terminals_whatever_the_environment_says(self):
        with Terminal(80, 24, COLUMNS="200", LINES="60") as terminal:
            terminal.wait_for_text("CPU", "q quit")
            terminal.press("q")
            self.assertEqual(terminal.end(), 0)
            rows = [int(row) for row in re.findall(rb"\x1b\[(\d+)(?:;\d+)?[Hd]", terminal.output)]
            self.assertEqual(max(rows), 24)

    def test_the_keys_stay_shown_at_another_size(self):
        with Terminal() as terminal:
            terminal.wait_for_text("Applications")
            terminal.press("h")
            terminal.wait_for_text("m  applications by memory")
            terminal.resize(100, 30)
            terminal.wait_for(lambda: terminal.screen.display[29].startswith("q quit"), "30 rows")
            terminal.wait_for_text("m  applications by memory")
            terminal.press("q")
            self.assertEqual(terminal.end(), 0)

    def test_keys_sort_and_help(self):
        with Terminal() as terminal:
            terminal.wait_for_text("Applications")

            def memories():
                units = {"B": 0, "KB": 1, "MB": 2, "GB": 3}
                found = (re.search(r"([\d.]+) (B|KB|MB|GB) +\d+ *$", line) for line in terminal.screen.display)
                return [float(one[1]) * 1024 ** units[one[2]] for one in found if one]

            terminal.press("m")
            terminal.wait_for(
                lambda: len(memories()) > 2 and memories() == sorted(memories(), reverse=True), "the largest first"
            )
            terminal.press("h")
            terminal.wait_for_text("m  applications by memory")
            terminal.press("h")
            terminal.wait_for_text("Memory")
            terminal.press("q")
            self.assertEqual(terminal.end(), 0)

    def test_colours_are_the_terminals_and_none_with_no_color(self):
        colour = re.compile(rb"\x1b\[[0-9;]*3[0-7][;m]")
        for variables, is_coloured in (({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "vt100"}, False)):
            with self.subTest(variables=variables), Terminal(**variables) as terminal:
                terminal.wait_for_text("CPU", "q quit")
                terminal.press("q")
                self.assertEqual(terminal.end(), 0)
                self.assertEqual(bool(colour.search(terminal.output)), is_coloured)

    def test_a_terminal_without_unicode_gets_ascii(self):
        with Terminal(LANG="C") as terminal:
            terminal.wait_for_text("CPU", "[")
            terminal.press("q")
            terminal.end()
            self.assertTrue(terminal.output.isascii())

    def test_it_sleeps_between_samples(self):
        with Terminal() as terminal:
            terminal.wait_for_text("q quit")
            with open(f"/proc/{terminal.pid}/status") as status:
                before = int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status.read(), re.M)[1])
            start = time.monotonic()
            terminal.wait_for(lambda: time.monotonic() > start + 3, "three seconds")
            with open(f"/proc/{terminal.pid}/status") as status:
                after = int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status.read(), re.M)[1])
            self.assertLess(after - before, 60)

    def test_a_terminal_that_goes_away_ends_it(self):
        terminal = Terminal()
        terminal.wait_for_text("q quit")
        os.close(terminal.slave)
        os.close(terminal.master)
        end = time.monotonic() + 30
        while os.waitpid(terminal.pid, os.WNOHANG) == (0, 0):
            self.assertLess(time.monotonic(), end)
            time.sleep(0.05)

    def test_without_a_terminal_it_prints_the_figures_once_and_says_why(self):
        result = subprocess.run([sentrel], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
        self.assertEqual(result.returncode, 0)
        self.assertIn("cpu\n  usage", result.stdout)
        self.assertNotIn("\x1b", result.stdout)
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
        self.assertIn("not on a terminal", result.stderr)

    def test_on_a_terminal_that_cannot_show_it_it_prints_the_figures_once(self):
        for kind in ("dumb", "no-such-terminal", ""):
            with self.subTest(kind=kind), Terminal(TERM=kind) as terminal:
                self.assertEqual(terminal.end(), 0)
                self.assertIn(b"cannot show the live view", terminal.output)
                self.assertIn(b"logical cores", terminal.output)
                self.assertEqual(termios.tcgetattr(terminal.slave), terminal.modes)


unittest.main()
