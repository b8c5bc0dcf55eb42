#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the program under valgrind. The name that it was to have is lost: valgrind gives it its path.
# usage: program.sh NAME PROGRAM ARGUMENT...
shift
exec valgrind -q --vgdb=no --error-exitcode=99 --leak-check=full --track-fds=yes \
    --log-file="$(dirname "$0")/logs/program-%p.log" "$@"
