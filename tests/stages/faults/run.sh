#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Puts faults into runs of the program; see README.md.
set -eu
build=build/faults
log=$build.log
mkdir -p build

# In proot(1), which the other tests fall back to, a program cannot be traced.
if ! unshare -m mount -t tmpfs tmpfs /mnt 2>"$log" && ! unshare -Urm mount -t tmpfs tmpfs /mnt 2>"$log"; then
    cat "$log"
    echo "faults: needs namespaces, and this machine refuses them."
    exit 1
fi
if ! { cmake --preset dev -B "$build" -D SWITCH_QUERIER_FAULTS=ON &&
    cmake --build "$build" -j "$(nproc)" --target faults-test; } >"$log" 2>&1; then
    cat "$log"
    exit 1
fi

# Most runs sleep for 20 ms before they read the switch, so that a processor can take two.
rm -rf "$build/faults-results"
if ! ctest --test-dir "$build" -L faults -j "$(($(nproc) * 2))" --output-on-failure \
    --no-tests=error >"$log" 2>&1; then
    grep -v ' Passed ' "$log"
    echo "faults: one test again, by hand: $build/faults-test --gtest_filter='NAME'"
    exit 1
fi

# A line for each group of tests: how often what was done.
find "$build/faults-results" -name '*.xml' -exec cat {} + | awk -F '"' '
    /<testsuite name=/ { group = $2 }
    /<property name=/ { count[group ": " $2] += $4 }
    END { for (line in count) printf "%s: %d\n", line, count[line] }' | sort
