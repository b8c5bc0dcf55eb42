#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Compares json/ and the program with the reference model, for as many seconds as the argument says,
# or 60, after planted faults have been noticed; see README.md.
# usage: run.sh [SECONDS]
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=build/dev
log=build/model.log
targets="dialect-driver dialect-runner switch-querier"

compare() {
    python3 -B tests/stages/model/compare.py --driver "$build/dialect-driver" \
        --runner "$build/dialect-runner" "$@"
}

build "$build" --preset dev
step "looking for planted faults" compare --self-test
tail -n 1 "$log"
step "comparing" compare --seconds "${1:-60}"
tail -n 1 "$log"
