#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the fuzzers in build/fuzz and runs both at the same time, for as many seconds in all as the
# argument says, or 60; then compares what they kept with the reference model. Fails when one finds
# a fault, and says how to see it again.
# usage: run.sh [SECONDS]
set -eu
cd "$(dirname "$0")/../../.."
seconds=${1:-60}
. scripts/steps.sh
build=$PWD/build/fuzz
log=build/fuzz.log
targets="document-fuzzer update-fuzzer write-seeds dialect-driver"

build "$build" --preset fuzz
rm -rf "$build/found" "$build/inputs"
"$build/write-seeds" "$build/inputs"
mkdir -p "$build/found" "$build/inputs/kept-document" "$build/inputs/kept-update"

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

# usage: fuzz NAME; the length is some bytes more than a configuration file may have.
fuzz() {
    {
        "$build/$1-fuzzer" -runs=0 -timeout=60 -error_exitcode=99 \
            -artifact_prefix="$build/found/$1-" "$build/inputs/large-$1s" &&
            "$build/$1-fuzzer" -max_total_time=$((seconds / 2)) -max_len=12000 -timeout=60 \
                -error_exitcode=99 -print_final_stats=1 -artifact_prefix="$build/found/$1-" \
                "$build/inputs/kept-$1" "$build/inputs/$1s"
    } >"$build/$1.log" 2>&1 || touch "$build/found/$1-failed"
}

fuzz_both() {
    fuzz update &
    fuzz document
    wait
}
step fuzzing fuzz_both

status=0
summary=
for name in document update; do
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
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$build/$name.log")
        summary="$summary, $name $runs"
    fi
done
[ "$status" -eq 0 ] || exit "$status"

compare() {
    python3 -B tests/stages/model/compare.py --driver "$build/dialect-driver" \
        --corpus "$build/inputs"
}
step "comparing with the model" compare
echo "inputs: ${summary#, }; of these the model agrees with $(tail -n 1 "$log")"
