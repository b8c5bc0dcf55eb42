# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""What the two sides say of a text: the model's answers, and those of the C++ programs."""

import math
import struct
import subprocess
import urllib.parse
from collections.abc import Callable
from typing import NamedTuple

import dialect

TIME_LIMIT_SECONDS = 30


class Answer(NamedTuple):
    """Of the parser and the writer. If the text is refused, all that follows the flags is empty."""

    code: int
    position: int
    broken_promises: int = 0
    compact: bytes = b""
    layout: bytes = b""
    description: bytes = b""


class Run(NamedTuple):
    """Of a run of the whole program with "-flip" on a file."""

    status: int
    last_line: bytes  # in short, see runner.cpp
    file: bytes
    files_beside: bytes = b""


# ---- The model's --------------------------------------------------------------------------------


def model_answer(text: bytes) -> Answer:
    code, position, tree = dialect.parse(text)
    if tree is None:
        return Answer(code, position)
    compact, layout = dialect.write(tree, 0), dialect.write(tree, 2)
    return Answer(code, position, 0, compact, layout, description_of(tree))


def model_run(file: bytes) -> Run:
    status, error, file = dialect.flip(file)
    return Run(status, error or [b"Decoder", b"Encoder"][status], file)


def description_of(tree: dict) -> bytes:
    """The tree with its kinds and bits, of which the written text shows only a part."""
    pieces: list[bytes] = []
    describe_object(tree, pieces)
    return b"".join(pieces)


def describe_object(members: dict, pieces: list[bytes]) -> None:
    pieces.append(b"(")
    for key in sorted(members):
        pieces.append(b"%d:%s=" % (len(key), key))
        describe(members[key], pieces)
        pieces.append(b",")
    pieces.append(b")")


def describe(value, pieces: list[bytes]) -> None:
    if value is None:
        pieces.append(b"nul ")
    elif isinstance(value, bool):
        pieces.append(b"boo %d" % value)
    elif isinstance(value, int):
        pieces.append(b"int %d" % value)
    elif isinstance(value, float) and math.isnan(value):
        pieces.append(b"dbl " + dialect.double_text(value))
    elif isinstance(value, float):
        pieces.append(b"dbl " + struct.pack(">d", value).hex().encode("ascii"))
    elif isinstance(value, bytes):
        pieces.append(b"str %d:%s" % (len(value), value))
    elif isinstance(value, dict):
        pieces.append(b"obj ")
        describe_object(value, pieces)
    else:
        pieces.append(b"vec (")
        for element in value:
            describe(element, pieces)
            pieces.append(b",")
        pieces.append(b")")


# ---- The programs' ------------------------------------------------------------------------------


class NoAnswer(Exception):
    """The program did not answer every text properly; why, in words."""


class Reader:
    """Reads what Frames.h writes."""

    def __init__(self, output: bytes):
        self.output = output
        self.at = 0

    def take(self, count: int) -> bytes:
        taken = self.output[self.at : self.at + count]
        if len(taken) < count:
            raise NoAnswer("the output ends in the middle of an answer")
        self.at += count
        return taken

    def number(self, form: str) -> int:
        return struct.unpack("=" + form, self.take(struct.calcsize("=" + form)))[0]

    def text(self) -> bytes:
        return self.take(self.number("I"))

    def answer(self) -> Answer:
        code, position, promises = struct.unpack("=iQB", self.take(13))
        return Answer(code, position, promises, self.text(), self.text(), self.text())

    def run(self) -> Run:
        return Run(self.number("i"), self.text(), self.text(), self.text())


def program_answers(command: list[str], read: Callable, batch: list[bytes]) -> list:
    """One answer a text, or NoAnswer if the program does not get through all of them."""
    request = b"".join(struct.pack("=I", len(text)) + text for text in batch)
    try:
        ended = subprocess.run(
            command, input=request, capture_output=True, check=False, timeout=TIME_LIMIT_SECONDS
        )
    except subprocess.TimeoutExpired:
        raise NoAnswer(f"not ready after {TIME_LIMIT_SECONDS} s") from None
    if ended.returncode != 0:
        error = ended.stderr[-2000:].decode("ascii", "replace")
        raise NoAnswer(f"ended with status {ended.returncode}: {error}")
    reader = Reader(ended.stdout)
    replies = [read(reader) for _ in batch]
    if reader.at != len(ended.stdout):
        raise NoAnswer("the output goes on after the last answer")
    return replies


# ---- Printing -----------------------------------------------------------------------------------
#
# As in a URL (RFC 3986): %0A is a line feed and %25 the percent sign; what can be printed stays.

PRINTABLE = bytes(byte for byte in range(32, 127) if byte != b"%"[0])
SHOWN = 300


def escaped(text: bytes) -> str:
    return "".join(chr(byte) if byte in PRINTABLE else f"%{byte:02X}" for byte in text)


def unescaped(text: str) -> bytes:
    return urllib.parse.unquote_to_bytes(text)


def contrast(names: list[str], answers: list) -> list[str]:
    """The fields in which two answers differ; of long ones what is about the first difference."""
    if any(isinstance(answer, str) for answer in answers):
        return [f"{name}: {answer}" for name, answer in zip(names, answers)]
    lines = []
    for field, *values in zip(answers[0]._fields, *answers):
        if values[0] == values[1]:
            continue
        if isinstance(values[0], bytes):
            common = 0
            while values[0][common : common + 1] == values[1][common : common + 1]:
                common += 1
            begin = max(0, common - SHOWN // 2)
            field += f" from offset {begin}" if begin else ""
            values = [escaped(value[begin : begin + SHOWN]) for value in values]
        lines += [f"{name}: {field}: {value}" for name, value in zip(names, values)]
    return lines
