#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds for 64-bit Arm in build/aarch64 and runs the tests under qemu-user; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
log=build/arm.log

build build/aarch64 --preset aarch64
# The preset names the emulator to the tests, and what it cannot do to ctest.
run_tests --preset aarch64 -j "$(nproc)"
