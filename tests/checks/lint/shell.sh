#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if shellcheck finds something in a script, whether its name ends with .sh or not.
set -eu
. tests/checks/lint/files.sh
# The libraries that are sourced have no first line that names a shell.
{
    files | grep '\.sh$'
    files | grep -v '\.sh$' | xargs grep -lE '^#!/.*\b(sh|bash)$|^# shellcheck shell='
} | xargs shellcheck -x
