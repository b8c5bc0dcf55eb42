#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the preset "dev" and runs all suites, and the program in its own, under valgrind, in two
# halves at a time. Fails on a failed test, a memory error, a leak, or a descriptor open at the end.
# usage: run.sh
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=$PWD/build/dev
logs=$build/valgrind
log=build/valgrind.log

if ! unshare -m true 2>/dev/null && ! unshare -Urm true 2>/dev/null; then
    # The suites would start themselves anew under proot, and there without valgrind.
    echo "valgrind: namespaces are refused here" >&2
    exit 1
fi

build build/dev --preset dev
rm -rf "$logs"
mkdir "$logs"

# What runs the program; its arguments are the name that the program was to have, the program and
# its arguments. Of this tree, a private root has only the build directory.
cat >"$build/program-under-valgrind" <<'SCRIPT'
#!/bin/sh
shift
exec valgrind -q --vgdb=no --error-exitcode=99 --leak-check=full --track-fds=yes \
    --log-file="$(dirname "$0")/valgrind/program-%p.log" "$@"
SCRIPT
chmod +x "$build/program-under-valgrind"
export SWITCH_QUERIER_WRAPPER=program-under-valgrind
export PATH="$build:$PATH"

# Left out is what cannot be tested: valgrind gives the program its path for a name; if a standard
# descriptor is closed, the log that valgrind opens takes its number; a run that a signal ends
# closes nothing; valgrind counts memory itself; and another user may not make its files.
left_out='ProgramName*:Console.MayBeClosed*:Console.WithoutAReader*:JsonMemory*'
left_out=$left_out:'RunThatUpdatesALargeFile*:AnotherUser*'

# usage: run_half SUITE SHARD
run_half() {
    name=$1-$2
    GTEST_TOTAL_SHARDS=2 GTEST_SHARD_INDEX=$2 \
        valgrind -q --vgdb=no --error-exitcode=99 --leak-check=full --track-fds=yes \
        --log-file="$logs/forked-by-$name-%p.log" \
        "$build/$1-test" --gtest_brief=1 --gtest_filter="-$left_out" \
        >"$logs/$name.out" 2>&1 &
    pid=$!
    wait "$pid" || touch "$logs/$name.failed"
    mv "$logs/forked-by-$name-$pid.log" "$logs/suite-$name.log"
}

run_halves() {
    for shard in 0 1; do
        for test in "$build"/*-test; do
            run_half "$(basename "$test" -test)" "$shard"
        done &
    done
    wait
}
step "running the suites" run_halves

# Prints what a log says besides the descriptors that the process began with. With -q it says
# nothing else when all is well; a descriptor left open has no exit status of its own.
# usage: complaints LOG [PATTERN]   and besides descriptors whose second line has the pattern
complaints() {
    sed -e 's/^==[0-9]*== *//' -e '/^FILE DESCRIPTORS: /d' "$1" |
        awk -v RS= -v pattern="${2:-<inherited from parent>}" '{
            split($0, lines, "\n")
            if (lines[1] !~ /^Open / || lines[2] !~ pattern) {
                print $0 "\n"
            }
        }'
}

status=0
shown=0
for log in "$logs"/*.log; do
    # A forked child ends by _exit(2) in the middle of a test: what it has open says nothing.
    case $(basename "$log") in
    forked-by-*) said=$(complaints "$log" .) ;;
    *) said=$(complaints "$log") ;;
    esac
    if [ -n "$said" ]; then
        status=1
        shown=$((shown + 1))
        # One fault shows in many runs.
        if [ "$shown" -le 5 ]; then
            printf '%s:\n%s\n\n' "$log" "$said" | head -n 60
        fi
    fi
done
if [ "$shown" -gt 5 ]; then
    echo "... and in $((shown - 5)) other logs of $logs"
fi
for failed in "$logs"/*.failed; do
    if [ -e "$failed" ]; then
        status=1
        head -n 200 "${failed%.failed}.out"
    fi
done
count() {
    find "$logs" -name "$1" | wc -l
}
passed=$(cat "$logs"/*.out | sed -n 's/^\[  PASSED  \] \([0-9]*\) .*/\1/p' |
    awk '{ sum += $1 } END { print sum }')
echo "under valgrind: $passed tests passed, $(count 'program-*.log') runs of the program," \
    "$(count 'forked-by-*.log') forked children"
if [ "$(count 'program-*.log')" -eq 0 ]; then
    echo "The program was not run under valgrind."
    status=1
fi
exit "$status"
