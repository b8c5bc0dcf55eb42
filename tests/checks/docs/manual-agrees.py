#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Holds the manual and the README against the sources: what one has, the other has too."""

import pathlib
import re
import sys

page = pathlib.Path("man/switch-querier.8").read_text()
readme = pathlib.Path("README.md").read_text()
sources = {path: path.read_text() for path in sorted(pathlib.Path("app").glob("*.[ch]*"))}
command_line = sources[pathlib.Path("app/CommandLine.cpp")]
command_line += sources[pathlib.Path("app/CommandLine.h")]
failed = False


def agree(what, ours, theirs, place):
    global failed
    for one in sorted(ours - theirs):
        print(f"{what}: the program has {one!r}, {place} has not")
        failed = True
    for one in sorted(theirs - ours):
        print(f"{what}: {place} has {one!r}, the program has not")
        failed = True
    if not ours:
        print(f"{what}: none found in the sources")
        failed = True


def section(name):
    match = re.search(rf"^\.Sh {name}$(.*?)(?=^\.Sh |\Z)", page, re.M | re.S)
    return match.group(1) if match else ""


def unescaped(text):
    return text.replace("\\-", "-")


# Options: what the second parameter is compared with, and the list in DESCRIPTION.
options = set(re.findall(r'"(-[a-z]+)"', command_line))
agree(
    "option",
    options,
    {"-" + word for word in re.findall(r"^\.It Fl (\w+)$", page, re.M)},
    "the list of the manual",
)
synopsis = re.search(r"^\.Op Fl (.*)$", section("SYNOPSIS"), re.M).group(1)
usage = re.search(r"<([\w-]+)\|'-query'> \[(.*)\]", command_line)
agree(
    "option",
    set(usage.group(2).replace("'", "").split("|")),
    {"-" + word for word in synopsis.split(" | ")},
    "SYNOPSIS",
)
agree(
    "file", {usage.group(1)}, set(re.findall(r"^\.Ar (.*)$", section("SYNOPSIS"), re.M)), "SYNOPSIS"
)

# Exit statuses.
statuses = set(re.findall(r"^ *exit\w+ = (\d+),", sources[pathlib.Path("app/ExitStatus.h")], re.M))
statuses |= set(
    re.findall(
        r"^inline constexpr Mode (?:de|en)coder = (\d);", sources[pathlib.Path("app/Mode.h")], re.M
    )
)
agree(
    "exit status",
    statuses,
    set(re.findall(r"^\.It (\d+)$", section("EXIT STATUS"), re.M)),
    "EXIT STATUS",
)
table = readme[readme.index("## Exit statuses") :].split("\n## ")[0]
agree("exit status", statuses, set(re.findall(r"^\| (\d+) \|", table, re.M)), "the README")

# Messages: each statement that inserts into a log, its literals joined with % for what is between.
messages = set()
for text in sources.values():
    for inserted in re.findall(r"(?:errorLog|output\.error|output\.info)\s*<<(.*?);", text, re.S):
        pieces = re.split(r"<<", inserted)
        words = [re.match(r'\s*"(.*)"\s*$', piece) for piece in pieces[:-1]]
        messages.add("".join(word.group(1) if word else "%" for word in words).rstrip())
diagnostics = section("DIAGNOSTICS")
documented = set()
for block in re.findall(r"^\.Bl -diag$(.*?)(?=^\.Bl -diag|\Z)", diagnostics, re.M | re.S):
    inner = re.sub(r"^\.Bl -tag.*?^\.El", "", block, flags=re.M | re.S)
    documented |= {re.sub(r"%[ds]", "%", line) for line in re.findall(r"^\.It (.*)$", inner, re.M)}
agree("message", messages, documented, "DIAGNOSTICS")

# The parser's codes.
parser = pathlib.Path("json/JsonParser.h").read_text()
codes = set(re.findall(r"^ *\w+ = (-\d+),? ", parser, re.M))
inner = re.search(r"^\.Bl -tag(.*?)^\.El", diagnostics, re.M | re.S).group(1)
agree("code", codes, set(re.findall(r"-\d+", unescaped(inner))), "DIAGNOSTICS")
dialect = pathlib.Path("docs/json-dialect.md").read_text()
agree("code", codes, set(re.findall(r"^\| (-\d+) \|", dialect, re.M)), "docs/json-dialect.md")

# Files: the literals that are paths, the attributes of line 17, /dev/log and the temporary file.
files = {"/dev/log"}
for text in sources.values():
    files |= set(re.findall(r'"(/(?:config|dev)/\w+)"', text))
gpio_file = pathlib.Path("gpio/GpioFile.h").read_text()
gpio_line = pathlib.Path("gpio/GpioLine.cpp").read_text()
root = re.search(r'gpioRoot\[\] = "(.*)"', gpio_file).group(1)
line = re.search(r"switchLine = (\d+)", sources[pathlib.Path("app/HardwareSwitch.cpp")]).group(1)
attributes = set(re.findall(r'"/(\w+)"', gpio_line))
files |= {root + "export"} | {f"{root}gpio{line}/{name}" for name in attributes}
suffix = re.search(r'finalName \+ "(.*)"', pathlib.Path("fileio/ReplacingFile.cpp").read_text())
files.add(usage.group(1) + suffix.group(1))
agree("file", files, set(re.findall(r"^\.It Pa (.*)$", section("FILES"), re.M)), "FILES")

# The lines of the report.
labels = set(
    re.findall(r'printLine\(out, "(.*?) *: *"', sources[pathlib.Path("app/StatusReport.cpp")])
)
shown = re.search(r"^\.Ss Report$.*?^\.Bd.*?$(.*?)^\.Ed", page, re.M | re.S).group(1)
agree("report", labels, set(re.findall(r"^(.*?) *:", shown, re.M)), "Report")

sys.exit(1 if failed else 0)
