# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py DIRECTORY short|long PACKAGES: boots the machine as often as it takes, and counts."""

import sys
from pathlib import Path

import powercuts
from emulator import Emulator, Stage, System, main

MODULES = "virtio_mmio virtio_blk loop ext4 xfs f2fs vfat nls_cp437 nls_ascii".split()
PROGRAMS = ("switch-querier",)
HARDWARE = "qemu-system-aarch64 -M virt -cpu cortex-a53 -m 256 -serial stdio".split()


class Disk:
    """A disk of the machine, found there by its name; with a log of its writes if it is to."""

    def __init__(self, path, logged=False):
        self.path = path
        self.name = path.stem
        self.log = path.with_suffix(".log") if logged else None

    def arguments(self):
        block = f"driver=file,filename={self.path}"
        if self.log:
            self.log.write_bytes(b"")
            block = (
                f"driver=blklogwrites,file.driver=file,file.filename={self.path},"
                f"log.driver=file,log.filename={self.log},log-super-update-interval=1"
            )
        device = f"virtio-blk-device,drive={self.name},serial={self.name}"
        return ["-blockdev", f"{block},node-name={self.name}", "-device", device]


def text(replacements):
    """The text, by the number that power-cuts.sh gives it, that the file has after so many."""
    if replacements == 0:
        return "0"
    return "1" if replacements % 2 == 1 else "2"


class MachineStage(Stage):
    def __init__(self, directory, extent, packages):
        super().__init__(directory, extent)
        self.system = System(
            self.directory, packages, MODULES, PROGRAMS, Path(__file__).parent / "guest"
        )

    def boot(self, task, disks, options, cut_at="@end"):
        """Boots the machine, has it do something up to the line that begins like cut_at, and cuts
        the power. Returns what the script said, but for its results."""
        self.console = self.directory / f"console-{task}.txt"
        options = f"scripts=power-cuts task={task} {options}"
        command = [*HARDWARE, *self.system.arguments(options)]
        for disk in disks:
            command += disk.arguments()
        with Emulator(command, self.console) as machine:
            lines, last = machine.wait_for(cut_at)
        return self.take(task, lines, last is not None)

    def run_all(self):
        self.cut_power(1, "big")
        if self.extent == "long":
            self.cut_power(6, "small")
            self.cut_power(4, "big")

    def cut_power(self, replacements, document):
        """Cuts the power after replacements, and looks at what that left, and at what a cut at any
        other crash point would have left."""
        options = f"document={document} replacements={replacements}"
        systems = powercuts.file_systems()
        disks = []
        for system in systems:
            for kind in ("unsynced", "synced"):  # its pristine sectors are kept
                disks.append(Disk(self.directory / f"{system.name}-{kind}.img", kind == "synced"))
                system.make_disk(disks[-1].path)
        self.boot("replace", disks, options, cut_at="@cut")

        logs = {disk.name: disk.log for disk in disks}
        disks = [Disk(disk.path) for disk in disks]
        cuts = {}
        for system in systems:
            log = logs[f"{system.name}-synced"]
            cuts[system.name] = powercuts.crashes(system, log, replacements)
            log.unlink()
            disks.append(Disk(self.directory / f"{system.name}-images.img"))
            powercuts.write_images(disks[-1].path, system, cuts[system.name])
        states = {}
        for line in self.boot("inspect", disks, options):
            word, *rest = line.split()
            if word == "state":
                states[rest[0], int(rest[1])] = rest[2]
        for disk in disks:
            disk.path.unlink()
        for system in systems:
            self.judge(system.name, replacements, cuts[system.name], states)

    def judge(self, name, replacements, cuts, states):
        """Checks the states that were found on the disks of a file system."""
        new = text(replacements)
        synced = states.get((f"{name}-synced", 0))
        unsynced = states.get((f"{name}-unsynced", 0))
        self.check(f"{name}: the new text after a reported success", synced == new, synced)
        self.check(
            f"{name}: a replacement that syncs nothing is detected",
            unsynced in ("0", "empty", "unreadable"),
            unsynced,
        )
        found = {}
        for number, cut in enumerate(cuts):
            state = states.get((f"{name}-images", number))
            allowed = {text(cut.reported): "last reported"}
            if cut.reported < replacements:
                allowed[text(cut.reported + 1)] = "one ahead"
            names = " or ".join(allowed)
            self.check(f"{name}: cut {cut.name}", state in allowed, f"{state}, not {names}")
            word = allowed.get(state, str(state))
            found[word] = found.get(word, 0) + 1
        print(
            f"power cut, {name}: {'new text' if synced == new else synced}; "
            f"with nothing synced {'old text' if unsynced == '0' else unsynced}; at "
            f"{len(cuts)} other crash points: "
            + ", ".join(f"{count} {word}" for word, count in sorted(found.items()))
        )


if __name__ == "__main__":
    sys.exit(main(MachineStage))
