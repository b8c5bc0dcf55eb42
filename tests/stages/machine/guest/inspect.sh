# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Reports the state of the configuration files after the power cut: on each disk of
# power-cuts.table, and in each of the file system images in a row on the disk NAME-images.
# shellcheck source=tests/stages/machine/guest/disks.sh
. /cases/disks.sh

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
for_each_disk inspect -synced
for_each_disk inspect -unsynced
for_each_disk inspect_images -images
