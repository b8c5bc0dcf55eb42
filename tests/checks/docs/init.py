#!/usr/bin/env python3
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""Runs the functions for init scripts and the example of an init script, with stubs in place of the
program, of gpioget and of the application.

usage: init.py SNIPPET
"""

import concurrent.futures
import ctypes
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

SAID = "switch-querier:"
SEE = "see switch-querier(8)"
CALL = 'switch_mode "a b.json" -enc || exit; echo "working as $mode"'
# How the program ends, the status of the call, and what its output ends with.
ENDS = [
    ("exit 0", 0, "working as decoder"),
    ("exit 1", 0, "working as encoder"),
    ("exit 163", 163, f"{SAID} failed with status 163, {SEE}"),
    ("exit 152", 152, f"{SAID} failed with status 152, {SEE}"),
    ("kill -KILL $$", 137, f"{SAID} killed by signal 9"),
    ("kill -TERM $$", 143, f"{SAID} killed by signal 15, perhaps after 60 s"),
    ('[ "$*,$#,$(umask)" = "a b.json -enc,2,0077" ]', 0, "working as decoder"),
]
FROM_LINE = 'switch_mode_from_line chip 17 "a b.json"'
PRINT = 'printf "%s," "$@"; echo'
UNREAD = f"{SAID} gpioget cannot read line 17 of chip\na b.json"
# What gpioget is called with, and what it prints; a marker file; what the program gets.
LINES = [
    ("chip 17", "0", "none", "a b.json,-enc"),
    ("chip 17", "1", "none", "a b.json,-dec"),
    ("--numeric -c chip 17", "0", "none", "a b.json,-enc"),
    ("--numeric -c chip 17", "1", "none", "a b.json,-dec"),
    ("chip 17", "0", "DECODER", "a b.json"),
    ("chip 17", "1", "ENCODER", "a b.json"),
    ("chip 17", "17=active", "none", UNREAD),
    ("chip 18", "0", "none", UNREAD),
]
# For the example: how the program ends, the command, its status and output, and how often the mode
# has been decided, and how many applications have started and are running afterwards.
STEPS = [
    (163, "start", 163, f"{SAID} failed with status 163, {SEE}", 1, 0, 0),
    (163, "stop", 0, "", 1, 0, 0),
    (1, "restart", 0, "Starting application as encoder", 2, 1, 1),
    (1, "start", 0, "application is running", 2, 1, 1),
    (0, "restart", 0, "Stopping application\nStarting application as decoder", 3, 2, 1),
    (0, "stop", 0, "Stopping application", 3, 2, 0),
]


def make_script(path, text):
    path.write_text(f"#!/bin/sh\n{text}\n")
    path.chmod(0o755)


def try_functions(work, snippet, name, timeout):
    """Runs the functions under set -e in a shell, with a PATH that has this timeout."""
    directory = work / f"{name}-{timeout}"
    programs = directory / "bin"
    programs.mkdir(parents=True)
    # The busybox without a timeout is one as Buildroot configures it at the least, with no built-in
    # command either. Debian's has no flock.
    busybox = shutil.which("busybox")
    text = pathlib.Path(busybox).read_bytes()
    tools = {"sleep": busybox, "flock": shutil.which("flock")}
    if timeout == "none":
        text = text.replace(b"\0timeout\0", b"\0timeouz\0")
        text = re.sub(rb"(\0.?)command\0", rb"\1commanz\0", text)
    else:
        tools["timeout"] = busybox if timeout == "busybox" else shutil.which("timeout")
    for tool, path in tools.items():
        (programs / tool).symlink_to(path)
    (programs / "sh").write_bytes(text)
    (programs / "sh").chmod(0o755)
    (directory / "config").mkdir()
    functions = directory / "switch-mode.sh"
    functions.write_text(snippet.replace("/config/", f"{directory}/config/"))
    shell = programs / "sh" if name == "busybox" else shutil.which(name)
    lock = directory / "lock"
    absent = directory / "absent"

    def run(call, **variables):
        surroundings = {"PATH": programs, "SWITCH_MODE_PROGRAM": directory / "stub"}
        surroundings |= {"SWITCH_MODE_LOCK": lock, "SWITCH_MODE_SECONDS": "60", **variables}
        # The timeout of busybox leaves a process for a second, which would keep a pipe.
        with (directory / "output").open("w+") as output:
            command = [shell, "-c", call]
            status = subprocess.call(command, env=surroundings, stdout=output, stderr=output)
            output.seek(0)
            return status, output.read().rstrip("\n")

    def expect(status, output, ends, call=CALL, **variables):
        """A shell may say first that a program was killed."""
        make_script(directory / "stub", ends)
        ended, said = run(f"set -eu; . {functions}; {call}", **variables)
        what = f"{directory.name}, {ends}: {ended}, not {status}; {said}, not {output}"
        assert ended == status and said.endswith(output), what

    def not_run(reason, **variables):
        expect(127, f"{SAID} {reason}\n{SAID} was not run", "exit 1", **variables)

    def reads_line(gets):
        failed = f"{SAID} failed with status 174, {SEE}"
        expect(174, f"{gets},\n{failed}", f"{PRINT}; exit 174", FROM_LINE)
        call = f'{FROM_LINE}; echo "working as $mode"'
        expect(0, f"{gets},\nworking as encoder", f"{PRINT}; exit 1", call)

    for ends, status, output in ENDS:
        expect(status, output, ends)
    expect(0, "working as encoder", "exit 1", 'switch_mode a.json; echo "working as $mode"')
    # The shell of busybox takes its own timeout. Without one, nothing ends a run but itself.
    status, said, ends = 143, f"{SAID} killed by signal 15, perhaps after 1 s", "exec sleep 20"
    if timeout == "gnu" and name != "busybox":
        status, said = 124, f"{SAID} stopped after 1 s"
    elif timeout == "none":
        status, said, ends = 0, "working as encoder", "sleep 2; exit 1"
    expect(status, said, ends, SWITCH_MODE_SECONDS="1")
    if timeout == "none":
        assert name != "busybox" or run("timeout 1 : || command :")[0] != 0, "still has them"
        # The status of a failing flock is one of sysexits.h, or busybox's 1.
        not_run(f"{absent} is missing", SWITCH_MODE_PROGRAM=absent)
        not_run(f"{absent}/lock cannot be locked", SWITCH_MODE_LOCK=absent / "lock")
        (programs / "flock").rename(directory / "flock")
        not_run("flock is missing")
        (programs / "flock").symlink_to("/bin/false")
        not_run(f"{lock} cannot be locked")
        (directory / "flock").rename(programs / "flock")
        for called, prints, marker, gets in LINES:
            # It refuses what its version refuses.
            make_script(programs / "gpioget", f'[ "$*" = "{called}" ] && echo "{prints}"')
            (directory / "config" / marker).touch()
            reads_line(gets)
            (directory / "config" / marker).unlink()
        (programs / "gpioget").unlink()
        reads_line(UNREAD)


def try_example(work, snippet, daemon):
    """With a start-stop-daemon, and an application that takes a second to end."""
    # Who starts this may not wait for processes that it inherits, as the init of an appliance does;
    # those would count as running. 36 is PR_SET_CHILD_SUBREAPER.
    ctypes.CDLL(None).prctl(36, 1)
    directory = work / daemon
    directory.mkdir()
    (directory / "start-stop-daemon").symlink_to(shutil.which(daemon))
    (directory / "switch-mode.sh").write_text(snippet)
    example = pathlib.Path(shutil.copy("packaging/init/S50application", directory))
    text = example.read_text()
    example.write_text(re.sub("/usr/share/switch-querier/|/usr/bin/|/run/", f"{directory}/", text))
    waits = 'trap "sleep 1; exit" TERM; while [ -e "$0" ]; do sleep 0.1; done'
    make_script(directory / "application", f"echo $$ >>{directory}/started; {waits}")
    decides = f"echo >>{directory}/decided; exit $(cat {directory}/status)"
    make_script(directory / "program", decides)
    surroundings = {"PATH": f"{directory}:{os.environ['PATH']}"}
    surroundings["SWITCH_MODE_PROGRAM"] = directory / "program"
    surroundings["SWITCH_MODE_LOCK"] = directory / "lock"
    (directory / "started").touch()
    (directory / "decided").touch()

    def processes():
        """The applications that have started, and those that are running."""
        started = [int(line) for line in (directory / "started").read_text().split()]
        for process in started:
            try:
                os.waitpid(process, os.WNOHANG)
            except ChildProcessError:
                pass  # it is gone, or not yet in the background
        return started, [p for p in started if pathlib.Path(f"/proc/{p}").exists()]

    for ends, command, *expected in STEPS:
        (directory / "status").write_text(str(ends))
        with (directory / "output").open("w") as output:
            run = subprocess.Popen(
                [example, command], env=surroundings, stdout=output, stderr=output
            )
        # A daemon is in the background before the application runs.
        tries = 600
        while tries > 0 and (run.poll() is None or len(processes()[0]) < expected[3]):
            processes()
            tries -= 1
            time.sleep(0.1)
        started, running = processes()
        said = (directory / "output").read_text().rstrip("\n")
        decided = (directory / "decided").read_text().count("\n")
        found = [run.returncode, said, decided, len(started), len(running)]
        assert found == expected, f"{daemon}, {command}: {found}, not {expected}"
        assert len(list(directory.glob("*.pid"))) == len(running), f"{daemon}, {command}"


def main():
    snippet = pathlib.Path(sys.argv[1]).read_text()
    with tempfile.TemporaryDirectory() as work, concurrent.futures.ProcessPoolExecutor(11) as pool:
        given = pathlib.Path(work), snippet
        tries = [
            pool.submit(try_example, *given, name) for name in ("start-stop-daemon", "busybox")
        ]
        for name in ("dash", "bash", "busybox"):
            for timeout in ("gnu", "busybox", "none"):
                tries.append(pool.submit(try_functions, *given, name, timeout))
        for one in tries:
            one.result()


main()
