#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the functions of the snippet under set -e in dash, bash and busybox, each with GNU's timeout,
# with busybox's and without one, with a stub in place of the program, and compares the outcome with
# how the stub ends. What stands in for gpioget refuses what its version refuses.
# usage: init-snippet.sh SNIPPET
set -eu
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failed=0
busybox=$(command -v busybox)
stub=$directory/stub
lock=$directory/lock
export SWITCH_MODE_PROGRAM="$stub" SWITCH_MODE_LOCK="$lock" SWITCH_MODE_SECONDS=1

# A PATH for each timeout, with the shell of a busybox as sh. The last busybox is one as Buildroot
# configures it at the least: no timeout, no built-in command. Debian's has no flock.
for path in gnu busybox none; do
    mkdir "$directory/$path"
    ln -s "$busybox" "$directory/$path/sh"
    ln -s "$busybox" "$directory/$path/sleep"
    ln -s "$(command -v flock)" "$directory/$path/flock"
done
ln -s "$(command -v timeout)" "$directory/gnu/timeout"
ln -s "$busybox" "$directory/busybox/timeout"
rm "$directory/none/sh"
LC_ALL=C sed -e 's/\x00timeout\x00/\x00timeouz\x00/' -e 's/\(\x00.\?\)command\x00/\1commanz\x00/g' \
    "$busybox" >"$directory/none/sh"
chmod +x "$directory/none/sh"
if env PATH="$directory/none" "$directory/none/sh" -c 'timeout 1 : || command :' 2>/dev/null; then
    echo "busybox still has timeout or command"
    failed=1
fi

# usage: expect STATUS OUTPUT STUB [SCRIPT]; runs it with $shell and the PATH $path. The stub's text
# is a shell script, and the output ends so: a shell may say first that a program was killed.
expect() {
    printf '#!/bin/sh\n%s\n' "$3" >"$stub"
    chmod +x "$stub"
    status=0
    # The timeout of busybox leaves a process for a second, which would keep a pipe.
    env PATH="$directory/$path" "$shell" -c "set -eu; . $snippet; ${4:-$call}" \
        >"$directory/output" 2>&1 || status=$?
    output=$(cat "$directory/output")
    if [ "$status" -ne "$1" ] || [ "${output%"$2"}$2" != "$output" ]; then
        echo "$shell, timeout: $path, $3: status $status, not $1; output: $output; not: $2"
        failed=1
    fi
}

# usage: not_run REASON; the status of a failing flock is one of sysexits.h, or busybox's 1.
not_run() {
    expect 127 "$said $1
$said was not run" "exit 1"
}

# usage: reads_line GETS; what the program gets from the function that reads a line, if the program
# fails and if it does not.
reads_line() {
    expect 174 "$(printf '%b' "$1"),
$said failed with status 174, $see" "$print; exit 174" "$from_line"
    expect 0 "$(printf '%b' "$1"),
working as encoder" "$print; exit 1" "$from_line; echo \"working as \$mode\""
}

# These are for the other shell.
# shellcheck disable=SC2016
call='switch_mode "a b.json" -enc || exit; echo "working as $mode"' \
    print='printf "%s," "$@"; echo' \
    alone='switch_mode a.json; echo "working as $mode"' \
    arguments='[ "$*,$#,$(umask)" = "a b.json -enc,2,0077" ] || exit 3'
snippet=$directory/switch-mode.sh
sed "s|/config/|$directory/config/|g" "$1" >"$snippet"
mkdir "$directory/config"
said="switch-querier:"
see="see switch-querier(8)"
from_line='switch_mode_from_line chip 17 "a b.json"'
unread="$said gpioget cannot read line 17 of chip\na b.json"
gpioget=$directory/none/gpioget

for name in dash bash sh; do
    for path in gnu busybox none; do
        shell=/bin/$name
        [ $name != sh ] || shell=$directory/$path/sh
        while IFS='|' read -r expected text ends_with; do
            expect "$expected" "$text" "$ends_with"
        done <<ROWS
0|working as decoder|exit 0
0|working as encoder|exit 1
163|$said failed with status 163, $see|exit 163
152|$said failed with status 152, $see|exit 152
137|$said killed by signal 9|kill -KILL \$\$
143|$said killed by signal 15, perhaps after 1 s|kill -TERM \$\$
0|working as decoder|$arguments
ROWS
        expect 0 "working as encoder" "exit 1" "$alone"
        # The shell of busybox takes its own timeout. Without one, nothing ends a run but itself.
        case $name-$path in
        sh-gnu | *-busybox)
            expect 143 "$said killed by signal 15, perhaps after 1 s" "exec sleep 100"
            ;;
        *-gnu) expect 124 "$said stopped after 1 s" "exec sleep 100" ;;
        *-none) expect 0 "working as encoder" "sleep 2; exit 1" ;;
        esac
    done

    SWITCH_MODE_PROGRAM=$directory/absent
    not_run "$directory/absent is missing"
    SWITCH_MODE_PROGRAM=$stub SWITCH_MODE_LOCK=$directory/absent/lock
    not_run "$directory/absent/lock cannot be locked"
    SWITCH_MODE_LOCK=$lock
    mv "$directory/none/flock" "$directory/flock"
    not_run "flock is missing"
    ln -s /bin/false "$directory/none/flock"
    not_run "$lock cannot be locked"
    mv "$directory/flock" "$directory/none/flock"

    # What gpioget is called with, and what it prints; a marker file; what the program gets.
    while IFS='|' read -r called prints marker gets; do
        printf '#!/bin/sh\n[ "$*" = "%s" ] && echo "%s"\n' "$called" "$prints" >"$gpioget"
        chmod +x "$gpioget"
        [ -z "$marker" ] || : >"$directory/config/$marker"
        reads_line "$gets"
        rm -f "$gpioget" "$directory"/config/*
    done <<ROWS
chip 17|0||a b.json,-enc
chip 17|1||a b.json,-dec
--numeric -c chip 17|0||a b.json,-enc
--numeric -c chip 17|1||a b.json,-dec
chip 17|0|DECODER|a b.json
chip 17|1|ENCODER|a b.json
chip 17|17=active||$unread
chip 18|0||$unread
ROWS
    reads_line "$unread"
done
exit "$failed"
