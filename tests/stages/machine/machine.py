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

HARDWARE = ["-M", "virt", "-cpu", "cortex-a53", "-m", "256", "-accel", "tcg", "-nic", "none"]


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
        return [
            "-blockdev",
            f"{block},node-name={self.name}",
            "-device",
            f"virtio-blk-device,drive={self.name},serial={self.name}",
        ]


class Result:
    """What one case inside the machine came to."""

    def __init__(self, name, problem=None):
        self.name = name
        self.problem = problem


class Machine:
    def __init__(self, directory, kernel_package, busybox_package, programs):
        self.directory = Path(directory)
        self.packages = self.directory / "packages"
        self.unpack(kernel_package, busybox_package)
        self.initramfs = self.make_initramfs(programs)

    def unpack(self, kernel_package, busybox_package):
        """Takes out of the packages what is needed, unless an earlier run has."""
        stamp = self.packages / "unpacked"
        names = f"{Path(kernel_package).name}\n{Path(busybox_package).name}\n"
        if not stamp.exists() or stamp.read_text() != names:
            shutil.rmtree(self.packages, ignore_errors=True)
            self.packages.mkdir(parents=True)
            for package in (kernel_package, busybox_package):
                with subprocess.Popen(
                    ["dpkg-deb", "--fsys-tarfile", package], stdout=subprocess.PIPE
                ) as tar:
                    run(
                        [
                            "tar",
                            "-x",
                            "-C",
                            self.packages,
                            "--wildcards",
                            "--no-wildcards-match-slash",
                            "--exclude=*/kernel/drivers/[a-ac-uw-z]*",
                            "--exclude=*/kernel/sound",
                            "--exclude=*/kernel/net",
                            "--exclude=*/usr/share",
                        ],
                        stdin=tar.stdout,
                    )
            if not (self.packages / "lib").exists():
                (self.packages / "lib").symlink_to("usr/lib")
            stamp.write_text(names)
        self.kernel = self.only("boot/vmlinuz-*")
        self.version = self.kernel.name.removeprefix("vmlinuz-")
        self.busybox = (
            self.only("*bin/busybox")
            if (self.packages / "bin").exists()
            else self.only("usr/bin/busybox")
        )
        config = self.only("boot/config-*").read_text()
        missing = [
            option
            for option in NEEDED
            if not re.search(rf"^CONFIG_{option}=[ym]$", config, re.MULTILINE)
        ]
        if missing:
            raise MachineError(
                f"kernel {self.version} lacks "
                + ", ".join("CONFIG_" + option for option in missing)
            )
        run(["/sbin/depmod", "-b", self.packages, self.version])

    def only(self, pattern):
        found = list(self.packages.glob(pattern))
        if len(found) != 1:
            raise MachineError(f"the packages hold {len(found)} files {pattern}, not 1")
        return found[0]

    def modules(self):
        """The modules' files, each after those that it needs."""
        files = []
        for module in filter(None, NEEDED.values()):
            lines = run(
                [
                    "/sbin/modprobe",
                    "-d",
                    self.packages,
                    "-S",
                    self.version,
                    "--show-depends",
                    module,
                ]
            ).splitlines()
            for line in lines:
                words = line.split()
                if words[0] == "insmod" and words[1] not in files:
                    files.append(words[1])
        return [Path(file) for file in files]

    def make_initramfs(self, programs):
        root = self.directory / "root"
        shutil.rmtree(root, ignore_errors=True)
        for name in ("bin", "dev", "proc", "sys", "tmp", "config", "disk", "full", "modules"):
            (root / name).mkdir(parents=True)
        shutil.copy(self.busybox, root / "bin/busybox")
        (root / "bin/sh").symlink_to("busybox")
        for program in programs:
            run(["aarch64-linux-gnu-strip", "-o", root / "bin" / Path(program).name, program])
        shutil.copytree(HERE / "guest", root / "cases")
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
        with image.open("wb") as out:
            subprocess.run(
                ["cpio", "--quiet", "-o", "-H", "newc", "-R", "0:0"],
                cwd=root,
                input=names.encode(),
                stdout=out,
                check=True,
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
        seconds=900,
        cut_at=None,
        cut_after=0.0,
    ):
        """Runs the guest's scripts to their end, or cuts the power so many seconds after the first
        line that begins like cut_at. Returns the results and the other lines that begin with "@";
        the console is kept in the file."""
        command = [
            "qemu-system-aarch64",
            *HARDWARE,
            "-display",
            "none",
            "-monitor",
            "none",
            "-serial",
            "stdio",
            "-no-reboot",
            "-kernel",
            self.kernel,
            "-initrd",
            self.initramfs,
            "-dtb",
            self.device_tree(chip),
            "-append",
            f"console=ttyAMA0 panic=-1 quiet iomem=relaxed scripts={scripts} {options}",
        ]
        for disk in disks:
            command += disk.arguments()
        lines = []
        cut = False
        deadline = time.monotonic() + seconds
        with console.open("wb") as kept, subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT
        ) as emulator:
            try:
                pending = b""
                while True:
                    left = deadline - time.monotonic()
                    if left <= 0 or not select.select([emulator.stdout], [], [], left)[0]:
                        break
                    data = os.read(emulator.stdout.fileno(), 65536)
                    if not data:
                        cut = False
                        break
                    kept.write(data)
                    *complete, pending = (pending + data).split(b"\n")
                    lines += [line.decode(errors="replace").rstrip("\r") for line in complete]
                    if cut_at and not cut and any(line.startswith(cut_at) for line in lines):
                        cut = True
                        deadline = time.monotonic() + cut_after
            finally:
                emulator.kill()
        ended = cut or (not cut_at and "@end" in lines)
        results = []
        output = []
        for line in lines:
            if line.startswith("@pass "):
                results.append(Result(line[len("@pass ") :]))
            elif line.startswith("@fail "):
                case, _, problem = line[len("@fail ") :].partition(": ")
                results.append(Result(case, problem or "failed"))
            elif line.startswith("@") and line not in ("@end", "@cut"):
                output.append(line[1:])
        if not ended:
            results.append(Result(f"the machine's run of {scripts}", "came to no end"))
        return results, output


def run(command, **options):
    """Runs a tool of the host and returns what it printed."""
    try:
        done = subprocess.run(
            [str(word) for word in command],
            text=True,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            check=False,
            **options,
        )
    except FileNotFoundError as error:
        raise MachineError(f"{command[0]} is not installed") from error
    if done.returncode != 0:
        raise MachineError(f"{' '.join(map(str, command))}: {done.stderr or done.stdout}")
    return done.stdout
