# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py FOLDER short|long PACKAGE...: boots the machine as often as it takes, and counts."""

import sys
from pathlib import Path

from machine import Disk, Machine, MachineError, Result, run

PROGRAMS = ("switch-querier", "switch-querier-unsynced", "hold-line", "gpio-on-the-kernel-test")


class Stage:
    def __init__(self, folder, extent, packages):
        self.folder = Path(folder).resolve()
        self.extent = extent
        kernel = next(name for name in packages if "/linux-image-" in name)
        busybox = next(name for name in packages if "/busybox-static_" in name)
        programs = [self.folder / "programs" / name for name in PROGRAMS]
        self.machine = Machine(self.folder, kernel, busybox, programs)
        self.results = []

    def boot(self, name, *arguments, **options):
        results, told = self.machine.boot(name, *arguments, **options)
        for result in results:
            if result.problem:
                print(f"failed: {result.name}: {result.problem} (console: build/machine/console-{name}.txt)")
        self.results += results
        return told

    def run_all(self):
        self.run_program()

    def run_program(self):
        """The program and line 17."""
        work = self.folder / "work.img"
        full = self.folder / "full.img"
        for image, megabytes in ((work, 16), (full, 2)):
            image.write_bytes(b"")
            run(["truncate", "-s", f"{megabytes}M", image])
            run(["/sbin/mkfs.ext4", "-q", "-m", "0", image])
        self.boot("program", "gpio,program", [Disk("work", work), Disk("full", full)])


def main(folder, extent, *packages):
    try:
        stage = Stage(folder, extent, packages)
        stage.run_all()
    except MachineError as error:
        print(f"machine: {error}")
        return 1
    failed = sum(1 for result in stage.results if result.problem)
    print(f"{len(stage.results) - failed} passed, {failed} failed")
    return 0 if failed == 0 and stage.results else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
