#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Compares what the tests have taken with exceptions.md, which is to list what they cannot.

usage: gate.py BRANCHES-JSON LINES-INFO LIST

The first two are what llvm-cov exports in its formats text and lcov. Fails for a line or a side
of a condition that was not taken and is not listed, and for a listed one that was taken or is gone.
"""

import json
import pathlib
import sys
from collections import Counter
from typing import NamedTuple

DIRECTORIES = ("app", "json", "gpio", "log", "fileio")


class Untaken(NamedTuple):
    """What was not taken, named by text, so that it stays the same when lines move."""

    file: str
    line: str  # the text of the line, without leading and trailing spaces
    side: str  # "line", or the condition and "true" or "false"


def product_files(names, top):
    """The names that lie in the product, as {name: path from the top}."""
    found = {}
    for name in names:
        path = pathlib.PurePath(name)
        if path.is_relative_to(top) and path.relative_to(top).parts[0] in DIRECTORIES:
            found[name] = str(path.relative_to(top))
    return found


def is_code(line):
    """Whether there is code to execute; clang counts a brace after a return as not executed."""
    return line.strip(" \t{};()") != ""


def read_lines(info, top, sources):
    """The untaken lines and the number of all of them."""
    counts = Counter()
    name = None
    for record in info.splitlines():
        key, _, value = record.partition(":")
        if key == "SF":
            name = value
        elif key == "DA":
            number, count = value.split(",")[:2]
            counts[name, int(number)] += int(count)
    files = product_files({name for name, _ in counts}, top)
    untaken = []
    total = 0
    for (name, number), count in sorted(counts.items()):
        if name not in files:
            continue
        text = sources(name)[number - 1]
        if is_code(text):
            total += 1
            if count == 0:
                untaken.append(Untaken(files[name], text.strip(), "line"))
    return untaken, total


def condition_text(source, first, first_column, last, last_column):
    """The text between two places, on one line."""
    if first == last:
        return source[first - 1][first_column - 1 : last_column - 1]
    pieces = [
        source[first - 1][first_column - 1 :],
        *source[first : last - 1],
        source[last - 1][: last_column - 1],
    ]
    return " ".join(piece.strip() for piece in pieces)


def read_sides(exported, top, sources):
    """The untaken sides of conditions and the number of all of them."""
    counts = {}
    for data in exported["data"]:
        files = product_files({file["filename"] for file in data["files"]}, top)
        for file in data["files"]:
            if file["filename"] not in files:
                continue
            # An inline function has an entry for each program that it is in.
            for first, first_column, last, last_column, true, false, *_ in file["branches"]:
                place = (
                    file["filename"],
                    files[file["filename"]],
                    first,
                    first_column,
                    last,
                    last_column,
                )
                before = counts.get(place, (0, 0))
                counts[place] = (before[0] + true, before[1] + false)
    untaken = []
    for (name, path, *place), sides in sorted(counts.items()):
        source = sources(name)
        for side, count in zip(("true", "false"), sides):
            if count == 0:
                condition = condition_text(source, *place)
                untaken.append(Untaken(path, source[place[0] - 1].strip(), f"{condition} {side}"))
    return untaken, 2 * len(counts)


def read_list(text):
    """The table's rows: file, line, side and reason, of which line and side are in backquotes."""
    listed = []
    for row in text.splitlines():
        if not row.startswith("| `"):
            continue
        cells = [cell.strip() for cell in row.replace("\\|", "\0").strip().strip("|").split("|")]
        cells = [cell.replace("\0", "|") for cell in cells]
        if len(cells) != 4 or not cells[3]:
            raise ValueError(f"not a row of four cells: {row}")
        listed.append(Untaken(*(cell.strip("`") for cell in cells[:3])))
    return listed


def row_of(untaken):
    """The row that lists it, but for the reason."""
    return "| " + " | ".join("`" + cell.replace("|", "\\|") + "`" for cell in untaken) + " | |"


def judge(lines, sides, listed):
    """What to say, and whether that is a failure."""
    report = []
    faults = []
    for what, (untaken, total) in (("lines", lines), ("sides of conditions", sides)):
        taken = total - len(untaken)
        report.append(f"{what}: {taken} of {total} taken, {100 * taken / max(total, 1):.2f} %")
        if total == 0:
            faults.append(f"no {what} of the product were found")
    untaken = lines[0] + sides[0]
    report.append(f"listed with a reason: {len(listed)}")
    faults += [
        f"not taken, and not listed:\n    {row_of(row)}" for row in untaken if row not in listed
    ]
    faults += [
        f"listed, and taken or gone:\n    {row_of(row)}" for row in listed if row not in untaken
    ]
    return report + faults, bool(faults)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    branches, info, listed = (pathlib.Path(argument) for argument in sys.argv[1:])
    texts = {}

    def sources(name):
        if name not in texts:
            texts[name] = pathlib.Path(name).read_text(encoding="utf-8").splitlines()
        return texts[name]

    top = pathlib.Path.cwd()
    report, failed = judge(
        read_lines(info.read_text(encoding="utf-8"), top, sources),
        read_sides(json.loads(branches.read_text(encoding="utf-8")), top, sources),
        read_list(listed.read_text(encoding="utf-8")),
    )
    print("\n".join(report))
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
