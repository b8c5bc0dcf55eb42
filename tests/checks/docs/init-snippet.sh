#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the snippet for init scripts under set -e in dash, bash and busybox, each with GNU's timeout,
# with busybox's and without one, with a stub in place of the program, and compares the outcome with
# how the stub ends.
# usage: init-snippet.sh SNIPPET
# The snippets for the other shell are quoted on purpose.
# shellcheck disable=SC2016
set -eu
SNIPPET=$1
export SNIPPET
shellcheck "$SNIPPET" packaging/init/S50application completion/switch-querier
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failed=0
for program in dash bash busybox flock timeout; do
    command -v "$program" >/dev/null || {
        echo "$program is missing" >&2
        exit 1
    }
done

# A PATH for each timeout, with the shell of a busybox as sh. The last busybox has no timeout, as
# configured by Buildroot and OpenEmbedded: its applet has another name. Debian's has no flock.
for path in gnu busybox none; do
    mkdir "$directory/$path"
    for program in sh sleep; do
        ln -s "$(command -v busybox)" "$directory/$path/$program"
    done
    ln -s "$(command -v flock)" "$directory/$path/flock"
done
ln -s "$(command -v timeout)" "$directory/gnu/timeout"
ln -s "$(command -v busybox)" "$directory/busybox/timeout"
rm "$directory/none/sh"
LC_ALL=C sed 's/\x00timeout\x00/\x00timeouz\x00/' "$(command -v busybox)" >"$directory/none/sh"
chmod +x "$directory/none/sh"
"$directory/none/sh" -c :
if env PATH="$directory/none" "$directory/none/sh" -c 'command -v timeout'; then
    echo "the timeout of busybox is not hidden"
    exit 1
fi

# usage: run SHELL TIMEOUT SCRIPT; sets status and output, that of both streams.
run() {
    case $1 in
    busybox) set -- "$directory/$2/sh" "$2" "$3" ;;
    *) set -- "/bin/$1" "$2" "$3" ;;
    esac
    status=0
    # The timeout of busybox leaves a process for a second, which would keep a pipe and the lock.
    rm -f "$directory/lock"
    env SWITCH_MODE_LOCK="$directory/lock" SWITCH_MODE_SECONDS=1 PATH="$directory/$2" \
        "$1" -c "set -eu; . \"\$SNIPPET\"; $3" >"$directory/output" 2>&1 || status=$?
    output=$(cat "$directory/output")
}

# usage: expect SHELL TIMEOUT NAME STUB STATUS OUTPUT
# The stub's text is a shell script.
expect() {
    printf '#!/bin/sh\n%s\n' "$4" >"$directory/stub"
    chmod +x "$directory/stub"
    SWITCH_MODE_PROGRAM=$directory/stub
    export SWITCH_MODE_PROGRAM
    run "$1" "$2" 'switch_mode "a b.json" -enc || exit; echo "working as $mode"'
    if [ "$status" -ne "$5" ] || [ "$output" != "$6" ]; then
        echo "$1, timeout: $2, $3: status $status, not $5; output: $output; not: $6"
        failed=1
    fi
}

for shell in dash bash busybox; do
    for timeout in gnu busybox none; do
        expect $shell $timeout decoder 'exit 0' 0 'working as decoder'
        expect $shell $timeout encoder 'exit 1' 0 'working as encoder'
        run $shell $timeout 'switch_mode a.json; echo "working as $mode"'
        [ "$status:$output" = "0:working as encoder" ] || {
            echo "$shell, timeout: $timeout, alone: status $status; output: $output"
            failed=1
        }
        expect $shell $timeout 'a failure' 'exit 163' 163 \
            'switch-querier: failed with status 163, see switch-querier(8)'
        expect $shell $timeout 'a failure whose number could be a signal' 'exit 152' 152 \
            'switch-querier: failed with status 152, see switch-querier(8)'
        expect $shell $timeout 'wrong use' 'exit 96' 96 \
            'switch-querier: failed with status 96, see switch-querier(8)'
        expect $shell $timeout 'a program that is killed' 'kill -KILL $$' 137 \
            'switch-querier: killed by signal 9'
        expect $shell $timeout 'a program that is terminated' 'kill -TERM $$' 143 \
            'switch-querier: killed by signal 15, perhaps after 1 s'
        expect $shell $timeout 'arguments and umask' '[ "$1" = "a b.json" ] &&
            [ "$2" = -enc ] && [ $# = 2 ] && [ "$(umask)" = 0077 ] || exit 3' \
            0 'working as decoder'

        SWITCH_MODE_PROGRAM=$directory/absent
        export SWITCH_MODE_PROGRAM
        run $shell $timeout 'switch_mode a.json || exit'
        [ "$status:$output" = "127:switch-querier: cannot be run" ] || {
            echo "$shell, timeout: $timeout, no program: status $status; output: $output"
            failed=1
        }
    done
    expect $shell gnu 'a program that does not end' 'exec sleep 100' 124 \
        'switch-querier: stopped after 1 s'
    expect $shell busybox 'a program that does not end' 'exec sleep 100' 143 \
        'switch-querier: killed by signal 15, perhaps after 1 s'
    # Nothing ends it before it ends by itself.
    expect $shell none 'a program that takes its time' 'sleep 2; exit 1' 0 'working as encoder'
done
exit "$failed"
