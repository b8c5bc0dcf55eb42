# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py DIRECTORY short|long PACKAGES: boots the machine as often as it takes, and counts."""

import random
import sys

import powercuts
from machine import Disk, Machine, MachineError, Results, run

PROGRAMS = (
    "switch-querier",
    "switch-querier-unsynced",
    "expected-run",
    "hold-line",
    "gpio-on-the-kernel-test",
)


def text(replacements):
    """The text, by the number that inspect.sh says, that the file has after so many."""
    if replacements == 0:
        return "0"
    return "1" if replacements % 2 == 1 else "2"


def allowed_at(cut, replacements):
    """The texts that may be found, and what to call them."""
    allowed = {text(cut.reported): "last reported"}
    if cut.reported < replacements:
        allowed[text(cut.reported + 1)] = "one ahead"
    return allowed


class Stage(Results):
    def __init__(self, directory, extent, packages):
        super().__init__(directory)
        self.extent = extent
        programs = [self.directory / "programs" / name for name in PROGRAMS]
        self.machine = Machine(self.directory, packages, programs)

    def boot(self, name, *arguments, **options):
        """Boots the machine, and takes over its results."""
        self.console = self.directory / f"console-{name}.txt"
        results, output = self.machine.boot(self.console, *arguments, **options)
        for result in results:
            self.record(result)
        return output

    def run_all(self):
        self.run_program()
        self.run_power_cuts(1, "big")
        if self.extent == "short":
            self.run_kills(2)
            return
        self.run_power_cuts(6, "small")
        self.run_power_cuts(4, "big")
        # The sync of the directory adds nothing to that of the file on any of these file systems.
        self.find_left_out("t", "temporary file", {"noauto", "xfs"})
        self.find_left_out("f", "directory", set())
        self.find_left_out("n", "new name", {"vfat"})
        self.run_kills(20)

    def run_program(self):
        """GpioLine, and the program for each line of the tables."""
        self.boot("program", "gpio,program", self.disks_for_program())
        self.check_count("program.cases", ".", "line ")
        self.boot("gone", "gone", self.disks_for_program(), chip="gpio1")
        self.check_count("gone.cases", ".", "line gone")
        tests = self.count("GpioOnTheKernel.")
        print(f"GpioLine: {tests} tests; the program: {self.count('line ')} runs")

    def disks_for_program(self):
        disks = []
        for name, megabytes in (("work", 16), ("full", 2)):
            image = self.directory / f"{name}.img"
            image.write_bytes(b"")
            run(["truncate", "-s", f"{megabytes}M", image])
            run(["/sbin/mkfs.ext4", "-q", "-m", "0", image])
            disks.append(Disk(name, image))
        return disks

    def run_power_cuts(self, replacements, document):
        """Cuts the power after replacements, and looks at what that left, and at what a cut at any
        other crash point would have left."""
        for system, cuts, states in self.cut_power(replacements, f"document={document}"):
            self.judge(system, replacements, cuts, states)

    def find_left_out(self, letter, sync, finders):
        """The cuts must show on which file systems this one of the program's syncs is needed."""
        found = set()
        for system, cuts, states in self.cut_power(1, f"document=small left_out={letter}"):
            for place, cut in enumerate(cuts):
                if states.get((f"{system.name}-images", place)) not in allowed_at(cut, 1):
                    found.add(system.name)
        print(f"without the sync of the {sync}: detected on {', '.join(sorted(found)) or 'none'}")
        self.check(
            f"a program without the sync of the {sync} is detected on {finders or 'none'}",
            found == finders,
            f"on {found or 'none'}",
        )

    def cut_power(self, replacements, options):
        """Yields each file system with its crashes, and the state found after each."""
        options += f" replacements={replacements}"
        systems = powercuts.file_systems()
        disks = []
        for system in systems:
            for kind in ("unsynced", "synced"):  # its pristine sectors are kept
                name = f"{system.name}-{kind}"
                path = self.directory / f"{name}.img"
                system.make_disk(path)
                log = self.directory / f"{system.name}.log" if kind == "synced" else None
                disks.append(Disk(name, path, log))
        self.boot("cut", "replace", disks, options, cut_at="@cut")

        cuts = {}
        for system in systems:
            log = self.directory / f"{system.name}.log"
            cuts[system.name] = powercuts.crashes(system, log, replacements)
            images = self.directory / f"{system.name}-images.img"
            powercuts.write_images(images, system, cuts[system.name])
            disks.append(Disk(f"{system.name}-images", images))
            log.unlink()
        for disk in disks:
            disk.log = None
        states = {}
        for line in self.boot("inspect", "inspect", disks, options):
            _, disk, number, state = line.split()
            states[disk, int(number)] = state
        for disk in disks:
            disk.path.unlink()
        return [(system, cuts[system.name], states) for system in systems]

    def run_kills(self, count):
        """Cuts the power during one replacement after another."""
        delays = random.Random(count)
        systems = powercuts.file_systems()
        disks = []
        for system in systems:
            path = self.directory / f"{system.name}-flipped.img"
            system.make_disk(path)
            disks.append(Disk(path.stem, path))
        flips = {disk.name: 0 for disk in disks}
        found = {"old": 0, "new": 0}
        for number in range(count + 1):
            if number < count:
                output = self.boot(
                    f"kill-{number + 1}",
                    "flip",
                    disks,
                    "document=small flips=" + ("first" if number == 0 else "more"),
                    cut_at="@flipped",
                    cut_after=delays.uniform(0.0, 1.5),
                )
            else:
                output = self.boot(f"kill-{number + 1}", "flip", disks, "document=small flips=none")
            states = dict(line.split()[1:4:2] for line in output if line.startswith("state "))
            for disk in disks:
                done = flips[disk.name]
                state = states.get(disk.name)
                allowed = {text(done): "old"}
                if number > 0:
                    allowed[text(done + 1)] = "new"
                self.check(
                    f"{disk.name}: kill {number}, after {done} replacements",
                    state in allowed,
                    f"{state}, not {' or '.join(allowed)}",
                )
                if number > 0 and state in allowed:
                    found[allowed[state]] += 1
                if allowed.get(state) == "new":
                    flips[disk.name] += 1
                flips[disk.name] += output.count(f"flipped {disk.name}")
        print(
            f"power cut at {count} crash points of {sum(flips.values())} replacements: "
            f"{found['old']} files as last reported, {found['new']} one ahead"
        )
        for disk in disks:
            disk.path.unlink()

    def judge(self, system, replacements, cuts, states):
        name = system.name
        synced = states.get((f"{name}-synced", 0))
        unsynced = states.get((f"{name}-unsynced", 0))
        self.check(
            f"{name}: the new text after a reported success",
            synced == text(replacements),
            f"{synced}",
        )
        self.check(
            f"{name}: a program that syncs nothing is detected",
            unsynced in ("0", "empty", "unreadable"),
            f"{unsynced}",
        )
        found = {}
        for number, cut in enumerate(cuts):
            state = states.get((f"{name}-images", number))
            allowed = allowed_at(cut, replacements)
            self.check(
                f"{name}: cut {cut.name}", state in allowed, f"{state}, not {' or '.join(allowed)}"
            )
            word = allowed.get(state, state)
            found[word] = found.get(word, 0) + 1
        print(
            f"power cut, {name}: {'new text' if synced == text(replacements) else synced}; "
            f"with nothing synced {'old text' if unsynced == '0' else unsynced}; at "
            f"{len(cuts)} other crash points: "
            + ", ".join(f"{count} {word}" for word, count in sorted(found.items(), key=str))
        )


def main(directory, extent, packages):
    try:
        stage = Stage(directory, extent, packages)
    except MachineError as error:
        print(f"machine: {error}")
        return 1
    return stage.conclude(stage.run_all)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
