#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Runs the example of an init script with the start-stop-daemon of dpkg and of busybox, and an
# application that takes a second to end.
# usage: init-script.sh SNIPPET
set -eu
# Whoever starts this may not wait for processes that it inherits, as the init of an appliance does;
# those would count as running.
[ -n "${REAPED:-}" ] || REAPED=yes exec python3 -c '
import ctypes, os, sys
ctypes.CDLL(None).prctl(36, 1)  # PR_SET_CHILD_SUBREAPER
child = os.spawnvp(os.P_NOWAIT, "sh", ["sh", *sys.argv[1:]])
while (ended := os.wait())[0] != child:
    pass
sys.exit(os.waitstatus_to_exitcode(ended[1]))' "$0" "$@"


directory=$(mktemp -d)
started=$directory/started # the process ids
trap 'xargs -r kill -9 <"$started" 2>/dev/null || :; rm -rf "$directory"' EXIT
script=$directory/S50application
cp -p packaging/init/S50application "$script"
sed -i -e "s|/usr/share/switch-querier/|$directory/|" -e "s|/usr/bin/|$directory/|" \
    -e "s|/run/|$directory/|" "$script"
cp "$1" "$directory/switch-mode.sh"
printf '#!/bin/sh\necho $$ >>%s\ntrap "sleep 1; exit" TERM\nwhile :; do sleep 0.1; done\n' \
    "$started" >"$directory/application"
# shellcheck disable=SC2016
printf '#!/bin/sh\necho >>%s\nread -r status <%s\nexit "$status"\n' \
    "$directory/decided" "$directory/status" >"$directory/switch-querier"
chmod +x "$directory/application" "$directory/switch-querier"
export SWITCH_MODE_PROGRAM="$directory/switch-querier" SWITCH_MODE_LOCK="$directory/lock"
failed=0

# usage: expect COMMAND STATUS OUTPUT DECIDED STARTED RUNNING; the last three are how often the mode
# has been decided, and how many applications have started and are running.
expect() {
    status=0
    output=$("$script" "$1" 2>&1) || status=$?
    # A daemon is in the background before the application runs.
    tries=600
    while [ "$(wc -l <"$started")" -lt "$5" ] && [ $((tries -= 1)) -gt 0 ]; do
        sleep 0.1
    done
    running=0
    while read -r pid; do
        ! kill -0 "$pid" 2>/dev/null || running=$((running + 1))
    done <"$started"
    files=$(find "$directory" -name '*.pid' | wc -l)
    was="$status $(wc -l <"$directory/decided") $(wc -l <"$started") $running $files"
    if [ "$was" != "$2 $4 $5 $6 $6" ] || [ "$output" != "$3" ]; then
        echo "$daemon, $1: $was, not $2 $4 $5 $6 $6; output: $output"
        failed=1
    fi
}

for daemon in "$(command -v start-stop-daemon)" "$(command -v busybox)"; do
    mkdir "$directory/bin"
    ln -s "$daemon" "$directory/bin/start-stop-daemon"
    : >"$started"
    : >"$directory/decided"
    (
        PATH=$directory/bin:$PATH
        echo 163 >"$directory/status"
        expect start 163 "switch-querier: failed with status 163, see switch-querier(8)" 1 0 0
        expect stop 0 "" 1 0 0
        echo 1 >"$directory/status"
        expect restart 0 "Starting application as encoder" 2 1 1
        expect start 0 "application is running" 2 1 1
        echo 0 >"$directory/status"
        expect restart 0 "Stopping application
Starting application as decoder" 3 2 1
        expect stop 0 "Stopping application" 3 2 0
        exit "$failed"
    ) || failed=1
    xargs -r kill -9 <"$started" 2>/dev/null || :
    rm "$directory/bin/start-stop-daemon"
    rmdir "$directory/bin"
done
exit "$failed"
