#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Shows that include-arrows.sh notices what it is there for: each line below is planted alone, and
# must be found.
# usage: include-arrows-test.sh SOURCE-DIRECTORY
set -u
source_folder=$1
check=$source_folder/tests/checks/lint/include-arrows.sh
copy=$(mktemp -d) || exit 2
trap 'rm -rf "$copy"' EXIT
missed=0

plant() {
    rm -rf "${copy:?}"/*
    cp -r "$source_folder/app" "$source_folder/json" "$source_folder/gpio" "$source_folder/log" \
        "$source_folder/fileio" "$copy"
    printf '%s\n' "$2" >>"$copy/$1"
    if sh "$check" "$copy" >/dev/null; then
        printf 'not noticed in %s: %s\n' "$1" "$2"
        missed=1
    fi
}

plant json/JsonWriter.cpp '#include "gpio/GpioLine.h"'
plant gpio/GpioLine.h '#  include  "app/Mode.h"'
plant log/LogLevel.cpp '#include "json/JsonValue.h"'
plant fileio/TextFile.h '#include "log/LogStream.h"'
plant json/JsonParser.cpp '#include <iostream>'
plant json/JsonParser.cpp 'void speak() { std::cout << 1; }'
plant gpio/GpioFile.cpp 'void speak() { perror("open"); }'
plant gpio/GpioFile.cpp 'void speak() { std::printf("x"); }'
plant fileio/TextFile.cpp 'void speak() { write(STDERR_FILENO, "x", 1); }'
plant fileio/TextFile.cpp '#include <syslog.h>'

if ! sh "$check" "$source_folder"; then
    echo 'the tree itself is at fault'
    missed=1
fi
exit "$missed"
