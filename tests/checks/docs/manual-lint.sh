#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when mandoc finds something in the manual.
set -u
command -v mandoc >/dev/null || {
    echo "mandoc is missing: install the package mandoc" >&2
    exit 1
}
# Which other manuals are installed here says nothing about ours.
found=$(mandoc -T lint -W style man/switch-querier.8 2>&1 |
    grep -vE 'outdated mandoc.db|referenced manual not found')
[ -z "$found" ] || {
    echo "$found"
    exit 1
}
