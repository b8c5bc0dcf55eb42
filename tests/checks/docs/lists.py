#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Holds each list that stands in several places, in the program, the manual, the README, the
completion or the reference of the tests, against the sources: what one has, the others have too.

usage: lists.py PROGRAM
"""

import pathlib
import re
import subprocess
import sys


def read(pattern):
    return "".join(path.read_text() for path in sorted(pathlib.Path(".").glob(pattern)))


def words(pattern, text):
    return set(re.findall(pattern, text, re.M))


def between(start, end, text):
    """The part of the text between two patterns; empty if it has none."""
    match = re.search(f"{start}(.*?){end}", text, re.M | re.S)
    return match.group(1) if match else ""


def section(name):
    return between(rf"^\.Sh {name}$", r"^\.Sh ", page)


def options(text):
    """The options among words such as "enc | dec" or "'-enc'|'-dec'"."""
    return {"-" + word for word in re.findall(r"\w+", text)}


def agree(what, ours, places):
    global failed
    for place, theirs in places.items():
        if not ours or ours != theirs:
            print(f"{what}: {place} lacks {ours - theirs}, and has besides {theirs - ours}")
            failed = True


failed = False
page = read("man/switch-querier.8").replace("\\-", "-")
readme = read("README.md")
app = read("app/*.[ch]*")
command_line = read("app/CommandLine.*")
reference = read("tests/appliance/ExpectedRun.h")
program = sys.argv[1]
usage = subprocess.run([program], capture_output=True, text=True).stdout


file_name, of_usage = re.search(r"<([\w-]+)\|'-query'> \[(.*)\]", usage).groups()
synopsis = re.search(rf"{file_name}\|'-query'> \[(.*)\]", readme).group(1)
readme_rows = re.findall(r"^\| (.*?) \|(.*)", between("^## How the mode", "^## ", readme), re.M)
manual_rows = between(r"^\.Bl -column", r"^\.El", page)
agree(
    "parameter",
    words(r'"(-\w+)"', command_line),
    {
        "the usage text's first line": words(r"-\w+", of_usage),
        "the usage text's list": words(r"(?<=  )-\w+(?= *[:,])|(?<=, )-\w+(?=:)", usage),
        "the README's synopsis": words(r"-\w+", synopsis),
        "the README's table": words(r"`(-\w+)`", "".join(cell for cell, _ in readme_rows)),
        "SYNOPSIS": options(between(r"^\.Op Fl ", "$", page)),
        "OPTIONS": options(" ".join(words(r"^\.It Fl (\w+)$", page))),
        "the manual's table": options(" ".join(words(r"Fl (\w+)", manual_rows))),
        "the completion": words(r"-[a-z]{3,}", between("!= -query", " -- ", read("completion/*"))),
        "the reference of the tests": words(r'"(-\w+)"', between("ers = {", "};", reference)),
    },
)
markers = words(r'"/config/(\w+)"', app)
agree(
    "marker file",
    markers,
    {
        "the usage text": words(r"/config/(\w+)", usage),
        "the README's table": words(r"/config/(\w+)", "".join(row for _, row in readme_rows)),
        "the manual's table": words(r"/config/(\w+)", manual_rows),
        "the reference of the tests": words(r'"(\w+)"', between("Files = {", "};", reference)),
    },
)
agree("name", {file_name}, {"SYNOPSIS": words(r"^\.Ar (.*)$", section("SYNOPSIS"))})

agree(
    "exit status",
    words(r"^ *exit\w+ = (\d+),", app) | words(r"^inline constexpr Mode \w+coder = (\d);", app),
    {
        "EXIT STATUS": words(r"^\.It (\d+)$", section("EXIT STATUS")),
        "the README": words(r"^\| (\d+) \|", between("^## Exit statuses", "^## ", readme)),
    },
)

# Each statement that inserts into a log; a placeholder stands for what is not a literal.
messages = set()
for inserted in re.findall(r"(?:errorLog|output\.error|output\.info)\s*<<(.*?);", app, re.S):
    literals = [re.match(r'\s*"(.*)"\s*$', piece) for piece in inserted.split("<<")[:-1]]
    messages.add("".join(literal.group(1) if literal else "%" for literal in literals).rstrip())
diagnostics = section("DIAGNOSTICS")
codes = between(r"^\.Bl -tag", r"^\.El", diagnostics)
documented = words(r"^\.It (.*)$", diagnostics.replace(codes, ""))
agree("message", messages, {"DIAGNOSTICS": {re.sub("%[ds]", "%", line) for line in documented}})
agree(
    "code",
    words(r"^ *\w+ = (-\d+),? ", read("json/JsonParser.h")),
    {
        "DIAGNOSTICS": words(r"-\d+", codes),
        "docs/json-dialect.md": words(r"^\| (-\d+) \|", read("docs/json-dialect.md")),
    },
)

# Paths, the attributes of the line, and the temporary file. Syslog(3) opens /dev/log.
gpio = between('gpioRoot\\[\\] = "', '"', read("gpio/GpioFile.h"))
line = gpio + "gpio" + between("switchLine = ", ";", app)
attributes = {f"{line}/{name}" for name in words(r'"/(\w+)"', read("gpio/GpioLine.cpp"))}
suffix = between(r'finalName \+ "', '"', read("fileio/ReplacingFile.cpp"))
paths = words(r'"(/(?:config|dev)/\w+)"', app) | {"/dev/log", gpio + "export", file_name + suffix}
agree("file", paths | attributes, {"FILES": words(r"^\.It Pa (.*)$", section("FILES"))})

shown = between(r"^\.Bd", r"^\.Ed", between(r"^\.Ss Report$", r"^\.Ss", page))
labels = words(r'printLine\(out, "(.*?) *: *"', app)
agree("line of the report", labels, {"the manual": words(r"^(\w.*?) *:", shown)})

# What the program says of itself to readelf and to coredumpctl.
note = subprocess.run(["readelf", "-nW", program], capture_output=True, text=True).stdout
agree("version", {read("VERSION").strip()}, {"the program": words(r'"version":"(.*?)"', note)})

# The installed README links to nothing that is not installed with it.
directory = "./usr/share/doc/switch-querier/"
installed = words(f"^{directory}(.*)$", read("tests/stages/builds/installed.txt"))
links = words(r"\]\((?!https:|#)(.*?)\)", readme)
agree("installed document", installed, {"the README with its links": installed | links})

commands = words(r"^ +(?:- )?run: (.*)$", read(".github/workflows/*.yml"))
described = words(r"`([^`\n]+)`", readme + read("CONTRIBUTING.md"))
agree("command of the workflow", commands, {"README or CONTRIBUTING": commands & described})

sys.exit(1 if failed else 0)
