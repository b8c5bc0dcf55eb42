# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Reports the state of the configuration files after the power cut: on each disk of
# power-cuts.table, and in each of the file system images in a row on the disk NAME-images.

# shellcheck source=tests/stages/machine/guest/look.sh
. /cases/look.sh

inspect() {
    local device
    device=$(disk "$1")
    [ -n "$device" ] || return 0
    look_at "${device}1" "$2" "$3" /disk
    echo "@state $1 0 $state"
}

inspect_images() {
    local device sectors size=$(($5 * 1048576)) number=0
    device=$(disk "$1")
    [ -n "$device" ] || return 0
    read -r sectors <"/sys/block/${device##*/}/size"
    while [ $((number * size)) -lt $((sectors * 512)) ]; do
        losetup -o $((number * size)) /dev/loop0 "$device"
        look_at /dev/loop0 "$2" "$3" /disk
        losetup -d /dev/loop0
        echo "@state $1 $number $state"
        number=$((number + 1))
    done
}

for_each_disk inspect -synced
for_each_disk inspect -unsynced
for_each_disk inspect_images -images
