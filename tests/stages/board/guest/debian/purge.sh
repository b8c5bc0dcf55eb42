# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Removes the package; nothing of it may be left.
set -e
# shellcheck source=tests/stages/board/guest/debian/unit.sh
. /cases/debian/unit.sh
[ -x /usr/sbin/switch-querier ]
dpkg --purge switch-querier
everything >/var/tmp/after
diff /var/tmp/before /var/tmp/after
! dpkg-query --show switch-querier >/dev/null 2>&1 || exit 1
