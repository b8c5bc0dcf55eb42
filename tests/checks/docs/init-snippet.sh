#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the function for init scripts under set -e in each installed shell, with a stub in place of
# the program, and compares the status and the output.
# The snippets for the other shell are quoted on purpose.
# shellcheck disable=SC2016
set -eu
shellcheck packaging/init/switch-mode.sh completion/switch-querier
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failed=0

# usage: expect SHELL NAME STUB STATUS OUTPUT
# The stub's text is a shell script; the output is that of both streams.
expect() {
    printf '#!/bin/sh\n%s\n' "$3" >"$directory/stub"
    chmod +x "$directory/stub"
    status=0
    output=$(SWITCH_MODE_PROGRAM=$directory/stub SWITCH_MODE_LOCK=$directory/lock \
        SWITCH_MODE_SECONDS=1 "$1" -c 'set -eu
            . packaging/init/switch-mode.sh
            switch_mode "a b.json" -enc || exit
            echo "working as $mode"' 2>&1) || status=$?
    if [ "$status" -ne "$4" ] || [ "$output" != "$5" ]; then
        echo "$1, $2: status $status, not $4; output: $output; not: $5"
        failed=1
    fi
}

shells=
for shell in dash bash; do
    command -v "$shell" >/dev/null || continue
    shells="$shells $shell"
    expect "$shell" decoder 'exit 0' 0 'working as decoder'
    expect "$shell" encoder 'exit 1' 0 'working as encoder'
    expect "$shell" 'a failure' 'exit 163' 163 \
        'switch-querier: failed with status 163, see switch-querier(8)'
    expect "$shell" 'a failure whose number could be a signal' 'exit 152' 152 \
        'switch-querier: failed with status 152, see switch-querier(8)'
    expect "$shell" 'wrong use' 'exit 96' 96 \
        'switch-querier: failed with status 96, see switch-querier(8)'
    expect "$shell" 'a program that is killed' 'kill -KILL $$' 137 \
        'switch-querier: killed by signal 9'
    expect "$shell" 'a program that is terminated' 'kill -TERM $$' 143 \
        'switch-querier: killed by signal 15'
    expect "$shell" 'a program that does not end' 'exec sleep 100' 124 \
        'switch-querier: stopped after 1 s'
    expect "$shell" 'arguments and umask' '[ "$1" = "a b.json" ] && [ "$2" = -enc ] && [ $# = 2 ] &&
        [ "$(umask)" = 0077 ] || exit 3' 0 'working as decoder'
    status=0
    output=$(SWITCH_MODE_PROGRAM=$directory/none SWITCH_MODE_LOCK=$directory/lock \
        "$shell" -c 'set -e
        . packaging/init/switch-mode.sh
        switch_mode a.json || exit' 2>&1) || status=$?
    case $status:$output in
    127:*"switch-querier: cannot be run") ;;
    *)
        echo "$shell, no program: status $status; output: $output"
        failed=1
        ;;
    esac
done
[ -n "$shells" ] || {
    echo "neither dash nor bash is here" >&2
    exit 1
}
exit "$failed"
