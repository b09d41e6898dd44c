#!/usr/bin/env python3
"""Writes a source that asserts, for each function, constant, type and record that the headers of the simulated macOS
declare, that the system's own headers declare the same: compiled with those, it proves that the doubles do not lie.

usage: interface.py >SOURCE
"""
import pathlib
import re

include = pathlib.Path(__file__).resolve().parent / "include"
# What a double needs and the system does not have.
own = {"constantString", "CFRangeMake", "mainQueueDouble"}
# Macros that are calls, or that lead to a double.
calls = {"CFSTR", "dispatch_get_main_queue", "ioctl", "statfs", "utmpx", "setutxent", "getutxent", "endutxent",
         "kIOCFPlugInInterfaceID", "kIOATASMARTUserClientTypeID", "kIOATASMARTInterfaceID"}


def statements(text):
    """The declarations of a header, each with its words one blank apart."""
    depth, words = 0, ""
    for character in text:
        words += character
        depth += {"{": 1, "}": -1}.get(character, 0)
        if depth == 0 and (character == ";" or (character == "}" and re.match(r"\s*inline", words))):
            yield " ".join(words.split())
            words = ""


def same(name):
    return f"static_assert(std::is_same_v<decltype(doubles::{name}), decltype(::{name})>);"


def record(name, tag, body, packed):
    """A record of that name: field by field where it lies and how long it is. With a tag it is asked for as one."""
    system = f"{tag}::{name}"
    opened, closed = ("#pragma pack(push, 4)\n", "#pragma pack(pop)\n") if packed else ("", "")
    yield f"namespace records {{\n{opened}struct {name} {{ {body} }};\n{closed}}}"
    yield f"static_assert(sizeof(records::{name}) == sizeof({system}));"
    for pointer, plain in re.findall(r"(?:\(\*(\w+)\)\([^;]*\)|(\w+)(?:\[[^]]*\])*);", body):
        field = pointer or plain
        yield f"static_assert(offsetof(records::{name}, {field}) == offsetof({system}, {field}));"
        yield f"static_assert(sizeof(records::{name}::{field}) == sizeof(::{name}::{field}));"


def assertions(header):
    text = re.sub(r"//[^\n]*", "", (include / header).read_text())
    for name, value in re.findall(r"^#define (\w+) (.+)$", text, re.M):
        if name not in calls and value != "nullptr":
            equal = "std::string_view({}) == {}" if value.startswith('"') else "({}) == ({})"
            yield f"static_assert({equal.format(name, value)});"
    packed = set(re.findall(r"struct (\w+) \{", " ".join(re.findall(r"pack\(push, 4\)(.*?)pack\(pop\)", text, re.S))))
    text = re.sub(r"^\s*#.*$", "", text, flags=re.M)
    text = re.sub(r'extern "C" \{(.*?)\n\}', r"\1", text, flags=re.S)
    text = re.sub(r'extern "C"', "", text)
    for statement in statements(text):
        if match := re.match(r"enum(?: (\w+))?(?: : ([\w: ]+?))? \{(.*)\};", statement):
            if match[1]:
                yield f"static_assert(std::is_same_v<std::underlying_type_t<{match[1]}>, {match[2]}>);"
            for name, value in re.findall(r"(\w+) = ([^,]+)", match[3]):
                yield f"static_assert({name} == {value});"
        elif match := re.match(r"struct (\w+) \{(.*)\}( __attribute__\S*)?;", statement):
            yield from record(match[1], "struct ", match[2].strip(), match[1] in packed)
        elif match := re.match(r"typedef struct \{(.*)\} (\w+);", statement):
            yield from record(match[2], "", match[1].strip(), False)
        elif match := re.match(r"typedef (?!.*\bstruct\b)(.*?)(\w+)(\[\w+\])?;", statement):
            yield f"namespace doubles {{ {statement} }}"
            yield f"static_assert(std::is_same_v<doubles::{match[2]}, ::{match[2]}>);"
        elif match := re.match(r"(?!typedef|inline)[^(]*?(\w+)(\(.*\))?;", statement):
            if match[1] not in own:
                yield f"namespace doubles {{ {statement} }}"
                yield same(match[1])


headers = sorted(path.relative_to(include).as_posix() for path in include.rglob("*.h"))
print("#include <cstddef>\n#include <string_view>\n#include <type_traits>")
print("".join(f"#include <{header}>\n" for header in headers))
for header in headers:
    print(f"// {header}", *assertions(header), sep="\n")
