# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The disks of this machine, and the texts of the configuration files on those of power-cuts.table.

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

# Prints the value of a word NAME=VALUE of the kernel's command line.
option() {
    sed -n "s/.*$1=\([^ ]*\).*/\1/p" /proc/cmdline
}

# Makes the texts that a configuration file has in turn, as /tmp/texts/0 to 2: 0 before the first
# replacement, 1 after each odd one, 2 after each even one.
make_texts() {
    local size=66
    [ "$(option document)" = small ] || size=6600
    mkdir -p /tmp/texts
    {
        printf '{"App":{"isEncoder":true},"fill":"'
        head -c $size /bin/busybox | base64 | tr -d '\n'
        printf '"}\n'
    } >/tmp/texts/0
    cp /tmp/texts/0 /tmp/texts/1
    switch-querier /tmp/texts/1 -dec >/tmp/none 2>&1
    cp /tmp/texts/1 /tmp/texts/2
    switch-querier /tmp/texts/2 -enc >/tmp/none 2>&1
}

# Mounts the file system with these options on the directory, and reports what a reader finds there:
# the number of a text, or missing, unreadable, empty or torn.
# usage: look DISK NUMBER DEVICE SYSTEM OPTIONS DIRECTORY; sets "state"
look() {
    local file=$6/config.json text
    state=torn
    if ! mount -t "$4" -o "$5" "$3" "$6"; then
        state=unmountable
    elif [ ! -e "$file" ]; then
        state=missing
    elif ! cat "$file" >/tmp/text 2>/tmp/none; then
        state=unreadable
    elif [ ! -s /tmp/text ]; then
        state=empty
    fi
    for text in 0 1 2; do
        ! cmp -s "$file" /tmp/texts/$text || state=$text
    done
    umount "$6" 2>/tmp/none
    echo "@state $1 $2 $state"
}
