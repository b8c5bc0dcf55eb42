# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""Plants one fault in each thing that is compared, and looks whether the comparison notices it."""

import dataclasses
import sys
from collections.abc import Callable
from unittest import mock

import compare
import dialect
import tables

TEXTS = [b'{"a":08}', b'{"a":[1 2]}', b'{"a":""}', b'{"a":1}'] * 10
FILES = [b'{"App":{"isEncoder":true}}\n']


def answers_with(change: Callable) -> Callable:
    return lambda subject: dataclasses.replace(
        subject, read=lambda reader: change(subject.read(reader))
    )


def another_command(*words: str) -> Callable:
    """The program's own command follows the words."""
    return lambda subject: dataclasses.replace(subject, command=[*words, *subject.command])


DIES_OF_TWO_QUOTES = """import os, subprocess, sys; text = sys.stdin.buffer.read()
b'""' in text and os.abort()
sys.stdout.buffer.write(subprocess.run(sys.argv[1:], input=text, stdout=-1).stdout)"""

DRIVER_FAULTS = {
    "a code": answers_with(lambda answer: answer._replace(code=answer.code and -5)),
    "a position": answers_with(lambda answer: answer._replace(position=answer.position and 7)),
    "a broken promise": answers_with(lambda answer: answer._replace(broken_promises=2)),
    "a written text": answers_with(lambda answer: answer._replace(layout=answer.layout + b"\n")),
    "a bit of a double": answers_with(
        lambda answer: answer._replace(description=answer.description.replace(b"4020", b"4021"))
    ),
    "a program that dies": another_command(sys.executable, "-c", DIES_OF_TWO_QUOTES),
    "a program that says nothing": another_command("true"),
    "a program that says too much": another_command("sh", "-c", '"$@"; printf 0', "sh"),
}
RUNNER_FAULTS = {
    "a status": answers_with(lambda run: run._replace(status=1)),
    "a message": answers_with(lambda run: run._replace(last_line=b"")),
    "a file": answers_with(lambda run: run._replace(file=b"")),
    "a file left over": answers_with(lambda run: run._replace(files_beside=b"a.filsec\n")),
}
ROW_FAULTS = {"code": -30, "position": 5, "compact": b"{}", "kinds": "dbl", "layout": b"{}"}


def run(driver: compare.Subject, runner: compare.Subject) -> int:
    compare.SHORTENING_SECONDS = 1
    missed = []

    def expect(fault: str, reports: list[str], noticed: bool = True) -> None:
        if bool(reports) != noticed:
            missed.append(fault)

    def texts(subject: compare.Subject) -> list[str]:
        return compare.compare("few texts", TEXTS, 100, subject)[1]

    def files(subject: compare.Subject) -> list[str]:
        return compare.compare("few files", FILES, 100, subject)[1]

    expect("nothing planted", texts(driver) + files(runner), noticed=False)
    for fault, plant in DRIVER_FAULTS.items():
        expect(fault, texts(plant(driver)))
    for fault, plant in RUNNER_FAULTS.items():
        expect(fault, files(plant(runner)))
    with mock.patch.object(dialect, "OCTAL_DIGITS", dialect.DIGITS):
        expect("a rule of the model", texts(driver))
    rows = [row for row in tables.text_cases() if row.name == "integers: octal"]
    for column, wrong in ROW_FAULTS.items():
        changed = [dataclasses.replace(row, **{column: wrong}) for row in rows]
        with mock.patch.object(tables, "text_cases", lambda changed=changed: iter(changed)):
            expect(f"{column} of a row", compare.compare_text_cases(driver)[1])
    print(f"self-test: {', '.join(missed) or 'nothing'} went unnoticed")
    return 1 if missed else 0
