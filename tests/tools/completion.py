#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""What is installed beside the command says of it what it says itself: the completions of shells, which are run, and
the manual page.

usage: completion.py SENTREL SOURCE_DIR
"""
import os
import pathlib
import re
import subprocess
import sys
import unittest

sentrel = pathlib.Path(sys.argv.pop(1)).resolve()
folder = pathlib.Path(sys.argv.pop(1)) / "packaging/command"
environment = {**os.environ, "PATH": f"{sentrel.parent}:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, env=environment, **options)


def options_of(*command):
    """The options in the first column of the help: what stands behind may name others."""
    lines = run(sentrel, *command, "--help").stdout.splitlines()
    first = (re.split(r"\s{2,}", line.strip())[0] for line in lines if line.startswith("  "))
    options = set(re.findall(r"--[a-z][a-z-]*", " ".join(first)))
    assert "--help" in options, options
    return options


def commands():
    text = run(sentrel, "--help").stdout.split("Subcommands:")[1]
    return re.findall(r"(?m)^  (\w+)", text)


def bash(line):
    """What bash offers for the last word of a line."""
    script = f"""
        source {folder}/sentrel.bash
        compopt() {{ :; }}  # of a completion that readline runs
        COMP_WORDS=({" ".join(f"'{word}'" for word in line)})
        COMP_CWORD={len(line) - 1}
        _sentrel
        printf '%s\\n' "${{COMPREPLY[@]}}"
    """
    return set(run("bash", "--norc", "-c", script).stdout.split())


class Completion(unittest.TestCase):
    def test_bash_offers_every_command_and_option(self):
        self.assertTrue(set(commands()) | options_of() <= bash(["sentrel", ""]))
        for command in commands():
            self.assertTrue(options_of(command) <= bash(["sentrel", command, "--"]), command)

    def test_bash_offers_resources_fields_and_files(self):
        self.assertEqual(bash(["sentrel", "show", "s"]), {"sensors"})
        self.assertEqual(bash(["sentrel", "show", "--all", "cpu", "ho"]), {"host"})
        self.assertEqual(bash(["sentrel", "show", "--fields", "cpu.loa"]), {"cpu.load1", "cpu.load5", "cpu.load15"})
        self.assertEqual(
            bash(["sentrel", "show", "--fields", "cpu.load1,mem.wir"]), {"cpu.load1,mem.wired_bytes"}
        )
        self.assertEqual(bash(["sentrel", "show", "--watch", ""]), set())

    def test_fish_offers_every_command_and_option(self):
        def fish(line):
            shown = run("fish", "--no-config", "-c", f"source {folder}/sentrel.fish; complete -C '{line}'")
            return {one.split("\t")[0] for one in shown.stdout.splitlines()}

        self.assertTrue(set(commands()) <= fish("sentrel "))
        self.assertTrue(options_of() <= fish("sentrel --"))
        for command in commands():
            self.assertTrue(options_of(command) <= fish(f"sentrel {command} --"), command)
        self.assertIn("sensors", fish("sentrel show s"))
        self.assertIn("cpu.load1", fish("sentrel show --fields cpu.loa"))
        self.assertIn("cpu.load1,mem.wired_bytes", fish("sentrel show --fields cpu.load1,mem.wir"))

    def test_zsh_offers_every_command_and_option(self):
        text = (folder / "_sentrel").read_text()
        self.assertEqual(run("zsh", "-fn", folder / "_sentrel").stderr, "")
        for command in commands():
            self.assertIn(f"'{command}:", text)
            part = text[text.index(f"_sentrel_{command}() {{") :]
            for option in options_of(command):
                self.assertIn(option, part[: part.index("\n}")], command)
        # On a terminal of its own, as a user presses the key: two words that only the completion knows.
        script = f"""
            zmodload zsh/zpty
            zpty shell zsh -f -i
            zpty -w shell 'PS1=; fpath=({folder} $fpath); autoload -U compinit; compinit -u -D; setopt list_ambiguous'
            zpty -n -w shell $'sentrel sho\\tsens\\t--sche\\t'
            local text= piece
            repeat 200; do
                while zpty -r -t shell piece; do text+=$piece; done
                [[ $text == *--schema* ]] && break
                sleep 0.05
            done
            print -r -- $text
            zpty -d shell
        """
        self.assertRegex(run("zsh", "-f", "-c", script).stdout, r"sentrel show.*sensors.*--schema")

    def test_the_manual_page_tells_every_command_and_option(self):
        page = (folder / "sentrel.1").read_text().replace("\\-", "-")
        for command in commands():
            self.assertIn(f".SS sentrel {command}\n", page)
            part = page[page.index(f".SS sentrel {command}\n") :]
            part = part[: re.search(r"\n\.S[HS] ", part[1:]).start()]
            for option in options_of(command) - {"--help"}:
                self.assertIn(option, part, command)
        for option in options_of():
            self.assertIn(option, page)

    def test_the_manual_page_is_sound(self):
        result = run("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", folder / "sentrel.1")
        self.assertEqual((result.returncode, result.stderr), (0, ""))


unittest.main()
