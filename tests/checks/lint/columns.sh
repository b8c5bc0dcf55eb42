#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if a line has more than 100 columns, unless it is a row of a table, names a URL, or quotes a
# line of the sources.
set -eu
. tests/checks/lint/files.sh
export LC_ALL=C.UTF-8
found=$(files | grep -vE '\.(tsv|cases|table|png|svg)$|/survivors\.txt$' |
    xargs grep -nHIE '^.{101,}' | grep -vE '[a-z]://|^[^:]*\.md:[0-9]+:\|') || true
[ -z "$found" ] || {
    echo "$found"
    exit 1
}
