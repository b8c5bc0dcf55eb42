# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# Sourced by run.sh of the stages "machine" and "board", at the top of the tree, after it has set
# $stage to its name and $extent to its argument.
# shellcheck disable=SC2034,SC2154 # what one script sets is for the other
. scripts/steps.sh
build=build/$stage
log=build/$stage.log

case $extent in
short | long) ;;
*)
    echo "usage: tests/stages/$stage/run.sh [long]" >&2
    exit 2
    ;;
esac

# usage: fetch WHAT RELEASE ARCHITECTURE NAME alone|all PACKAGE…; sets "fetched" to their directory.
fetch() {
    what=$1
    shift
    step "fetching $what" sh tests/stages/emulator/fetch.sh "$@"
    fetched=$(tail -n 1 "$log")
}

# usage: run_stage PACKAGES [EMULATOR…]
run_stage() {
    PYTHONPATH=tests/stages/emulator
    export PYTHONPATH
    step "running the $stage" python3 -B "tests/stages/$stage/stage.py" "$build" "$extent" "$@"
    cat "$log"
}
