#!/usr/bin/python3
"""A desktop of its own: a display without a screen, a window manager, a message bus and the bus of assistive technology.

    desktop_session.py [--screen WIDTHxHEIGHT] [--dpi N] [--no-manager] [-- COMMAND [ARGUMENT...]]

With a command: runs it on that desktop and ends with its status. Without one: prints the variables that name the
desktop, one NAME=VALUE a line, then an empty line, and stays until it is ended or its parent is gone.

Nothing outlives it. What it starts hears of its end from the kernel, whatever ends it; it in turn hears of its
parent's end. What those start in turn ends with the bus or the display that it is connected to."""

import argparse
import ctypes
import os
import select
import shutil
import signal
import subprocess
import sys
import tempfile

PATIENCE = 30  # seconds that anything may take to start
PR_SET_PDEATHSIG = 1  # <linux/prctl.h>
PR_SET_CHILD_SUBREAPER = 36
libc = ctypes.CDLL(None, use_errno=True)

# Four workspaces, a click gives the focus; no keys of its own, nothing that moves or pops up by itself.
MANAGER = """<openbox_config xmlns="http://openbox.org/3.4/rc">
<focus><focusNew>yes</focusNew></focus>
<theme><name>Clearlooks</name><animateIconify>no</animateIconify></theme>
<desktops><number>4</number><popupTime>0</popupTime></desktops>
<mouse>
<context name="Client"><mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind></context>
<context name="Titlebar"><mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind></context>
</mouse>
</openbox_config>
"""


def end_with_parent():
    libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


class Session:
    def __init__(self, options):
        self.folder = tempfile.mkdtemp(prefix="sentrel-desktop-")
        self.programs = []
        self.variables = {}
        try:
            self.start(options)
        except BaseException:
            self.end()
            raise

    def start(self, options):
        for name in ("CONFIG", "DATA", "CACHE", "RUNTIME"):
            folder = os.path.join(self.folder, name.lower())
            os.mkdir(folder, 0o700)
            self.set(f"XDG_{name}_{'DIR' if name == 'RUNTIME' else 'HOME'}", folder)
        self.set("GSETTINGS_BACKEND", "memory")
        self.set("NO_AT_BRIDGE", None)
        self.set("WAYLAND_DISPLAY", None)
        self.set("XAUTHORITY", None)

        ready, told = os.pipe()
        number = self.run(["Xvfb", "-displayfd", str(told), "-screen", "0", options.screen + "x24", "-dpi", options.dpi,
                           "-nolisten", "tcp", "-noreset"], ready, told)
        self.set("DISPLAY", ":" + number)

        ready, told = os.pipe()
        self.set("DBUS_SESSION_BUS_ADDRESS",
                 self.run(["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--print-address={told}"], ready, told))

        # Found by toolkits through the session's bus.
        self.run(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately", "--a11y=1"])

        if not options.no_manager:
            configuration = os.path.join(self.folder, "openbox.xml")
            with open(configuration, "w") as file:
                file.write(MANAGER)
            self.run(["openbox", "--sm-disable", "--config-file", configuration])
            signal.alarm(PATIENCE)
            await_manager()
            signal.alarm(0)

    def set(self, name, value):
        self.variables[name] = value
        if value is None:
            os.environ.pop(name, None)
        else:
            os.environ[name] = value

    def run(self, command, ready=None, told=None, stdout=subprocess.DEVNULL):
        """Starts a program and waits for the line with which it says that it is ready."""
        self.programs.append(subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=stdout, stderr=self.log(), preexec_fn=end_with_parent,
            pass_fds=() if told is None else (told,)))
        if ready is None:
            return None
        os.close(told)
        signal.alarm(PATIENCE)
        with os.fdopen(ready) as lines:
            line = lines.readline().strip()
        signal.alarm(0)
        if not line:
            raise SystemExit(f"{command[0]} did not start")
        return line

    @staticmethod
    def log():
        return None if os.environ.get("SENTREL_DESKTOP_LOG") else subprocess.DEVNULL

    def end(self):
        for program in reversed(self.programs):
            program.terminate()
            try:
                program.wait(5)
            except subprocess.TimeoutExpired:
                program.kill()
                program.wait()
        # What those started and left behind is a child of this one by now.
        while True:
            left = children()
            if not left:
                break
            for process in left:
                try:
                    os.kill(process, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                try:
                    os.waitpid(process, 0)
                except ChildProcessError:
                    pass
        shutil.rmtree(self.folder, ignore_errors=True)


class ClientMessage(ctypes.Structure):
    """XClientMessageEvent in the room of an XEvent, <X11/Xlib.h>."""
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("rest", ctypes.c_long * 12)]


def await_manager():
    """Asks the window manager for a frame's extents until it answers. While it starts, it may leave what it is asked
    unread until it is asked something else: so it is asked again and again."""
    x11 = ctypes.CDLL("libX11.so.6")
    for name in ("XOpenDisplay", "XDefaultRootWindow", "XCreateSimpleWindow", "XInternAtom"):
        getattr(x11, name).restype = ctypes.c_ulong
    display = ctypes.c_void_p(x11.XOpenDisplay(None))
    root = ctypes.c_ulong(x11.XDefaultRootWindow(display))
    window = x11.XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, ctypes.c_ulong(0), ctypes.c_ulong(0))
    x11.XSelectInput(display, ctypes.c_ulong(window), ctypes.c_long(1 << 22))  # PropertyChangeMask
    ask = ClientMessage(type=33, window=window, format=32,  # ClientMessage
                        message=x11.XInternAtom(display, b"_NET_REQUEST_FRAME_EXTENTS", 0))
    while not x11.XPending(display):
        substructure = ctypes.c_long(1 << 19 | 1 << 20)  # SubstructureNotifyMask, SubstructureRedirectMask
        x11.XSendEvent(display, root, 0, substructure, ctypes.byref(ask))
        x11.XFlush(display)
        select.select([x11.XConnectionNumber(display)], [], [], 0.02)
    x11.XCloseDisplay(display)


def children():
    try:
        with open(f"/proc/self/task/{os.getpid()}/children") as file:
            return [int(process) for process in file.read().split()]
    except FileNotFoundError:  # a kernel without CONFIG_PROC_CHILDREN
        return []


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--screen", default="1280x1024")
    parser.add_argument("--dpi", default="96")
    parser.add_argument("--no-manager", action="store_true")
    parser.add_argument("command", nargs="*")
    options = parser.parse_args()

    # A signal leaves through the clean-up below.
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGALRM):
        signal.signal(number, lambda *_: sys.exit(1))
    parent = os.getppid()
    end_with_parent()
    if os.getppid() != parent:
        return 1
    libc.prctl(PR_SET_CHILD_SUBREAPER, 1)

    session = Session(options)
    try:
        if options.command:
            return subprocess.Popen(options.command, preexec_fn=end_with_parent).wait()
        for name, value in session.variables.items():
            print(name + ("" if value is None else "=" + value))
        print(flush=True)
        while True:
            signal.pause()
    finally:
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        session.end()


if __name__ == "__main__":
    sys.exit(main())
