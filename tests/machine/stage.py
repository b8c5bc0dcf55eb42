# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py FOLDER short|long PACKAGE...: boots the machine as often as it takes, and counts."""

import sys
from pathlib import Path

import powercuts
from machine import HERE, Disk, Machine, MachineError, Result, run

PROGRAMS = ("switch-querier", "switch-querier-unsynced", "hold-line", "gpio-on-the-kernel-test")


def text(replacements):
    """The text, by the number that inspect.sh says, that the file has behind so many."""
    if replacements == 0:
        return "0"
    return "1" if replacements % 2 == 1 else "2"


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
        self.run_power_cuts(1, "small")

    def run_program(self):
        """GpioLine, and the program for each line of the tables."""
        self.boot("program", "gpio,program", self.disks_for_program())
        self.check_count("program.cases", "line ")
        self.boot("gone", "gone", self.disks_for_program(), chip="gpio1")
        self.check_count("gone.cases", "line gone")

    def disks_for_program(self):
        disks = []
        for name, megabytes in (("work", 16), ("full", 2)):
            image = self.folder / f"{name}.img"
            image.write_bytes(b"")
            run(["truncate", "-s", f"{megabytes}M", image])
            run(["/sbin/mkfs.ext4", "-q", "-m", "0", image])
            disks.append(Disk(name, image))
        return disks

    def check_count(self, table, prefix):
        """No line of a table may go missing."""
        lines = (HERE / "guest" / table).read_text().splitlines()
        count = sum(1 for line in lines if line and not line.startswith("#"))
        found = sum(1 for result in self.results if result.name.startswith(prefix))
        self.claim(f"each line of {table} is a case", found == count, f"{found} of {count}")

    def run_power_cuts(self, replacements, document):
        """Cuts the power behind replacements, and looks at what that left, and at what a cut at any
        other moment would have left."""
        options = f"replacements={replacements} document={document}"
        systems = powercuts.file_systems()
        disks = []
        for system in systems:
            for kind in ("unsynced", "synced"):  # the last one's blank is kept
                name = f"{system.name}-{kind}"
                path = self.folder / f"{name}.img"
                system.make_disk(path)
                log = self.folder / f"{system.name}.log" if kind == "synced" else None
                disks.append(Disk(name, path, log))
        self.boot("cut", "replace", disks, options, cut_at="@cut")

        cuts = {}
        for system in systems:
            log = self.folder / f"{system.name}.log"
            cuts[system.name] = powercuts.crashes(system, log, replacements)
            images = self.folder / f"{system.name}-images.img"
            powercuts.write_images(images, system, cuts[system.name])
            disks.append(Disk(f"{system.name}-images", images))
        for disk in disks:
            disk.log = None
        states = {}
        for line in self.boot("inspect", "inspect", disks, options):
            _, disk, number, state = line.split()
            states[disk, int(number)] = state
        for system in systems:
            self.judge(system, replacements, cuts[system.name], states)
        for disk in disks:
            disk.path.unlink()

    def judge(self, system, replacements, cuts, states):
        name = system.name
        synced = states.get((f"{name}-synced", 0))
        unsynced = states.get((f"{name}-unsynced", 0))
        self.claim(f"{name}: the new text behind a reported success",
                   synced == text(replacements), f"{synced}")
        self.claim(f"{name}: a program that syncs nothing is found out",
                   unsynced in ("0", "empty", "unreadable"), f"{unsynced}")
        found = {}
        for number, cut in enumerate(cuts):
            state = states.get((f"{name}-images", number))
            allowed = {text(cut.reported): "new" if cut.reported else "old"}
            if cut.reported < replacements:
                allowed[text(cut.reported + 1)] = "new"
            self.claim(f"{name}: cut {cut.name}", state in allowed,
                       f"{state}, not {' or '.join(allowed)}")
            word = allowed.get(state, state)
            found[word] = found.get(word, 0) + 1
        print(f"power cut, {name}: {'new text' if synced == text(replacements) else synced}; "
              f"with nothing synced {'old text' if unsynced == '0' else unsynced}; at "
              f"{len(cuts)} other moments: " +
              ", ".join(f"{count} {word}" for word, count in sorted(found.items(), key=str)))

    def claim(self, name, holds, otherwise):
        self.results.append(Result(name, None if holds else otherwise))
        if not holds:
            print(f"failed: {name}: {otherwise}")

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
