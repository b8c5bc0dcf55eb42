#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when clang-tidy finds something in the product or in the simulated appliance.
# usage: tidy.sh BUILD-FOLDER
set -eu
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The build's flags are g++'s: clang does not know each of its warnings.
if ! run-clang-tidy -p "$1" -quiet -extra-arg=-Wno-unknown-warning-option \
    "^$PWD/(app|json|gpio|log|fileio|demo|tests/appliance)/[^/]*\.cpp$" >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
