#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""Compares the C++ parser, writer and program with the model in dialect.py. See README.md."""

import argparse
import itertools
import shlex
import sys
import threading
import time
from collections.abc import Callable, Iterable, Iterator
from dataclasses import dataclass
from pathlib import Path

import answers
import dialect
import tables
import texts
from answers import Answer, Reader, Run, escaped, unescaped

FILES_A_SECOND = 10
SHORT_BATCH = 10_000
DOCUMENT_BATCH = 16
LARGE = 2_000
DOCUMENTS_SHARE = 1 / 6  # of the seconds at least, however slow the machine is
MODEL_STACK_BYTES = 512 * 1024 * 1024
SHORTENING_SECONDS = 20


@dataclass
class Subject:
    """A program and the model of it."""

    command: list[str]
    option: str
    read: Callable[[Reader], Answer | Run]
    model: Callable[[bytes], Answer | Run]

    def difference(self, batch: list[bytes]) -> tuple | None:
        """The first text on which they differ, and what they say of it. If the program does not
        get through them all, the text that is to blame is looked for in ever smaller batches."""
        try:
            replies = answers.program_answers(self.command, self.read, batch)
        except answers.NoAnswer as none:
            if len(batch) == 1:
                return batch[0], self.model(batch[0]), str(none)
            half = len(batch) // 2
            found = self.difference(batch[:half]) or self.difference(batch[half:])
            return found or (batch[0], "none of the texts alone is to blame", str(none))
        for text, reply in zip(batch, replies, strict=True):
            expected = self.model(text)
            if expected != reply:
                return text, expected, reply
        return None

    def minimised(self, text: bytes) -> bytes:
        """A shorter text on which they differ: what can be left out is left out."""
        end = time.monotonic() + SHORTENING_SECONDS
        size = len(text) // 2
        while size:
            at = 0
            while at < len(text) and time.monotonic() < end:
                shorter = text[:at] + text[at + size :]
                if self.difference([shorter]):
                    text = shorter
                else:
                    at += size
            size //= 2
        return text

    def report(self, part: str, found: tuple) -> str:
        """Reports a minimised text, or the one found if the difference does not happen again."""
        text, expected, reply = self.difference([self.minimised(found[0])]) or found
        again = [
            "tests/stages/model/compare.py",
            self.option,
            *self.command,
            "--text",
            escaped(text),
        ]
        lines = [
            f"DIFFERENCE in {part}",
            f"text, {len(text)} bytes: {escaped(text)}",
            *answers.contrast(["model", "program"], [expected, reply]),
            f"again: {shlex.join(again)}",
        ]
        return "\n    ".join(lines)


def driver_subject(driver: str) -> Subject:
    return Subject([driver], "--driver", Reader.answer, answers.model_answer)


def runner_subject(runner: str) -> Subject:
    return Subject([runner], "--runner", Reader.run, answers.model_run)


def batches(stream: Iterable[bytes], size: int) -> Iterator[list[bytes]]:
    iterator = iter(stream)
    while batch := list(itertools.islice(iterator, size)):
        yield batch


def compare(
    part: str, stream: Iterable[bytes], size: int, subject: Subject
) -> tuple[int, list[str]]:
    """The number of texts compared, and a report when there is a difference, which ends it."""
    count = 0
    for batch in batches(stream, size):
        count += len(batch)
        if found := subject.difference(batch):
            return count, [subject.report(part, found)]
    return count, []


# ---- The parts ----------------------------------------------------------------------------------


def compare_text_cases(subject: Subject) -> tuple[int, list[str]]:
    """The model with the tables, and the subject with the model."""
    cases, reports = list(tables.text_cases()), []
    for case in cases:
        model = answers.model_answer(case.text)
        layout = model.layout if case.layout is None else case.layout
        expected = model._replace(
            code=case.code, position=case.position, compact=case.compact, layout=layout
        )
        reports += case_report(case.name, expected, model)
        _, _, tree = dialect.parse(case.text)
        kinds = "" if tree is None else tables.kinds_of(tree)
        if kinds != case.kinds:
            reports.append(f"DIFFERENCE in {case.name}: kinds {case.kinds}, model: {kinds}")
    count, differences = compare("the rows", (case.text for case in cases), SHORT_BATCH, subject)
    return count, reports + differences


def compare_file_cases(subject: Subject) -> tuple[int, list[str]]:
    cases, reports = list(tables.file_cases()), []
    for case in cases:
        model = answers.model_run(case.file)
        expected = Run(case.status, case.error or model.last_line, case.new_file)
        reports += case_report(case.name, expected, model)
    count, differences = compare("the files", (case.file for case in cases), SHORT_BATCH, subject)
    return count, reports + differences


def case_report(case: str, expected: Answer | Run, model: Answer | Run) -> list[str]:
    if expected == model:
        return []
    lines = answers.contrast(["expected", "model"], [expected, model])
    return ["\n    ".join([f"DIFFERENCE in {case}", *lines])]


def compare_short_texts(subject: Subject) -> tuple[int, list[str]]:
    """All of them, whatever time it takes. Each region may have a difference of its own."""
    total, reports = 0, []
    for name, stream in texts.all_short_texts():
        count, differences = compare(f"short texts, {name}", stream, SHORT_BATCH, subject)
        total += count
        reports += differences
    return total, reports


def compare_documents(subject: Subject, seed: int, end: float) -> tuple[int, list[str]]:
    """Those about the size limit one at a time, as their texts can have 50 MB; then as many others
    as there is time for."""
    total, reports = compare("the limit documents", texts.limit_documents(), 1, subject)
    while not reports and time.monotonic() < end:
        batch = [texts.document(seed, total + i) for i in range(DOCUMENT_BATCH)]
        part = f"documents {total} to {total + DOCUMENT_BATCH - 1} of seed {seed}"
        count, reports = compare(part, batch, DOCUMENT_BATCH, subject)
        total += count
    return total, reports


def compare_corpus(subject: Subject, directory: Path) -> tuple[int, list[str]]:
    """What the fuzzers kept. An update's input has two bytes before the text."""
    files = [path for path in sorted(directory.rglob("*")) if path.is_file()]
    inputs = [path.read_bytes()[2 if "update" in path.parent.name else 0 :] for path in files]
    total, reports = 0, []
    for size, stream in (
        (DOCUMENT_BATCH, [text for text in inputs if len(text) > LARGE]),
        (SHORT_BATCH, [text for text in inputs if len(text) <= LARGE]),
    ):
        count, differences = compare("the corpus", stream, size, subject)
        total += count
        reports += differences
    return total, reports


def compare_files(subject: Subject, seed: int, count: int) -> tuple[int, list[str]]:
    stream = (texts.config_file(seed, number) for number in range(count))
    return compare(f"files of seed {seed}", stream, DOCUMENT_BATCH, subject)


# ---- The command line ---------------------------------------------------------------------------


def options() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--driver", help="the program made of driver.cpp: compares the library")
    parser.add_argument("--runner", help="the program made of runner.cpp: compares the whole tool")
    parser.add_argument("--seconds", type=float, default=60, help="how long, about (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="of the documents (%(default)s)")
    parser.add_argument("--text", help="compares this one text, with escapes like %%0A, and tells")
    parser.add_argument("--corpus", type=Path, help="compares the files in there, and nothing else")
    parser.add_argument("--self-test", action="store_true", help="plants faults and looks for them")
    chosen = parser.parse_args()
    if not chosen.driver and not chosen.runner:
        parser.error("give --driver, --runner or both")
    return chosen


def compare_one(subject: Subject, text: bytes) -> int:
    _, expected, reply = subject.difference([text]) or (text, *[subject.model(text)] * 2)
    print(f"text, {len(text)} bytes: {escaped(text)}")
    print(f"model:   {expected}\nprogram: {reply}")
    return 0 if expected == reply else 1


def compare_all(chosen: argparse.Namespace) -> int:
    begin = time.monotonic()
    counts, reports = [], []

    def note(what: str, result: tuple[int, list[str]]) -> None:
        counts.append(f"{result[0]:,} {what}")
        reports.extend(result[1])
        print("\n".join(result[1]), end="\n" if result[1] else "", flush=True)

    if chosen.runner:
        subject = runner_subject(chosen.runner)
        note("file cases", compare_file_cases(subject))
        note("files", compare_files(subject, chosen.seed, int(FILES_A_SECOND * chosen.seconds)))
    if chosen.driver:
        subject = driver_subject(chosen.driver)
        note("cases", compare_text_cases(subject))
        note("short texts", compare_short_texts(subject))
        end = max(begin + chosen.seconds, time.monotonic() + chosen.seconds * DOCUMENTS_SHARE)
        note("documents", compare_documents(subject, chosen.seed, end))
    seconds = time.monotonic() - begin
    verdict = f"{len(reports)} DIFFERENCES" if reports else "no difference"
    print(f"{verdict}: {', '.join(counts)}; seed {chosen.seed}, {seconds:.0f} s")
    return 1 if reports else 0


def main() -> int:
    chosen = options()
    if chosen.self_test:
        import selftest

        return selftest.run(driver_subject(chosen.driver), runner_subject(chosen.runner))
    if chosen.corpus:
        count, reports = compare_corpus(driver_subject(chosen.driver), chosen.corpus)
        print("\n".join([*reports, f"{count:,} inputs, {len(reports)} differences"]))
        return 1 if reports or count == 0 else 0
    if chosen.text is not None:
        subject = driver_subject(chosen.driver) if chosen.driver else runner_subject(chosen.runner)
        return compare_one(subject, unescaped(chosen.text))
    return compare_all(chosen)


if __name__ == "__main__":
    # Older Pythons take a piece of the thread's stack for each call of the model.
    threading.stack_size(MODEL_STACK_BYTES)
    statuses: list[int] = [2]
    thread = threading.Thread(target=lambda: statuses.append(main()))
    thread.start()
    thread.join()
    sys.exit(statuses[-1])
