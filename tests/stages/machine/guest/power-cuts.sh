# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# With the word "task=replace" on the kernel's command line: replaces the configuration file on each
# disk of power-cuts.table, as often as the host requests, with the program, and on a disk of its
# own once with commands that sync nothing. The host cuts the power at "@cut".
# With "task=inspect": reports the state of these files after the cut, and that of the file in each
# of the file system images in a row on the disk NAME-images.

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

prepare() {
    local options=$3 device
    device=$(disk "$1")
    mkdir -p "/cut/$1"
    mount -t "$2" -o "$options" "$device" "/cut/$1"
    cp /tmp/texts/0 "/cut/$1/config.json"
    umount "/cut/$1"
    case $1,$2 in
    *-unsynced,ext4) options=$options,commit=300 ;; # the default would write after 5 s
    esac
    mount -t "$2" -o "$options" "$device" "/cut/$1"
    case $1,$2 in
    *-unsynced,f2fs) echo 3600 | tee /sys/fs/f2fs/*/cp_interval >/tmp/none ;; # likewise after 60 s
    esac
    echo other >"/cut/$1/other"
    sync
}

# Writes after the file system's end, past all caches: a mark in the log of the disk's writes.
# usage: mark DISK MEGABYTES NUMBER CONVERSION
mark() {
    dd if=/cases/power-cuts.table of="$(disk "$1")" bs=4k count=1 seek=$(($2 * 256 + $3)) \
        oflag=direct conv="sync,$4" 2>/tmp/none
}

sync_other() {
    if [ "$2" = yes ]; then
        echo more >>"/cut/$1/other"
        sync "/cut/$1/other"
    fi
}

replace() {
    local status number=0
    mark "$1" "$5" 0 fsync # so that what was prepared is safe
    while [ $number -lt "$(option replacements)" ]; do
        number=$((number + 1))
        switch-querier "/cut/$1/config.json" -flip >/tmp/out 2>&1
        status=$?
        [ $status -eq $((1 - number % 2)) ] ||
            fail "replacement $number on $1" "status $status: $(tr '\n' '~' </tmp/out)"
        mark "$1" "$5" $number notrunc
    done
    sync_other "$1" "$4"
}

# What the power cuts must detect.
replace_unsynced() {
    cp /tmp/texts/1 "/cut/$1/config.json.filsec"
    mv "/cut/$1/config.json.filsec" "/cut/$1/config.json"
    sync_other "$1" "$4"
}

inspect() {
    look "$1" 0 "$(disk "$1")" "$2" "$3" /disk
}

inspect_images() {
    local device sectors size=$(($5 * 1048576)) number=0
    device=$(disk "$1")
    read -r sectors <"/sys/block/${device##*/}/size"
    while [ $((number * size)) -lt $((sectors * 512)) ]; do
        losetup -o $((number * size)) /dev/loop0 "$device"
        look "$1" $number /dev/loop0 "$2" "$3" /disk
        losetup -d /dev/loop0
        number=$((number + 1))
    done
}

make_texts
case $(option task) in
replace)
    # Nothing reaches a disk unless a program asks for it, however slow this machine is.
    echo 360000 >/proc/sys/vm/dirty_writeback_centisecs
    echo 360000 >/proc/sys/vm/dirty_expire_centisecs
    echo 720000 >/proc/sys/fs/xfs/xfssyncd_centisecs
    for_each_disk prepare -synced
    for_each_disk replace -synced
    for_each_disk prepare -unsynced
    for_each_disk replace_unsynced -unsynced
    echo @cut
    sleep 1000
    ;;
inspect)
    for_each_disk inspect -synced
    for_each_disk inspect -unsynced
    for_each_disk inspect_images -images
    ;;
esac
