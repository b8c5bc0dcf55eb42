#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Measures, and rewrites the tables of docs/performance.md.

usage: performance.py BUILD

BUILD holds the programs; performance.sh makes it. A table stands between two comments in the page,
of which the first names it; everything else in the page stays as it is, and so does each cell that
cannot be measured: the rows of a library that is missing, and times on a machine that is not quiet.
"""

import json
import os
import pathlib
import platform
import re
import shutil
import subprocess
import sys
import time

TOP = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "bench" / "cost"))
sys.path.insert(0, str(TOP / "bench"))
import documents  # noqa: E402
from cost import Bench, FLIP, QUERY  # noqa: E402

PAGE = TOP / "docs" / "performance.md"
SAME_BYTES = {
    "json/": "json",
    "RapidJSON, same bytes": "rapidjson-same",
    "yyjson, same bytes": "yyjson-same",
}
LIBRARIES = {
    **SAME_BYTES,
    "byte patch": "patch",
    "RapidJSON": "rapidjson",
    "yyjson": "yyjson",
    "Boost.JSON": "boost",
    "json-c": "jsonc",
    "nlohmann-json": "nlohmann",
    "jsoncpp": "jsoncpp",
    "jansson": "jansson",
}
# The tool with its way from text to text replaced, in the order of the table.
FLIPS = {
    "byte patch": "flip-patch",
    "RapidJSON as its manual shows it": "flip-rapidjson",
    "switch-querier": "switch-querier",
    "RapidJSON, same bytes": "flip-rapidjson-same",
    "yyjson, same bytes": "flip-yyjson-same",
}
SAME_FLIPS = {"switch-querier", "RapidJSON, same bytes", "yyjson, same bytes"}
LARGE = [*SAME_BYTES, "RapidJSON", "yyjson"]
SIZES = list(documents.REALISTIC)[:3]
QUIET = 0.5  # the load of a machine on which times mean something


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def grouped(number):
    return f"{number:,}"


def in_page(name):
    return re.compile(rf"(<!-- table: {name} -->\n)(.*?)(<!-- end -->)", re.DOTALL)


def replace(name, text):
    page, count = in_page(name).subn(
        lambda match: f"{match[1]}\n{text}\n\n{match[3]}", PAGE.read_text()
    )
    assert count == 1, name
    PAGE.write_text(page)
    print(f"{name}\n{text}\n", flush=True)


def cells_in_page(name):
    """The cells of the table as it is, by row and column."""
    lines = re.findall(r"^\| (.*) \|$", in_page(name).search(PAGE.read_text())[2], re.MULTILINE)
    (_, *columns), *rows = [line.split(" | ") for line in lines] or [[""]]
    return {row[0]: dict(zip(columns, row[1:])) for row in rows}


def replace_table(name, header, rows, sort_by=None):
    """Writes the table, with the page's own cells for None. A row or column of which nothing is
    known is left out."""
    old = cells_in_page(name)
    for row in rows:
        for place, column in enumerate(header[1:], 1):
            row[place] = row[place] or old.get(row[0], {}).get(column)
    rows = [row for row in rows if any(row[1:])]
    known = [place for place in range(len(header)) if any(row[place] for row in rows)]
    if sort_by:
        rows.sort(key=lambda row: float(row[header.index(sort_by)]))
    text = table(
        [header[place] for place in known],
        [[row[place] or "not measured" for place in known] for row in rows],
    )
    replace(name, text)


def is_quiet():
    """Waits up to five minutes, since building and counting were work too."""
    for _ in range(30):
        if os.getloadavg()[0] <= QUIET:
            return True
        time.sleep(10)
    load = os.getloadavg()[0]
    print(f"the load is {load:.2f}, so the times stay as they are", file=sys.stderr)
    return False


def times_of_libraries(bench, paths):
    """Nanoseconds per byte by (library, path); empty if they cannot be measured."""
    program = bench.build / "libraries" / "json-benchmark"
    if not program.exists() or not is_quiet():
        return {}
    options = "format=json min_time=0.05 repetitions=5 enable_random_interleaving=true"
    options = [f"--benchmark_{option}" for option in options.split()]
    output = subprocess.check_output([program, *paths.values(), *options], text=True)
    times = {}
    for run in json.loads(output)["benchmarks"]:
        if run.get("aggregate_name") == "median":
            library, path = run["run_name"].split("|")
            times[library, path] = 1e9 / run["bytes_per_second"]
    return times


def require_same_bytes(size, texts):
    """What is called the same work has to give the same text."""
    if len(set(texts)) != 1:
        raise SystemExit(f"the document of {size} comes out in {len(set(texts))} ways")


def driver(bench, name):
    """The program that does the job with this library, or None."""
    program = bench.build / "libraries" / f"driver-{name}"
    return str(program) if program.exists() else None


def instructions_per_byte(bench, program, path):
    job, read = (bench.instructions_alone([program, action, path]) for action in ("job", "read"))
    return (job - read) / os.path.getsize(path)


def peak_per_byte(bench, program, path):
    job, read = (
        bench.memory([program, action, "config.json"], path)[0] for action in ("job", "read")
    )
    return (job - read) * 1024 / os.path.getsize(path)


def measure_libraries(bench, paths):
    for size, path in paths.items():
        same = [driver(bench, name) for name in SAME_BYTES.values()]
        texts = [subprocess.check_output([name, "print", path]) for name in same if name]
        require_same_bytes(size, texts)
    times = times_of_libraries(bench, paths)
    rows = []
    for library, name in LIBRARIES.items():
        program = driver(bench, name)
        counts = [
            program and f"{instructions_per_byte(bench, program, p):.0f}" for p in paths.values()
        ]
        durations = [times and program and f"{times[library, p]:.1f}" for p in paths.values()]
        rows.append([library, *counts, *durations])
    header = ["instructions per byte", *paths] + [f"ns per byte, {size}" for size in paths]
    replace_table("libraries", header, rows, sort_by="9.9 kB")


def measure_large(bench):
    """Beyond the program, which refuses such files."""
    rows = [[library] for library in LARGE]
    columns = []
    for name, size in documents.LARGE.items():
        path = bench.document(name, documents.realistic(size))
        for row in rows:
            program = driver(bench, LIBRARIES[row[0]])
            row += [
                program and f"{instructions_per_byte(bench, program, path):.1f}",
                program and f"{peak_per_byte(bench, program, path):.1f}",
            ]
        columns += [f"{name}, instructions", f"{name}, peak bytes"]
    replace_table("large", ["per byte of text", *columns], rows)


def measure_flips(bench, paths):
    programs = {
        name: [bench.program(program)] + FLIP
        for name, program in FLIPS.items()
        if pathlib.Path(bench.program(program)).exists()
    }
    for size, path in paths.items():
        same = [command for name, command in programs.items() if name in SAME_FLIPS]
        require_same_bytes(size, [runs[0][-1] for runs in bench.run(same, path)])
    rows = [[name] for name in FLIPS]
    for row in rows:
        command = programs.get(row[0])
        row += [command and grouped(bench.instructions(command, p)) for p in paths.values()]
    replace_table("flips", ["whole flip, instructions", *paths], rows)


def measure_jobs(bench, paths):
    for name in ("flip.sh", "flip.py"):
        shutil.copy(TOP / "bench" / "peers" / name, bench.work)
    script, python = str(bench.work / "flip.sh"), str(bench.work / "flip.py")
    jobs = {
        "switch-querier": [bench.program("switch-querier")] + FLIP,
        "sh, sed, no log record": ["/bin/sh", script, "sed", "config.json", "no-log"],
        "sh, sed, logger": ["/bin/sh", script, "sed", "config.json"],
        "Python 3": ["/usr/bin/python3", python, "config.json"],
    }
    if shutil.which("jq"):
        jobs["sh, jq, logger"] = ["/bin/sh", script, "jq", "config.json"]
    sleep = [bench.program("sleep")]
    ratios = [None] * len(jobs)
    if is_quiet():
        first, *others = bench.seconds([sleep] + list(jobs.values()), paths["2 kB"], times=21)
        ratios = [f"{other / first:.2f}" for other in others]
    rows = []
    for (name, command), ratio in zip(jobs.items(), ratios):
        counts = [grouped(round(bench.instructions(command, paths[s]) / 1000)) for s in SIZES]
        peak, _, _ = bench.memory(command, paths["2 kB"])
        calls = bench.calls(command, paths["2 kB"])
        rows.append([name, *counts, grouped(calls), grouped(peak), ratio])
    header = ["thousand instructions", *SIZES, "system calls", "peak kB", "time ÷ 20 ms sleep"]
    replace_table("jobs", header, rows)


def measure_floors(bench, paths):
    tool = bench.program("switch-querier")
    runs = [
        ("empty C", [bench.program("empty")], None),
        ("empty iostream", [bench.program("empty-iostream")], None),
        ("query", [tool] + QUERY, None),
    ]
    runs += [(f"flip of {size}", [tool] + FLIP, path) for size, path in paths.items()]
    rows = []
    for name, *run in runs:
        peak, faults, _ = bench.memory(*run)
        counts = [grouped(bench.instructions(*run)), str(bench.calls(*run))]
        last = counted_on_aarch64(bench, *run)
        rows.append([name, *counts, str(faults), grouped(peak), last])
    header = "static program, instructions, system calls, page faults, peak kB".split(", ")
    replace_table("floors", [*header, "instructions, aarch64"], rows)


def counted_on_aarch64(bench, command, path):
    """Counted by an emulator that executes and logs one instruction at a time."""
    program = bench.build / "aarch64" / pathlib.Path(command[0]).name
    emulator = shutil.which("qemu-aarch64")
    if not program.exists() or emulator is None:
        return None
    help_text = subprocess.run([emulator, "--help"], capture_output=True, text=True).stdout
    step = "-one-insn-per-tb" if "one-insn-per-tb" in help_text else "-singlestep"
    log = bench.work / "executed"
    words = [emulator, step, "-d", "exec,nochain", "-D", str(log), str(program), *command[1:]]
    bench.run([words], path)
    with log.open("rb") as lines:
        return grouped(sum(line.startswith(b"Trace ") for line in lines))


def machine():
    compiler = subprocess.check_output(["g++", "-dumpfullversion"], text=True).strip()
    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())[1]
    return f"g++ {compiler}, {' '.join(platform.libc_ver())}, {processor}"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    bench = Bench(sys.argv[1])
    paths = {name: bench.document(name, text) for name, text in documents.REALISTIC.items()}
    replace("machine", machine())
    measure_floors(bench, paths)
    measure_flips(bench, paths)
    measure_libraries(bench, paths)
    measure_large(bench)
    measure_jobs(bench, paths)


if __name__ == "__main__":
    main()
