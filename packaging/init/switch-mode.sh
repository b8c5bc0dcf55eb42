# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# A function for init scripts. To source it:
#
#     . /usr/share/doc/switch-querier/examples/switch-mode.sh
#     switch_mode /config/app.json || exit
#     echo "working as $mode"

# Runs switch-querier(8) with these arguments. On success sets mode to "decoder" or "encoder" and
# returns 0. On failure prints what went wrong, sets mode to the empty string and returns the
# status. Do not use it with -query, which exits with 0 whatever the mode.
#
# The status 1 is a success, so the program is the left side of "||", which set -e ignores. flock(1)
# serialises runs, because they share the temporary file; timeout(1) ends a run that a system log
# daemon blocks by not reading.
switch_mode() {
    mode=
    switch_status=0
    (
        umask "${SWITCH_MODE_UMASK:-077}"
        exec flock "${SWITCH_MODE_LOCK:-/run/switch-querier.lock}" \
            timeout "${SWITCH_MODE_SECONDS:-30}" \
            "${SWITCH_MODE_PROGRAM:-/usr/sbin/switch-querier}" "$@"
    ) || switch_status=$?
    case $switch_status in
    0) mode=decoder ;;
    1) mode=encoder ;;
    124) echo "switch-querier: stopped after ${SWITCH_MODE_SECONDS:-30} s" >&2 ;;
    126 | 127) echo "switch-querier: cannot be run" >&2 ;;
    # 152 is also an exit status of the program.
    129 | 13? | 14? | 15[0134])
        echo "switch-querier: killed by signal $((switch_status - 128))" >&2
        ;;
    *) echo "switch-querier: failed with status $switch_status, see switch-querier(8)" >&2 ;;
    esac
    [ -n "$mode" ] || return "$switch_status"
}
