# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py DIRECTORY short|long PACKAGES EMULATOR...: boots the board, and counts what it says."""

import shutil
import sys
from pathlib import Path

from board import Board
from emulator import Stage, System, main, run

HERE = Path(__file__).parent
MODULES = ("sdhci-esdhc-imx", "loop", "ext4")
PROGRAMS = ("switch-querier", "expected-run", "hold-line", "gpio-on-the-board-test")
# What Debian is to do besides what its units do; nothing times out because the host is slow.
DEBIAN = (
    "scripts=debian systemd.getty_auto=no systemd.show_status=no "
    "systemd.default_timeout_start_sec=600"
)


def lines_of(table):
    lines = table.read_text().splitlines()
    return [line for line in lines if line and not line.startswith("#")]


class BoardStage(Stage):
    def __init__(self, directory, extent, packages, *emulator):
        super().__init__(directory, extent)
        self.emulator = emulator
        guests = (HERE / "guest", self.directory / "package")
        self.system = System(self.directory, packages, MODULES, PROGRAMS, *guests)
        self.tree = self.system.only("usr/lib/linux-image-*/freescale/imx8mp-evk.dtb")
        self.card = self.directory / "card.img"

    def boot(self, name, parameters, card, pin=0):
        """The board, just switched on, with an SD card."""
        self.console = self.directory / f"console-{name}.txt"
        hardware = self.system.arguments(f"console=ttymxc1 {parameters}")
        disk = ["-drive", f"file={card},if=sd,bus=2,format=raw"]
        board = Board(self.emulator, ["-dtb", self.tree, *hardware, *disk], self.console)
        board.answer("drive", "17", str(pin))
        return board

    def run_all(self):
        self.run_pin()
        self.run_debian()

    def run_pin(self):
        """The program and GpioLine, with the pin driven and watched from outside."""
        card = self.directory / "full.img"
        run(["/sbin/mkfs.ext4", "-q", "-F", "-m", "0", card, "2M"])
        with self.boot("pin", "iomem=relaxed scripts=gpio,program", card) as board:
            lines, end = board.wait_for("@end")
        self.take("gpio,program", lines, end is not None)
        tests = self.count("GpioOnTheBoard.")
        found = self.count("line ")
        print(f"GpioLine: {tests} tests; the program: {found} runs")
        cases = lines_of(HERE / "guest/program.cases")
        self.check("each line of program.cases is a case", found == len(cases), f"{found} of it")

    def run_debian(self):
        """Installs the package, boots once for each line of boots.cases, and purges it."""
        shutil.copyfile(self.directory / "debian.img", self.card)
        boots = lines_of(HERE / "boots.cases")
        if self.extent == "short":
            boots = boots[:2]
        with self.boot_debian("install") as board:
            self.do(board, "install_package")
            self.do(board, "prepare " + boots[0])
        for boot, next_boot in zip(boots, [*boots[1:], boots[0]]):
            name, line, *_ = boot.split()
            with self.boot_debian(name, pin=int(line == "high")) as board:
                self.take("check.sh", *board.shell("sh /cases/debian/check.sh " + boot))
                if boot == boots[0]:
                    self.read_by_gpioget(board)
                self.do(board, "prepare " + next_boot)
                if self.extent == "short" and boot == boots[-1]:
                    self.do(board, "purge_package")
        if self.extent == "long":
            with self.boot_debian("refusals") as board:
                for step in ("hang", "refuse_without_config", "purge_package"):
                    self.do(board, step)
        print(f"Debian: {self.count('boot ')} boots with the package")
        self.card.unlink()

    def read_by_gpioget(self, board):
        """The unit with its drop-in, without the kernel's GPIO files, for each level of the pin."""
        self.do(board, "read_by_gpioget")
        for level, decision in (("1", "0 false"), ("0", "1 true")):
            board.answer("drive", "17", level)
            self.do(board, f"decide {decision}")

    def boot_debian(self, name, pin=0):
        """Debian, when all its units have started or failed to."""
        board = self.boot(f"debian-{name}", DEBIAN, self.card, pin)
        _, ready = board.wait_for("@ready")
        self.check(f"Debian starts: {name}", ready is not None, "came to no end")
        return board

    def do(self, board, step):
        """A function of steps.sh, which must succeed."""
        lines, succeeded = board.shell(step)
        self.check(f"Debian: {step}", succeeded, " ".join(lines[-9:]))


if __name__ == "__main__":
    sys.exit(main(BoardStage))
