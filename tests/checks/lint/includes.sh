#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if clang-tidy finds something with those of its checks that look at nothing but the file
# that it is called with: an include, using declaration or alias without a use, or an outdated
# header. What a file uses may come from what its own header includes.
# usage: includes.sh CLANG-TIDY…
set -eu
checks='-*,misc-include-cleaner,misc-unused-*-decls,modernize-deprecated-headers'
found=$("$@" --checks="$checks" --warnings-as-errors='-*' app/*.[ch]* json/*.[ch]* gpio/*.[ch]* \
    log/*.[ch]* fileio/*.[ch]* demo/*.cpp tests/appliance/*.[ch]* 2>&1) || {
    echo "$found"
    exit 1
}
! echo "$found" | grep -a ' warning: ' | grep -av 'no header providing .* is directly included'
