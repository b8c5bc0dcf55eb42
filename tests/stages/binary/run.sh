#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Checks the properties of the programs that are shipped; see README.md.
set -eu
cd "$(dirname "$0")/../../.."
. scripts/steps.sh
work=$PWD/build/binary
log=$work/build.log
targets=switch-querier
failed=0
rm -rf "$work"
mkdir -p "$work"
SOURCE_DATE_EPOCH=1750000000
export SOURCE_DATE_EPOCH

fail() {
    echo "binary: $*"
    failed=1
}

# usage: build_hardened NAME KIND PROCESSOR [CMAKE-ARGUMENT…]; builds the first tree in $work/NAME.
build_hardened() {
    name=$1
    kind=$2
    processor=$3
    shift 3
    build "$work/$name" -S "$work/one" -D CMAKE_EXPORT_COMPILE_COMMANDS=ON "$@"
    python3 tests/checks/build/hardening.py "$work/$name" "$kind" "$processor" || failed=1
}

# Two trees, since the paths of neither may be in the program.
for tree in one "another tree"; do
    mkdir -p "$work/$tree"
    cp -R VERSION CMakeLists.txt cmake app json gpio log fileio packaging "$work/$tree"
done
build_hardened dynamic dynamic "$(uname -m)"
# Builders of images ask for shared libraries.
build "$work/another tree/out" -S "$work/another tree" -D BUILD_SHARED_LIBS=ON
cmp "$work/dynamic/switch-querier" "$work/another tree/out/switch-querier" ||
    fail "two builds differ"
if grep -aq "$work" "$work/dynamic/switch-querier"; then
    fail "the program has the directory of its build in it"
fi
# It has to start without a shared library of ours: 96 is the status of a call without parameters.
status=0
(cd / && exec "$work/another tree/out/switch-querier") >/dev/null 2>&1 || status=$?
[ "$status" -eq 96 ] || fail "built for shared libraries it ends with $status"
build_hardened static static "$(uname -m)" -D SWITCH_QUERIER_STATIC=ON
arm=-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/aarch64-linux-gnu.cmake
build_hardened aarch64 dynamic aarch64 "$arm"
build_hardened aarch64-static static aarch64 "$arm" -D SWITCH_QUERIER_STATIC=ON
cd "$work"

# Documents of the greatest length and depth, on a stack of 1 MB. The first is read, and has no
# App/isEncoder; the arrays of the other are not closed.
awk -v file="$work/180.json" 'BEGIN {
    for (i = 0; i < 4980; i++) a = a "["; for (i = 0; i < 4980; i++) b = b "]"
    printf "{\"a\":%s%s}", a, b >file }'
awk -v file="$work/174.json" 'BEGIN {
    for (i = 0; i < 9994; i++) a = a "["; printf "{\"a\":%s}", a >file }'
for kind in dynamic static; do
    for expected in 180 174; do
        status=0
        # The shells that Debian has for sh know -s.
        # shellcheck disable=SC3045
        (ulimit -s 1024 && exec "$work/$kind/switch-querier" "$work/$expected.json" -flip) \
            >/dev/null 2>&1 || status=$?
        [ "$status" -eq "$expected" ] ||
            fail "$kind: a deep document ends with $status, not $expected, on 1 MB of stack"
    done
done

sizes=
for kind in dynamic static aarch64 aarch64-static; do
    case $kind in
    aarch64*) aarch64-linux-gnu-strip -o stripped "$kind/switch-querier" ;;
    *) strip -o stripped "$kind/switch-querier" ;;
    esac
    sizes="$sizes, $kind $(wc -c <stripped)"
done
echo "bytes of the stripped programs: ${sizes#, }"
exit "$failed"
