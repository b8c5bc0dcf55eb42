#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Types into an interactive bash with the completion, and looks at the words that it makes."""

import os
import pathlib
import subprocess
import sys
import tempfile

# What is typed ("\t" is the key), and the words that the command then gets.
ROWS = [
    ("first word: the query", "-q\t", ["-query"]),
    ("first word: a file", "my-c\t", ["my-config.json"]),
    ("first word: a file with a space", "with\t", ["with space.json"]),
    ("first word: a file in a directory", "dir\tin\t", ["directory/inner.json"]),
    ("second word: -enc", "my-config.json -e\t", ["my-config.json", "-enc"]),
    ("second word: no file", "my-config.json my\t", ["my-config.json", "my"]),
    # "\x1b*" inserts all that is offered.
    ("first word: all", "\x1b*", ["-query", "directory", "my-config.json", "with space.json"]),
    ("second word: all", "a \x1b*", ["a", "-dec", "-enc", "-flip", "-query"]),
    ("after -query: all", "-query \x1b*", ["-query"]),
    ("third word: all", "a -enc \x1b*", ["a", "-enc"]),
]


def main():
    script = f". '{pathlib.Path('completion/switch-querier').resolve()}'\n"
    script += "switch-querier() { printf '<%s>' \"$@\"; echo; }\n"
    script += "".join(f"switch-querier {typed}\n" for _, typed, _ in ROWS)
    surroundings = {"PATH": os.environ["PATH"], "TERM": "dumb"}
    surroundings |= {"INPUTRC": "/dev/null", "HISTFILE": "/dev/null"}
    with tempfile.TemporaryDirectory() as directory:
        for name in ("my-config.json", "with space.json", "directory/inner.json"):
            path = pathlib.Path(directory, name)
            path.parent.mkdir(exist_ok=True)
            path.touch()
        run = subprocess.run(
            ["bash", "--norc", "--noprofile", "-i"],
            cwd=directory,
            env=surroundings,
            input=script,
            capture_output=True,
            text=True,
        )
    lines = run.stdout.splitlines()
    failed = len(lines) != len(ROWS)
    for (name, typed, expected), line in zip(ROWS, lines):
        if (words := line[1:-1].split("><")) != expected:
            print(f"{name}: {typed!r} became {words}, not {expected}")
            failed = True
    return failed


sys.exit(main())
