# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The scripts report to the host by lines on the console that begin with "@".

pass() {
    echo "@pass $1"
}

# The name of the case, and the problem.
fail() {
    echo "@fail $1: $2"
}

# Reports the case, which fails if there is a problem.
conclude() {
    if [ -z "$problem" ]; then
        pass "$1"
    else
        fail "$1" "$(echo "$problem" | tr '\n' '~')"
    fi
}

# Note a difference, of texts and of files.
compare() {
    [ "$2" = "$3" ] || problem="$problem $1 is [$2], not [$3];"
}
compare_files() {
    cmp -s "$2" "$3" || problem="$problem $1 is [$(head -c 999 "$2")], not [$(head -c 999 "$3")];"
}

# Compares what is left with what expected-run writes: the configuration file, which was the
# document, and the temporary one, which a run leaves whose exit status is 236.
# usage: compare_configuration PATH DOCUMENT STATUS
compare_configuration() {
    if [ "$2" = none ]; then
        [ ! -e "$1" ] || problem="$problem a file was made;"
    else
        compare_files "the file" "$1" /tmp/expected/config
    fi
    [ "$3" = 236 ] || [ ! -e "$1.filsec" ] || problem="$problem the temporary file is left;"
}

# Fills the file system that has the directory, to its last block.
fill() {
    dd if=/dev/zero of="$1/big" bs=64k
    dd if=/dev/zero of="$1/small" bs=1k
    sync
    dd if=/dev/zero of="$1/last" bs=1k
} 2>/tmp/none
