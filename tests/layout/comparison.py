#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Whatever docs/comparison.md says of this library is held by a test that is there, or is owned up to.

usage: comparison.py SOURCE_DIR
"""
import pathlib
import re
import sys


def section(text, title):
    found = re.search(rf"^## {re.escape(title)}$(.*?)(?=^## |\Z)", text, flags=re.S | re.M)
    return found.group(1) if found else ""


source = pathlib.Path(sys.argv[1])
page = (source / "docs/comparison.md").read_text()
known = set()
for path in (source / "tests").rglob("*.cpp"):
    known.update(".".join(test) for test in
                 re.findall(r"^\s*(?:TEST|TEST_F|TEST_P|TYPED_TEST|TYPED_TEST_P)\((\w+),\s*(\w+)\)", path.read_text(), re.M))

faults = []
rows = {}
for title in ("What it measures", "What people choose by"):
    lines = [line for line in section(page, title).splitlines() if line.startswith("|")]
    for line in lines[2:]:
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) != 7 or not all(cells):
            faults.append(f"{cells[0]}: not a name and six cells")
            continue
        if cells[0] in rows:
            faults.append(f"{cells[0]}: twice")
        rows[cells[0]] = cells[1]

holds = {}
for entry in re.split(r"^- ", section(page, "What holds our column"), flags=re.M)[1:]:
    name, tests = re.split(r":\s+(?=`)", entry, maxsplit=1)
    holds[" ".join(name.split())] = re.findall(r"`([^`]+)`", tests)
behind = set(re.findall(r"\*\*([^*]+)\*\*", section(page, "Where we are behind")))

for name, ours in rows.items():
    if re.match(r"(no|part)\b", ours) and name not in behind:
        faults.append(f"{name}: {ours}, and not among those where we are behind")
    if not re.match(r"(yes|part|no)\b", ours):
        faults.append(f"{name}: neither yes nor part nor no: {ours}")
    if re.match(r"no\b", ours) == (name in holds):
        faults.append(f"{name}: {ours}")
    if not re.match(r"no\b", ours) and not holds.get(name):
        faults.append(f"{name}: no test")
for name, tests in holds.items():
    if name not in rows:
        faults.append(f"{name}: tests of no row")
    for test in tests:
        if test not in known and not (source / test).exists():
            faults.append(f"{name}: there is no test {test}")
faults += [f"{name}: behind in no row" for name in behind - set(rows)]
faults += [f"{name}: behind with {rows[name]}" for name in behind & set(rows) if rows[name].startswith("yes")]
print("\n".join(faults + [f"{len(rows)} rows, {len(faults)} faults"]))
sys.exit(1 if faults or not rows else 0)
