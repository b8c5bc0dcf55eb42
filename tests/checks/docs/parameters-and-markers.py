#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Fails unless every text and table has each parameter and marker file of the product.

usage: parameters-and-markers.py PROGRAM
"""

import itertools
import pathlib
import re
import subprocess
import sys

CASES = "tests/stages/machine/guest/program.cases"
LEVELS = ("low", "high", "held")
DOCUMENTS = ("decoder", "encoder")


def read(path):
    return pathlib.Path(path).read_text(encoding="utf-8")


def between(text, start, end):
    """The part of the text between two patterns; empty if it has none."""
    match = re.search(f"{start}(.*?){end}", text, re.M | re.S)
    return match.group(1) if match else ""


def rows_of_readme():
    return re.findall(r"^\| (.*)$", between(read("README.md"), "^## How the mode", "^## "), re.M)


def rows_of_manual():
    return re.findall(
        r"^\.It (.*)$", between(read("man/switch-querier.8"), r"^\.Bl -col.*?$", r"^\.El"), re.M
    )


def parameter_lists(usage):
    """Each place that lists the second parameters, with what it lists."""
    readme = read("README.md")
    manual = read("man/switch-querier.8")
    brackets = r"-query'> \[(.*)\]"
    explained = between(usage, "^The following additional", "^There is")
    offered = re.findall(r"compgen -W '([^']*)'", read("completion/switch-querier"))
    reference = between(read("tests/appliance/ExpectedRun.h"), "parameters = {", "};")
    return {
        "the usage text's first line": re.findall(r"-\w+", re.search(brackets, usage).group(1)),
        "the usage text's list": re.findall(r"-\w+(?=[ ,].*:)|-\w+(?=:)", explained),
        "the README's synopsis": re.findall(r"-\w+", re.search(brackets, readme).group(1)),
        "the README's table": [
            word for row in rows_of_readme() for word in re.findall(r"`(-\w+)`", row.split("|")[0])
        ],
        "the manual's synopsis": [
            "-" + word for word in re.findall(r"^\.Op Fl (.*)$", manual, re.M)[0].split(" | ")
        ],
        "the manual's list": ["-" + word for word in re.findall(r"^\.It Fl (\w+)$", manual, re.M)],
        "the manual's table": [
            "-" + word for row in rows_of_manual() for word in re.findall(r"Fl (\w+)", row)
        ],
        "the completion": offered[-1].split() if offered else [],
        "the reference of the tests": re.findall(r'"(-\w+)"', reference),
    }


def marker_lists(usage):
    """Each place that lists the marker files, with what it lists."""
    manual = read("man/switch-querier.8")
    files = re.findall(r"^\.It Pa (.*)$", between(manual, r"^\.Sh FILES$", r"^\.Sh "), re.M)
    reference = between(read("tests/appliance/ExpectedRun.h"), "markerFiles = {", "};")
    pattern = r"/config/(\w+)"
    return {
        "the usage text": re.findall(pattern, usage),
        "the README's table": re.findall(pattern, "\n".join(rows_of_readme())),
        "the manual's table": re.findall(pattern, "\n".join(rows_of_manual())),
        "the manual's FILES": re.findall(pattern, "\n".join(files)),
        "the reference of the tests": re.findall(r'"(\w+)"', reference),
    }


def missing_cases(parameters, markers):
    """The combinations that the emulated machine does not run."""
    lines = [line.split()[:5] for line in read(CASES).splitlines()]
    cases = {
        (line[0], frozenset(line[1].split(",")) - {"none"}, line[3], line[4])
        for line in lines
        if len(line) == 5 and not line[0].startswith("#") and line[2] == "ext4"
    }
    subsets = [
        frozenset(subset)
        for size in range(len(markers) + 1)
        for subset in itertools.combinations(sorted(markers), size)
    ]
    commands = ["FILE"] + ["FILE," + parameter for parameter in sorted(parameters)]
    for case in itertools.product(LEVELS, subsets, DOCUMENTS, commands):
        if case not in cases:
            level, subset, document, command = case
            marker = ",".join(sorted(subset)) or "none"
            yield f"line {level}, marker {marker}, {document}, {command}"


def differences(what, known, lists):
    if not known:
        yield f"{what}: none found in app/"
    for place, listed in lists.items():
        for word in sorted(known - set(listed)):
            yield f"{what} {word}: not in {place}"
        for word in sorted(set(listed) - known):
            yield f"{what} {word}: in {place}, but the product does not know it"


def main(program):
    command_line = read("app/CommandLine.cpp") + read("app/CommandLine.h")
    sources = "".join(read(path) for path in sorted(pathlib.Path("app").glob("*.[ch]*")))
    parameters = set(re.findall(r'"(-\w+)"', command_line))
    markers = set(re.findall(r'"/config/(\w+)"', sources))
    usage = subprocess.run([program], capture_output=True, text=True, check=False).stdout
    problems = list(differences("parameter", parameters, parameter_lists(usage)))
    problems += differences("marker file", markers, marker_lists(usage))
    missing = list(missing_cases(parameters, markers))
    problems += [f"no case in {CASES}: {case}" for case in missing[:5]]
    if len(missing) > 5:
        problems.append(f"and {len(missing) - 5} more cases")
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
