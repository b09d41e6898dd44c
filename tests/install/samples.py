#!/usr/bin/env python3
"""Builds each block of C++ of a document as a host that finds the package with CMake, and runs it; the first one that
is on a scripted machine also as a host that finds it with pkg-config. One that opens a window ends by itself only in
trouble: it runs for a moment, where there is a desktop to be had for it.

A block without a main function is the body of one. If the document's first block holds nothing but includes and using
lines, the others stand after it, as the functions of one program, or, where one of them is the main function, as they
are. A document that shows how to find the package with CMake is taken at its word. What a block includes says what else
it links. A picture beside the document that its code draws has to look as it is drawn, but for the edges of letters; with
PICTURES, a folder, the drawn ones are put there instead.

usage: samples.py DOCUMENT PREFIX COMPILER [PICTURES]
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.path.append(str(pathlib.Path(__file__).parents[1] / "support"))
import png

document, prefix, compiler, *pictures = sys.argv[1:]
text = pathlib.Path(document).read_text()
blocks = re.findall(r"^```(\w+)\n(.*?)^```", text, re.M | re.S)
cpp = [code for language, code in blocks if language == "cpp"]
cmake = [code for language, code in blocks if language == "cmake" and "find_package" in code]
assert cpp and len(cmake) <= 1, "the document shows no code, or several ways to find the package"
find = re.search(r"find_package.*", cmake[0])[0] if cmake else "find_package(SentrelKit REQUIRED)"
link = re.search(r"target_link_libraries\(host PRIVATE ([\w:]+)", cmake[0])[1] if cmake else "SentrelKit::Views"

includes = r"(?:#include .*\n|using .*\n|\n)*"
if re.fullmatch(includes, cpp[0]) and any("int main" in code for code in cpp):
    cpp = ["\n".join(cpp)]
elif re.fullmatch(includes, cpp[0]):
    functions = "".join(f"static void sample{number}() {{\n{code}}}\n" for number, code in enumerate(cpp[1:]))
    calls = "".join(f"    sample{number}();\n" for number in range(len(cpp) - 1))
    cpp = [f"{cpp[0]}{functions}int main() {{\n{calls}}}\n"]


def program(code):
    """The block as a host's only source: the includes that it shows have to be enough."""
    head = re.match(includes, code)[0]
    return code if "int main" in code else f"{head}int main() {{\n{code[len(head):]}}}\n"


def run(*command, **options):
    subprocess.run([str(part) for part in command], check=True, **options)


def pkg_config(*arguments):
    folder = next(pathlib.Path(prefix).rglob("sentrelkit-core.pc")).parent
    environment = dict(os.environ, PKG_CONFIG_PATH=str(folder))
    return subprocess.run(["pkg-config", *arguments], check=True, env=environment, capture_output=True,
                          text=True).stdout.split()


with tempfile.TemporaryDirectory() as place:
    place = pathlib.Path(place)
    programs = [program(code) for code in cpp]
    scripted = [number for number, code in enumerate(programs) if "platform/scripted" in code]
    libraries_of = {"platform/scripted": "SentrelKit::Testing", "embed/gtk": "SentrelKit::Gtk",
                    "embed/qt": "SentrelKit::Qt", "cairo-xlib": "PkgConfig::XLIB"}
    toolkits = [name for folder, name in (("embed/gtk", "Gtk"), ("embed/qt", "Qt")) if folder in text]
    if toolkits:
        find = f"find_package(SentrelKit REQUIRED COMPONENTS Views Testing {' '.join(toolkits)})"
    if "cairo-xlib" in text:
        find += "\nfind_package(PkgConfig REQUIRED)\npkg_check_modules(XLIB REQUIRED IMPORTED_TARGET cairo-xlib x11)"
    targets = ""
    for number, code in enumerate(programs):
        (place / f"block{number}.cpp").write_text(code)
        libraries = " ".join([link] + [name for included, name in libraries_of.items() if included in code])
        targets += f"add_executable(block{number} block{number}.cpp)\n"
        targets += f"target_link_libraries(block{number} PRIVATE {libraries})\n"
    (place / "CMakeLists.txt").write_text(
        f"cmake_minimum_required(VERSION 3.22)\nproject(samples LANGUAGES CXX)\n{find}\n{targets}")
    run("cmake", "-G", "Ninja", "-S", place, "-B", place / "build", f"-DCMAKE_CXX_COMPILER={compiler}",
        f"-DCMAKE_PREFIX_PATH={prefix}", stdout=subprocess.DEVNULL)
    run("cmake", "--build", place / "build")
    # What a program keeps of settings, it keeps here.
    environment = dict(os.environ, XDG_CONFIG_HOME=str(place / "config"))
    desktop = pathlib.Path(__file__).parents[1] / "embed/support/desktop_session.py"
    for number, code in enumerate(programs):
        host = place / "build" / f"block{number}"
        if "/embed/" not in code and "cairo-xlib" not in code:
            print(f"block {number}", flush=True)
            run(host, cwd=place, env=environment)
        elif desktop.exists() and shutil.which("Xvfb"):
            print(f"block {number}, for a moment", flush=True)
            moment = ["timeout", "3", host]
            ended = subprocess.run([desktop, "--", *moment], cwd=place, env=environment, timeout=60).returncode
            assert ended == 124, f"a program with a window ended by itself: {ended}"

    for drawn in place.glob("*.png"):
        shown = pathlib.Path(document).with_name(drawn.name)
        if pictures:
            shutil.copy(drawn, pictures[0])
        elif f"({drawn.name})" in text:
            share = png.differing(drawn, shown, 24)
            assert share <= 1 / 2000, f"{share:.2%} of {shown} is not as it is drawn"

    for number in scripted[:1]:
        libraries = pkg_config("--variable=libdir", "sentrelkit-core")[0]
        how = [] if pathlib.Path(libraries, "libSentrelKitCore.so").exists() else ["--static"]
        flags = pkg_config(*how, "--cflags", "--libs", "sentrelkit-views", "sentrelkit-testing")
        run(compiler, "-std=c++20", place / f"block{number}.cpp", "-o", place / "by_pkg_config",
            f"-Wl,-rpath,{libraries}", *flags)
        run(place / "by_pkg_config", cwd=place)
