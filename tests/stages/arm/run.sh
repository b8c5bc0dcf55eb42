#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds for 64-bit Arm in build/aarch64 and runs the tests under qemu-user; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
mkdir -p build
log=build/arm.log
if ! { cmake --preset aarch64 && cmake --build --preset aarch64 -j "$(nproc)"; } >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
# The preset names the emulator to the tests, and what it cannot do to ctest.
if ! ctest --preset aarch64 -j "$(nproc)" >"$log" 2>&1; then
    grep -v -e ' Passed ' -e '^ *Start ' "$log"
    exit 1
fi
grep '^100% tests passed' "$log"
