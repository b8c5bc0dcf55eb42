# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""Disks for the power cuts, and what a cut at another moment would have left on them."""

import os
import struct
from pathlib import Path
from typing import NamedTuple

from emulator import StageError, run

SECTOR = 512
MARKS = 2048  # the sectors after the file system, for marks
CHUNK = 65536

# The log of writes (include/uapi and Documentation/admin-guide/device-mapper/log-writes in the
# kernel's sources; the emulator writes the same).
LOG_MAGIC = 0x6A736677736872
FLUSH = 1
FUA = 2
DISCARD = 4


class FileSystem:
    """A line of power-cuts.table."""

    def __init__(self, line):
        self.name, self.system, _, _, size, *self.mkfs = line.split()
        self.sectors = int(size) * 1048576 // SECTOR
        self.pristine = []  # what is not zero of the disk made last

    def make_disk(self, path):
        """A disk with an empty file system, followed by a place for marks."""
        path.write_bytes(b"")
        os.truncate(path, self.sectors * SECTOR)
        run(["/sbin/" + self.mkfs[0], *self.mkfs[1:], path])
        self.pristine = list(chunks_of(path))
        os.truncate(path, (self.sectors + MARKS) * SECTOR)


def file_systems():
    lines = (Path(__file__).parent / "guest/power-cuts.table").read_text().splitlines()
    return [FileSystem(line) for line in lines if line and not line.startswith("#")]


def chunks_of(path):
    """The parts of a file that are not all zero."""
    with path.open("rb") as file:
        position = 0
        while data := file.read(CHUNK):
            if data.strip(b"\0"):
                yield position, data
            position += len(data)


class Write(NamedTuple):
    """One entry of a disk's log: bytes for a place, or none and a flush of the disk's cache."""

    sector: int
    data: bytes
    flags: int


def read_log(path):
    data = path.read_bytes()
    magic, version, _, sector_size = struct.unpack_from("<QQQI", data)
    if (magic, version, sector_size) != (LOG_MAGIC, 1, SECTOR):
        raise StageError(f"{path} is no log of writes")
    writes = []
    place = SECTOR
    # The count in the first sector may lag when the emulator is killed.
    while place + SECTOR <= len(data):
        sector, sectors, flags, _ = struct.unpack_from("<QQQQ", data, place)
        place += SECTOR
        if (sector, sectors, flags) == (0, 0, 0) or flags & DISCARD:
            raise StageError(f"{path}: entry {len(writes)} is not understood")
        writes.append(Write(sector, data[place : place + sectors * SECTOR], flags))
        place += sectors * SECTOR
    return writes


class Crash(NamedTuple):
    """A cut of the power: the sectors that had been written, by their numbers, and how many
    replacements had been reported to be done."""

    name: str
    sectors: dict
    reported: int


def crashes(file_system, log, replacements):
    """The states that a cut during the logged replacements, or after them, can leave.

    The disk has a cache: what was written since the last flush can be there or not. So besides the
    states with all writes up to a moment there are those without the writes since the flush before
    it, with only the last of them, and without one of them.
    """
    writes = read_log(log)
    marks = [place for place, write in enumerate(writes) if write.sector >= file_system.sectors]
    if len(marks) != replacements + 1:
        raise StageError(f"{log} has {len(marks)} marks, not {replacements + 1}")
    found = {}  # by what is different
    flushed = 0  # so many are safe

    def add(what, kept):
        sectors = {}
        for write in kept:
            for offset in range(0, len(write.data), SECTOR):
                sector = write.sector + offset // SECTOR
                if sector < file_system.sectors:
                    sectors[sector] = write.data[offset : offset + SECTOR]
        name = f"after write {number}{what}"
        found.setdefault((frozenset(sectors.items()), reported), Crash(name, sectors, reported))

    for number in range(1, len(writes) + 1):
        if writes[number - 1].flags & FLUSH:
            flushed = number
        if number <= marks[0] + 1:
            continue
        reported = sum(1 for mark in marks if mark < number) - 1
        safe = writes[:flushed]
        pending = [
            write
            for write in writes[flushed:number]
            if write.data and write.sector < file_system.sectors
        ]
        add("", safe + pending)
        if pending and not any(write.flags & FUA for write in pending):
            add(", cache lost", safe)
            if len(pending) > 1 and file_system.system != "vfat":
                add(", of the cache only the last kept", safe + pending[-1:])
                for gone in range(len(pending)):
                    kept = pending[:gone] + pending[gone + 1 :]
                    add(f", of the cache {gone + 1} lost", safe + kept)
    return list(found.values())


def write_images(path, file_system, found):
    """Writes the file systems of all crashes, one after the other, into one file."""
    size = file_system.sectors * SECTOR
    with path.open("wb") as images:
        images.truncate(size * len(found))
        for number, crash in enumerate(found):
            parts = [(sector * SECTOR, data) for sector, data in crash.sectors.items()]
            for position, data in [*file_system.pristine, *parts]:
                images.seek(number * size + position)
                images.write(data)
