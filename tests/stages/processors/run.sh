#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds for other processors and runs tests there under qemu-user; see README.md.
# usage: run.sh [long]
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
log=build/processors.log

# Under the emulator one process for each suite is faster than ctest's for each test. What is left
# out is what the preset leaves out.
run_suites() {
    export SWITCH_QUERIER_WRAPPER="$1 -0"
    # The emulator and its options are arguments of their own.
    # shellcheck disable=SC2086
    find build/aarch64 -maxdepth 1 -name '*-test' | sort -r |
        xargs -P "$(nproc)" -I SUITE $1 SUITE --gtest_brief=1 --gtest_filter='-*RootDirectory*'
}
build build/aarch64 --preset aarch64
step "testing on aarch64-linux-gnu" run_suites "qemu-aarch64 -L /usr/aarch64-linux-gnu"

targets=program-test
build build/dev --preset dev

# The static program, and the suite of json/, which depends most on a processor. The suite of the
# program is this machine's: it tests the program that lies next to it.
# usage: try_processor TRIPLET EMULATOR
try_processor() {
    directory=build/$1
    targets="switch-querier json-test"
    build "$directory" -D CMAKE_TOOLCHAIN_FILE=cmake/debian-cross.cmake -D triplet="$1" \
        -D emulator="$2" -D CMAKE_BUILD_TYPE=Release -D CMAKE_COMPILE_WARNING_AS_ERROR=ON \
        -D SWITCH_QUERIER_TESTS=ON -D SWITCH_QUERIER_STATIC=ON
    step "testing json/ on $1" "$2" "$directory/json-test" --gtest_brief=1
    cp build/dev/program-test "$directory/"
    step "testing the program on $1" env SWITCH_QUERIER_WRAPPER="$2 -0" \
        "$directory/program-test" --gtest_brief=1
    processors="$processors $1"
}

processors=aarch64-linux-gnu
try_processor arm-linux-gnueabihf qemu-arm
try_processor s390x-linux-gnu qemu-s390x
if [ "${1:-}" = long ]; then
    try_processor riscv64-linux-gnu qemu-riscv64
    try_processor i686-linux-gnu qemu-i386
    try_processor powerpc64le-linux-gnu qemu-ppc64le
    try_processor powerpc-linux-gnu qemu-ppc
    try_processor mipsel-linux-gnu qemu-mipsel
    try_processor mips-linux-gnu qemu-mips
    try_processor mips64el-linux-gnuabi64 qemu-mips64el
    try_processor arm-linux-gnueabi qemu-arm
fi
echo "tested on $processors"
