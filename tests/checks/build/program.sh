#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Builds the program as a packager does, with a contact address of awkward characters, and checks
# the address in the banner, the compiler's options, and the hardening of objects and program.
# usage: program.sh DIRECTORY
set -eu
. scripts/steps.sh
directory=$1
log=$directory.log
# None of it is for the shell.
# shellcheck disable=SC2016
contact='a "b"; c\d $e #f '\''g'\'' %h $<0:i> ${j} <k@example.com>'
rm -rf "$directory"
build "$directory" -S . -D CMAKE_EXPORT_COMPILE_COMMANDS=ON -D "SWITCH_QUERIER_CONTACT=$contact"
failed=0
fail() {
    echo "build: $*"
    failed=1
}

expected="**** switch-querier - Tarvo enc/dec switch querier, V4.14 2020-01-16 $contact"
shown=$("$directory/switch-querier" | head -n 1)
[ "$shown" = "$expected" ] || fail "the banner is: $shown"

python3 tests/checks/build/options.py "$directory/compile_commands.json" || failed=1

# usage: has FILE PATTERN WORDS; what readelf shows of the file has a line of this pattern.
has() {
    readelf -hldsnW "$1" 2>/dev/null | grep -Eq "$2" || fail "$1: $3 is missing"
}
program=$directory/switch-querier
has "$program" 'Type: +DYN' "position independence"
has "$program" 'GNU_STACK .* RW ' "a stack that is not executable"
has "$program" GNU_RELRO "relocation made read-only"
has "$program" BIND_NOW "immediate binding"
has "$program" __syslog_chk "a fortified call"
if readelf -dsW "$program" | grep -Eq 'RPATH|RUNPATH|set_fast_math'; then
    fail "the program has a search path, or changes the floating-point unit"
fi
case $(uname -m) in
x86_64) branches="IBT, SHSTK" ;;
*) branches="BTI, PAC" ;;
esac
for source in app/*.cpp fileio/*.cpp gpio/*.cpp json/*.cpp log/*.cpp; do
    object=$(find "$directory/${source%/*}" -name "${source##*/}.o")
    has "$object" "feature: $branches" "the protection of branches"
done
for leaf in app fileio gpio json log; do
    has "$directory/$leaf/libswitch-querier-$leaf.a" 'UND +__stack_chk_fail$' "a stack protector"
done
[ "$failed" -eq 1 ] || rm -rf "$directory"
exit "$failed"
