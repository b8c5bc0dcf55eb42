# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Line 17 of the board's first chip, whose pins the host drives and watches when it is asked to.
# shellcheck disable=SC2034 # "holder" is for program.sh
directions=0x30200004 # the chip's register; a bit is 1 for an output
gpio=/sys/class/gpio
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

# Line 18 belongs to another user, an output that is high; it and the other lines must stay as they
# are.
echo 18 >$gpio/export
echo high >$gpio/gpio18/direction
outputs=$(($(devmem $directions) & ~(1 << 17)))
gpio_before=$(echo $gpio/*)

# Makes line 17 what the column says. Sets "holder", the words before the program.
prepare_line() {
    holder=
    case $1 in
    *low) ask drive 17 0 ;;
    *high) ask drive 17 1 ;;
    esac
    case $1 in
    new-* | held) [ ! -e $gpio/gpio17 ] || echo 17 >$gpio/unexport ;;
    out-*) [ -e $gpio/gpio17 ] || echo 17 >$gpio/export ;;
    esac
    case $1 in
    out-low) echo high >$gpio/gpio17/direction ;;
    out-high) echo low >$gpio/gpio17/direction ;;
    held) holder="hold-line /dev/gpiochip0 17" ;;
    esac
    ask pins
}

# The line is exported and an input, unless the run ends before it is read, and nothing else is
# different.
check_line() {
    local names
    ask pins
    compare "what the pins did" "$answer" ""
    names=$gpio_before
    case $1,$2 in
    held,* | *,96 | *,119) ;;
    *)
        names="${gpio_before%% *} $gpio/gpio17 ${gpio_before#* }"
        compare "direction" "$(cat $gpio/gpio17/direction)" in
        ;;
    esac
    compare "the GPIO directory" "$(echo $gpio/*)" "$names"
    compare "the outputs" "$(($(devmem $directions)))" "$outputs"
}
