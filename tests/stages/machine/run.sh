#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the program for 64-bit Arm inside an emulated machine; see README.md. "long" as argument
# adds every crash point of every file system.
set -eu
cd "$(dirname "$0")/../../.."
build=build/machine
log=$build.log
mkdir -p build

case ${1:-short} in
short | long) ;;
*)
    echo "usage: tests/stages/machine/run.sh [long]" >&2
    exit 2
    ;;
esac
packages=$(sh tests/stages/machine/fetch.sh) || exit 1
if ! { cmake --preset aarch64-static -B "$build/programs" -D SWITCH_QUERIER_MACHINE=ON &&
    cmake --build "$build/programs" -j "$(nproc)" --target machine; } >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
# Each package is an argument of its own.
# shellcheck disable=SC2086
exec python3 -B tests/stages/machine/stage.py "$build" "${1:-short}" $packages
