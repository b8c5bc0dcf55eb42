# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""The i.MX 8M Plus evaluation board, emulated: its pins are driven and watched from outside."""

import re
import socket
import tempfile

from emulator import Emulator

BOARD = "-M imx8mp-evk -m 1G -serial null -serial stdio".split()
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
