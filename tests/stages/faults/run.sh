#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Puts faults into runs of the program; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=build/faults
log=build/faults.log
targets=faults-test

# Under proot(1), the fallback of the other tests, a program cannot be traced.
can_mount() {
    unshare -m mount -t tmpfs tmpfs /mnt || unshare -Urm mount -t tmpfs tmpfs /mnt
}
step "mounting in a namespace" can_mount
build "$build" --preset dev -D SWITCH_QUERIER_FAULTS=ON

# Most runs sleep for 20 ms before they read the switch, so a processor can take two. To run one
# again by hand: build/faults/faults-test --gtest_filter=NAME
rm -rf "$build/faults-results"
run_tests --test-dir "$build" -L faults -j "$(($(nproc) * 2))" --output-on-failure \
    --no-tests=error >build/faults.summary

# A line for each group of tests: how often what was done.
find "$build/faults-results" -name '*.xml' -exec cat {} + | awk -F '"' '
    /<testsuite name=/ { group = $2 }
    /<property name=/ { count[group ": " $2] += $4 }
    END { for (line in count) printf "%s: %d\n", line, count[line] }' | sort
cat build/faults.summary
