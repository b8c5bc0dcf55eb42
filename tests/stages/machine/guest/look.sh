# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# What a reader finds after a power cut.
# shellcheck disable=SC2034 # "state" is for the scripts that source this one

make_texts

# Sets "state" to what a reader finds in the directory: the number of one of the texts in
# /tmp/texts, or missing, unreadable, empty or torn.
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

# Mounts the device's file system with these options on the directory, and looks.
look_at() {
    if mount -t "$2" -o "$3" "$1" "$4"; then
        look "$4"
        umount "$4"
    else
        state=unmountable
    fi
}
