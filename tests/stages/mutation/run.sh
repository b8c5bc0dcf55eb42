#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Plants changes in the product, one at a time, and fails when the tests do not notice one.
# usage: tests/stages/mutation/run.sh [--full | --sample N] [--seed SEED] [--only FOLDER] (see README.md)
set -eu
cd "$(dirname "$0")/../../.."
PYTHONDONTWRITEBYTECODE=1 exec python3 tests/stages/mutation/mutate.py "$@"
