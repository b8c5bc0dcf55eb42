#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if a leaf directory includes another directory of ours, or if json/, gpio/ or fileio/ name a
# stream of the console or the system log: they return results, only app/ words a message.
# usage: include-arrows.sh SOURCE-DIRECTORY
set -u
cd "$1" || exit 2
found=0

report() {
    if [ -n "$2" ]; then
        printf '%s:\n%s\n' "$1" "$2"
        found=1
    fi
}

for leaf in json gpio log fileio; do
    report "$leaf/ includes another directory" \
        "$(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$leaf"/*.h "$leaf"/*.cpp |
            grep -v "include *\"$leaf/")"
done
streams='cout|cerr|clog|stdout|stderr|STDOUT_FILENO|STDERR_FILENO'
functions='f?printf|puts|fputs|putchar|perror|syslog'
for leaf in json gpio fileio; do
    report "$leaf/ speaks to the console or the system log" \
        "$(grep -nE "<(iostream|syslog\.h)|\\b($streams|$functions)\\b" \
            "$leaf"/*.h "$leaf"/*.cpp | grep -vE '^[^:]*:[0-9]+: *//')"
done
exit "$found"
