#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Plants one change at a time in the product, and fails when no test notices it.

See README.md. To be run from the top of the tree, by run.sh.
"""

import argparse
import collections
import concurrent.futures
import contextlib
import functools
import hashlib
import itertools
import json
import math
import os
import pathlib
import queue
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time

import operators

DIRECTORIES = ["app", "json", "gpio", "log", "fileio"]
SUITES = {directory: [directory] for directory in DIRECTORIES} | {"app": ["app", "program"]}
BUILD = pathlib.Path("build/mutation").absolute()
TREE = BUILD / "tree"
UNCHANGED = BUILD / "unchanged"
HERE = pathlib.Path("tests/stages/mutation").absolute()

# What the product includes; reading it takes most of each compilation.
PRECOMPILED = """array cerrno charconv chrono cstdint cstdio cstdlib cstring ctime fstream
functional iomanip ios iostream map optional ostream span sstream string string_view utility
variant vector""".split()
# A function that lost its return could do anything: no mutant, but a text that makes no sense.
FLAGS = ["-Werror=return-type"]

CPU_LIMIT_SECONDS = 3  # in addition to five times what a suite needs unchanged
WALL_LIMIT_SECONDS = 60  # of each process
MEMORY_LIMIT_BYTES = 2 << 30
HANGS_LIMIT = 5  # of a suite's tests, for one mutant of the matrix
CANNOT_TEST = 99  # the tests' own status if they get no private root

KILLED, SURVIVED, EQUAL, UNBUILT = "killed", "survived", "equal code", "not compiling"
KNOWN = "known"


class Failure(Exception):
    """What keeps the stage from giving an answer."""


def call(command, **options):
    return subprocess.run(
        command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options
    )


def call_or_fail(command, **options):
    done = call(command, **options)
    if done.returncode != 0:
        raise Failure(f"{' '.join(map(str, command))}\n{done.stdout}")


def copy_tree():
    """Makes a private copy of the tree: others may edit the sources while the mutants are tried.
    The files keep their times, so that only what has changed is built again.
    """
    shutil.rmtree(TREE, ignore_errors=True)
    for name in [*DIRECTORIES, "cmake", "man", "packaging", "tests"]:
        shutil.copytree(name, TREE / name)
    for name in ("CMakeLists.txt", "VERSION"):
        shutil.copy2(name, TREE)


def build_unchanged(jobs, suites):
    """Builds the copy, with the product's libraries from precompiled headers."""
    headers = " ".join(f"<{header}>" for header in PRECOMPILED)
    calls = [f"target_precompile_headers switch-querier-{d} PRIVATE {headers}" for d in DIRECTORIES]
    settings = BUILD / "precompiled.cmake"
    settings.write_text("".join(f"cmake_language(DEFER CALL {call})\n" for call in calls))
    call_or_fail(
        ["cmake", "-S", TREE, "-B", UNCHANGED, "-DCMAKE_BUILD_TYPE=Release",
         "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_CXX_COMPILER_LAUNCHER=", "-DSWITCH_QUERIER_TESTS=ON",
         "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", f"-DCMAKE_PROJECT_TOP_LEVEL_INCLUDES={settings}"]
    )  # fmt: skip
    targets = ["switch-querier", *(f"{suite}-test" for suite in suites)]
    call_or_fail(["cmake", "--build", UNCHANGED, "-j", str(jobs), "--target", *targets])


class Project:
    """The unchanged program: its objects, and the test executables that they make."""

    def __init__(self, jobs, suites):
        self.suites = suites
        build_unchanged(jobs, suites)
        self.commands = {}
        self.objects = {}
        targets = collections.defaultdict(list)
        for entry in json.loads((UNCHANGED / "compile_commands.json").read_text()):
            if not entry["file"].startswith(f"{TREE}/"):
                continue  # a source that the build makes
            source = entry["file"].removeprefix(f"{TREE}/")
            words = shlex.split(entry["command"])
            last = words.index("-o")
            self.commands[source] = words[:last]
            self.objects[source] = pathlib.Path(entry["directory"], words[last + 1])
            target = re.search(r"/(?:switch-querier-)?([^/]+)\.dir/", words[last + 1]).group(1)
            targets[target].append(source)
        links = {f: [f, "effects"] for f in ("gpio", "log", "fileio")}
        links |= {"json": ["json"], "app": [*DIRECTORIES, "effects"], "program": []}
        self.parts = {}  # what each executable is linked from, as sources
        for suite in suites:
            names = [f"{suite}-test", "suite-main", "appliance", *links[suite]]
            self.parts[f"{suite}-test"] = [s for name in names for s in targets[name]]
        if "program" in suites:
            names = ["switch-querier", *DIRECTORIES]
            self.parts["switch-querier"] = [s for name in names for s in targets[name]]
        self.dependencies = {s: self.headers_of(s) for parts in self.parts.values() for s in parts}
        self.shards = {}
        self.cpu_limits = {}

    @staticmethod
    def kind(source):
        return "tests" if source.startswith("tests/") else "product"

    def compile_command(self, source, path, output, overlay):
        compiler, *options = self.commands[source]
        return [compiler, f"-I{overlay}", *options, *FLAGS, "-c", path, "-o", output]

    def headers_of(self, source):
        text = pathlib.Path(f"{self.objects[source]}.d").read_text().replace("\\\n", " ")
        names = text.split(":", 1)[1].split()
        return {n.removeprefix(f"{TREE}/") for n in names}

    def link(self, output, sources, changed):
        """Links an executable of these sources, with some of their objects changed."""
        objects = [changed.get(s, self.objects[s]) for s in sources]
        call_or_fail(["g++", *objects, "-lgtest", "-lpthread", "-o", output])

    def measure(self):
        """Runs each suite unchanged, to know how it is run best; it has to pass."""
        for suite in self.suites:
            self.shards[suite] = 1
            self.cpu_limits[suite] = 60
            before, used_before = time.monotonic(), processor_time()
            if not passes(self, suite, UNCHANGED):
                raise Failure(f"{suite}-test fails on the unchanged program")
            used = processor_time() - used_before
            self.cpu_limits[suite] = math.ceil(CPU_LIMIT_SECONDS + 5 * used)
            # Suites that mostly wait are run in many parts at once.
            if time.monotonic() - before > 1 and used < 0.3:
                self.shards[suite] = 8


def processor_time():
    """What the processes used that have ended by now."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def limit_resources(cpu_seconds):
    os.setsid()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_CPU, (cpu_seconds, cpu_seconds + 1))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT_BYTES, MEMORY_LIMIT_BYTES))


def passes(project, suite, directory):
    return not failing_tests(project, suite, directory, only_first=True)[0]


def tests_of(suite, directory):
    """The suite's tests, as a filter names them."""
    tests, group = [], ""
    for line in call([directory / f"{suite}-test", "--gtest_list_tests"]).stdout.splitlines():
        word = line.split("#")[0].strip()
        if line.startswith(" "):
            tests.append(group + word)
        else:
            group = word
    return tests or ["*"]  # a program that crashes at its start lists none


def failing_tests(project, suite, directory, only_first=False):
    """All the suite's tests that fail, and whether all were run. The suite's shards are run at the
    same time, each up to its first failure if that is enough.
    """
    count = project.shards[suite]
    tests = tests_of(suite, directory)
    shards = [(directory / f"{suite}-{n}.out", tests[n::count]) for n in range(count)]
    with concurrent.futures.ThreadPoolExecutor(count) as pool:
        run = functools.partial(run_shard, project, suite, directory, only_first)
        results = list(pool.map(run, *zip(*shards)))
    failed = set().union(*(failed for failed, _ in results))
    return {f"{suite}.{test}" for test in failed}, all(ran for _, ran in results)


def run_shard(project, suite, directory, only_first, output, tests):
    """Runs the tests in one process. A test that ends it, or hangs, has failed; a further process
    runs those after it.
    """
    failed = set()
    hangs = 0
    while tests and hangs < HANGS_LIMIT and not (failed and only_first):
        with output.open("w") as stream:
            process = subprocess.Popen(
                [directory / f"{suite}-test", f"--gtest_filter={':'.join(tests)}"],
                env=os.environ | {"GTEST_FAIL_FAST": str(int(only_first))},
                preexec_fn=functools.partial(limit_resources, project.cpu_limits[suite]),
                stdin=subprocess.DEVNULL, stdout=stream, stderr=subprocess.DEVNULL,
            )  # fmt: skip
        try:
            process.wait(WALL_LIMIT_SECONDS)
        except subprocess.TimeoutExpired:
            pass
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)  # and what it started
        process.wait()
        if process.returncode == CANNOT_TEST:
            raise Failure(f"{suite}-test gets no private root here")
        hangs += process.returncode in (-signal.SIGKILL, -signal.SIGXCPU)
        text = output.read_text(errors="replace")
        lines = re.findall(r"\[ *(RUN|OK|SKIPPED) *\] ([^\s,]+)", text)
        begun = {test for word, test in lines if word == "RUN"} or set(tests)
        failed |= begun - {test for word, test in lines if word != "RUN"}
        if process.returncode != 0 and not failed:
            failed = set(tests[-1:])
        tests = [test for test in tests if test not in begun]
    return failed, not tests


class Worker:
    """A directory in which mutants are built and tried, one after the other."""

    def __init__(self, project, number):
        self.project = project
        self.directory = BUILD / f"worker-{number}"
        shutil.rmtree(self.directory, ignore_errors=True)
        self.overlay = self.directory / "tree"
        self.overlay.mkdir(parents=True)

    def try_mutant(self, mutant, trial):
        """What the trial, one of the functions below, says of the mutant."""
        path = self.overlay / mutant.file
        path.parent.mkdir(exist_ok=True)
        text = (TREE / mutant.file).read_text()
        path.write_text(text[: mutant.start] + mutant.replacement + text[mutant.end :])
        try:
            return trial(self, mutant)
        finally:
            path.unlink()

    def compile(self, source, changed):
        """Compiles a source as the mutant has it, and notes its object if that differs. Returns
        whether the compiler accepts it.
        """
        own = self.overlay / source
        output = self.directory / (source.replace("/", "-") + ".o")
        path = own if own.exists() else TREE / source
        if call(self.project.compile_command(source, path, output, self.overlay)).returncode != 0:
            return False
        if not self.same(source, output):
            changed[source] = output
        return True

    def same(self, source, output):
        """Whether an object is the unchanged one, but for symbols that nobody needs."""
        stripped = []
        for n, path in enumerate((self.project.objects[source], output)):
            copy = self.directory / f"stripped-{n}.o"
            call_or_fail(["strip", "--strip-unneeded", "-o", copy, path])
            stripped.append(copy.read_bytes())
        return stripped[0] == stripped[1]

    def compile_product(self, mutant, suites):
        """The sources that see the mutant, and the product's objects that it changes, or None if
        the compiler rejects it.
        """
        project = self.project
        changed = {}
        names = [f"{s}-test" for s in suites] + ["switch-querier"] * ("program" in suites)
        touched = {s for n in names for s in project.parts[n]
                   if mutant.file in project.dependencies[s]}  # fmt: skip
        for source in sorted(s for s in touched if project.kind(s) == "product"):
            if not self.compile(source, changed):
                return touched, None
        return touched, changed

    def outcome(self, mutant):
        suites = SUITES[mutant.file.split("/")[0]]
        touched, changed = self.compile_product(mutant, suites)
        if changed is None:
            return UNBUILT
        survived = False
        for suite in suites:
            outcome = self.outcome_in(suite, mutant, touched, dict(changed))
            if outcome == KILLED:
                return KILLED
            survived = survived or outcome == SURVIVED
        return SURVIVED if survived else EQUAL

    def outcome_in(self, suite, mutant, touched, changed):
        """Tries the mutant on a suite, given those objects of the product that changed."""
        project = self.project
        name = f"{suite}-test"
        tests = sorted(s for s in touched & set(project.parts[name]) if project.kind(s) == "tests")
        shared = [s for s in project.parts[name] if not s.endswith("Test.cpp")]
        for source in [s for s in tests if s in shared]:
            # Some tests are carried out by the compiler.
            if not self.compile(source, changed):
                return KILLED
        equal = not changed
        if not equal and suite == "program":
            self.link("switch-querier", project.parts["switch-querier"], changed)
        # A header's change reaches many tests. It is killed sooner when they are built one by one,
        # the one that is named after the header first.
        stem = pathlib.Path(mutant.file).stem
        for source in sorted((s for s in tests if s not in shared), key=lambda s: stem not in s):
            mine = dict(changed)
            if not self.compile(source, mine):
                return KILLED
            if mine:
                equal = False
                self.link(name, [*shared, source], mine)
                if not passes(project, suite, self.directory):
                    return KILLED
        others = [s for s in project.parts[name] if s not in shared and s not in tests]
        if equal:
            return EQUAL
        if others and (changed or suite == "program"):
            self.link(name, [*shared, *others], changed)
            if not passes(project, suite, self.directory):
                return KILLED
        return SURVIVED

    def killers(self, mutant):
        """All the tests that fail for the mutant, and whether all were run; or its outcome, if it
        needs no test.
        """
        suites = SUITES[mutant.file.split("/")[0]]
        touched, changed = self.compile_product(mutant, suites)
        if changed is None:
            return UNBUILT
        for source in sorted(s for s in touched if self.project.kind(s) == "tests"):
            if not self.compile(source, changed):
                return KILLED
        if not changed:
            return EQUAL
        for name, sources in self.project.parts.items():
            self.link(name, sources, changed)
        results = [failing_tests(self.project, s, self.directory) for s in suites]
        return set().union(*(failed for failed, _ in results)), all(ran for _, ran in results)

    def link(self, name, sources, changed):
        """Links an executable of these sources, unless it is the unchanged one."""
        (self.directory / name).unlink(missing_ok=True)
        if set(sources) == set(self.project.parts[name]) and not set(sources) & set(changed):
            os.link(UNCHANGED / name, self.directory / name)
        else:
            self.project.link(self.directory / name, sources, changed)


# What survives, and is known to


def mutant_text(mutant):
    head = mutant.file + (f" {mutant.function}" if mutant.function else "")
    lines = [head]
    lines += ["- " + line for line in mutant.old.splitlines()]
    lines += ["+ " + line for line in mutant.new.splitlines()]
    return "\n".join(lines) + "\n"


def read_reasons(path):
    """Maps the mutants' names to the line, which begins with "=", that stands above them."""
    found = {}
    reason = None
    for line in path.read_text().splitlines():
        if line.startswith("="):
            reason = line
        elif line and not line.startswith("#"):
            if reason is None:
                raise Failure(f"{path}: no reason is given for {line}")
            found[line] = reason
    return found


def write_reasons(path, reasons):
    """Writes pairs of a mutant and its reason, those with the same reason together."""
    groups = {}
    for mutant, reason in reasons:
        groups.setdefault(reason, []).append(mutant.name)
    path.write_text("\n".join(f"= {r}\n" + "\n".join(names) + "\n" for r, names in groups.items()))


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("mode", nargs="?", choices=["matrix"], help="each mutant against each test")
    parser.add_argument("suite", nargs="?", choices=DIRECTORIES, help="the matrix's directory")
    parser.add_argument("--full", action="store_true", help="try all mutants, not a sample")
    parser.add_argument("--sample", type=int, help="how many to try otherwise (60)")
    parser.add_argument("--seed", help="draws the sample; the sources and tests, if not given")
    parser.add_argument("--only", action="append", help="only files that begin with this")
    parser.add_argument("--again", help="only mutants in this file, of survivors.txt's form")
    parser.add_argument("--list", action="store_true", help="print the mutants, try none")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--progress", action="store_true", help="show each outcome on stderr")
    options = parser.parse_args()
    if options.mode:
        if options.suite is None:
            parser.error(f"matrix needs one of {', '.join(DIRECTORIES)}")
        options.only = options.only or [f"{options.suite}/"]
        options.full = options.full or options.sample is None
    options.sample = options.sample or 60
    return options


def chosen_mutants(options, everything, known):
    chosen = everything
    if options.only:
        chosen = [m for m in chosen if m.file.startswith(tuple(options.only))]
    if options.mode:
        chosen = [m for m in chosen if m.name not in known]
    if options.again:
        wanted = read_reasons(pathlib.Path(options.again))
        chosen = [m for m in chosen if m.name in wanted]
    elif not options.full:
        # The same tree draws the same sample, so that a failure comes again.
        texts = [p.read_bytes() for p in sorted(TREE.rglob("*")) if p.suffix in (".h", ".cpp")]
        options.seed = options.seed or hashlib.sha256(b"".join(texts)).hexdigest()[:8]
        chosen = random.Random(options.seed).sample(chosen, min(options.sample, len(chosen)))
    return chosen


def try_all(options, project, chosen, known):
    workers = queue.SimpleQueue()
    for number in range(options.jobs):
        workers.put(Worker(project, number))

    numbers = itertools.count(1)

    def one(mutant):
        if mutant.name in known and not (options.full or options.again):
            return KNOWN
        worker = workers.get()
        try:
            outcome = worker.try_mutant(mutant, Worker.killers if options.mode else Worker.outcome)
        finally:
            workers.put(worker)
        print(f"{next(numbers)}/{len(chosen)} tried", flush=True)
        if options.progress:
            text = f"line {mutant.line}: {outcome}\n{mutant_text(mutant)}"
            print(text, file=sys.stderr, flush=True)
        return outcome

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        return list(pool.map(one, chosen))


def report(options, chosen, outcomes, known, everything):
    """Prints the summary and returns the exit status."""
    count = {o: 0 for o in (KILLED, SURVIVED, EQUAL, UNBUILT, KNOWN)}
    failed = False
    unknown = []
    for mutant, outcome in zip(chosen, outcomes):
        if mutant.name in known:
            if outcome == SURVIVED:
                outcome = KNOWN
            elif outcome != KNOWN:
                failed = True
                print(f"line {mutant.line}: in survivors.txt, but {outcome}\n{mutant.name}\n")
        count[outcome] += 1
        if outcome == SURVIVED:
            unknown.append(mutant)
            print(f"line {mutant.line}: no test notices this change\n{mutant.name}\n")
    write_reasons(BUILD / "survived.txt", [(m, "?") for m in unknown])
    for name in sorted(set(known) - {m.name for m in everything}):
        failed = True
        print(f"survivors.txt holds a change that the sources do not have: {name}")
    tried = count[KILLED] + count[SURVIVED] + count[KNOWN]
    score = 100 * count[KILLED] / tried if tried else 100
    print(
        f"mutation: {len(chosen)} of {len(everything)} mutants"
        + ("" if options.full or options.again else f" (seed {options.seed})")
        + f": {count[KILLED]} killed, {count[EQUAL]} equal code, {count[UNBUILT]} not compiling, "
        f"{count[KNOWN]} known survivors, {count[SURVIVED]} survived; score {score:.1f} %"
    )
    return 1 if failed or unknown else 0


def smallest_set(killers):
    """Tests that kill all that any test kills, in a small number: those without which a mutant
    survives, and then again and again the one that kills most of the rest. Each has the number of
    mutants that it adds to those before it.
    """
    alone = {test for tests in killers if len(tests) == 1 for test in tests}
    left = [tests for tests in killers if tests]
    added = {}
    while left:
        counts = collections.Counter(test for tests in left for test in sorted(tests))
        needed = {test: n for test, n in counts.items() if test in alone} or counts
        best = max(needed, key=needed.get)
        added[best] = counts[best]
        left = [tests for tests in left if best not in tests]
    return added


def report_matrix(options, project, chosen, outcomes):
    """Prints which tests kill what, and notes the tests of each mutant in matrix.txt."""
    count = collections.Counter(o for o in outcomes if isinstance(o, str))
    tried = [(m, *outcome) for m, outcome in zip(chosen, outcomes) if not isinstance(outcome, str)]
    killers = [tests for _, tests, _ in tried]
    write_reasons(BUILD / "matrix.txt", [(m, " ".join(sorted(tests))) for m, tests, _ in tried])
    all_tests = [
        f"{suite}.{test}" for suite in project.suites for test in tests_of(suite, UNCHANGED)
    ]
    kills = collections.Counter(test for tests in killers for test in tests)
    alone = collections.Counter(test for tests in killers if len(tests) == 1 for test in tests)
    added = smallest_set(killers)
    print(" adds  alone  kills  test")
    for test in [*added, *sorted(set(all_tests) - set(added), key=lambda t: (-kills[t], t))]:
        print(f"{added.get(test, 0):5}  {alone[test]:5}  {kills[test]:5}  {test}")
    for mutant, tests, all_ran in tried:
        if not tests:
            print(f"line {mutant.line}: no test notices this change\n{mutant.name}\n")
        elif not all_ran:
            print(f"line {mutant.line}: tests hang, and others were not run\n{mutant.name}\n")
    print(
        f"matrix of {options.suite}: {len(chosen)} mutants: {sum(map(bool, killers))} killed by "
        f"{len(all_tests)} tests, {count[KILLED]} by the compiler, {count[EQUAL]} equal code, "
        f"{count[UNBUILT]} not compiling, {killers.count(set())} survived; "
        f"{len(added)} tests kill all, {len(alone)} alone kill something, "
        f"{len(all_tests) - len(alone)} nothing of their own"
    )
    return 0


def main():
    options = arguments()
    BUILD.mkdir(parents=True, exist_ok=True)
    try:
        copy_tree()
        paths = [path for directory in DIRECTORIES for path in (TREE / directory).glob("*.*")]
        paths = [path for path in paths if path.suffix in (".h", ".cpp")]
        files = {str(path.relative_to(TREE)): path.read_text() for path in paths}
        everything = operators.mutants_of(files)
        known = read_reasons(HERE / "survivors.txt")
        chosen = chosen_mutants(options, everything, known)
        if options.list:
            for mutant in chosen:
                print(f"line {mutant.line}\n{mutant_text(mutant)}")
            return 0
        directories = {m.file.split("/")[0] for m in chosen}
        project = Project(options.jobs, sorted({s for f in directories for s in SUITES[f]}))
        project.measure()
        outcomes = try_all(options, project, chosen, known)
        if options.mode:
            return report_matrix(options, project, chosen, outcomes)
    except Failure as failure:
        print(f"mutation: {failure}")
        return 1
    return report(options, chosen, outcomes, known, everything)


if __name__ == "__main__":
    sys.exit(main())
