#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Measures the tool, other JSON libraries and other ways to do the job, and rewrites the tables of
# docs/performance.md. The page keeps the rows of what is not installed.
# usage: performance.sh [BUILD-DIRECTORY]
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/performance}
mkdir -p "$build"
build=$(cd "$build" && pwd)
sections="-ffunction-sections -fdata-sections"

configure() {
    directory=$1
    linker=$2
    shift 2
    cmake -S bench -B "$directory" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_FLAGS="$sections" -DCMAKE_CXX_FLAGS="$sections" \
        -DCMAKE_EXE_LINKER_FLAGS="$linker -Wl,--gc-sections" "$@"
}

tool() {
    configure "$build" -static && cmake --build "$build" -j "$(nproc)" --target empty \
        empty-iostream sleep cost-runner switch-querier flips
}

# Some libraries are packaged only as shared ones, so all drivers are linked alike. Symbols are
# bound at the start, which is part of what is subtracted.
libraries() {
    configure "$build/libraries" -Wl,-z,now -DBENCH_LIBRARIES=ON &&
        cmake --build "$build/libraries" -j "$(nproc)" --target libraries
}

aarch64() {
    command -v aarch64-linux-gnu-g++ && command -v qemu-aarch64 || return 0
    configure "$build/aarch64" -static -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 \
        -DCMAKE_C_COMPILER=aarch64-linux-gnu-gcc -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++ &&
        cmake --build "$build/aarch64" -j "$(nproc)" --target empty empty-iostream switch-querier
}

for part in tool libraries aarch64; do
    if ! "$part" >"$build/$part.log" 2>&1; then
        cat "$build/$part.log"
        exit 1
    fi
done
python3 bench/performance.py "$build"
