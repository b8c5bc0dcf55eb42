#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds in build/coverage, runs all suites, and fails unless they take every line and both sides of
# every condition of the product, but for what exceptions.md gives a reason for.
# usage: run.sh
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=$PWD/build/coverage
log=build/coverage.log

step "testing the gate" python3 -B tests/stages/coverage/gate_test.py

mkdir -p "$build"
rm -rf "$build/profiles" "$build"/*-test
# Listing the tests is a part of the build, and would leave profiles.
export LLVM_PROFILE_FILE=/dev/null
build "$build" --preset coverage
mkdir "$build/profiles"

# Some tests end a forked child by _exit(2), so counts go straight to the file (%c). The program is
# run with its standard descriptors closed too; such a file would take one of their numbers, so it
# leaves its counts when it ends, merged (%m).
run_suites() {
    for test in "$build"/*-test; do
        suite=$(basename "$test" -test)
        case $suite in
        program) pattern=%m ;;
        *) pattern=%c%p ;;
        esac
        LLVM_PROFILE_FILE=$build/profiles/$suite-$pattern.profraw "$test" --gtest_brief=1 \
            >"$build/$suite.log" 2>&1 || touch "$build/profiles/$suite-failed" &
    done
    wait
    for failed in "$build"/profiles/*-failed; do
        [ -e "$failed" ] || continue
        cat "$build/$(basename "$failed" -failed).log"
        return 1
    done
}
step "running the suites" run_suites

# The tools have to be the compiler's own version.
version=$(clang++ -dumpversion | cut -d . -f 1)
tools=/usr/lib/llvm-$version/bin
if [ ! -x "$tools/llvm-cov" ]; then
    tools=$(dirname "$(command -v llvm-cov)")
fi
"$tools/llvm-profdata" merge -sparse "$build"/profiles/*.profraw -o "$build/all.profdata"
set -- -instr-profile="$build/all.profdata" "$build/switch-querier"
for test in "$build"/*-test; do
    set -- "$@" -object "$test"
done
# A function that one file defines and does not use has no counts there, which both of them tell.
"$tools/llvm-cov" export -format=text "$@" >"$build/branches.json" 2>"$build/export.log"
"$tools/llvm-cov" export -format=lcov "$@" >"$build/lines.info" 2>>"$build/export.log"

python3 -B tests/stages/coverage/gate.py "$build/branches.json" "$build/lines.info" \
    tests/stages/coverage/exceptions.md
