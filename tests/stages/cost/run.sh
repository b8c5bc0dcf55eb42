#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the tool and the floor programs in build/cost and prints what the tool costs beside its
# bounds. Exits 1 when one is passed.
# usage: run.sh [BUILD-FOLDER]
set -eu
cd "$(dirname "$0")/../../.."
build=${1:-build/cost}
mkdir -p "$build"
build=$(cd "$build" && pwd)

# What is shipped: static, with the sections that nothing refers to left out.
release() {
    cmake -S bench -B "$build" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_FLAGS="-ffunction-sections -fdata-sections" \
        -DCMAKE_CXX_FLAGS="-ffunction-sections -fdata-sections" \
        -DCMAKE_EXE_LINKER_FLAGS="-static -Wl,--gc-sections" &&
        cmake --build "$build" -j "$(nproc)" --target empty empty-iostream sleep cost-runner \
            switch-querier driver-json &&
        for program in switch-querier empty-iostream; do
            strip -o "$build/$program.stripped" "$build/$program" || return 1
        done
}

# The sanitizers' frames are larger, and so is the stack that the deepest document takes.
sanitized() {
    cmake -S . -B "$build/sanitized" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS="-fsanitize=address,undefined" &&
        cmake --build "$build/sanitized" -j "$(nproc)" --target switch-querier
}

for part in release sanitized; do
    if ! "$part" >"$build/$part.log" 2>&1; then
        cat "$build/$part.log"
        exit 1
    fi
done
python3 bench/cost/cost.py "$build"
