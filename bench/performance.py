#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Measures, and rewrites the tables and plots of docs/performance.md.

usage: performance.py BUILD

BUILD holds the programs; performance.sh makes it. A table stands between two comments in the page,
of which the first names it; everything else in the page stays as it is.
"""

import json
import math
import pathlib
import platform
import re
import shutil
import subprocess
import sys

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
}
SIZES = list(documents.REALISTIC)


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def grouped(number):
    return f"{number:,}"


def replace_table(name, text):
    page = PAGE.read_text()
    pattern = rf"(<!-- table: {name} -->\n).*?(<!-- end -->)"
    page, count = re.subn(
        pattern, lambda match: f"{match[1]}\n{text}\n\n{match[2]}", page, flags=re.DOTALL
    )
    assert count == 1, name
    PAGE.write_text(page)
    print(f"{name}\n{text}\n", flush=True)


def plot(name, title, unit, series, logarithmic=False):
    """Horizontal bars, one group per label: series is a list of (label, {size: figure})."""
    bar, gap, left, width, top = 12, 14, 190, 520, 62
    colours = ("#9ecae1", "#4292c6", "#084594")
    group = bar * len(SIZES) + gap
    height = top + group * len(series) + 10
    figures = [figure for _, row in series for figure in row.values()]
    low = 10 ** math.floor(math.log10(min(figures))) if logarithmic else 0

    def length(figure):
        if logarithmic:
            return width * math.log(figure / low) / math.log(max(figures) / low)
        return width * figure / max(figures)

    # REUSE-IgnoreStart
    parts = [
        "<!-- SPDX-FileCopyrightText: The switch querier authors",
        "     SPDX-License-Identifier: MIT -->",
        # REUSE-IgnoreEnd
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 100}" height="{height}" '
        'font-family="sans-serif" font-size="12">',
        '<rect width="100%" height="100%" fill="white"/>',
        f'<text x="10" y="20" font-size="15">{title}</text>',
        f'<text x="10" y="40" fill="#555">{unit}</text>',
    ]
    for index, (size, colour) in enumerate(zip(SIZES, colours)):
        x = left + 90 * index
        parts.append(f'<rect x="{x}" y="31" width="10" height="10" fill="{colour}"/>')
        parts.append(f'<text x="{x + 15}" y="40">{size}</text>')
    for place, (label, row) in enumerate(series):
        y = top + group * place
        parts.append(
            f'<text x="{left - 8}" y="{y + bar * len(SIZES) / 2 + 4:g}" '
            f'text-anchor="end">{label}</text>'
        )
        for index, (size, colour) in enumerate(zip(SIZES, colours)):
            figure = row[size]
            parts.append(
                f'<rect x="{left}" y="{y + bar * index}" width="{length(figure):.1f}" '
                f'height="{bar - 1}" fill="{colour}"/>'
            )
            parts.append(
                f'<text x="{left + length(figure) + 5:.1f}" y="{y + bar * index + 10}" '
                f'font-size="10">{figure:,.3g}</text>'
                if figure < 1000
                else f'<text x="{left + length(figure) + 5:.1f}" y="{y + bar * index + 10}" '
                f'font-size="10">{figure:,.0f}</text>'
            )
    (TOP / "docs" / f"performance-{name}.svg").write_text("\n".join(parts + ["</svg>"]) + "\n")


def written_documents(bench):
    return {
        size: bench.document(size, documents.realistic(count))
        for size, count in documents.REALISTIC.items()
    }


def times_of_libraries(bench, paths):
    """Nanoseconds per byte by (library, path); empty if Google Benchmark is missing."""
    program = bench.build / "libraries" / "json-benchmark"
    if not program.exists():
        return {}
    output = subprocess.run(
        [
            program,
            *paths.values(),
            "--benchmark_format=json",
            "--benchmark_min_time=0.05",
            "--benchmark_repetitions=5",
            "--benchmark_enable_random_interleaving=true",
            "--benchmark_report_aggregates_only=true",
        ],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    times = {}
    for run in json.loads(output)["benchmarks"]:
        if run["aggregate_name"] == "median":
            library, path = run["run_name"].split("|")
            times[library, path] = 1e9 / run["bytes_per_second"]
    return times


def require_same_bytes(bench, paths):
    """What is called the same work has to give the same text."""
    drivers = [bench.build / "libraries" / f"driver-{name}" for name in SAME_BYTES.values()]
    for size, path in paths.items():
        texts = {
            subprocess.run([driver, "print", path], check=True, capture_output=True).stdout
            for driver in drivers
            if driver.exists()
        }
        if len(texts) != 1:
            raise SystemExit(f"the document of {size} comes out in {len(texts)} ways")


def measure_libraries(bench, paths):
    require_same_bytes(bench, paths)
    times = times_of_libraries(bench, paths)
    rows = []
    for library, name in LIBRARIES.items():
        driver = bench.build / "libraries" / f"driver-{name}"
        if not driver.exists():
            print(f"{library} is not installed and left out", file=sys.stderr)
            continue
        counts = {}
        for size, path in paths.items():
            job, read = (
                bench.instructions_alone([str(driver), action, path]) for action in ("job", "read")
            )
            counts[size] = (job - read) / documents.REALISTIC[size]
        rows.append((library, counts))
    rows.sort(key=lambda row: row[1]["9.9 kB"])
    header = ["instructions per byte", *SIZES] + [f"ns per byte, {size}" for size in SIZES if times]
    replace_table(
        "libraries",
        table(
            header,
            [
                [library]
                + [f"{counts[size]:.0f}" for size in SIZES]
                + [f"{times[library, paths[size]]:.1f}" for size in SIZES if times]
                for library, counts in rows
            ],
        ),
    )
    plot(
        "libraries",
        "Parse, flip the flag, write indented text, in memory",
        "instructions per byte",
        rows,
    )


def measure_flips(bench, paths):
    rows = []
    for name, program in FLIPS.items():
        if not pathlib.Path(bench.program(program)).exists():
            print(f"{name} is not installed and left out", file=sys.stderr)
            continue
        command = [bench.program(program)] + FLIP
        rows.append(
            [name] + [grouped(bench.instructions(command, path)) for path in paths.values()]
        )
    replace_table("flips", table(["whole flip, instructions", *SIZES], rows))


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
    seconds = bench.seconds([sleep] + list(jobs.values()), paths["2 kB"], times=21)
    rows, series = [], []
    for (name, command), time in zip(jobs.items(), seconds[1:]):
        counts = {size: bench.instructions(command, path) / 1000 for size, path in paths.items()}
        peak, _, _ = bench.memory(command, paths["2 kB"])
        series.append((name, counts))
        rows.append(
            [name]
            + [grouped(round(counts[size])) for size in SIZES]
            + [
                grouped(bench.calls(command, paths["2 kB"])),
                grouped(peak),
                f"{time / seconds[0]:.2f}",
            ]
        )
    replace_table(
        "jobs",
        table(
            ["thousand instructions", *SIZES, "system calls", "peak kB", "time ÷ 20 ms sleep"], rows
        ),
    )
    plot(
        "jobs",
        "The whole flip, as a process of its own",
        "thousand instructions, logarithmic",
        series,
        logarithmic=True,
    )


def measure_floors(bench, paths):
    rows = []
    tool = bench.program("switch-querier")
    commands = {
        "empty C": ([bench.program("empty")], None),
        "empty iostream": ([bench.program("empty-iostream")], None),
        "query": ([tool] + QUERY, None),
    }
    for size, path in paths.items():
        commands[f"flip of {size}"] = ([tool] + FLIP, path)
    for name, (command, path) in commands.items():
        peak, faults, _ = bench.memory(command, path)
        rows.append(
            [
                name,
                grouped(bench.instructions(command, path)),
                str(bench.calls(command, path)),
                str(faults),
                grouped(peak),
                counted_on_aarch64(bench, command, path),
            ]
        )
    replace_table(
        "floors",
        table(
            [
                "static program",
                "instructions",
                "system calls",
                "page faults",
                "peak kB",
                "instructions, aarch64",
            ],
            rows,
        ),
    )


def counted_on_aarch64(bench, command, path):
    """Counted by an emulator that executes and logs one instruction at a time."""
    program = bench.build / "aarch64" / pathlib.Path(command[0]).name
    emulator = shutil.which("qemu-aarch64")
    if not program.exists() or emulator is None:
        return "not measured"
    help_text = subprocess.run([emulator, "--help"], capture_output=True, text=True).stdout
    step = "-one-insn-per-tb" if "one-insn-per-tb" in help_text else "-singlestep"
    log = bench.work / "executed"
    bench.run(
        [[emulator, step, "-d", "exec,nochain", "-D", str(log), str(program)] + command[1:]], path
    )
    with log.open("rb") as lines:
        return grouped(sum(line.startswith(b"Trace ") for line in lines))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    bench = Bench(sys.argv[1])
    paths = written_documents(bench)
    print(platform.platform())
    measure_floors(bench, paths)
    measure_flips(bench, paths)
    measure_libraries(bench, paths)
    measure_jobs(bench, paths)


if __name__ == "__main__":
    main()
