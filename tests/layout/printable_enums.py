#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Every enumeration of an installed header can be written to a stream, by the names that it has there.

usage: printable_enums.py SOURCE_DIR
"""
import pathlib
import re
import sys


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S)


def enumerations(text):
    """The scoped enumerations of a header: the name with the class around it, if there is one, and the values."""
    for found in re.finditer(r"enum class (\w+)[^{;]*\{([^}]*)\}", text):
        before = text[: found.start()]
        outer = ""
        depth = 0
        for brace in reversed(list(re.finditer(r"[{}]", before))):
            depth += 1 if brace.group() == "}" else -1
            if depth < 0:  # the innermost one that is still open
                head = before[: brace.start()].rstrip()
                holder = re.search(r"(?:class|struct)(?:\s+SENTREL_API)?\s+(\w+)(?:\s+final)?(?:\s*:[^;{}]*)?$", head)
                outer = holder.group(1) + "::" if holder else ""
                break
        values = [value.split("=")[0].strip() for value in found.group(2).split(",")]
        yield outer + found.group(1), [value for value in values if value]


source = pathlib.Path(sys.argv[1])
listed = (source / "packaging/installed-headers").read_text().split("EXCLUDE")[0]
headers = re.findall(r"SentrelKit/\S+\.h", listed)
written = {}
for printing in source.glob("SentrelKit/*/Printing.cpp"):
    pattern = r"operator<<\(std::ostream& stream, ([\w:]+) value\) \{\s*return writeName\(stream, value,\s*\{(.*?)\}\);"
    for name, names in re.findall(pattern, printing.read_text(), flags=re.S):
        written[name] = re.findall(r'"(\w+)"', names)

faults = []
count = 0
for header in headers:
    text = without_comments((source / header).read_text())
    for name, values in enumerations(text):
        count += 1
        if f"std::ostream& operator<<(std::ostream& stream, {name} value);" not in text:
            faults.append(f"{header}: {name} has no operator<<")
        elif written.get(name) != values:
            faults.append(f"{header}: {name} is written as {written.get(name)} instead of {values}")
print("\n".join(faults + [f"{count} enumerations, {len(faults)} faults"]))
sys.exit(1 if faults or count == 0 else 0)
