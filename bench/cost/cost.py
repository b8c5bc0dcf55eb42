#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Measures the cost of a run of the switch querier and compares it with the bounds.

usage: cost.py BUILD

BUILD holds the programs; run.sh makes it. Prints one table and exits 1 if a bound is exceeded.
Instructions, calls and bytes decide; the time is printed only.
"""

import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import documents  # noqa: E402  (it is in the parent directory)

DECODER = 0  # the status of all runs: the documents say Encoder, and a query returns it too
SYNTAX_ERROR = 174  # that of a document that is not closed
QUERY = ["-query"]
FLIP = ["config.json", "-flip"]
TURNS = 51


class Bench:
    """Runs programs of the build directory, on the simulated appliance or on their own."""

    def __init__(self, build):
        self.build = pathlib.Path(build).resolve()
        self.work = self.build / "measured"
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir()

    def program(self, name):
        return str(self.build / name)

    def document(self, name, text):
        path = self.work / (re.sub(r"\W", "-", name) + ".json")
        path.write_bytes(text)
        return str(path)

    def run(self, commands, document=None, times=1, memory=False, crashes=False):
        """One list of runs per command: the fields that cost-runner prints after its number."""
        words = [self.program("cost-runner"), "-n", str(times)]
        words += ["-m"] if memory else []
        words += ["-d", document] if document else []
        for command in commands:
            words += command + ["--"]
        words.pop()
        output = subprocess.run(words, check=True, capture_output=True, text=True).stdout
        runs = [[] for _ in commands]
        for line in output.splitlines():
            number, *fields = map(int, line.split("\t"))
            if fields[0] != DECODER and not crashes:
                raise SystemExit(f"status {fields[0]}: {' '.join(commands[number])}")
            runs[number].append(fields)
        return runs

    def callgrind(self, command):
        """The command under callgrind; collected() then returns the count."""
        for old in self.work.glob("callgrind.*"):
            old.unlink()
        return [
            shutil.which("valgrind"),
            "--tool=callgrind",
            "--vgdb=no",
            "--trace-children=yes",
            "--callgrind-out-file=/dev/null",
            f"--log-file={self.work}/callgrind.%p",
        ] + command

    def collected(self):
        counts = [
            re.search(r"Collected : (\d+)", log.read_text())
            for log in self.work.glob("callgrind.*")
        ]
        if not counts or None in counts:
            raise SystemExit("callgrind counted nothing")
        return sum(int(count[1]) for count in counts)

    def instructions(self, command, document=None):
        """User-space instructions of the command and its children on the appliance."""
        self.run([self.callgrind(command)], document)
        return self.collected()

    def instructions_alone(self, command):
        """The same without the appliance: for programs that work in memory."""
        subprocess.run(self.callgrind(command), check=True, env={}, stdout=subprocess.DEVNULL)
        return self.collected()

    def calls(self, command, document=None):
        """System calls of the command and its children, execve(2) among them."""
        counts = self.work / "strace"
        self.run([[shutil.which("strace"), "-f", "-c", "-o", str(counts)] + command], document)
        total = [line for line in counts.read_text().splitlines() if line.endswith("total")]
        return int(total[0].split()[3])

    def memory(self, command, document=None):
        """Peak in kB, page faults, and the size of the configuration afterwards."""
        _, _, peak, faults, size, _ = self.run([command], document, memory=True)[0][0]
        return peak, faults, size

    def seconds(self, commands, document=None, times=TURNS):
        """The median of each command, run in turns."""
        return [
            statistics.median(run[1] for run in runs) / 1e9
            for runs in self.run(commands, document, times)
        ]


class Table:
    """Prints each row as soon as it is measured."""

    def __init__(self):
        self.exceeded = 0
        print(f"{'what':58} {'figure':>9} {'bound':>7}")

    def row(self, what, figure, bound, decides=True):
        good = figure <= bound
        verdict = "ok" if good else "EXCEEDED" if decides else "exceeded (a warning only)"
        print(f"{what:58} {figure:9.4g} {bound:7g}  {verdict}", flush=True)
        self.exceeded += decides and not good


def measure_runs(bench, table, tool):
    empty = [bench.program("empty-iostream")]
    floor = bench.instructions(empty)
    print(
        f"{'(empty static C program, instructions)':58} "
        f"{bench.instructions([bench.program('empty')]):9}"
    )
    print(f"{'(empty static iostream program, instructions)':58} {floor:9}")
    table.row(
        "query, instructions / empty iostream", bench.instructions([tool] + QUERY) / floor, 1.33
    )
    flips = {}
    for (name, text), bound in zip(documents.REALISTIC.items(), (2.05, 3.19, 9.35, 8.2)):
        path = bench.document(name, text)
        flips[name] = bench.instructions([tool] + FLIP, path)
        table.row(f"flip of {name}, the same ratio", flips[name] / floor, bound)
    table.row(
        "instructions per byte, 0.5 to 9.9 kB", (flips["9.9 kB"] - flips["0.5 kB"]) / 9400, 49.1
    )
    calls = bench.calls(empty)
    table.row("query, system calls above empty iostream", bench.calls([tool] + QUERY) - calls, 25)
    table.row(
        "flip, system calls above empty iostream", bench.calls([tool] + FLIP, path) - calls, 59
    )
    peak, faults, _ = bench.memory([tool] + FLIP, path)
    empty_peak, empty_faults, _ = bench.memory(empty)
    print(f"{'(page faults of that flip; of empty iostream)':58} {faults:9} {empty_faults:7}")
    print(f"{'(peak memory in kB of empty iostream)':58} {empty_peak:9}")
    table.row("flip of 9.9 kB, peak memory in MB", peak / 1024, 1.57)
    sleep, query = bench.seconds([[bench.program("sleep")], [tool] + QUERY])
    table.row("query, time / static C that sleeps 20 ms", query / sleep, 1.05, decides=False)
    return flips["9.9 kB"]


def parse_and_destroy(bench, name, text):
    path = bench.document(name, text)
    driver = bench.program("driver-json")
    return bench.instructions_alone([driver, "parse", path]) - bench.instructions_alone(
        [driver, "read", path]
    )


def measure_shapes(bench, table, tool, realistic):
    for name in {**documents.NESTED, **documents.FLAT}:
        small, large = (
            parse_and_destroy(bench, name, documents.shape(name, size)) for size in (5000, 10000)
        )
        table.row(f"{name}: parse and destroy, 10 / 5 kB", large / small, 2.2)
    for name, bound in zip(documents.NESTED, (0.72, 1.14, 0.76, 0.75)):
        path = bench.document(name, documents.shape(name, 10000))
        count = bench.instructions([tool] + FLIP, path)
        table.row(
            f"{name}: flip, instructions per byte of output",
            count / bench.memory([tool] + FLIP, path)[2],
            bound,
        )
    for name, bound in zip(documents.FLAT, (2.55, 3.77, 8.1, 1.83, 8.77)):
        path = bench.document(name, documents.shape(name, 10000))
        table.row(
            f"{name}: flip / realistic flip of 9.9 kB",
            bench.instructions([tool] + FLIP, path) / realistic,
            bound,
        )


def measure_many_members(bench, table):
    """One object of 10,000 and of 100,000 members. Ten times n log n is 12.5 times as much."""
    for name, document in documents.MANY.items():
        small, large = (
            parse_and_destroy(bench, name, document(count)) for count in (10000, 100000)
        )
        table.row(f"{name}: parse, 100,000 / 10,000", large / small, 12.5)


def measure_building(bench, table):
    """Objects that are made by calls: what the header of JsonObject says about them."""

    def count(way, order, members):
        program = bench.program("building")
        return bench.instructions_alone(
            [program, way, order, str(members)]
        ) - bench.instructions_alone([program, "none", order, str(members)])

    table.row(
        "members in random order: merge of halves, 100,000 / 10,000",
        count("merge", "random", 100000) / count("merge", "random", 10000),
        12.5,
    )
    for order in ("descending", "random"):
        one_by_one = count("insertOrAssign", order, 3000)
        for way, what in (("map", "a std::map"), ("fromMembers", "fromMembers")):
            label = f"(3,000 members one by one, {order} / {what})"
            print(f"{label:58} {one_by_one / count(way, order, 3000):9.4g}", flush=True)


def fits(bench, tool, kilobytes, path):
    """Whether the flip survives in a stack of that size."""
    limited = ["/bin/sh", "-c", f'ulimit -s {kilobytes} && exec "$@"', "sh", tool] + FLIP
    return bench.run([limited], path, crashes=True)[0][0][0] in (DECODER, SYNTAX_ERROR)


def measure_depth(bench, table, tool, sanitized):
    paths = {
        name: bench.document(name, documents.shape(name, 10000))
        for name in ("deep arrays", "deep objects", "arrays and objects", "unclosed arrays")
    }
    peaks = []
    for name in list(paths)[:3]:
        peak, _, size = bench.memory([tool] + FLIP, paths[name])
        peaks.append((size, peak * 1024 / size))
    size, ratio = max(peaks)
    # The text grows by doubling, so its memory is up to twice its length while it is copied.
    table.row(f"deepest document, peak memory / output of {size / 1e6:.1f} MB", ratio, 1.37)
    for program, kilobytes, what in ((tool, 1024, "release"), (sanitized, 8192, "sanitized")):
        overflowing = sum(not fits(bench, program, kilobytes, path) for path in paths.values())
        table.row(
            f"deepest documents that overflow a stack of {kilobytes // 1024} MB, {what}",
            overflowing,
            0,
        )


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    bench = Bench(sys.argv[1])
    tool = bench.program("switch-querier")
    table = Table()
    realistic = measure_runs(bench, table, tool)
    size = [
        os.path.getsize(bench.program(name + ".stripped"))
        for name in ("switch-querier", "empty-iostream")
    ]
    print(f"{'(stripped program, bytes)':58} {size[0]:9}")
    table.row("stripped program / empty iostream, bytes", size[0] / size[1], 1.2)
    measure_shapes(bench, table, tool, realistic)
    measure_many_members(bench, table)
    measure_building(bench, table)
    measure_depth(bench, table, tool, bench.program("sanitized/switch-querier"))
    print("Every bound holds." if not table.exceeded else f"{table.exceeded} bounds are exceeded.")
    sys.exit(1 if table.exceeded else 0)


if __name__ == "__main__":
    main()
