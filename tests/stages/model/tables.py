# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""The rows in tests/dialect/, each with the answer that was worked out for it by hand.

A row's columns are separated by one tab. Bytes that cannot be printed, and the percent sign, are
written as in a URL: %0A. The first and the last line make a string literal of a file, so that the
C++ tests can include it.

    files.tsv  name, file, status, the error in short, or with status 0 or 1 the new file
    others     name, text, "CODE at POSITION"
               name, text, "ok", the compact text, the leaves' kinds[, the text at level 2]
"""

from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

from answers import unescaped

DIRECTORY = Path(__file__).resolve().parents[2] / "dialect"


@dataclass(frozen=True)
class TextCase:
    name: str
    text: bytes
    code: int
    position: int = 0
    compact: bytes = b""
    kinds: str = ""
    layout: bytes | None = None  # not given


@dataclass(frozen=True)
class FileCase:
    name: str
    file: bytes
    status: int
    error: bytes
    new_file: bytes


def text_cases() -> Iterator[TextCase]:
    for table in sorted(DIRECTORY.glob("*.tsv")):
        for name, text, result, *written in [] if table.stem == "files" else rows(table):
            if result == "ok":
                compact, kinds, *layout = written
                layouts = [unescaped(text) for text in layout]
                yield TextCase(name, text, 0, 0, unescaped(compact), kinds, *layouts)
            else:
                code, position = result.split(" at ")
                yield TextCase(name, text, int(code), int(position))


def file_cases() -> Iterator[FileCase]:
    for name, file, status, left in rows(DIRECTORY / "files.tsv"):
        if status in ("0", "1"):
            yield FileCase(name, file, int(status), b"", unescaped(left))
        else:
            yield FileCase(name, file, int(status), unescaped(left), file)


def rows(table: Path) -> Iterator[list]:
    """The name, the text without its escapes, and the other columns as they are."""
    for line in table.read_text("ascii").splitlines()[1:-1]:
        if line and not line.startswith("#"):
            name, text, *columns = line.split("\t")
            yield [f"{table.stem}: {name}", unescaped(text), *columns]


def kinds_of(value) -> str:
    """The short names of the leaves as they follow each other in the written text."""
    if isinstance(value, dict):
        return " ".join(kinds_of(value[key]) for key in sorted(value)) or "{}"
    if isinstance(value, list):
        return " ".join(kinds_of(element) for element in value) or "[]"
    names = {type(None): "nul", int: "int", float: "dbl", bool: "boo", bytes: "str"}
    return names[type(value)]
