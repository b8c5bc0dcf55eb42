#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Checks the properties of the programs that are shipped; see README.md.
set -eu
cd "$(dirname "$0")/../.."
build=$PWD/build/binary
log=$build/build.log
failed=0
rm -rf "$build"
mkdir -p "$build"
SOURCE_DATE_EPOCH=1750000000
export SOURCE_DATE_EPOCH

# usage: build TREE FOLDER [OPTION…]; builds the program from a tree.
build() {
    tree=$1
    folder=$2
    shift 2
    if ! { cmake -S "$tree" -B "$folder" "$@" &&
        cmake --build "$folder" -j "$(nproc)" --target switch-querier; } >"$log" 2>&1; then
        cat "$log"
        exit 1
    fi
}

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

# What every program of ours has.
check_hardening() {
    has "$1" "a stack that is not executable" 'GNU_STACK .* RW '
    has "$1" "relocation made read-only" GNU_RELRO
    has "$1" "the stack protector" '__stack_chk_fail'
    lacks "$1" "a search path for libraries" 'RPATH|RUNPATH'
}

check_dynamic() {
    check_hardening "$1"
    has "$1" "position independence" 'Type: +DYN'
    has "$1" "immediate binding" 'BIND_NOW'
    has "$1" "a fortified call" '__[a-z]+_chk'
    for library in $(readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
        case $library in
        libstdc++.so.6 | libgcc_s.so.1 | libc.so.6 | libm.so.6 | ld-linux-*) ;;
        *) fail "$1: needs $library" ;;
        esac
    done
}

check_static() {
    check_hardening "$1"
    lacks "$1" "a loader" INTERP
    lacks "$1" "needed libraries" '\(NEEDED\)'
}

# Two trees, since the paths of neither may be in the program.
for tree in one "another tree"; do
    mkdir -p "$build/$tree"
    cp -R VERSION CMakeLists.txt cmake app json gpio log fileio "$build/$tree"
    for file in CHANGELOG.md README.md LICENSE packaging docs; do
        [ ! -e "$file" ] || cp -R "$file" "$build/$tree"
    done
done
build "$build/one" "$build/one/build"
# Builders of images ask for shared libraries.
build "$build/another tree" "$build/another tree/out" -D BUILD_SHARED_LIBS=ON
cmp "$build/one/build/switch-querier" "$build/another tree/out/switch-querier" ||
    fail "two builds differ"
if grep -aq "$build" "$build/one/build/switch-querier"; then
    fail "the program has the folder of its build in it"
fi
# Where it is linked the same way and nothing but libc is around, it still has to start: 96 is the
# status of a call without parameters.
status=0
(cd / && exec "$build/another tree/out/switch-querier") >/dev/null 2>&1 || status=$?
[ "$status" -eq 96 ] || fail "built for shared libraries it ends with $status"
check_dynamic "$build/one/build/switch-querier"

build "$build/one" "$build/static" -D SWITCH_QUERIER_STATIC=ON
check_static "$build/static/switch-querier"
programs="$build/one/build/switch-querier $build/static/switch-querier"

if command -v aarch64-linux-gnu-g++ >/dev/null; then
    arm="-D CMAKE_TOOLCHAIN_FILE=$build/one/cmake/aarch64-linux-gnu.cmake"
    # Two words each.
    # shellcheck disable=SC2086
    build "$build/one" "$build/aarch64" $arm
    # shellcheck disable=SC2086
    build "$build/one" "$build/aarch64-static" $arm -D SWITCH_QUERIER_STATIC=ON
    check_dynamic "$build/aarch64/switch-querier"
    check_static "$build/aarch64-static/switch-querier"
    for kind in aarch64 aarch64-static; do
        aarch64-linux-gnu-objdump -d "$build/$kind/switch-querier" | grep -Eq 'paciasp|hint.*#0x19' ||
            fail "$kind: no branch protection"
        programs="$programs $build/$kind/switch-querier"
    done
else
    fail "aarch64-linux-gnu-g++ is missing"
fi

# A document of the greatest length and depth, on a stack of 1 MB.
awk 'BEGIN { for (i = 0; i < 4980; i++) a = a "["; for (i = 0; i < 4980; i++) b = b "]"
             printf "{\"a\":%s%s}", a, b }' >"$build/deep.json"
for kind in one/build static; do
    status=0
    # The shells that Debian has for sh know -s.
    # shellcheck disable=SC3045
    (ulimit -s 1024 && exec "$build/$kind/switch-querier" "$build/deep.json" -flip) \
        >/dev/null 2>&1 || status=$?
    # 180: all of it was read, and has no App/isEncoder.
    [ "$status" -eq 180 ] || fail "$kind: the deepest document ends with $status on 1 MB of stack"
done

for program in $programs; do
    copy=$build/stripped
    case $program in
    */aarch64*) aarch64-linux-gnu-strip -o "$copy" "$program" ;;
    *) strip -o "$copy" "$program" ;;
    esac
    printf '%s: %d bytes stripped\n' "${program#"$build"/}" "$(wc -c <"$copy")"
done
exit "$failed"
