#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Checks how the product was compiled and linked in the directory of a build.

Each source has the options below and no others: an option that is added, fast floating point say,
fails as one that is left out does. A source may not change its options either.
usage: hardening.py BUILD-DIRECTORY dynamic|static PROCESSOR; the last as uname(1) names it
"""

import json
import pathlib
import re
import shlex
import subprocess
import sys

EXPECTED = {
    "-O2",
    "-DNDEBUG",
    "-std=c++20",
    "-fstack-protector-strong",
    "-fstack-clash-protection",
    "-U_FORTIFY_SOURCE",
    "-D_FORTIFY_SOURCE=2",
    "-ffunction-sections",
    "-fdata-sections",
}
OF_KIND = {"dynamic": "-fPIE", "static": "-fno-pie"}
OF_PROCESSOR = {
    "x86_64": {"-fcf-protection"},
    "aarch64": {"-mbranch-protection=standard"},
    "arm": {"-D_FILE_OFFSET_BITS=64", "-D_TIME_BITS=64"},
}
# Where the sources are, and the contact address: neither changes the code.
PREFIX = "-ffile-prefix-map="
UNCOUNTED = (PREFIX, "-DSWITCH_QUERIER_CONTACT=")
OF_CODE = re.compile(r"-(O|D|U|f|m|std|g|x|include|specs|param|W[apl],|Xassembler)|--|@")
PARTS = "app|json|gpio|log|fileio"
PROGRAM = re.compile(rf"/(switch-querier(-({PARTS}))?)\.dir/")

# What readelf shows of a program, or does not show.
SHOWN = {"a stack that is not executable": r"GNU_STACK .* RW ", "read-only relocation": "GNU_RELRO"}
SHOWN_IF_DYNAMIC = {"position independence": r"Type: +DYN", "immediate binding": "BIND_NOW"}
HIDDEN = {"a search path for libraries": "RPATH|RUNPATH", "fast floating point": "set_fast_math"}
HIDDEN_IF_STATIC = {"a loader": "INTERP", "needed libraries": r"\(NEEDED\)"}
LIBRARY = re.compile(r"lib(stdc\+\+\.so\.6|gcc_s\.so\.1|[cm]\.so\.6)$|ld-linux-")
BRANCHES = {"x86_64": "IBT, SHSTK", "aarch64": "BTI, PAC"}

failed = False


def check(right, what):
    global failed
    if not right:
        failed = True
        print(f"{build}: {what}")


def readelf(options, path):
    return subprocess.check_output(["readelf", "-W", options, path], text=True)


def check_options():
    expected = EXPECTED | {OF_KIND[kind]} | OF_PROCESSOR[processor]
    entries = json.loads((build / "compile_commands.json").read_text())
    entries = [e for e in entries if PROGRAM.search(e["command"])]
    check(entries, "no source is compiled for the program")
    for entry in entries:
        words = shlex.split(entry["command"])[1:]
        options = {w for w in words if OF_CODE.match(w) and not w.startswith(UNCOUNTED)}
        source = pathlib.Path(entry["file"])
        name = f"{source.parent.name}/{source.name}"
        check(options <= expected, f"{name} is compiled with {options - expected}")
        check(options >= expected, f"{name} is compiled without {expected - options}")
        mapped = sorted(w.rpartition("=")[2] for w in words if w.startswith(PREFIX))
        check(mapped == [".", "./build"], f"{name} shows where it was built: {mapped}")
        for path in (source, source.with_suffix(".h")):
            changes = path.exists() and re.search(r"#pragma (?!once)|optimize\(", path.read_text())
            check(not changes, f"{path.name} changes the options of the compiler")


def check_program():
    shown = readelf("-hlds", build / "switch-querier")
    for what, pattern in (SHOWN | (SHOWN_IF_DYNAMIC if kind == "dynamic" else {})).items():
        check(re.search(pattern, shown), f"the program lacks {what}")
    for what, pattern in (HIDDEN | (HIDDEN_IF_STATIC if kind == "static" else {})).items():
        check(not re.search(pattern, shown), f"the program has {what}")
    for library in re.findall(r"\(NEEDED\).*\[(.*)\]", shown):
        check(LIBRARY.match(library), f"the program needs {library}")


def check_objects():
    """What shows in the product's own objects: a static program has those of the C library, too."""
    symbols = ""
    for part in PARTS.split("|"):
        archive = build / part / f"libswitch-querier-{part}.a"
        of_part = readelf("-s", archive)
        symbols += of_part
        check(re.search(r"UND +__stack_chk_fail$", of_part, re.M), f"{part} has no stack protector")
        objects = len(subprocess.check_output(["ar", "t", archive]).split())
        protected = readelf("-n", archive).count(f"feature: {BRANCHES.get(processor)}")
        check(
            protected == objects or processor not in BRANCHES,
            f"{part} has objects without protection of branches",
        )
    # Of the calls that can be fortified ours has few; syslog(3) is one.
    check(re.search(r"UND +__[a-z]+_chk$", symbols, re.M), "no call is fortified")


build, kind, processor = sys.argv[1:]
build = pathlib.Path(build)
check_options()
check_program()
check_objects()
sys.exit(failed)
