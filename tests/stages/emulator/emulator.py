# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""What the stages "machine" and "board" share: a Debian kernel in an emulator, and a stage."""

import lzma
import os
import select
import shutil
import subprocess
import sys
import time
from pathlib import Path

# Parts of the packages that nobody needs here.
LARGE = "usr/share kernel/net kernel/sound kernel/drivers/[gins]* kernel/drivers/media".split()

# Nothing but the console; panics end the emulator.
COMMON = "-display none -monitor none -no-reboot -nic none -accel tcg".split()


class StageError(Exception):
    """Something that keeps a stage from being run; its text is for the user."""


class Emulator:
    """A running machine, whose console is read and written by lines and is kept in a file."""

    def __init__(self, command, console, stderr=subprocess.STDOUT):
        self.kept = console.open("wb")
        self.deadline = time.monotonic() + 900
        self.pending = b""
        self.process = subprocess.Popen(
            [str(word) for word in [*command, *COMMON]],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=stderr,
        )

    def __enter__(self):
        return self

    def __exit__(self, *_):
        """Cuts the power."""
        self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
        self.kept.close()

    def line(self):
        """The next line of the console, or None when the machine ends, or at the deadline."""
        while b"\n" not in self.pending:
            left = self.deadline - time.monotonic()
            if left <= 0:
                return None
            if not select.select([self.process.stdout], [], [], min(left, 2))[0]:
                self.wake()
                continue
            data = os.read(self.process.stdout.fileno(), 65536)
            if not data:
                return None
            self.kept.write(data)
            self.kept.flush()
            self.pending += data
        line, self.pending = self.pending.split(b"\n", 1)
        return line.decode(errors="replace").rstrip("\r")

    def wake(self):
        """What to do about a silent machine."""

    def send(self, line):
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def wait_for(self, beginning):
        """The lines up to the one that begins so, and that one, or None if it does not come."""
        lines = []
        while (line := self.line()) is not None and not line.startswith(beginning):
            lines.append(line)
        return lines, line


class System:
    """What is fixed for all boots of a stage: kernel, modules and initramfs. "guests" are the
    directories of the scripts that run in it."""

    def __init__(self, directory, packages, modules, programs, *guests):
        self.directory = directory
        self.packages = directory / "packages"
        self.unpack(Path(packages))
        self.kernel = self.only("boot/vmlinuz-*")
        self.initramfs = directory / "initramfs"
        self.make_initramfs(modules, [directory / "programs" / name for name in programs], guests)

    def unpack(self, packages):
        """Takes out of the packages what is needed, unless an earlier run has."""
        stamp = self.packages / "unpacked"
        names = (packages / "SHA256SUMS").read_text()
        if stamp.exists() and stamp.read_text() == names:
            return
        shutil.rmtree(self.packages, ignore_errors=True)
        self.packages.mkdir(parents=True)
        for package in sorted(packages.glob("*.deb")):
            extract = "tar -x --wildcards --no-wildcards-match-slash".split()
            extract += [f"--exclude=*/{tree}" for tree in LARGE]
            tar = ["dpkg-deb", "--fsys-tarfile", package]
            with subprocess.Popen(tar, stdout=subprocess.PIPE) as tar:
                run([*extract, "-C", self.packages], stdin=tar.stdout)
        if not (self.packages / "lib").exists():
            (self.packages / "lib").symlink_to("usr/lib")
        run(["/sbin/depmod", "-b", self.packages, self.only("boot/vmlinuz-*").name[8:]])
        stamp.write_text(names)

    def only(self, pattern):
        found = list(self.packages.glob(pattern))
        if len(found) != 1:
            raise StageError(f"the packages hold {len(found)} files {pattern}, not 1")
        return found[0]

    def files_of(self, modules):
        """The files of these modules that are not built in, each after those that it needs."""
        version = self.kernel.name.removeprefix("vmlinuz-")
        show = ["/sbin/modprobe", "-d", self.packages, "-S", version, "--show-depends", "-a"]
        lines = [line.split() for line in run([*show, *modules]).splitlines()]
        return dict.fromkeys(Path(words[1]) for words in lines if words[0] == "insmod")

    def make_initramfs(self, modules, programs, guests):
        root = self.directory / "root"
        shutil.rmtree(root, ignore_errors=True)
        for name in ("bin", "dev", "proc", "sys", "tmp", "config", "disk", "full", "modules"):
            (root / name).mkdir(parents=True)
        shutil.copy(self.only("**/bin/busybox"), root / "bin/busybox")
        (root / "bin/sh").symlink_to("busybox")
        for program in programs:
            run(["aarch64-linux-gnu-strip", "-o", root / "bin" / program.name, program])
        for guest in (Path(__file__).parent / "guest", *guests):
            shutil.copytree(guest, root / "cases", dirs_exist_ok=True)
        (root / "cases/init").rename(root / "init")
        (root / "init").chmod(0o755)
        with (root / "modules/order").open("w") as order:
            for module in self.files_of(modules):
                content = module.read_bytes()
                if module.suffix == ".xz":
                    content = lzma.decompress(content)
                name = module.name.removesuffix(".xz")
                (root / "modules" / name).write_bytes(content)
                print(f"/modules/{name}", file=order)
        names = "".join(f"{path.relative_to(root)}\n" for path in sorted(root.rglob("*")))
        pack = ["cpio", "--quiet", "-o", "-H", "newc", "-R", "0:0", "-O", self.initramfs]
        run(pack, cwd=root, input=names)

    def arguments(self, parameters):
        """The emulator's, for a kernel with these parameters."""
        parameters = f"panic=-1 quiet {parameters}"
        return ["-kernel", self.kernel, "-initrd", self.initramfs, "-append", parameters]


class Stage:
    """What the cases of a stage came to. "console" is where the present ones are explained."""

    def __init__(self, directory, extent):
        self.directory = Path(directory).resolve()
        self.extent = extent
        self.results = []
        self.console = None

    def check(self, name, holds, otherwise):
        """Notes whether what the case is named after holds."""
        self.results.append((name, holds))
        if not holds:
            print(f"failed: {name}: {otherwise}; console: {self.console}", flush=True)

    def take(self, scripts, lines, ended):
        """Notes what the guest's scripts reported, and returns what else they said."""
        said = []
        for line in lines:
            word, _, rest = line.partition(" ")
            if word == "@pass":
                self.check(rest, True, "")
            elif word == "@fail":
                case, _, problem = rest.partition(": ")
                self.check(case, False, problem)
            elif word.startswith("@"):
                said.append(line[1:])
        if not ended:
            self.check(f"the guest's run of {scripts}", False, "came to no end")
        return said

    def count(self, prefix):
        return sum(1 for name, _ in self.results if name.startswith(prefix))

    def conclude(self):
        """Runs all and returns the exit status."""
        self.run_all()
        failed = sum(1 for _, holds in self.results if not holds)
        print(f"{len(self.results) - failed} passed, {failed} failed")
        return 1 if failed else 0


def main(stage):
    """Runs a stage, with the arguments of the command line."""
    try:
        return stage(*sys.argv[1:]).conclude()
    except StageError as error:
        print(f"{sys.argv[0]}: {error}")
        return 1


def run(command, **options):
    """Runs a tool of the host and returns what it printed."""
    words = [str(word) for word in command]
    done = subprocess.run(words, text=True, capture_output=True, check=False, **options)
    if done.returncode != 0:
        raise StageError(f"{' '.join(words)}: {done.stderr or done.stdout}")
    return done.stdout
