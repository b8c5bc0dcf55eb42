# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# The exposure that the unit's comment names, by the systemd that runs it.
set -e
# shellcheck source=tests/stages/board/guest/debian/unit.sh
. /cases/debian/unit.sh
systemd-analyze security --no-pager --threshold=11 "$unit" | tail -n 1
systemd-analyze verify --man=no "$unit"
