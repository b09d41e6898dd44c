#!/usr/bin/env python3
"""Compares what the installed shared libraries export with what the installed headers offer.

usage: exports.py PREFIX
"""
import pathlib
import re
import subprocess
import sys

prefix = pathlib.Path(sys.argv[1])
headers = "\n".join(path.read_text() for path in (prefix / "include").rglob("*.h"))
headers = re.sub(r"//.*", "", headers)
words = set(re.findall(r"\w+", headers))

kinds = "vtable|VTT|typeinfo|typeinfo name"
failures = []
exported = set()
for library in sorted(prefix.rglob("libSentrelKit*.so")):
    lines = subprocess.run(["nm", "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    for line in lines.splitlines():
        symbol = line.split(" ", 2)[2]
        exported.add(symbol)
        match = re.fullmatch(rf"(?:(?:non-virtual thunk to|virtual thunk to|(?:{kinds}) for) )?sentrel::(.*)", symbol)
        # The names before the arguments: namespaces, classes, the function.
        names = re.findall(r"\w+", re.split(r"[(<\[]", match[1])[0]) if match else []
        if not match or "{lambda" in symbol or not set(names) <= words:
            failures.append(f"{library.name} exports {symbol}")

# A host can derive from each public class with virtual members, throw it, and ask for its type.
for name in re.findall(r"class SENTREL_API (\w+)[^;{]*\{[^}]*?\bvirtual ~", headers):
    for kind in ("typeinfo for", "typeinfo name for"):
        if not any(re.fullmatch(rf"{kind} sentrel::(\w+::)*{name}", symbol) for symbol in exported):
            failures.append(f"no {kind} {name}")

if len(exported) < 100:
    failures.append("the libraries export next to nothing")
print("\n".join(failures))
sys.exit(1 if failures else 0)
