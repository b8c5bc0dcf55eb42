#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if clang-tidy finds something with those of its checks that look at nothing but the file
# that it is called with: an include, using declaration or alias without a use, or an outdated
# header. What a file uses may come from what its own header includes.
set -eu
checks='-*,misc-include-cleaner,misc-unused-*-decls,modernize-deprecated-headers'
found=$(clang-tidy-19 --quiet --checks="$checks" --warnings-as-errors='-*' app/*.[ch]* \
    json/*.[ch]* gpio/*.[ch]* log/*.[ch]* fileio/*.[ch]* demo/*.cpp tests/appliance/*.[ch]* \
    -- -x c++ -std=c++20 -I . -D 'SWITCH_QUERIER_CONTACT=""' 2>&1) || {
    echo "$found"
    exit 1
}
! echo "$found" | grep -a ' warning: ' | grep -av 'no header providing .* is directly included'
