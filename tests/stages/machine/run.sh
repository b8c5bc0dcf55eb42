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
release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
step "fetching the kernel" sh tests/stages/machine/fetch.sh "$release" arm64 machine alone \
    linux-image-arm64 busybox-static
packages=$(tail -n 1 "$log")
targets=machine
build "$build/programs" --preset aarch64-static -D SWITCH_QUERIER_MACHINE=ON
step "running the machine" python3 -B tests/stages/machine/stage.py "$build" "${1:-short}" \
    "$packages"
cat "$log"
