# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Runs the program for each line of program.cases, and compares all that it leaves with what
# expected-run writes. Line 17 is one of the board's first chip, whose pins the host drives and
# watches when it is asked to.

# shellcheck disable=SC2034 # "problem" is for results.sh
directions=0x30200004 # the chip's register; a bit is 1 for an output
gpio=/sys/class/gpio
stty -echo </dev/console
until [ -b /dev/mmcblk2 ]; do
    usleep 100000
done
mount -t ext4 /dev/mmcblk2 /full

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

prepare_markers() {
    local marker IFS=,
    rm -f /config/*
    for marker in $1; do
        [ "$marker" = none ] || : >"/config/$marker"
    done
}

# Puts the document of expected-run, unless there is none, into the directory of a configuration
# file, on a disk like this.
# usage: prepare_disk DISK FILE DIRECTORY
prepare_disk() {
    [ "$1" = any ] || mount -o remount,rw "$3"
    rm -rf "${3:?}"/*
    [ "$2" = none ] || cp /tmp/expected/document "$3/config.json"
    case $1 in
    full) fill "$3" ;;
    inodes)
        n=0
        while touch "$3/$n"; do
            n=$((n + 1))
        done
        ;;
    read-only) mount -o remount,ro "$3" ;;
    esac 2>/tmp/none
}

# Writes the records since the log was emptied into /tmp/recorded: level, identity and text. The
# facility is left out: for one that is given as 0 some C libraries send LOG_USER and others
# LOG_KERN.
take_log() {
    logger -t end "$case_number"
    until [ "$(sed -n '$s/.*end: //p' /tmp/log)" = "$case_number" ]; do
        usleep 1000
    done
    sed '$d; s/^[^.]*\.//' /tmp/log >/tmp/recorded
    : >/tmp/log
}

case_number=0
: >/tmp/log
while read -r line marker disk file command status; do
    case $line in
    '' | '#'*) continue ;;
    esac
    case_number=$((case_number + 1))
    problem=
    prepare_line "$line"
    prepare_markers "$marker"
    directory=/disk
    [ "$disk" = any ] || directory=/full

    IFS=,
    set --
    for argument in $command; do
        case $argument in
        FILE) argument=$directory/config.json ;;
        esac
        [ "$argument" = - ] || set -- "$@" "$argument"
    done
    unset IFS
    expected-run "$line" "$marker" "$disk" "$file" $directory/config.json "$@"
    compare "the status of expected-run" $? 0
    prepare_disk "$disk" "$file" $directory
    $holder /bin/switch-querier "$@" >/tmp/out 2>/tmp/err
    compare "the status" $? "$status"
    compare "the expected status" "$(cat /tmp/expected/status)" "$status"
    compare_files "standard output" /tmp/out /tmp/expected/out
    compare_files "standard error" /tmp/err /tmp/expected/err
    take_log
    compare_files "the log" /tmp/recorded /tmp/expected/log
    compare_configuration $directory/config.json "$file" "$status"
    check_line "$line" "$status"
    conclude "line $line, marker $marker, disk $disk, file $file, command $command"
done </cases/program.cases
