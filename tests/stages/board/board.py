# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""The i.MX 8M Plus evaluation board, emulated: its pins are driven and watched from outside."""

import re
import socket
import tempfile
from pathlib import Path

from machine import Emulator

HERE = Path(__file__).parent
NEEDED = {
    "GPIO_SYSFS": None,
    "GPIO_CDEV": None,
    "GPIO_MXC": None,
    "DEVMEM": None,
    "DEVTMPFS": None,
    "SERIAL_IMX_CONSOLE": None,
    "MMC_BLOCK": None,
    "MMC_SDHCI_ESDHC_IMX": "sdhci-esdhc-imx",
    "BLK_DEV_LOOP": "loop",
    "EXT4_FS": "ext4",
}
BOARD = "-M imx8mp-evk -m 1G -accel tcg -nic none -serial null -serial stdio".split()
CHIP = "/machine/soc/gpio1"  # the emulator's name of the chip that has the lines 0 to 31
CHANGE = re.compile(r"\[S \+([0-9.]+)\] IRQ (raise|lower) ([0-9]+)$")


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
        self.tell("irq_intercept_out " + CHIP)

    def __exit__(self, *exception):
        super().__exit__(*exception)
        self.answers.close()
        self.pins.close()
        self.changes.close()

    def wake(self):
        """The emulator at times misses the timer of an idle processor; input wakes it."""
        self.send("")

    def tell(self, command):
        """Has the emulator do something with the hardware, and returns its answer."""
        self.pins.sendall(command.encode() + b"\n")
        while not (answer := self.answers.readline()).startswith(("OK", "FAIL")):
            if not answer:
                raise EOFError("the emulator ended")
        return answer.strip()

    def drive(self, line, level):
        """Sets the level of an input."""
        return self.tell(f"set_irq_in {CHIP} unnamed-gpio-in {line} {level}")

    def pin_changes(self):
        """What the outputs have done since the last time: "17=1@SECONDS" and the like."""
        found = []
        for line in self.changes.readlines():
            if change := CHANGE.match(line):
                time, word, number = change.groups()
                found.append(f"{number}={int(word == 'raise')}@{time}")
        return found

    def wait_for(self, beginning):
        """The lines up to the one that begins so, and that one; both None if it does not come."""
        lines = []
        while (line := self.line()) is not None:
            if line.startswith(beginning):
                return lines, line
            lines.append(line)
        return None, None

    def shell(self, command):
        """Has Debian do something. Returns what it printed, and whether it succeeded."""
        self.send(command)
        lines, status = self.wait_for("@status ")
        return lines or [], status == "@status 0"

    def answer(self, question):
        """Answers what a script of the guest asks for."""
        name, *words = question.split()
        if name == "drive":
            answer = self.drive(*words)
        elif name == "pins":
            answer = " ".join(self.pin_changes())
        else:
            answer = self.tell(question)
        self.send("=" + answer)
