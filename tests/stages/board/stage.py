# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py DIRECTORY short|long PACKAGES EMULATOR...: boots the board, and counts what it says."""

import sys

from board import HERE, NEEDED, Board
from machine import HERE as MACHINE
from machine import Machine, MachineError, Results, results_of

PROGRAMS = ("switch-querier", "expected-run", "gpio-on-the-board-test")
# The lines of program.cases that guest/pin.sh takes.
PIN_CASES = r"^(new-|out-)?(low|high) +none +ext4 .* (FILE|FILE,-query|-query) "


class Stage(Results):
    def __init__(self, directory, extent, packages, emulator):
        super().__init__(directory)
        self.extent = extent
        self.emulator = emulator
        programs = [self.directory / "programs" / name for name in PROGRAMS]
        guests = (MACHINE / "guest", HERE / "guest")
        self.machine = Machine(self.directory, packages, programs, guests, NEEDED)
        self.tree = self.machine.only("usr/lib/linux-image-*/freescale/imx8mp-evk.dtb")

    def boot(self, name, options, *disks):
        """The board, just switched on."""
        self.console = self.directory / f"console-{name}.txt"
        return Board(
            self.emulator,
            [
                "-kernel",
                self.machine.kernel,
                "-dtb",
                self.tree,
                "-initrd",
                self.machine.initramfs,
                *disks,
                "-append",
                f"console=ttymxc1 panic=-1 quiet {options}",
            ],
            self.console,
        )

    def run_all(self):
        self.run_pin()

    def run_pin(self):
        """The program and GpioLine, with the pin driven and watched from outside."""
        lines = []
        with self.boot("pin", "iomem=relaxed scripts=gpio,pin") as board:
            while (line := board.line()) is not None:
                lines.append(line)
                if line.startswith("@ask "):
                    board.send(board.answer(line.removeprefix("@ask ")))
        for result in results_of("gpio,pin", lines, "@end" in lines)[0]:
            self.record(result)
        self.check_count("program.cases", PIN_CASES, "line ")
        print(
            f"GpioLine: {self.count('GpioOnTheBoard.')} tests; the program: "
            f"{self.count('line ')} runs"
        )


def main(directory, extent, packages, *emulator):
    try:
        stage = Stage(directory, extent, packages, emulator)
    except MachineError as error:
        print(f"board: {error}")
        return 1
    return stage.conclude(stage.run_all)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
