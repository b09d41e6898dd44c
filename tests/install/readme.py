#!/usr/bin/env python3
"""Builds a host of the README's CMake lines and compiles each of its blocks of C++.

usage: readme.py README PREFIX COMPILER
"""
import pathlib
import re
import subprocess
import sys
import tempfile

readme, prefix, compiler = sys.argv[1:]
blocks = re.findall(r"^```(\w+)\n(.*?)^```", pathlib.Path(readme).read_text(), re.M | re.S)
cpp = [text for language, text in blocks if language == "cpp"]
cmake = [text for language, text in blocks if language == "cmake" and "find_package" in text]
assert cpp and len(cmake) == 1, "the README shows no code, or no single way to find the package"

with tempfile.TemporaryDirectory() as place:
    place = pathlib.Path(place)
    # Each block is the host's only source once: the includes that it shows have to be enough.
    targets = ""
    for number, text in enumerate(cpp):
        source = place / f"block{number}.cpp"
        source.write_text(text if "int main" in text else re.sub(r"((?:^#include .*\n)+)", r"\1int main() {\n", text, 1, re.M) + "}\n")
        targets += f"add_executable(block{number} {source.name})\n" + re.search(
            r"target_link_libraries.*", cmake[0])[0].replace("(host ", f"(block{number} ") + "\n"
    found = re.search(r"find_package.*", cmake[0])[0]
    (place / "CMakeLists.txt").write_text(
        f"cmake_minimum_required(VERSION 3.22)\nproject(readme LANGUAGES CXX)\n{found}\n{targets}")
    subprocess.run(["cmake", "-G", "Ninja", "-S", place, "-B", place / "build", f"-DCMAKE_CXX_COMPILER={compiler}",
                    f"-DCMAKE_PREFIX_PATH={prefix}"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", place / "build"], check=True)
