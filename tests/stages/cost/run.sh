#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the tool and the floor programs in build/cost and prints what the tool costs, each figure
# with its bound. Fails if a bound is exceeded.
# usage: run.sh [BUILD-DIRECTORY]
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=${1:-build/cost}
log=$build/cost.log

# What is shipped: static, without the sections that nothing refers to.
targets="empty empty-iostream sleep cost-runner switch-querier driver-json building"
build "$build" -S bench -D CMAKE_BUILD_TYPE=Release \
    -D CMAKE_C_FLAGS="-ffunction-sections -fdata-sections" \
    -D CMAKE_CXX_FLAGS="-ffunction-sections -fdata-sections" \
    -D CMAKE_EXE_LINKER_FLAGS="-static -Wl,--gc-sections"
for program in switch-querier empty-iostream; do
    strip -o "$build/$program.stripped" "$build/$program"
done

# The sanitizers' frames are larger, and so is the stack that the deepest document takes.
targets=switch-querier
build "$build/sanitized" -S . -D CMAKE_BUILD_TYPE=RelWithDebInfo -D CMAKE_CXX_COMPILER=clang++ \
    -D CMAKE_CXX_FLAGS="-fsanitize=address,undefined"

step measuring python3 bench/cost/cost.py "$build"
cat "$log"
