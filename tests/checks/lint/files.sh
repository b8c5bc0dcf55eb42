# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=sh

# Sourced by the checks. Prints the files of the tree, without what git and the builds write.
files() {
    find . \( -path ./.git -o -path './build*' -o -name __pycache__ \) -prune -o -type f -print |
        LC_ALL=C sort
}
