# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# What a reader finds behind a power cut.
# shellcheck disable=SC2034 # "state" is for those who source this

make_texts

# Sets "state" to what a reader finds in the folder: the number of one of the texts that
# it has had, from 0, where odd ones are alike and even ones but 0 too.
look() {
    local text
    if [ ! -e "$1/config.json" ]; then
        state=missing
    elif ! cat "$1/config.json" >/tmp/text 2>/tmp/none; then
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

# Mounts the device's file system with these options in the folder, and looks.
look_at() {
    if mount -t "$2" -o "$3" "$1" "$4"; then
        look "$4"
        umount "$4"
    else
        state=unmountable
    fi
}
