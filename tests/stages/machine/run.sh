#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the program for 64-bit Arm inside an emulated machine; see README.md. "long" as argument
# adds every crash point of every file system.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=build/machine
log=build/machine.log

case ${1:-short} in
short | long) ;;
*)
    echo "usage: tests/stages/machine/run.sh [long]" >&2
    exit 2
    ;;
esac
step "fetching the kernel" sh tests/stages/machine/fetch.sh
packages=$(tail -n 2 "$log")
targets=machine
build "$build/programs" --preset aarch64-static -D SWITCH_QUERIER_MACHINE=ON
# Each package is an argument of its own.
# shellcheck disable=SC2086
step "running the machine" python3 -B tests/stages/machine/stage.py "$build" "${1:-short}" $packages
cat "$log"
