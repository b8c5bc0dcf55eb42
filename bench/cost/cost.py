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
        options = "--tool=callgrind --vgdb=no --trace-children=yes --callgrind-out-file=/dev/null"
        log = f"--log-file={self.work}/callgrind.%p"
        return [shutil.which("valgrind"), *options.split(), log, *command]

    def collected(self):
        logs = [log.read_text() for log in self.work.glob("callgrind.*")]
        counts = [re.search(r"Collected : (\d+)", text) for text in logs]
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
        measured = self.run(commands, document, times)
        return [statistics.median(run[1] for run in runs) / 1e9 for runs in measured]


def show(what, *figures):
    """What has no bound."""
    print(f"{what:58}", *(f"{figure:9.7g}" for figure in figures), flush=True)


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
    show("(empty static C program, instructions)", bench.instructions([bench.program("empty")]))
    show("(empty static iostream program, instructions)", floor)
    query = bench.instructions([tool] + QUERY)
    table.row("query, instructions / empty iostream", query / floor, 1.33)
    flips = {}
    for (name, text), bound in zip(documents.REALISTIC.items(), (2.05, 3.19, 9.35, 8.2)):
        path = bench.document(name, text)
        flips[name] = bench.instructions([tool] + FLIP, path)
        table.row(f"flip of {name}, the same ratio", flips[name] / floor, bound)
    per_byte = (flips["9.9 kB"] - flips["0.5 kB"]) / 9400
    table.row("instructions per byte, 0.5 to 9.9 kB", per_byte, 49.1)
    calls = bench.calls(empty)
    table.row("query, system calls above empty iostream", bench.calls([tool] + QUERY) - calls, 25)
    flip = bench.calls([tool] + FLIP, path)
    table.row("flip, system calls above empty iostream", flip - calls, 59)
    peak, faults, _ = bench.memory([tool] + FLIP, path)
    empty_peak, empty_faults, _ = bench.memory(empty)
    show("(page faults of that flip; of empty iostream)", faults, empty_faults)
    show("(peak memory in kB of empty iostream)", empty_peak)
    table.row("flip of 9.9 kB, peak memory in MB", peak / 1024, 1.57)
    sleep, query = bench.seconds([[bench.program("sleep")], [tool] + QUERY])
    table.row("query, time / static C that sleeps 20 ms", query / sleep, 1.05, decides=False)
    return flips["9.9 kB"]


def parse_and_destroy(bench, name, text):
    driver, path = bench.program("driver-json"), bench.document(name, text)
    parse = bench.instructions_alone([driver, "parse", path])
    return parse - bench.instructions_alone([driver, "read", path])


def measure_shapes(bench, table, tool, realistic):
    for name in {**documents.NESTED, **documents.FLAT}:
        large = parse_and_destroy(bench, name, documents.shape(name, 10000))
        growth = large / parse_and_destroy(bench, name, documents.shape(name, 5000))
        table.row(f"{name}: parse and destroy, 10 / 5 kB", growth, 2.2)
    for name, bound in zip(documents.NESTED, (0.72, 1.14, 0.76, 0.75)):
        path = bench.document(name, documents.shape(name, 10000))
        count = bench.instructions([tool] + FLIP, path)
        per_byte = count / bench.memory([tool] + FLIP, path)[2]
        table.row(f"{name}: flip, instructions per byte of output", per_byte, bound)
    for name, bound in zip(documents.FLAT, (2.55, 3.77, 8.1, 1.83, 8.77)):
        path = bench.document(name, documents.shape(name, 10000))
        count = bench.instructions([tool] + FLIP, path)
        table.row(f"{name}: flip / realistic flip of 9.9 kB", count / realistic, bound)


def measure_many_members(bench, table):
    """One object of 10,000 and of 100,000 members. Ten times n log n is 12.5 times as much."""
    for name, document in documents.MANY.items():
        large = parse_and_destroy(bench, name, document(100000))
        growth = large / parse_and_destroy(bench, name, document(10000))
        table.row(f"{name}: parse, 100,000 / 10,000", growth, 12.5)


def measure_building(bench, table):
    """Objects that are made by calls: what the header of JsonObject says about them."""

    def count(way, order, members):
        program = bench.program("building")
        made, none = [program, way, order, str(members)], [program, "none", order, str(members)]
        return bench.instructions_alone(made) - bench.instructions_alone(none)

    growth = count("merge", "random", 100000) / count("merge", "random", 10000)
    table.row("members in random order: merge of halves, 100,000 / 10,000", growth, 12.5)
    for order in ("descending", "random"):
        one_by_one = count("insertOrAssign", order, 3000)
        for way, what in (("map", "a std::map"), ("fromMembers", "fromMembers")):
            ratio = one_by_one / count(way, order, 3000)
            show(f"(3,000 members one by one, {order} / {what})", round(ratio, 2))


def fits(bench, tool, kilobytes, path):
    """Whether the flip survives in a stack of that size."""
    limited = ["/bin/sh", "-c", f'ulimit -s {kilobytes} && exec "$@"', "sh", tool] + FLIP
    return bench.run([limited], path, crashes=True)[0][0][0] in (DECODER, SYNTAX_ERROR)


def measure_depth(bench, table, tool, sanitized):
    names = ("deep arrays", "deep objects", "arrays and objects", "unclosed arrays")
    paths = [bench.document(name, documents.shape(name, 10000)) for name in names]
    peaks = []
    for path in paths[:3]:
        peak, _, size = bench.memory([tool] + FLIP, path)
        peaks.append((size, peak * 1024 / size))
    size, ratio = max(peaks)
    # The text grows by doubling, so its memory is up to twice its length while it is copied.
    table.row(f"deepest document, peak memory / output of {size / 1e6:.1f} MB", ratio, 1.37)
    for program, kilobytes, what in ((tool, 1024, "release"), (sanitized, 8192, "sanitized")):
        overflowing = sum(not fits(bench, program, kilobytes, path) for path in paths)
        label = f"deepest documents that overflow a stack of {kilobytes // 1024} MB, {what}"
        table.row(label, overflowing, 0)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    bench = Bench(sys.argv[1])
    tool = bench.program("switch-querier")
    table = Table()
    realistic = measure_runs(bench, table, tool)
    size = os.path.getsize(bench.program("switch-querier.stripped"))
    least = os.path.getsize(bench.program("empty-iostream.stripped"))
    show("(stripped program, bytes)", size)
    table.row("stripped program / empty iostream, bytes", size / least, 1.2)
    measure_shapes(bench, table, tool, realistic)
    measure_many_members(bench, table)
    measure_building(bench, table)
    measure_depth(bench, table, tool, bench.program("sanitized/switch-querier"))
    print("Every bound holds." if not table.exceeded else f"{table.exceeded} bounds are exceeded.")
    sys.exit(1 if table.exceeded else 0)


if __name__ == "__main__":
    main()
