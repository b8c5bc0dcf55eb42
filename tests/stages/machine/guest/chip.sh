# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The chip of line 17: its registers are a page of memory, and nothing is connected to its pins.
# shellcheck disable=SC2034 # for those who source this

registers=0x4f000000 # outputs' levels, +4 directions (1: output), +8 inputs' levels
chip=$(echo /sys/devices/platform/4f000000.gpio/gpiochip*)
chip=/dev/${chip##*/}
pins=

# Sets the level that comes from outside.
set_level() {
    devmem $((registers + 8)) 32 $(($1 << 17))
}

# Sets "pins" to what the chip's pins have done since the last time.
look_at_pins() {
    :
}

output_levels() {
    echo $(($(devmem $registers)))
}
