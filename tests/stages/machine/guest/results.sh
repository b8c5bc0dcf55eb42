# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The scripts report to the host by lines on the console that begin with "@".

pass() {
    echo "@pass $1"
}

# The name of the case, and the problem.
fail() {
    echo "@fail $1: $2"
}

# Reports that all cases have been run, and powers the machine off.
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

# Calls the function for each line of power-cuts.table, with the name of the disk and the second
# word after it, and with its columns up to the size.
for_each_disk() {
    local name system options other size rest
    while read -r name system options other size rest; do
        case $name in
        '' | '#'*) continue ;;
        esac
        [ "$options" != - ] || options=relatime
        "$1" "$name$2" "$system" "$options" "$other" "$size"
    done </cases/power-cuts.table
}

# Makes the texts that a configuration file has in turn, as /tmp/texts/0 to 2: 0 before the first
# replacement, 1 after each odd one, 2 after each even one.
make_texts() {
    mkdir -p /tmp/texts
    case $(cat /proc/cmdline) in
    *document=big*)
        {
            printf '{"App":{"isEncoder":true},"fill":"'
            head -c 6600 /bin/busybox | base64 | tr -d '\n'
            printf '"}\n'
        } >/tmp/texts/0
        ;;
    *) cp /cases/documents/encoder.json /tmp/texts/0 ;;
    esac
    cp /tmp/texts/0 /tmp/texts/1
    switch-querier /tmp/texts/1 -dec >/tmp/none 2>&1
    cp /tmp/texts/1 /tmp/texts/2
    switch-querier /tmp/texts/2 -enc >/tmp/none 2>&1
}

# Fills the file system that has the directory, to its last block.
fill() {
    dd if=/dev/zero of="$1/big" bs=64k
    dd if=/dev/zero of="$1/small" bs=1k
    sync
    dd if=/dev/zero of="$1/last" bs=1k
} 2>/tmp/none

# Note a difference, of texts and of files.
compare() {
    [ "$2" = "$3" ] || problem="$problem $1 is [$2], not [$3];"
}
compare_files() {
    cmp -s "$2" "$3" || problem="$problem $1 is [$(head -c 999 "$2")], not [$(head -c 999 "$3")];"
}
