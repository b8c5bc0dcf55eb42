#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Types into an interactive bash with the completion, and looks at the words that it makes."""

import os
import pathlib
import pty
import select
import subprocess
import sys
import tempfile

PROMPT = b"ready> "
source = pathlib.Path("completion/switch-querier").resolve()

# What is typed ("\t" is the key), and the words that the command then gets.
TYPED = [
    ("first word: the query", "-q\t", ["-query"]),
    ("first word: a file", "my-c\t", ["my-config.json"]),
    ("first word: a file with a space", "with\t", ["with space.json"]),
    ("first word: a file in a directory", "dir\tin\t", ["directory/inner.json"]),
    ("second word: -enc", "my-config.json -e\t", ["my-config.json", "-enc"]),
    ("second word: -dec", "my-config.json -d\t", ["my-config.json", "-dec"]),
    ("second word: -flip", "my-config.json -f\t", ["my-config.json", "-flip"]),
    ("second word: -query", "my-config.json -q\t", ["my-config.json", "-query"]),
    ("second word: no file", "my-config.json my\t", ["my-config.json", "my"]),
    ("second word: nothing after -query", "-query -e\t", ["-query", "-e"]),
    ("third word: nothing", "my-config.json -enc -d\t", ["my-config.json", "-enc", "-d"]),
]

# What is offered for a line whose last word is empty.
OFFERED = [
    (
        "first word",
        ["switch-querier", ""],
        {"-query", "my-config.json", "with space.json", "directory"},
    ),
    ("second word", ["switch-querier", "a", ""], {"-enc", "-dec", "-flip", "-query"}),
    ("after -query", ["switch-querier", "-query", ""], set()),
    ("third word", ["switch-querier", "a", "-enc", ""], set()),
]


def read_until(terminal, end):
    text = b""
    while not text.endswith(end):
        if not select.select([terminal], [], [], 60)[0]:
            sys.exit(f"bash said nothing for a minute, after {text!r}")
        text += os.read(terminal, 4096)
    return text.decode()


def words_of(directory, typed):
    child, terminal = pty.fork()
    if child == 0:
        os.chdir(directory)
        environment = {
            "PATH": os.environ["PATH"],
            "TERM": "dumb",
            "INPUTRC": "/dev/null",
            "HISTFILE": "/dev/null",
            "PS1": PROMPT.decode(),
        }
        os.execvpe("bash", ["bash", "--norc", "--noprofile", "-i"], environment)
    read_until(terminal, PROMPT)
    os.write(
        terminal,
        b"bind 'set bell-style none'; bind 'set enable-bracketed-paste off'; "
        b"switch-querier() { printf '<%s>' \"$@\"; echo; }; " + f". '{source}'\n".encode(),
    )
    read_until(terminal, PROMPT)
    os.write(terminal, b"switch-querier " + typed.encode() + b"\n")
    line = [line for line in read_until(terminal, PROMPT).splitlines() if line.startswith("<")]
    os.write(terminal, b"exit\n")
    try:
        while os.read(terminal, 4096):
            pass
    except OSError:
        pass  # so a pseudo-terminal says that the other side is gone
    os.waitpid(child, 0)
    os.close(terminal)
    return line[0][1:-1].split("><") if line else None


def offered_for(directory, words):
    script = (
        '. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
        '_switch_querier; printf "%s\\n" "${COMPREPLY[@]}"'
    )
    run = subprocess.run(
        ["bash", "-c", script, "bash", str(source), *words],
        cwd=directory,
        capture_output=True,
        text=True,
        check=True,
    )
    return set(run.stdout.splitlines()) - {""}


def main():
    failed = False
    with tempfile.TemporaryDirectory() as directory:
        for name in ("my-config.json", "with space.json"):
            pathlib.Path(directory, name).touch()
        pathlib.Path(directory, "directory").mkdir()
        pathlib.Path(directory, "directory", "inner.json").touch()
        for name, typed, expected in TYPED:
            if (words := words_of(directory, typed)) != expected:
                print(f"{name}: {typed!r} became {words}, not {expected}")
                failed = True
        for name, words, expected in OFFERED:
            if (offered := offered_for(directory, words)) != expected:
                print(f"{name}: offers {offered}, not {expected}")
                failed = True
    sys.exit(1 if failed else 0)


main()
