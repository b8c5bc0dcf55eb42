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

# usage: has PROGRAM WORDS PATTERN; what readelf shows of the program has a line of this pattern.
has() {
    readelf -hldsW "$1" 2>/dev/null | grep -Eq "$3" || fail "$1: $2 is missing"
}

# usage: lacks PROGRAM WORDS PATTERN
lacks() {
    ! readelf -hldsW "$1" 2>/dev/null | grep -Eq "$3" || fail "$1: has $2"
}

# What every program of ours has, and what its own objects have: the C library's could have it too,
# in a program that has it linked in.
# usage: check_hardening DIRECTORY FEATURES; the latter as readelf shows them in an object's notes.
check_hardening() {
    has "$1/switch-querier" "a stack that is not executable" 'GNU_STACK .* RW '
    has "$1/switch-querier" "relocation made read-only" GNU_RELRO
    lacks "$1/switch-querier" "a search path for libraries" 'RPATH|RUNPATH'
    objects=$(find "$1" -name '*.o' -path '*.dir/*')
    for object in $objects; do
        readelf -n "$object" | grep -q "feature: $2" || fail "$object: no protection of branches"
    done
    for leaf in app fileio gpio json log; do
        readelf -sW "$1/$leaf/libswitch-querier-$leaf.a" | grep -Eq 'UND +__stack_chk_fail$' ||
            fail "$1: $leaf has no stack protector"
    done
    # Of the calls that can be fortified ours has few; syslog(3) is one.
    # shellcheck disable=SC2086
    readelf -sW $objects | grep -E 'UND +__[a-z]+_chk$' >/dev/null || fail "$1: no fortified call"
}

check_dynamic() {
    check_hardening "$@"
    has "$1/switch-querier" "position independence" 'Type: +DYN'
    has "$1/switch-querier" "immediate binding" 'BIND_NOW'
    for library in $(readelf -dW "$1/switch-querier" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
        case $library in
        libstdc++.so.6 | libgcc_s.so.1 | libc.so.6 | libm.so.6 | ld-linux-*) ;;
        *) fail "$1/switch-querier: needs $library" ;;
        esac
    done
}

check_static() {
    check_hardening "$@"
    lacks "$1/switch-querier" "a loader" INTERP
    lacks "$1/switch-querier" "needed libraries" '\(NEEDED\)'
}

# Two trees, since the paths of neither may be in the program.
for tree in one "another tree"; do
    mkdir -p "$work/$tree"
    cp -R VERSION CMakeLists.txt cmake app json gpio log fileio packaging "$work/$tree"
done
build "$work/dynamic" -S "$work/one"
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
# From here on the names are relative and have no space.
cd "$work"
case $(uname -m) in
x86_64) features="IBT, SHSTK" ;;
*) features="BTI, PAC" ;;
esac
check_dynamic dynamic "$features"

build "$work/static" -S "$work/one" -D SWITCH_QUERIER_STATIC=ON
check_static static "$features"
programs="dynamic static"

if command -v aarch64-linux-gnu-g++ >/dev/null; then
    arm="-D CMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake"
    # Two words each.
    # shellcheck disable=SC2086
    build "$work/aarch64" -S "$work/one" $arm
    # shellcheck disable=SC2086
    build "$work/aarch64-static" -S "$work/one" $arm -D SWITCH_QUERIER_STATIC=ON
    check_dynamic aarch64 "BTI, PAC"
    check_static aarch64-static "BTI, PAC"
    programs="$programs aarch64 aarch64-static"
else
    fail "aarch64-linux-gnu-g++ is missing"
fi

# A document of the greatest length and depth, on a stack of 1 MB.
awk 'BEGIN { for (i = 0; i < 4980; i++) a = a "["; for (i = 0; i < 4980; i++) b = b "]"
             printf "{\"a\":%s%s}", a, b }' >"$work/deep.json"
for kind in dynamic static; do
    status=0
    # The shells that Debian has for sh know -s.
    # shellcheck disable=SC3045
    (ulimit -s 1024 && exec "$work/$kind/switch-querier" "$work/deep.json" -flip) \
        >/dev/null 2>&1 || status=$?
    # 180: all of it was read, and has no App/isEncoder.
    [ "$status" -eq 180 ] || fail "$kind: the deepest document ends with $status on 1 MB of stack"
done

sizes=
for kind in $programs; do
    case $kind in
    aarch64*) aarch64-linux-gnu-strip -o stripped "$kind/switch-querier" ;;
    *) strip -o stripped "$kind/switch-querier" ;;
    esac
    sizes="$sizes, $kind $(wc -c <stripped)"
done
echo "bytes of the stripped programs: ${sizes#, }"
exit "$failed"
