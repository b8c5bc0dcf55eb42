#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if clang-format would change a file.
set -eu
. tests/checks/lint/files.sh
files | grep -E '\.(h|c|cpp)$' | xargs clang-format --dry-run --Werror
