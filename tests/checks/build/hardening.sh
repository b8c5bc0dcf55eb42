#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Checks how the product was compiled and linked in the directory of a build.
# usage: hardening.sh DIRECTORY dynamic|static PROCESSOR; the last as uname(1) names it.
set -eu
directory=$1
kind=$2
processor=$3
program=$directory/switch-querier
failed=0

fail() {
    echo "$directory: $*"
    failed=1
}

# usage: has WORDS PATTERN; what readelf shows of the program has a line of this pattern.
has() {
    readelf -hldsW "$program" | grep -E "$2" >/dev/null || fail "$1 is missing"
}

# usage: lacks WORDS PATTERN
lacks() {
    ! readelf -hldsW "$program" | grep -E "$2" >/dev/null || fail "the program has $1"
}

python3 tests/checks/build/options.py "$directory" "$kind" "$processor" || failed=1
has "a stack that is not executable" 'GNU_STACK .* RW '
has "relocation made read-only" GNU_RELRO
lacks "a search path for libraries" 'RPATH|RUNPATH'
lacks "a change of the floating-point unit" set_fast_math
if [ "$kind" = static ]; then
    lacks "a loader" INTERP
    lacks "needed libraries" '\(NEEDED\)'
else
    has "position independence" 'Type: +DYN'
    has "immediate binding" BIND_NOW
fi
for library in $(readelf -dW "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    case $library in
    libstdc++.so.6 | libgcc_s.so.1 | libc.so.6 | libm.so.6 | ld-linux-*) ;;
    *) fail "the program needs $library" ;;
    esac
done

# The rest shows in the product's own objects: a static program has those of the C library, too.
case $processor in
x86_64) branches="IBT, SHSTK" ;;
aarch64) branches="BTI, PAC" ;;
*) branches= ;;
esac
fortified=no
for part in app fileio gpio json log; do
    archive=$directory/$part/libswitch-querier-$part.a
    readelf -sW "$archive" >"$directory/symbols.txt"
    grep -Eq 'UND +__stack_chk_fail$' "$directory/symbols.txt" ||
        fail "$part has no stack protector"
    # Of the calls that can be fortified ours has few; syslog(3) is one.
    ! grep -Eq 'UND +__[a-z]+_chk$' "$directory/symbols.txt" || fortified=yes
    [ -n "$branches" ] || continue
    objects=$(ar t "$archive" | wc -l)
    protected=$(readelf -nW "$archive" | grep -c "feature: $branches") || :
    [ "$protected" -eq "$objects" ] || fail "$part has objects without protection of branches"
done
[ "$fortified" = yes ] || fail "no call is fortified"
exit "$failed"
