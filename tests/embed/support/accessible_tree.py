#!/usr/bin/python3
"""What assistive technology is told of a program, read over its bus like a screen reader does.

    accessible_tree.py PROCESS                the tree: one object a line, fields between tabs: depth, role, name,
                                              description, value, text, states (between blanks), x y width height on
                                              the screen
    accessible_tree.py PROCESS do NAME        does the first action of the object of that name
    accessible_tree.py PROCESS focus NAME     gives it the keyboard's focus

Waits until the program is there. The last line is "done", or says what is wrong."""

import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE = 30  # seconds


def plain(text):
    return (text or "").replace("\t", " ").replace("\n", " ")


def children(node):
    return [child for child in (node.get_child_at_index(i) for i in range(node.get_child_count())) if child]


def application(process):
    for program in children(Atspi.get_desktop(0)):
        try:
            if program.get_process_id() == process and program.get_child_count():
                return program
        except GLib.Error:
            pass  # it ended meanwhile
    return None


def value(node):
    return f"{Atspi.Value.get_current_value(node):g}" if "Value" in node.get_interfaces() else ""


def text(node):
    if "Text" not in node.get_interfaces():
        return ""
    return Atspi.Text.get_text(node, 0, Atspi.Text.get_character_count(node))


def place(node):
    if "Component" not in node.get_interfaces():
        return "0 0 0 0"
    box = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN)
    return f"{box.x} {box.y} {box.width} {box.height}"


def states(node):
    return " ".join(state.value_nick for state in node.get_state_set().get_states())


def walk(node, depth=0):
    yield depth, node
    for child in children(node):
        yield from walk(child, depth + 1)


def show(program):
    for depth, node in walk(program):
        print(depth, node.get_role_name(), plain(node.get_name()), plain(node.get_description()), value(node),
              plain(text(node)), states(node), place(node), sep="\t")


def named(program, name):
    for _, node in walk(program):
        if node.get_name() == name:
            return node
    raise SystemExit(f"there is no {name}")


def main():
    end = time.monotonic() + PATIENCE
    program = None
    while not program:
        if time.monotonic() > end:
            raise SystemExit("the program is not there")
        program = application(int(sys.argv[1]))
        if not program:
            time.sleep(0.02)
    # What was asked before may have changed, and no loop runs here that would hear of it.
    program.clear_cache()
    if len(sys.argv) == 2:
        show(program)
    elif sys.argv[2] == "do":
        if not Atspi.Action.do_action(named(program, sys.argv[3]), 0):
            raise SystemExit("the action was not done")
    elif not Atspi.Component.grab_focus(named(program, sys.argv[3])):
        raise SystemExit("the focus was not given")
    print("done")


if __name__ == "__main__":
    try:
        main()
    except SystemExit as failure:
        print(failure)
    except Exception as failure:  # the last line tells the test
        print(type(failure).__name__, failure)
