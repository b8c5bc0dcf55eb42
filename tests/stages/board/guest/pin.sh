# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The program for each line of program.cases in which nothing but the pin decides.
table=pin.cases
grep -E '^(new-|out-)?(low|high) +none +ext4 .* (FILE|FILE,-query|-query) ' /cases/program.cases \
    >/cases/$table
# shellcheck source=tests/stages/machine/guest/program.sh
. /cases/program.sh
