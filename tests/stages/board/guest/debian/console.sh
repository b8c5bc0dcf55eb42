# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Does what the lines from the host say, and reports each one's status.
# shellcheck source=tests/stages/board/guest/debian/steps.sh
. /cases/debian/steps.sh
stty -echo
printf "\n@ready\n" # on a line of its own, after what systemd resets the terminal with
while read -r line; do
    [ -n "$line" ] || continue
    (eval "set -ex; $line") </dev/null 2>&1
    echo "@status $?"
done
