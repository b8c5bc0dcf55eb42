#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# What a run costs, beside its bounds; bench/README.md tells the rest.
exec sh "$(dirname "$0")/../../bench/run.sh" "$@"
