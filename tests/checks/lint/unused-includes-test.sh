#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs unused_includes.py on the tree, and shows that it notices an include that is planted.
# usage: unused-includes-test.sh SOURCE-DIRECTORY
set -u
source=$1
check=$source/tests/checks/lint/unused_includes.py
copy=$(mktemp -d) || exit 2
trap 'rm -rf "$copy"' EXIT
missed=0

# usage: plant FILE INCLUDE
plant() {
    rm -rf "${copy:?}"/*
    cp -r "$source/app" "$source/json" "$source/gpio" "$source/log" "$source/fileio" "$copy"
    printf '%s\n' "$2" >>"$copy/$1"
    if python3 -B "$check" "$copy" >/dev/null; then
        echo "not noticed in $1: $2"
        missed=1
    fi
}

plant gpio/GpioFile.cpp '#include <variant>'
plant json/JsonPath.h '#include <charconv>'
plant app/StatusReport.cpp '#include "fileio/ReplacingFile.h"'
plant json/ByteSet.h '#include "json/JsonParser.h"'
plant log/LogLevel.h '#include <regex>'

python3 -B "$check" "$source" || missed=1
exit "$missed"
