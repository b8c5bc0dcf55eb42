# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""stage.py DIRECTORY short|long PACKAGES EMULATOR...: boots the board, and counts what it says."""

import re
import shutil
import socket
import sys
import tempfile
from pathlib import Path

from emulator import Emulator, Stage, System, main, run

HERE = Path(__file__).parent
MODULES = ("sdhci-esdhc-imx", "loop", "ext4")
PROGRAMS = ("switch-querier", "expected-run", "hold-line", "gpio-on-the-board-test")
BOARD = "-M imx8mp-evk -m 1G -serial null -serial stdio".split()
CHIP = "/machine/soc/gpio1"  # the emulator's name of the chip that has the lines 0 to 31
CHANGE = re.compile(r"\[S \+([0-9.]+)\] IRQ (raise|lower) ([0-9]+)$")

# What Debian is to do besides what its units do; nothing times out because the host is slow.
DEBIAN = (
    "scripts=debian systemd.getty_auto=no systemd.show_status=no "
    "systemd.default_timeout_start_sec=600"
)

# One boot of Debian a line. The line, the marker, the disk and the file are as in program.cases;
# "held" cannot be read. The status is the unit's; above 1 the application does not start.
BOOTS = """
low             low   none     any   decoder  1
high            high  none     any   encoder  0
held            held  none     any   encoder  210
marker-decoder  low   DECODER  any   encoder  0
marker-encoder  high  ENCODER  any   decoder  1
broken          low   none     any   broken   174
missing         low   none     any   none     163
full            low   none     full  decoder  236
"""


def lines_of(table):
    return [line for line in table.splitlines() if line and not line.startswith("#")]


class Board(Emulator):
    """The running board. The emulator connects to a socket of ours for the pins, and stamps what
    they do with the time."""

    def __init__(self, emulator, hardware, console):
        with tempfile.TemporaryDirectory() as directory, socket.socket(socket.AF_UNIX) as listening:
            listening.bind(f"{directory}/qtest")
            listening.listen()
            listening.settimeout(60)
            pins = console.with_suffix(".pins")
            pins.write_bytes(b"")
            self.changes = pins.open()
            command = [*emulator, *BOARD, "-qtest", f"unix:{directory}/qtest", *hardware]
            super().__init__(command, console, stderr=pins.open("a"))
            self.pins, _ = listening.accept()
        self.pins.settimeout(60)
        self.answers = self.pins.makefile("r")
        self.answer("irq_intercept_out", CHIP)

    def __exit__(self, *exception):
        super().__exit__(*exception)
        self.answers.close()
        self.pins.close()
        self.changes.close()

    def line(self):
        """The next line of the console, once what the guest asks for before it is answered."""
        while (line := super().line()) is not None and line.startswith("@ask "):
            self.send("=" + self.answer(*line.split()[1:]))
        return line

    def wake(self):
        """The emulator at times misses the timer of an idle processor; input wakes it."""
        self.send("")

    def answer(self, *question):
        """Drives a line, tells what the outputs have done since the last time ("17=1@SECONDS" and
        the like), or has the emulator do something with the hardware."""
        if question == ("pins",):
            changes = filter(None, map(CHANGE.match, self.changes.readlines()))
            return " ".join(
                f"{change[3]}={int(change[2] == 'raise')}@{change[1]}" for change in changes
            )
        if question[0] == "drive":
            question = ("set_irq_in", CHIP, "unnamed-gpio-in", *question[1:])
        self.pins.sendall(" ".join(question).encode() + b"\n")
        while not (answer := self.answers.readline()).startswith(("OK", "FAIL")):
            if not answer:
                raise EOFError("the emulator ended")
        return answer.strip()

    def shell(self, command):
        """Has Debian do something. Returns what it printed, and whether it succeeded."""
        self.send(command)
        lines, status = self.wait_for("@status ")
        return lines, status == "@status 0"


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
        cases = lines_of((HERE / "guest/program.cases").read_text())
        self.check("each line of program.cases is a case", found == len(cases), f"{found} of it")

    def run_debian(self):
        """Installs the package, boots once for each of BOOTS, and purges it."""
        shutil.copyfile(self.directory / "debian.img", self.card)
        boots = lines_of(BOOTS)
        if self.extent == "short":
            boots = boots[:2]
        with self.boot_debian("install") as board:
            self.do(board, "install_package")
            self.do(board, "prepare " + boots[0])
        for boot, next_boot in zip(boots, [*boots[1:], boots[0]]):
            name, line, *_ = boot.split()
            with self.boot_debian(name, pin=int(line == "high")) as board:
                self.take("check_boot", *board.shell("check_boot " + boot))
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
        """A function of debian-steps.sh, which must succeed."""
        lines, succeeded = board.shell(step)
        self.check(f"Debian: {step}", succeeded, " ".join(lines[-9:]))


if __name__ == "__main__":
    sys.exit(main(BoardStage))
