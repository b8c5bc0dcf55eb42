#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs an installed program a few times in an empty directory and fails if one of its answers is not
# that of the manual.
# usage: try.sh DIRECTORY PROGRAM…
set -eu
directory=$1
shift
rm -rf "$directory"
mkdir -p "$directory"
cd "$directory"

# usage: ends STATUS PROGRAM…
ends() {
    wanted=$1
    shift
    status=0
    "$@" >out 2>err || status=$?
    [ "$status" -eq "$wanted" ] || {
        echo "$* ended with $status, not $wanted:"
        cat out err
        exit 1
    }
}

# usage: has PATTERN FILE
has() {
    grep -q "$1" "$2" || {
        echo "no '$1' in what should have it:"
        cat "$2"
        exit 1
    }
}

ends 96 "$@"
has '^Program return values' out
ends 163 "$@" missing.json -enc
printf '{"App": {"isEncoder": true, "gain": 0.5}}' >app.json
cp app.json before.json
ends 0 "$@" app.json -query
has '^Config file    : Encoder$' err
ends 1 "$@" app.json -enc
cmp app.json before.json
ends 0 "$@" app.json -dec
has '"isEncoder": false' app.json
has '"gain": 0.5' app.json
ends 1 "$@" app.json -flip
has '"isEncoder": true' app.json
printf '{"App' >broken.json
ends 174 "$@" broken.json -enc
