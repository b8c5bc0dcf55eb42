#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if black would change a file, or flake8 finds something in one.
set -eu
. tests/checks/lint/files.sh
files | grep '\.py$' | xargs black --check --quiet --diff
files | grep '\.py$' | xargs flake8
