#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds in build/dev and compares the model with the program, for as many seconds as the argument
# says, or 60, once it has seen that planted faults are noticed.
# usage: run.sh [SECONDS]
set -eu
cd "$(dirname "$0")/../../.."
build=$PWD/build/dev
mkdir -p "$build"
if ! { cmake --preset dev && cmake --build --preset dev -j "$(nproc)" \
    --target dialect-driver dialect-runner switch-querier; } >"$build/model.log" 2>&1; then
    cat "$build/model.log"
    exit 1
fi
compare() {
    python3 tests/stages/model/compare.py --driver "$build/dialect-driver" \
        --runner "$build/dialect-runner" "$@"
}
compare --self-test >"$build/model.log" || {
    cat "$build/model.log"
    exit 1
}
tail -n 1 "$build/model.log"
compare --seconds "${1:-60}"
