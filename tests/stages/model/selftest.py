# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""Plants faults on either side of the comparison and in the cases, and looks whether it notices.

The faults in the model stand for the same faults in the program: the comparison is symmetrical.
They have to be found by the generated texts, without the cases.
"""

import argparse
import builtins
import contextlib
import dataclasses
import sys
from collections.abc import Callable
from unittest import mock

import compare
import dialect
import tables
import texts
from answers import Answer, Reader, Run

FEW_TEXTS = [b'{"a":08}', b'{"a":[1 2]}', b'{"a":""}', b'{"a":1}'] * 10
LONGEST = 3
DOCUMENTS = 300
FILES = 120


def quick_comparison(subject: compare.Subject) -> list[str]:
    """Few and short texts of every region, then some documents; up to the first difference."""
    for region in texts.REGIONS:
        short = dataclasses.replace(region, longest=min(region.longest, LONGEST))
        part = f"short texts, {region.name}"
        _, reports = compare.compare(part, short.texts(), compare.SHORT_BATCH, subject)
        if reports:
            return reports
    documents = (texts.document(0, number) for number in range(DOCUMENTS))
    _, reports = compare.compare("documents", documents, compare.DOCUMENT_BATCH, subject)
    return reports


# ---- Faults in the model ------------------------------------------------------------------------


def replaced(name: str, value):
    return lambda: mock.patch.object(dialect, name, value, create=True)


def changed_result(name: str, change: Callable):
    """The function's arguments and result are handed to the change, which gives the new result."""
    original = getattr(dialect, name)

    def function(*arguments):
        return change(original(*arguments), *arguments)

    return replaced(name, function)


def code_for(code: int, wrong: int):
    return changed_result(
        "parse", lambda result, text: (wrong, *result[1:]) if result[0] == code else result
    )


def position_off_by_one(result, _text):
    code, position, tree = result
    return (code, position + 1, tree) if position else result


def no_trailing_comma(result, text, at):
    """The closing bracket that follows a comma is refused."""
    end = result[1] - 1
    if text[at:end].rstrip(dialect.WHITESPACE).endswith(b","):
        raise dialect.Refused(-1, end)
    return result


def nothing_after_nul(result, text):
    at = text.find(b"\0")
    return (-2, at, None) if result[0] == 0 and at >= 0 else result


def no_plus(result, text, start):
    return (0, start) if text[start] == b"+"[0] else result


def no_word_nan_behind_white_space(result, text, start):
    return (0.0, start) if text[start] in b"\f\v" and result[0] != result[0] else result


def empty_exponent(result, text, start):
    value, end = result
    return (value, end + 1) if end != start and text[end] in b"eE" else result


MODEL_FAULTS = {
    "position off by one": changed_result("parse", position_off_by_one),
    "-22 for -3": code_for(-3, -22),
    "-21 for -22": code_for(-22, -21),
    "-5 for -41": code_for(-41, -5),
    "success for -2": code_for(-2, 0),
    "no comma before a closing brace": changed_result("read_members", no_trailing_comma),
    "no comma before a closing bracket": changed_result("read_elements", no_trailing_comma),
    "the first of a repeated key stays": replaced("store_member", dict.setdefault),
    "members as they were read": replaced("sorted", lambda members: list(members)),
    "members sorted by length": replaced("sorted", lambda m: builtins.sorted(m, key=len)),
    "form feed is whitespace": replaced("WHITESPACE", dialect.WHITESPACE + b"\f"),
    "carriage return is not whitespace": replaced("WHITESPACE", b"\t\n "),
    "colon ends a number": replaced("NUMBER_TERMINATORS", dialect.NUMBER_TERMINATORS + b":"),
    "tab ends no number": replaced("NUMBER_TERMINATORS", b"\n\r ,]}"),
    "text after a NUL byte counts": changed_result("parse", nothing_after_nul),
    "solidus may be escaped": replaced("ESCAPES", dialect.ESCAPES | {47: 47}),
    "a missing value is not 0": changed_result(
        "strtoll", lambda result, _text, start: (1, start) if result[1] == start else result
    ),
    "no plus sign before an integer, so that it is a double": changed_result("strtoll", no_plus),
    "integers wrap at the bound": replaced("INT64_MAX", 2**63),
    "8 and 9 are octal digits": replaced("OCTAL_DIGITS", dialect.DIGITS),
    "conversions skip no vertical tab": replaced("C_WHITE_SPACE", b"\t\n\f\r "),
    "no underscore in NaN()": replaced("WORD_BYTES", dialect.WORD_BYTES[:-1]),
    "form feed does not let nan pass": changed_result("strtod", no_word_nan_behind_white_space),
    "an exponent may be empty": changed_result("decimal", empty_exponent),
    "doubles of 17 digits": replaced("double_text", lambda value: b"%.17g" % value),
    "negative zero without its sign": changed_result(
        "double_text", lambda text, value: b"0" if value == 0 else text
    ),
    "form feed is written as it is": replaced(
        "WRITTEN_ESCAPES", {byte: e for byte, e in dialect.WRITTEN_ESCAPES.items() if byte != 12}
    ),
    "last brace at the margin": changed_result(
        "write", lambda text, _tree, level: text[:-3] + b"}" if level and text != b"{}" else text
    ),
    "newline at the end": changed_result(
        "write", lambda text, _tree, level: text + b"\n" if level else text
    ),
}

RUN_FAULTS = {
    "a smaller limit": replaced("SIZE_LIMIT", dialect.SIZE_LIMIT - 1),
    "a larger limit": replaced("SIZE_LIMIT", dialect.SIZE_LIMIT + 1),
    "only whitespace is trimmed": replaced("trim", lambda text: text.strip(dialect.WHITESPACE)),
    "nothing is trimmed at the end": replaced("trim", lambda text: text.lstrip(bytes(range(33)))),
    "the flag is not changed": changed_result("flip", lambda result, file: (*result[:2], file)),
    "a number will do for the flag": replaced("bool", (bool, int)),
}


# ---- Faults in the program ----------------------------------------------------------------------


def broken_promise(reader: Reader) -> Answer:
    answer = reader.answer()
    return answer._replace(broken_promises=2 if answer.code == -41 else 0)


def other_bits(reader: Reader) -> Answer:
    """A double that differs in its last bit, which is written with the same digits all the same."""
    answer = reader.answer()
    return answer._replace(description=answer.description.replace(b"4020000", b"4020001"))


def file_left_over(reader: Reader) -> Run:
    return reader.run()._replace(files_beside=b"config.json.filsec\n")


def ending_badly(command: list[str]) -> list[str]:
    """A program that dies of a text that holds two quotes in a row, and else does as the other."""
    script = (
        "import os, subprocess, sys; text = sys.stdin.buffer.read();"
        "b'\"\"' in text and os.abort();"
        "sys.stdout.buffer.write(subprocess.run(sys.argv[1:], input=text, stdout=-1).stdout)"
    )
    return [sys.executable, "-c", script, *command]


def printing_more(command: list[str]) -> list[str]:
    return ["sh", "-c", '"$@"; printf 0', "sh", *command]


# ---- Faults in the tables -----------------------------------------------------------------------


def wrong_row(**changes):
    """The row of the octal number with other expectations."""
    rows = [row for row in tables.text_cases() if row.name == "integers: octal"]
    wrong = [dataclasses.replace(row, **changes) for row in rows]
    return lambda: mock.patch.object(tables, "text_cases", lambda: iter(wrong))


TABLE_FAULTS = {
    "another code in a table": wrong_row(code=-30, position=5, compact=b"", kinds=""),
    "another text in a table": wrong_row(compact=b'{"a": 10}'),
    "another kind in a table": wrong_row(kinds="dbl"),
    "another layout in a table": wrong_row(layout=b'{"a": 8}'),
}


# ---- The test -----------------------------------------------------------------------------------


def run(chosen: argparse.Namespace) -> int:
    noticed: dict[str, bool] = {}

    def expect(fault: str, plant: Callable, look: Callable[[], list[str]]) -> None:
        with plant():
            reports = look()
        noticed[fault] = bool(reports)
        first = reports[0].replace("\n    ", "; ")[:140] if reports else ""
        print(f"{'noticed' if reports else 'NOT NOTICED'}: {fault}: {first}", flush=True)

    compare.SHORTENING_SECONDS = 1
    sound = []
    if chosen.driver:
        driver = compare.driver_subject(chosen.driver)
        sound += quick_comparison(driver) + compare.compare_text_cases(driver)[1]
        for fault, plant in MODEL_FAULTS.items():
            expect(fault, plant, lambda: quick_comparison(driver))
        for fault, plant in TABLE_FAULTS.items():
            expect(fault, plant, lambda: compare.compare_text_cases(driver)[1])
        program_faults = {
            "a broken promise": dataclasses.replace(driver, read=broken_promise),
            "another bit in a double": dataclasses.replace(driver, read=other_bits),
            "the program dies": dataclasses.replace(driver, command=ending_badly(driver.command)),
            "the program says nothing": dataclasses.replace(driver, command=["true"]),
            "the program says too much": dataclasses.replace(
                driver, command=printing_more(driver.command)
            ),
        }
        for fault, subject in program_faults.items():
            expect(
                fault,
                contextlib.nullcontext,
                lambda subject=subject: compare.compare("few texts", FEW_TEXTS, 100, subject)[1],
            )
    if chosen.runner:
        runner = compare.runner_subject(chosen.runner)
        sound += compare.compare_files(runner, 0, FILES)[1]
        for fault, plant in RUN_FAULTS.items():
            expect(fault, plant, lambda: compare.compare_files(runner, 0, FILES)[1])
        leftover = dataclasses.replace(runner, read=file_left_over)
        expect(
            "a file left over",
            contextlib.nullcontext,
            lambda: compare.compare_files(leftover, 0, FILES)[1],
        )
    print("\n".join(sound), end="\n" if sound else "")
    print(
        f"self-test: {sum(noticed.values())} of {len(noticed)} planted faults noticed;"
        f" {len(sound)} differences where none is planted"
    )
    return 0 if all(noticed.values()) and not sound else 1
