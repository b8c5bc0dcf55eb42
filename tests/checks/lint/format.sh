#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when clang-format would change a file.
set -eu
find app json gpio log fileio demo tests -name '*.h' -o -name '*.cpp' | sort |
    xargs clang-format --dry-run --Werror
