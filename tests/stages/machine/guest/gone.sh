# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The program on a chip without line 17.
table=gone.cases
# shellcheck source=tests/stages/machine/guest/program.sh
. /cases/program.sh
