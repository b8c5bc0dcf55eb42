# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The board's chip of line 17, whose pins the host drives and watches when it is asked to.
# shellcheck disable=SC2034 # for those who source this

registers=0x30200000 # outputs' levels, +4 directions (1: output), +8 inputs' levels
chip=$(echo /sys/devices/platform/soc@0/*.bus/30200000.gpio/gpiochip*)
chip=/dev/${chip##*/}
stty -echo </dev/console

# Sets "answer" to what the host answers.
ask() {
    echo "@ask $*" >/dev/console
    answer=
    until [ "${answer#=}" != "$answer" ]; do
        read -r answer </dev/console
    done
    answer=${answer#=}
}

set_level() {
    ask drive 17 "$1"
}

look_at_pins() {
    ask pins
    pins=$answer
}

# There is no disk but this one, which is made here.
disk() {
    [ "$1" = work ] || return 0
    [ -e /tmp/disk ] || {
        truncate -s 16M /tmp/disk
        mke2fs -F /tmp/disk >/tmp/none
    }
    echo /tmp/disk
}

# An input's level is not the chip's but the pin's.
output_levels() {
    echo $(($(devmem $registers) & $(devmem $((registers + 4)))))
}
