#!/usr/bin/env python3
"""Reads the declarations of the installed headers and asks that a host can use them: that the installed libraries
define each function and variable, and that no name is ambiguous in a source with "using namespace" for sentrel and for
one of the namespaces in it.

usage: declarations.py PREFIX CLANG
"""
import collections
import json
import pathlib
import subprocess
import sys

prefix, clang = pathlib.Path(sys.argv[1]), sys.argv[2]
functions = {"FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"}
types = {"CXXRecordDecl", "ClassTemplateDecl", "EnumDecl", "TypeAliasDecl", "TypedefDecl", "TypeAliasTemplateDecl",
         "ConceptDecl"}

# The probes' pointer System and the registry's class System live side by side: that is meant. A host that says
# "System::shared()" gets the class in any case.
ambiguous_on_purpose = {"System"}

defined_here = set()  # inline, by the compiler, or not at all on purpose
declared = {}  # the name that the linker knows: the name in the source
names = collections.defaultdict(lambda: collections.defaultdict(set))  # namespace: name: the kinds or types it has


def is_defined(node):
    if node["kind"] == "VarDecl":
        return node.get("inline") or node.get("constexpr") or (
            "init" in node and node.get("storageClass") not in ("extern", "static"))
    return (node.get("pure") or node.get("explicitlyDefaulted") or node.get("explicitlyDeleted") or
            node.get("isImplicit") or any(inner.get("kind") == "CompoundStmt" for inner in node.get("inner", [])))


def read(node, scope):
    kind, name = node.get("kind"), node.get("name", "")
    if kind == "NamespaceDecl" or kind == "CXXRecordDecl":
        for inner in node.get("inner", []):
            read(inner, f"{scope}::{name}".removeprefix("::"))
    elif kind == "FriendDecl" or kind == "LinkageSpecDecl":
        for inner in node.get("inner", []):
            read(inner, scope)
    elif kind in functions or kind == "VarDecl":
        if is_defined(node):
            defined_here.add(node.get("mangledName"))
        elif "mangledName" in node:
            declared[node["mangledName"]] = f"{scope}::{name}"
    if kind in functions or kind in types or kind == "VarDecl":
        names[scope][name].add(node["type"]["qualType"] if kind in functions else kind)


headers = sorted(path.relative_to(prefix / "include") for path in (prefix / "include").rglob("*.h"))
toolkits = {"gtk": "gtkmm-4.0", "qt": "Qt6Widgets"}
used = [module for folder, module in toolkits.items() if any(f"embed/{folder}/" in str(header) for header in headers)]
toolkit = subprocess.run(["pkg-config", "--cflags", *used], check=True, text=True,
                         stdout=subprocess.PIPE).stdout.split() if used else []
dump = subprocess.run([clang, "-std=c++20", "-fPIC", "-fsyntax-only", *toolkit, f"-I{prefix}/include", "-x", "c++", "-Xclang",
                       "-ast-dump=json", "-Xclang", "-ast-dump-filter=sentrel", "-"], check=True, text=True,
                      input="".join(f"#include <{header}>\n" for header in headers), stdout=subprocess.PIPE).stdout
decoder = json.JSONDecoder()
while dump := dump.lstrip():
    node, end = decoder.raw_decode(dump)
    read(node, "")
    dump = dump[end:]

exported = set()
for library in prefix.rglob("libSentrelKit*"):
    if library.suffix in (".so", ".a"):
        dynamic = ["-D"] if library.suffix == ".so" else []
        symbols = subprocess.run(["nm", *dynamic, "--defined-only", "--format=posix", library], check=True, text=True,
                                 stdout=subprocess.PIPE).stdout
        exported |= {line.split(" ")[0] for line in symbols.splitlines()}

failures = [f"{source} is declared in an installed header, but no library defines it ({name})"
            for name, source in declared.items() if name not in defined_here | exported]
for scope in ("sentrel::platform", "sentrel::probes"):
    for name in (names["sentrel"].keys() & names[scope].keys()) - ambiguous_on_purpose:
        kinds = names["sentrel"][name], names[scope][name]
        # Functions are overloads of each other unless they take the same.
        if kinds[0] & kinds[1] or (kinds[0] | kinds[1]) & (types | {"VarDecl"}):
            failures.append(f"{name} is ambiguous between sentrel and {scope}")
if len(declared) < 500 or any(len(names[scope]) < 10 for scope in ("sentrel", "sentrel::platform", "sentrel::probes")):
    failures.append("the headers declare next to nothing")
print("\n".join(failures))
sys.exit(1 if failures else 0)
