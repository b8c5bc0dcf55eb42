#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails if a linter finds something, or a text breaks a rule that none of them knows.
# usage: lint.sh Arrows|Columns|Cppcheck|Format|Includes|Python|Shell|Spelling
set -eu
export LC_ALL=C.UTF-8

# Prints the files of the tree, without what git and the builds write.
files() {
    find . \( -path ./.git -o -path './build*' -o -name __pycache__ \) -prune -o -type f -print |
        sort
}

# Prints what it reads, and fails if that is anything.
nothing() {
    ! grep -a .
}

case $1 in
Arrows)
    # A leaf includes no other directory. Only app/ words a message, and only log/ knows the console
    # and the system log.
    grep -nE '^\s*#\s*include\s*"' json/*.[ch]* gpio/*.[ch]* log/*.[ch]* fileio/*.[ch]* |
        grep -vE '^(\w+)/[^:]*:[0-9]+:#include "\1/' | nothing
    streams='cout|cerr|clog|stdout|stderr|STDOUT_FILENO|STDERR_FILENO'
    functions='f?printf|puts|fputs|putchar|perror|syslog'
    grep -nE "<(iostream|syslog\.h)|\b($streams|$functions)\b" json/*.[ch]* gpio/*.[ch]* \
        fileio/*.[ch]* | grep -vE '^[^:]*:[0-9]+: *//' | nothing
    ;;
Columns)
    # At most 100, but in a row of a table, in a line with a URL, and in one of the sources' lines.
    files | grep -vE '\.(tsv|cases|table|png|svg)$|/survivors\.txt$' |
        xargs grep -nHIE '^.{101,}' | grep -vE '[a-z]://|^[^:]*\.md:[0-9]+:\|' | nothing
    ;;
Cppcheck)
    # It takes the elements of a std::array of pointers for integers, and what an iterator of a map
    # leads to for read-only. Execvp(3) wants pointers that could be written through. The remark
    # about the level is about cppcheck itself. A loop that a reader knows is plainer than an
    # algorithm with a lambda.
    cppcheck --quiet --std=c++20 --language=c++ --error-exitcode=1 --inline-suppr \
        --enable=warning,style,performance,portability -I . -D 'SWITCH_QUERIER_CONTACT=""' \
        --suppress=CastIntegerToAddressAtReturn --suppress=constVariable:json/JsonPath.cpp \
        --suppress=constVariableReference:tests/appliance/Command.cpp \
        --suppress=normalCheckLevelMaxBranches --suppress=useStlAlgorithm \
        app json gpio log fileio demo tests/appliance
    ;;
Format) files | grep -E '\.(h|c|cpp)$' | xargs clang-format --dry-run --Werror ;;
Includes)
    # With those checks of clang-tidy that look at nothing but the file that it is called with: an
    # include, using declaration or alias without a use, or an outdated header. What a file uses may
    # come from what its own header includes.
    checks='-*,misc-include-cleaner,misc-unused-*-decls,modernize-deprecated-headers'
    {
        clang-tidy-19 --quiet --checks="$checks" --warnings-as-errors='-*' app/*.[ch]* \
            json/*.[ch]* gpio/*.[ch]* log/*.[ch]* fileio/*.[ch]* demo/*.cpp \
            tests/appliance/*.[ch]* -- -x c++ -std=c++20 -I . -D 'SWITCH_QUERIER_CONTACT=""' \
            2>&1 || echo " error: status $?"
    } | grep -aE ' (warning|error): ' | grep -av 'no header providing .* is directly included' |
        nothing
    ;;
Python)
    files | grep '\.py$' | xargs black --check --quiet --diff
    files | grep '\.py$' | xargs flake8
    ;;
Shell)
    # The libraries that are sourced have no first line that names a shell.
    {
        files | grep '\.sh$'
        files | grep -v '\.sh$' | xargs grep -lE '^#!/.*\b(sh|bash)$|^# shellcheck shell='
    } | xargs shellcheck -x
    ;;
Spelling) files | xargs codespell --ignore-words-list=alse,fals,fase,infinit,nd,parm,tru ;;
*) exit 2 ;;
esac
