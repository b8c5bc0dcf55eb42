# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py DIRECTORY short|long PACKAGES EMULATOR...: boots the board, and counts what it says."""

import shutil
import sys

from board import HERE, NEEDED, Board
from machine import HERE as MACHINE
from machine import Machine, MachineError, Results, results_of

PROGRAMS = ("switch-querier", "expected-run", "hold-line", "gpio-on-the-board-test")
# The lines of program.cases that guest/pin.sh takes.
PIN_CASES = r"^(new-|out-)?(low|high) +none +ext4 .* (FILE|FILE,-query|-query) "
# What Debian is to do besides what its units do; nothing times out because the host is slow.
DEBIAN = (
    "scripts=debian systemd.getty_auto=no systemd.show_status=no "
    "systemd.default_timeout_start_sec=600"
)
UNITS = ("switch-querier@config-app.json.service", "application.service")


class Stage(Results):
    def __init__(self, directory, extent, packages, emulator):
        super().__init__(directory)
        self.extent = extent
        self.emulator = emulator
        programs = [self.directory / "programs" / name for name in PROGRAMS]
        guests = (MACHINE / "guest", HERE / "guest", self.directory / "package")
        self.machine = Machine(self.directory, packages, programs, guests, NEEDED)
        self.tree = self.machine.only("usr/lib/linux-image-*/freescale/imx8mp-evk.dtb")
        self.card = self.directory / "card.img"

    def boot(self, name, options, *disks, pin=0):
        """The board, just switched on."""
        self.console = self.directory / f"console-{name}.txt"
        hardware = ["-kernel", self.machine.kernel, "-dtb", self.tree]
        hardware += ["-initrd", self.machine.initramfs, *disks, "-append"]
        hardware += [f"console=ttymxc1 panic=-1 quiet {options}"]
        board = Board(self.emulator, hardware, self.console)
        board.drive(17, pin)
        return board

    def run_all(self):
        self.run_pin()
        self.run_debian()

    def run_pin(self):
        """The program and GpioLine, with the pin driven and watched from outside."""
        lines = []
        with self.boot("pin", "iomem=relaxed scripts=gpio,pin") as board:
            while (line := board.line()) is not None:
                lines.append(line)
                if line.startswith("@ask "):
                    board.answer(line.removeprefix("@ask "))
        self.record_from("gpio,pin", lines, "@end" in lines)
        self.check_count("program.cases", PIN_CASES, "line ")
        tests = self.count("GpioOnTheBoard.")
        print(f"GpioLine: {tests} tests; the program: {self.count('line ')} runs")

    def record_from(self, scripts, lines, ended):
        for result in results_of(scripts, lines, ended)[0]:
            self.record(result)

    def run_debian(self):
        """Installs the package, boots once for each line of boots.cases, and purges it."""
        shutil.copyfile(self.directory / "debian.img", self.card)
        boots = (HERE / "boots.cases").read_text().splitlines()
        boots = [line for line in boots if line and not line.startswith("#")]
        if self.extent == "short":
            boots = boots[:2]
        with self.boot_debian("install") as board:
            self.do(board, "install_package")
            self.do(board, "prepare " + boots[0])
        for boot, next_boot in zip(boots, [*boots[1:], boots[0]]):
            name, line, *_ = boot.split()
            with self.boot_debian(name, pin=int(line == "high")) as board:
                lines, ended = board.shell("sh /cases/debian/check.sh " + boot)
                self.record_from("check.sh", lines, ended)
                if boot == boots[0]:
                    self.read_by_gpioget(board)
                self.do(board, "prepare " + next_boot)
                if self.extent == "short" and boot == boots[-1]:
                    self.do(board, "purge_package")
        if self.extent == "long":
            self.cut_power()
            with self.boot_debian("refusals") as board:
                for step in ("verify_unit", "hang", "refuse_without_config", "purge_package"):
                    self.do(board, step)
        print(f"Debian: {self.count('boot ')} boots with the package")
        self.card.unlink()

    def read_by_gpioget(self, board):
        """The unit with its drop-in, without the kernel's GPIO files, for each level of the pin."""
        self.do(board, "read_by_gpioget")
        for level, status in ((1, 0), (0, 1)):
            board.drive(17, level)
            self.do(board, f"decide {status}")

    def boot_debian(self, name, options="", pin=0, until="@ready"):
        """Debian, when all its units have started or failed to."""
        disk = ("-drive", f"file={self.card},if=sd,bus=2,format=raw")
        board = self.boot(f"debian-{name}", f"{DEBIAN} {options}", *disk, pin=pin)
        lines, _ = board.wait_for(until)
        self.check(f"Debian starts: {name}", lines is not None, "came to no end")
        return board

    def do(self, board, step):
        """A function of steps.sh, which must succeed."""
        lines, succeeded = board.shell(step)
        self.check(f"Debian: {step}", succeeded, " ".join(lines[-9:]))

    def cut_power(self):
        """Cuts the power as soon as the unit has succeeded and the application runs."""
        with self.boot_debian("cut", until="@application"):
            pass
        masked = " ".join("systemd.mask=" + unit for unit in UNITS)
        with self.boot_debian("after-cut", masked) as board:
            new = "/cases/documents/new-encoder.json"
            _, same = board.shell(f"cmp /config/app.json {new} && [ ! -e /run/application.json ]")
            self.check("power cut after the unit's success: the new text", same, "another one")


def main(directory, extent, packages, *emulator):
    try:
        stage = Stage(directory, extent, packages, emulator)
    except MachineError as error:
        print(f"board: {error}")
        return 1
    return stage.conclude(stage.run_all)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
