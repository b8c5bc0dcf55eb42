# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# Sourced by ./run, ./test and the scripts of the stages, which set $log.
# shellcheck disable=SC2154

# usage: duration SECONDS-SINCE-THE-EPOCH; prints the time since then.
duration() {
    seconds=$(($(date +%s) - $1))
    if [ "$seconds" -lt 60 ]; then
        echo "$seconds s"
    else
        echo "$((seconds / 60)) min $((seconds % 60)) s"
    fi
}

# Shows on the terminal how far a step is, by the last line of its log that make or ctest counted.
show_progress() {
    while sleep 1 && kill -0 $$ 2>/dev/null; do
        count=$(sed -n -e 's/^\[ *\([0-9]*%\)\] .*/ \1/p' \
            -e 's|^ *\([0-9][0-9]*\)/\([0-9][0-9]*\) .*| \1 of \2|p' "$log" 2>/dev/null | tail -n 1)
        printf '\r\033[K  %s%s, %s' "$1" "$count" "$(duration "$2")" >&2
    done
}

# usage: step NAME COMMAND…
# Runs a command with its output in $log. If it fails, shows the output and exits with 1. A terminal
# sees the step's name, progress and time. If the command is a function, set -e does not hold in it.
step() {
    step_name=$1
    shift
    step_begin=$(date +%s)
    step_progress=
    mkdir -p "$(dirname "$log")"
    : >"$log"
    if [ -t 2 ]; then
        # No child of this shell: the command may wait for all of those.
        step_progress=$( (show_progress "$step_name" "$step_begin") >/dev/null & echo $!)
    fi
    step_status=0
    "$@" >"$log" 2>&1 || step_status=$?
    if [ -n "$step_progress" ]; then
        kill "$step_progress" 2>/dev/null || :
        printf '\r\033[K  %s: %s\n' "$step_name" "$(duration "$step_begin")" >&2
    fi
    if [ "$step_status" -ne 0 ]; then
        grep -v -e ' Passed ' -e '^ *Start ' -e '^[0-9]*/[0-9]* tried$' "$log" >&2 || :
        echo "$step_name failed with status $step_status; the output is in $log." >&2
        exit 1
    fi
}

# usage: build DIRECTORY [CMAKE-ARGUMENT…]; configures and builds all, or the targets in $targets.
build() {
    build_directory=$1
    shift
    step configuring cmake -B "$build_directory" "$@"
    # Each target is an argument of its own.
    # shellcheck disable=SC2086
    step building cmake --build "$build_directory" -j "$(nproc)" ${targets:+--target $targets}
}

# usage: run_tests CTEST-ARGUMENT…; prints the closing lines of ctest. CI has everything that a test
# needs, so there a skipped test counts as failed.
run_tests() {
    step testing ctest "$@"
    if [ -n "${CI:-}" ] && grep '\*\*\*Skipped' "$log" >&2; then
        echo "Skipped tests count as failed here." >&2
        exit 1
    fi
    grep -E '^(100% tests passed|Total Test time|The following tests did not run)|\*\*\*Skipped' \
        "$log"
}
