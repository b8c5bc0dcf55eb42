# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Reports what the last power cut left on the disks of power-cuts.table, and then, unless the host
# wants no more, replaces their configuration files in turn until the host cuts the power.
# shellcheck source=tests/stages/machine/guest/look.sh
. /cases/look.sh

start() {
    mkdir -p "/cut/$1"
    look_at "$(disk "$1")1" "$2" "$3" "/cut/$1"
    if [ "$state" = missing ] && [ "$first" = yes ]; then
        mount -t "$2" -o "$3" "$(disk "$1")1" "/cut/$1"
        cp /tmp/texts/0 "/cut/$1/config.json"
        umount "/cut/$1"
        state=0
    fi
    echo "@state $1 0 $state"
    mount -t "$2" -o "$3" "$(disk "$1")1" "/cut/$1"
}

flip() {
    switch-querier "/cut/$1/config.json" -flip >/tmp/out 2>&1
    case $? in
    0 | 1) echo "@flipped $1" ;;
    *) fail "a replacement on $1" "$(tr '\n' '~' </tmp/out)" ;;
    esac
}

first=no
grep -q flips=first /proc/cmdline && first=yes
for_each_disk start -flipped
sync
while ! grep -q flips=none /proc/cmdline; do
    for_each_disk flip -flipped
done
umount /cut/*
