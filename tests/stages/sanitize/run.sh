#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the tests with the address and undefined behaviour sanitizers; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
log=build/sanitize.log

build build/sanitize --preset sanitize
run_tests --preset sanitize --label-exclude lint
