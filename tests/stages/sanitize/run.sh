#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the tests with the address and undefined behaviour sanitizers; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
log=build/sanitize.log

# Listing the tests is a part of the build, and would leave counts for the stage "coverage".
export LLVM_PROFILE_FILE=/dev/null
build build/sanitize --preset sanitize
run_tests --preset sanitize --label-exclude lint
