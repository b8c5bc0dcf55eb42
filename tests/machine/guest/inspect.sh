# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Says in which state the power cut left the configuration files: for each disk of power-cuts.table,
# and for each of the file systems that stand behind one another on the disk NAME-images.

make_texts

# Sets "state" to what a reader finds in the mounted file system: the number of one of the texts that
# it has had, from 0, where odd ones are alike and even ones but 0 too.
look() {
    local text
    if [ ! -e /disk/config.json ]; then
        state=missing
    elif ! cat /disk/config.json >/tmp/text 2>/tmp/none; then
        state=unreadable
    elif [ ! -s /tmp/text ]; then
        state=empty
    else
        state=torn
        for text in 0 1 2; do
            if cmp -s /tmp/text /tmp/texts/$text; then
                state=$text
            fi
        done
    fi
}

look_at() {
    if mount -t "$2" -o "$3" "$1" /disk; then
        look
        umount /disk
    else
        state=unmountable
    fi
}

inspect() {
    local device
    device=$(disk "$1")
    [ -n "$device" ] || return 0
    look_at "${device}1" "$2" "$3"
    echo "@state $1 0 $state"
}

inspect_images() {
    local device sectors size=$(($5 * 1048576)) number=0
    device=$(disk "$1")
    [ -n "$device" ] || return 0
    read -r sectors <"/sys/block/${device##*/}/size"
    while [ $((number * size)) -lt $((sectors * 512)) ]; do
        losetup -o $((number * size)) /dev/loop0 "$device"
        look_at /dev/loop0 "$2" "$3"
        losetup -d /dev/loop0
        echo "@state $1 $number $state"
        number=$((number + 1))
    done
}

for_each_disk inspect -synced
for_each_disk inspect -unsynced
for_each_disk inspect_images -images
