#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the preset "sanitize", runs all suites, and fails unless they execute every line of the
# product and evaluate every condition to true and to false.
# usage: run.sh
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
build=$PWD/build/sanitize
log=build/coverage.log

# Listing the tests is a part of the build, and would leave profiles.
export LLVM_PROFILE_FILE=/dev/null
build "$build" --preset sanitize
rm -rf "$build/profiles"
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
set -- "$@" app json gpio log fileio

"$tools/llvm-cov" report -show-region-summary=false "$@" >"$build/report.txt" 2>"$build/report.log"
full='[1-9][0-9]* +0 +100\.00%'
if ! grep -Eq "^TOTAL +$full +$full +$full *$" "$build/report.txt"; then
    "$tools/llvm-cov" export -format=lcov "$@" 2>/dev/null | awk -F '[:,]' '
        $1 == "SF" { file = $2 }
        /^DA:[0-9]*,0$/ { print file ":" $2 ": this line is not executed" }
        /^BRDA:.*,(0|-)$/ { print file ":" $2 ": a condition is never true, or never false" }'
    tail -n 1 "$build/report.txt"
    echo "The product is not covered; the figures of each file are in $build/report.txt."
    exit 1
fi
awk '$1 == "TOTAL" { print "covered:", $2, "functions,", $5, "lines,", $8, "branches" }' \
    "$build/report.txt"
