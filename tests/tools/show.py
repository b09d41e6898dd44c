#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The command "show" as its users run it: its lines hold to the schema, and its refusals are clear.

usage: show.py SENTREL SOURCE_DIR
"""
import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import jsonschema

sentrel = sys.argv.pop(1)
source = pathlib.Path(sys.argv.pop(1))


def run(*arguments, **options):
    return subprocess.run([sentrel, *arguments], capture_output=True, text=True, timeout=60, **options)


class Show(unittest.TestCase):
    def test_the_schema_that_is_documented_is_that_of_the_program(self):
        self.assertEqual((source / "docs/schema.json").read_text(), run("show", "--schema").stdout)

    def test_a_line_holds_to_the_schema(self):
        lines = run("show", "--json").stdout.splitlines()
        self.assertEqual(len(lines), 1)
        line = json.loads(lines[0])
        jsonschema.validate(line, json.loads((source / "docs/schema.json").read_text()))
        self.assertEqual(
            line["mem"]["physical_bytes"], os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE")
        )
        self.assertEqual(line["cpu"]["logical_cores"], os.sysconf("SC_NPROCESSORS_CONF"))

    def test_all_figures_hold_to_the_schema(self):
        line = json.loads(run("show", "--all", "--json").stdout)
        jsonschema.validate(line, json.loads((source / "docs/schema.json").read_text()))
        self.assertEqual(len(line["cpu"]["cores"]), os.cpu_count())
        self.assertEqual(line["host"]["kernel_release"], os.uname().release)
        lo = next(link for link in line["net"]["links"] if link["interface"] == "lo")
        self.assertEqual(lo["mtu_bytes"], int(pathlib.Path("/sys/class/net/lo/mtu").read_text()))
        own = [one for one in line["apps"]["applications"] if one["pid"] == str(os.getpid())]
        for application in own:  # unless what runs the tests is no application of a person
            self.assertEqual(application["user_id"], str(os.geteuid()))

    def test_each_field_that_is_listed_can_be_asked_for(self):
        names = [line.split()[0] for line in run("show", "--list-fields").stdout.splitlines()]
        self.assertIn("cpu.usage_ratio", names)
        self.assertEqual(len(names), len(set(names)))
        line = json.loads(run("show", "--json", "--fields", ",".join(names)).stdout)
        self.assertIn("sensors", line)

    def test_watching_prints_line_after_line_until_it_is_ended(self):
        command = [sentrel, "show", "--json", "--watch", "0.2", "cpu"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as child:
            times = [json.loads(child.stdout.readline())["time"] for _ in range(3)]
            child.terminate()
        self.assertEqual(times, sorted(set(times)))

    def test_an_output_that_is_closed_ends_it(self):
        read, write = os.pipe()
        os.close(read)
        result = subprocess.run(
            [sentrel, "show", "cpu", "--watch", "0.1"], stdout=write, stderr=subprocess.PIPE, text=True, timeout=60
        )
        os.close(write)
        self.assertNotEqual(result.returncode, 0)

    def test_a_full_device_is_told(self):
        for arguments in (["cpu"], ["--schema"], ["--list-fields"]):
            with self.subTest(arguments=arguments), open("/dev/full", "w") as full:
                command = [sentrel, "show", *arguments]
                result = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, text=True, timeout=60)
                self.assertEqual(result.returncode, 1)
                self.assertIn("cannot write", result.stderr)

    def test_a_terminal_without_unicode_gets_ascii(self):
        # The second byte of this letter begins a command where bytes are characters.
        name = "clear\u011b2J"
        with tempfile.TemporaryDirectory() as folder:
            program = shutil.copy("/bin/sleep", f"{folder}/{name}")
            with subprocess.Popen([program, "60"]) as child:
                outputs = {}
                for locale in ("C.UTF-8", "C"):
                    master, slave = os.openpty()
                    command = [sentrel, "show", "--json", "--fields", "apps.applications.command"]
                    with subprocess.Popen(command, stdout=slave, env={**os.environ, "LC_ALL": locale}):
                        os.close(slave)
                        outputs[locale] = b""
                        with contextlib.suppress(OSError):  # the end of a terminal
                            while data := os.read(master, 65536):
                                outputs[locale] += data
                    os.close(master)
                child.kill()
        if b"2J" not in outputs["C.UTF-8"]:
            self.skipTest("what runs the tests is no application of a person")
        self.assertIn(name.encode(), outputs["C.UTF-8"])
        self.assertIn(b"clear?2J", outputs["C"])
        self.assertTrue(outputs["C"].isascii())

    def test_what_is_asked_wrongly_is_refused_in_one_line(self):
        for arguments in (
            ["show", "coffee"],
            ["show", "--fields", "cpu.coffee"],
            ["show", "--watch", "0"],
            ["show", "--watch", "nan"],
            ["show", "--watch", "soon"],
            ["show", "--watch"],
            ["show", "--tea"],
            ["brew"],
        ):
            with self.subTest(arguments=arguments):
                result = run(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertEqual(result.stdout, "")
                self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)

    def test_help_and_version_are_there(self):
        self.assertIn("--json", run("show", "--help").stdout)
        self.assertRegex(run("--version").stdout, r"^\d+\.\d+\.\d+\n$")


unittest.main()
