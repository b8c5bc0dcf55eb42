# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""Disks for the power cuts, and what a cut at another moment would have left on them."""

import struct
from pathlib import Path

from machine import HERE, MachineError, run

SECTOR = 512
START = 2048  # the first sector of the file system's partition; that of the marks follows it
MARKS = 2048  # its sectors
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
        """A disk with two partitions: an empty file system, and a place for marks."""
        path = Path(path)
        part = path.with_suffix(".part")
        with part.open("wb") as file:
            file.truncate(self.sectors * SECTOR)
        run(["/sbin/" + self.mkfs[0], *self.mkfs[1:], part])

        def entry(start, sectors):
            return struct.pack("<B3sB3sII", 0, bytes(3), 0x83, bytes(3), start, sectors)

        with path.open("wb") as disk:
            disk.truncate((START + self.sectors + MARKS) * SECTOR)
            disk.seek(446)
            disk.write(entry(START, self.sectors) + entry(START + self.sectors, MARKS))
            disk.seek(510)
            disk.write(b"\x55\xaa")
            self.pristine = list(chunks_of(part))
            for position, data in self.pristine:
                disk.seek(START * SECTOR + position)
                disk.write(data)
        part.unlink()


def file_systems():
    lines = (HERE / "guest/power-cuts.table").read_text().splitlines()
    return [FileSystem(line) for line in lines if line and not line.startswith("#")]


def chunks_of(path):
    """The parts of a file that are not all zero."""
    with Path(path).open("rb") as file:
        position = 0
        while data := file.read(CHUNK):
            if data.strip(b"\0"):
                yield position, data
            position += len(data)


class Write:
    """One entry of a disk's log: bytes for a place, or none and a flush of the disk's cache."""

    def __init__(self, sector, data, flags):
        self.sector = sector
        self.data = data
        self.flags = flags


def read_log(path):
    data = Path(path).read_bytes()
    magic, version, _, sector_size = struct.unpack_from("<QQQI", data)
    if (magic, version, sector_size) != (LOG_MAGIC, 1, SECTOR):
        raise MachineError(f"{path} is no log of writes")
    writes = []
    place = SECTOR
    # The count in the first sector may lag when the emulator is killed.
    while place + SECTOR <= len(data):
        sector, sectors, flags, _ = struct.unpack_from("<QQQQ", data, place)
        place += SECTOR
        if (sector, sectors, flags) == (0, 0, 0) or flags & DISCARD:
            raise MachineError(f"{path}: entry {len(writes)} is not understood")
        writes.append(Write(sector, data[place : place + sectors * SECTOR], flags))
        place += sectors * SECTOR
    return writes


class Crash:
    """A cut of the power: which writes had reached the disk, and how many replacements had been
    reported to be done."""

    def __init__(self, name, writes, reported):
        self.name = name
        self.writes = writes
        self.reported = reported


def crashes(file_system, log, replacements):
    """The states that a cut during the logged replacements, or after them, can leave.

    The disk has a cache: what was written since the last flush can be there or not. So besides the
    states with all writes up to a moment there are those without the writes since the flush before
    it, with only the last of them, and without one of them.
    """
    writes = read_log(log)
    marks_at = START + file_system.sectors
    marks = [number for number, write in enumerate(writes) if write.sector >= marks_at]
    if len(marks) != replacements + 1:
        raise MachineError(f"{log} has {len(marks)} marks, not {replacements + 1}")
    found = []
    flushed = 0  # so many are safe
    for number in range(1, len(writes) + 1):
        if writes[number - 1].flags & FLUSH:
            flushed = number
        if number <= marks[0] + 1:
            continue
        reported = sum(1 for mark in marks if mark < number) - 1

        def add(what, kept):
            found.append(Crash(f"after write {number}{what}", kept, reported))

        safe = writes[:flushed]
        pending = [
            write for write in writes[flushed:number] if write.data and write.sector < marks_at
        ]
        add("", safe + pending)
        if pending and not any(write.flags & FUA for write in pending):
            add(", cache lost", safe)
            if len(pending) > 1 and file_system.system != "vfat":
                add(", of the cache only the last kept", safe + pending[-1:])
                for gone in range(len(pending)):
                    add(
                        f", of the cache {gone + 1} lost",
                        safe + pending[:gone] + pending[gone + 1 :],
                    )
    return without_repetitions(found, marks_at)


def without_repetitions(found, marks_at):
    seen = set()
    different = []
    for crash in found:
        state = {}
        for write in crash.writes:
            if write.sector >= marks_at:
                continue
            for offset in range(0, len(write.data), SECTOR):
                state[write.sector + offset // SECTOR] = write.data[offset : offset + SECTOR]
        key = (hash(frozenset(state.items())), crash.reported)
        if key not in seen:
            seen.add(key)
            different.append(crash)
    return different


def write_images(path, file_system, found):
    """Writes the file systems of all crashes, one after the other, into one file."""
    size = file_system.sectors * SECTOR
    with Path(path).open("wb") as images:
        images.truncate(size * len(found))
        for number, crash in enumerate(found):
            for position, data in file_system.pristine:
                images.seek(number * size + position)
                images.write(data)
            for write in crash.writes:
                if write.data and START <= write.sector < START + file_system.sectors:
                    images.seek(number * size + (write.sector - START) * SECTOR)
                    images.write(write.data)
