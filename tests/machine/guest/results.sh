# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# How the scripts tell the host what they found: by lines on the console that begin with "@".

pass() {
    echo "@pass $1"
}

# The name of the case, and what was wrong.
fail() {
    echo "@fail $1: $2"
}

# Says that all cases have been run, and switches the machine off.
finish() {
    echo "@end"
    poweroff -f
}

# The device of the disk of this name.
disk() {
    local block serial
    for block in /sys/block/vd*; do
        serial=
        read -r serial <"$block/serial"
        [ "$serial" != "$1" ] || echo "/dev/${block##*/}"
    done 2>/tmp/none
}
