# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
"""An emulated 64-bit Arm machine with Debian's kernel, a GPIO chip and disks."""

import lzma
import os
import re
import select
import shutil
import subprocess
import time
from pathlib import Path

HERE = Path(__file__).parent

# What the kernel must have, built in or as a module: its option, and the module's name.
NEEDED = {
    "GPIO_SYSFS": None,
    "GPIO_CDEV": None,
    "GPIO_MXC": "gpio-mxc",
    "DEVMEM": None,
    "DEVTMPFS": None,
    "SERIAL_AMBA_PL011_CONSOLE": None,
    "VIRTIO_MMIO": "virtio_mmio",
    "VIRTIO_BLK": "virtio_blk",
    "BLK_DEV_LOOP": "loop",
    "EXT4_FS": "ext4",
    "XFS_FS": "xfs",
    "F2FS_FS": "f2fs",
    "VFAT_FS": "vfat",
    "NLS_CODEPAGE_437": "nls_cp437",
    "NLS_ASCII": "nls_ascii",
}

HARDWARE = "-M virt -cpu cortex-a53 -m 256 -accel tcg -nic none".split()

# Parts of the packages that nobody needs here.
LARGE = "usr/share kernel/net kernel/sound kernel/drivers/[gins]* kernel/drivers/media".split()

# Nothing but the console; panics end the emulator.
QUIET = "-display none -monitor none -no-reboot".split()


class MachineError(Exception):
    """Something that keeps the machine from being built; its text is for the user."""


class Disk:
    """A disk of the machine, found there by its name; with a log of its writes if one is named."""

    def __init__(self, name, path, log=None):
        self.name = name
        self.path = path
        self.log = log

    def arguments(self):
        if self.log:
            Path(self.log).write_bytes(b"")
            block = (
                f"driver=blklogwrites,file.driver=file,file.filename={self.path},"
                f"log.driver=file,log.filename={self.log},log-super-update-interval=1"
            )
        else:
            block = f"driver=file,filename={self.path}"
        device = f"virtio-blk-device,drive={self.name},serial={self.name}"
        return ["-blockdev", f"{block},node-name={self.name}", "-device", device]


class Result:
    """What one case inside the machine came to."""

    def __init__(self, name, problem=None):
        self.name = name
        self.problem = problem


class Results:
    """What the cases of a stage came to. "console" is where the present ones are explained."""

    def __init__(self, directory):
        self.directory = Path(directory).resolve()
        self.results = []
        self.console = None

    def check(self, name, holds, otherwise):
        self.record(Result(name, None if holds else otherwise))

    def record(self, result):
        self.results.append(result)
        if result.problem:
            print(f"failed: {result.name}: {result.problem}; console: {self.console}", flush=True)

    def count(self, prefix):
        return sum(1 for result in self.results if result.name.startswith(prefix))

    def check_count(self, table, pattern, prefix):
        """No line of a table that fits the pattern may go missing."""
        lines = (HERE / "guest" / table).read_text().splitlines()
        count = sum(1 for line in lines if not line.startswith("#") and re.search(pattern, line))
        found = self.count(prefix)
        self.check(f"each line of {table} is a case", found == count, f"{found} of {count}")

    def conclude(self, work):
        """Does the work, writes down the results and returns the exit status."""
        try:
            work()
        except MachineError as error:
            self.check("the stage", False, f"{error}")
        failed = 0
        with (self.directory / "results.txt").open("w") as file:
            for result in self.results:
                failed += bool(result.problem)
                print("failed" if result.problem else "passed", result.name, file=file)
        print(f"{len(self.results) - failed} passed, {failed} failed")
        return 1 if failed else 0


class Emulator:
    """A running machine, whose console is read and written by lines and is kept in a file."""

    def __init__(self, command, console, stderr=subprocess.STDOUT, seconds=900):
        self.kept = console.open("wb")
        self.deadline = time.monotonic() + seconds
        self.pending = b""
        self.ended = False  # by itself
        self.process = subprocess.Popen(
            [str(word) for word in [*command, *QUIET]],
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
        """The next line of the console; None when the machine ends, or at the deadline."""
        while b"\n" not in self.pending:
            left = self.deadline - time.monotonic()
            if left <= 0:
                return None
            if not select.select([self.process.stdout], [], [], min(left, 2))[0]:
                self.wake()
                continue
            data = os.read(self.process.stdout.fileno(), 65536)
            if not data:
                self.ended = True
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


class Machine:
    """What is fixed for all boots. "guests" are the directories of the scripts that run in it."""

    def __init__(self, directory, packages, programs, guests=(HERE / "guest",), needed=NEEDED):
        self.directory = Path(directory)
        self.packages = self.directory / "packages"
        self.needed = needed
        self.unpack(packages)
        self.initramfs = self.make_initramfs(programs, guests)

    def unpack(self, packages):
        """Takes out of the packages what is needed, unless an earlier run has."""
        stamp = self.packages / "unpacked"
        names = (Path(packages) / "SHA256SUMS").read_text()
        if not stamp.exists() or stamp.read_text() != names:
            shutil.rmtree(self.packages, ignore_errors=True)
            self.packages.mkdir(parents=True)
            for package in sorted(Path(packages).glob("*.deb")):
                extract = "tar -x --wildcards --no-wildcards-match-slash".split()
                extract += [f"--exclude=*/{tree}" for tree in LARGE]
                tar = ["dpkg-deb", "--fsys-tarfile", package]
                with subprocess.Popen(tar, stdout=subprocess.PIPE) as tar:
                    run([*extract, "-C", self.packages], stdin=tar.stdout)
            if not (self.packages / "lib").exists():
                (self.packages / "lib").symlink_to("usr/lib")
            stamp.write_text(names)
        self.kernel = self.only("boot/vmlinuz-*")
        self.version = self.kernel.name.removeprefix("vmlinuz-")
        self.busybox = self.only("**/bin/busybox")
        config = self.only("boot/config-*").read_text()
        for option in self.needed:
            if not re.search(rf"^CONFIG_{option}=[ym]$", config, re.MULTILINE):
                raise MachineError(f"kernel {self.version} lacks CONFIG_{option}")
        run(["/sbin/depmod", "-b", self.packages, self.version])

    def only(self, pattern):
        found = list(self.packages.glob(pattern))
        if len(found) != 1:
            raise MachineError(f"the packages hold {len(found)} files {pattern}, not 1")
        return found[0]

    def modules(self):
        """The modules' files, each after those that it needs."""
        files = []
        show = ["/sbin/modprobe", "-d", self.packages, "-S", self.version, "--show-depends"]
        for module in filter(None, self.needed.values()):
            for line in run([*show, module]).splitlines():
                words = line.split()
                if words[0] == "insmod" and words[1] not in files:
                    files.append(words[1])
        return [Path(file) for file in files]

    def make_initramfs(self, programs, guests):
        root = self.directory / "root"
        shutil.rmtree(root, ignore_errors=True)
        for name in ("bin", "dev", "proc", "sys", "tmp", "config", "disk", "full", "modules"):
            (root / name).mkdir(parents=True)
        shutil.copy(self.busybox, root / "bin/busybox")
        (root / "bin/sh").symlink_to("busybox")
        for program in programs:
            run(["aarch64-linux-gnu-strip", "-o", root / "bin" / Path(program).name, program])
        for guest in guests:
            shutil.copytree(guest, root / "cases", dirs_exist_ok=True)
        (root / "cases/init").rename(root / "init")
        (root / "init").chmod(0o755)
        order = []
        for module in self.modules():
            content = module.read_bytes()
            if module.suffix == ".xz":
                content = lzma.decompress(content)
            name = module.name.removesuffix(".xz")
            (root / "modules" / name).write_bytes(content)
            order.append(f"/modules/{name}\n")
        (root / "modules/order").write_text("".join(order))
        image = self.directory / "initramfs"
        names = "".join(f"{path.relative_to(root)}\n" for path in sorted(root.rglob("*")))
        run(
            ["cpio", "--quiet", "-o", "-H", "newc", "-R", "0:0", "-O", image], cwd=root, input=names
        )
        return image

    def device_tree(self, chip):
        """The machine's own tree with the GPIO chip of this alias: gpio0 has line 17, gpio1 not."""
        binary = self.directory / f"machine-{chip}.dtb"
        run(["qemu-system-aarch64", *HARDWARE, "-display", "none", "-machine", f"dumpdtb={binary}"])
        source = run(["dtc", "-q", "-I", "dtb", "-O", "dts", binary])
        source += (HERE / "gpio-chip.dtsi").read_text().replace("CHIP", chip)
        text = self.directory / f"machine-{chip}.dts"
        text.write_text(source)
        run(["dtc", "-q", "-I", "dts", "-O", "dtb", "-o", binary, text])
        return binary

    def boot(
        self,
        console,
        scripts,
        disks,
        options="",
        chip="gpio0",
        cut_at=None,
        cut_after=0.0,
    ):
        """Runs the guest's scripts to their end, or cuts the power so many seconds after the first
        line that begins like cut_at. Returns the results and the other lines that begin with "@";
        the console is kept in the file."""
        command = ["qemu-system-aarch64", *HARDWARE, "-serial", "stdio"]
        command += ["-kernel", self.kernel, "-initrd", self.initramfs]
        command += ["-dtb", self.device_tree(chip), "-append"]
        command += [f"console=ttyAMA0 panic=-1 quiet iomem=relaxed scripts={scripts} {options}"]
        for disk in disks:
            command += disk.arguments()
        lines = []
        cut = False
        with Emulator(command, console) as emulator:
            while (line := emulator.line()) is not None:
                lines.append(line)
                if cut_at and not cut and line.startswith(cut_at):
                    cut = True
                    emulator.deadline = time.monotonic() + cut_after
            ended = cut and not emulator.ended or not cut_at and "@end" in lines
        return results_of(scripts, lines, ended)


def results_of(scripts, lines, ended):
    """The results that the scripts reported, and the other lines that begin with "@"."""
    results = []
    output = []
    for line in lines:
        if line.startswith("@pass "):
            results.append(Result(line.removeprefix("@pass ")))
        elif line.startswith("@fail "):
            case, _, problem = line.removeprefix("@fail ").partition(": ")
            results.append(Result(case, problem or "failed"))
        elif line.startswith("@") and line not in ("@end", "@cut"):
            output.append(line[1:])
    if not ended:
        results.append(Result(f"the machine's run of {scripts}", "came to no end"))
    return results, output


def run(command, **options):
    """Runs a tool of the host and returns what it printed."""
    try:
        words = [str(word) for word in command]
        done = subprocess.run(words, text=True, capture_output=True, check=False, **options)
    except FileNotFoundError as error:
        raise MachineError(f"{command[0]} is not installed") from error
    if done.returncode != 0:
        raise MachineError(f"{' '.join(map(str, command))}: {done.stderr or done.stdout}")
    return done.stdout
