# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# For init scripts, to be sourced:
#
#     . /usr/share/doc/switch-querier/examples/switch-mode.sh
#     switch_mode /config/app.json || exit
#     echo "working as $mode"

# Runs switch-querier(8) with these arguments. Where it decided, sets mode to "decoder" or "encoder"
# and returns 0; else says what went wrong, sets mode to nothing and returns the status. It is not
# for -query, which ends with 0 whatever the mode.
#
# A status of 1 is no failure, so the program stands left of "||", where set -e lets it pass. One run
# at a time, for runs share the temporary file; and not for ever, for a system log that does not
# read would block it.
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
    # 152 is a status of the program's own as well.
    129 | 13? | 14? | 15[0134])
        echo "switch-querier: killed by signal $((switch_status - 128))" >&2
        ;;
    *) echo "switch-querier: failed with status $switch_status, see switch-querier(8)" >&2 ;;
    esac
    [ -n "$mode" ] || return "$switch_status"
}
