#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Compares the options that each source of the program is compiled with against the list below.

An option that is added, fast floating point say, fails as one that is left out does. A source may
not change its options either.
usage: options.py BUILD-DIRECTORY dynamic|static PROCESSOR
"""

import json
import pathlib
import re
import shlex
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
PROGRAM = re.compile(r"/(switch-querier(-(app|json|gpio|log|fileio))?)\.dir/")


def main():
    build, kind, processor = sys.argv[1:]
    expected = EXPECTED | {OF_KIND[kind]} | OF_PROCESSOR[processor]
    entries = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    entries = [e for e in entries if PROGRAM.search(e["command"])]
    failed = not entries
    for entry in entries:
        words = shlex.split(entry["command"])[1:]
        options = {w for w in words if OF_CODE.match(w) and not w.startswith(UNCOUNTED)}
        source = pathlib.Path(entry["file"])
        name = f"{source.parent.name}/{source.name}"
        for option in sorted(options - expected):
            failed = True
            print(f"{build}: {name} is compiled with {option}")
        for option in sorted(expected - options):
            failed = True
            print(f"{build}: {name} is compiled without {option}")
        mapped = sorted(w.rpartition("=")[2] for w in words if w.startswith(PREFIX))
        if mapped != [".", "./build"]:
            failed = True
            print(f"{build}: {name} shows where it was built: {PREFIX} maps to {mapped}")
        for path in (source, source.with_suffix(".h")):
            if path.exists() and re.search(r"#pragma (?!once)|optimize\(", path.read_text()):
                failed = True
                print(f"{build}: {path.name} changes the options of the compiler")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
