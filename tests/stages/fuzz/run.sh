#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the fuzzers in build/fuzz and runs them, two at a time, for as many seconds in all as the
# argument says, or 60. Fails when one finds a fault, and says how to see it again.
# usage: run.sh [SECONDS]
set -eu
cd "$(dirname "$0")/../../.."
seconds=${1:-60}
. scripts/steps.sh
build=$PWD/build/fuzz
log=build/fuzz.log

build "$build" --preset fuzz
"$build/write-seeds" "$build/seeds"
# The fuzzers run in a private root, which contains only the build directory of this tree.
cp tests/stages/fuzz/dialect.dict "$build"
rm -rf "$build/found" "$build/corpus"
mkdir -p "$build/found" "$build/corpus"

export ASAN_OPTIONS=exitcode=99
export UBSAN_OPTIONS=halt_on_error=1:exitcode=99:print_stacktrace=1
# Leaks are looked for by tracing, which is impossible for what proot traces already.
if ! unshare -m true 2>/dev/null && ! unshare -Urm true 2>/dev/null; then
    ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0
fi
# A reader goes as deep as the text is nested, and with the sanitizer its frames are large.
# The shells that Debian has for sh know -s.
# shellcheck disable=SC3045
ulimit -s 262144 2>/dev/null || ulimit -s "$(ulimit -H -s)"

# usage: fuzz NAME SEEDS SECONDS
fuzz() {
    mkdir -p "$build/corpus/$1"
    # The length: some bytes more than a configuration file may have.
    {
        "$build/$1-fuzzer" -runs=0 -timeout=60 -error_exitcode=99 \
            -artifact_prefix="$build/found/$1-" "$build/seeds/large-$2" &&
            "$build/$1-fuzzer" -max_total_time="$3" -max_len=12000 -timeout=60 -error_exitcode=99 \
                -print_final_stats=1 -dict="$build/dialect.dict" \
                -artifact_prefix="$build/found/$1-" "$build/corpus/$1" "$build/seeds/$2"
    } >"$build/$1.log" 2>&1 || touch "$build/found/$1-failed"
}

# The update does the most and is the slowest.
fuzz_all() {
    fuzz update updates $((seconds / 2)) &
    fuzz parse documents $((seconds / 4))
    fuzz rewrite documents $((seconds / 4))
    wait
}
step fuzzing fuzz_all

figure() {
    sed -n "s/^stat::$2: *//p" "$build/$1.log"
}

status=0
summary=
for name in parse rewrite update; do
    if [ -e "$build/found/$name-failed" ]; then
        status=1
        echo "$name: failed"
        grep -v '^#[0-9]' "$build/$name.log" | tail -n 60
        for input in "$build/found/$name"-*-*; do
            [ -e "$input" ] || continue
            echo "To see it again: $build/$name-fuzzer $input"
            od -A d -c "$input" | head -n 40
        done
    else
        summary="$summary, $name $(figure "$name" number_of_executed_units)"
    fi
done
echo "inputs: ${summary#, }"
exit "$status"
