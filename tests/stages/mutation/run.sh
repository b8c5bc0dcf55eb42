#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Plants changes in the product, one at a time, and fails when the tests do not notice one.
# usage: run.sh [matrix SUITE] [--full | --sample N] [--seed SEED] [--only PATH] (see README.md)
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
log=build/mutation.log

step "trying changes" python3 -B tests/stages/mutation/mutate.py "$@"
grep -v '^[0-9]*/[0-9]* tried$' "$log"
