#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Cuts the power of an emulated machine with the program for 64-bit Arm; see README.md. "long" as
# argument adds replacements.
set -eu
cd "$(dirname "$0")/../../.."
stage=machine
extent=${1:-short}
. tests/stages/emulator/steps.sh

release=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
fetch "the kernel" "$release" arm64 machine alone linux-image-arm64 busybox-static
targets=switch-querier
build "$build/programs" --preset aarch64-static
run_stage "$fetched"
