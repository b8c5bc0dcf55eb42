# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

"""The flip as an integrator would write it in Python. usage: flip.py CONFIG"""

import json
import os
import sys
import syslog
import time

MODES = ("Decoder", "Encoder")
LINE = "/sys/class/gpio/gpio17/"


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
        file.flush()
        os.fsync(file.fileno())


def sync_directory(path):
    directory = os.open(path, os.O_RDONLY)
    os.fsync(directory)
    os.close(directory)


def main():
    config = sys.argv[1]
    syslog.openlog("flip")
    marker = next((mode for mode in MODES if os.access("/config/" + mode.upper(), os.R_OK)), None)
    if not os.path.isdir(LINE):
        write("/sys/class/gpio/export", "17")
    time.sleep(0.02)
    if read(LINE + "direction") != "in\n":
        write(LINE + "direction", "in")
    hardware = MODES[read(LINE + "value") != "1\n"]

    root = json.loads(read(config))
    new = not root["App"]["isEncoder"]
    print("Hardware:", hardware, "marker:", marker, "new:", MODES[new], file=sys.stderr)
    root["App"]["isEncoder"] = new
    write(config + ".new", json.dumps(root, indent=2, sort_keys=True, ensure_ascii=False))
    os.rename(config + ".new", config)
    sync_directory(".")
    text = f"Config file successfully updated to {MODES[new]} mode"
    print("INFO:", text)
    syslog.syslog(syslog.LOG_INFO, text)
    return int(new)


if __name__ == "__main__":
    sys.exit(main())
