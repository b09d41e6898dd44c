#!/usr/bin/env python3
"""Compares the headers of the tree with the list of those that are installed, and that with what is installed.

usage: headers.py SOURCE_FOLDER PREFIX [Darwin]
"""
import pathlib
import re
import sys

source, prefix = map(pathlib.Path, sys.argv[1:3])
foreign = "/(cairo|gtk|qt)/" if "Darwin" in sys.argv[3:] else "/(coregraphics|appkit)/"
list_file = "packaging/installed-headers"
settings = re.findall(r"^(\w+) = \\\n((?: +\S+(?: \\)?\n)+)", (source / list_file).read_text(), re.M)
listed = {name: [header.rstrip(" \\").strip() for header in headers.splitlines()] for name, headers in settings}
for_hosts, for_headers = listed["INPUT"], listed["EXCLUDE"]


def headers_below(folder):
    return {str(path.relative_to(folder)) for path in (folder / "SentrelKit").rglob("*.h")}


def is_internal(header):
    return re.search(r"/detail/|/platform/(linux|macos|support)/", header)


failures = []
for header in headers_below(source) - {*for_hosts, *for_headers}:
    if not is_internal(header):
        failures.append(f"{header} is neither listed in {list_file} nor internal: add it to INPUT there if hosts may "
                        "include it; otherwise move it into a detail folder")
for header in for_hosts:
    if is_internal(header):
        failures.append(f"{header} is internal: in {list_file} it belongs into EXCLUDE, if a header for hosts includes it")

included = {header for name in for_hosts + for_headers if (source / name).exists()
            for header in re.findall(r"^#include <(SentrelKit/.+\.h)>", (source / name).read_text(), re.M)}
for header in included - {*for_hosts, *for_headers}:
    failures.append(f"{header} is included by a header that is installed: add it to EXCLUDE in {list_file}")
for header in set(for_headers) - included:
    failures.append(f"{header} is included by no header that is installed: take it from {list_file}")

of_this_system = {header for header in for_hosts + for_headers if not re.search(foreign, header)}
# The widgets of a toolkit come with their library.
for toolkit in "Gtk", "Qt":
    if not any(prefix.rglob(f"libSentrelKit{toolkit}.*")):
        of_this_system = {header for header in of_this_system if f"/embed/{toolkit.lower()}/" not in header}
for header in headers_below(prefix / "include") ^ of_this_system:
    failures.append(f"{header} is either listed in {list_file} or installed, but not both")

print("\n".join(sorted(failures)))
sys.exit(1 if failures or len(for_hosts) < 50 else 0)
