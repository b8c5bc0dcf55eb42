# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Runs the program for each line of program.cases, and compares all that it leaves with what
# expected-run writes.

# shellcheck disable=SC2034 # "problem" is for results.sh
# shellcheck source=tests/stages/board/guest/line.sh
. /cases/line.sh
until [ -b /dev/mmcblk2 ]; do
    usleep 100000
done
mount -t ext4 /dev/mmcblk2 /full

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
