# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Replaces the configuration file on each disk of power-cuts.table, as often as the host requests,
# with the program, and on a disk of its own once with the program that syncs nothing. The host cuts
# the power at "@cut".
# shellcheck source=tests/stages/machine/guest/disks.sh
. /cases/disks.sh

# Nothing reaches a disk unless a program asks for it, however slow this machine is.
echo 360000 >/proc/sys/vm/dirty_writeback_centisecs
echo 360000 >/proc/sys/vm/dirty_expire_centisecs
echo 720000 >/proc/sys/fs/xfs/xfssyncd_centisecs

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

# usage: replace_once PROGRAM DISK NUMBER
replace_once() {
    local status
    "$1" "/cut/$2/config.json" -flip >/tmp/out 2>&1
    status=$?
    if [ $status -ne $((1 - $3 % 2)) ]; then
        fail "replacement $3 on $2" "status $status: $(tr '\n' '~' </tmp/out)"
    fi
}

sync_other() {
    if [ "$2" = yes ]; then
        echo more >>"/cut/$1/other"
        sync "/cut/$1/other"
    fi
}

replace() {
    local number=0
    mark "$1" "$5" 0 fsync # so that what was prepared is safe
    while [ $number -lt "$(option replacements)" ]; do
        number=$((number + 1))
        replace_once switch-querier "$1" $number
        mark "$1" "$5" $number notrunc
    done
    sync_other "$1" "$4"
}

replace_unsynced() {
    replace_once switch-querier-unsynced "$1" 1
    sync_other "$1" "$4"
}

make_texts
for_each_disk prepare -synced
for_each_disk replace -synced
for_each_disk prepare -unsynced
for_each_disk replace_unsynced -unsynced
echo @cut
sleep 1000
