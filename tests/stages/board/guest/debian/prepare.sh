# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Prepares the next boot for a line of boots.cases.
# usage: prepare.sh LINE MARKER DISK FILE
set -e
# shellcheck source=tests/stages/board/guest/debian/unit.sh
. /cases/debian/unit.sh
rm -rf /config/* /var/held
[ "$1" != held ] || touch /var/held
[ "$2" = none ] || touch "/config/$2"
[ "$4" = none ] || install -m 644 "/cases/documents/$4.json" /config/app.json
if [ "$3" = full ]; then
    cat /dev/zero >/config/big 2>/dev/null || :
    sync
    cat /dev/zero >/config/last 2>/dev/null || :
fi
# On a slow host the sandbox alone can take longer than the unit allows.
mkdir -p "/etc/systemd/system/$unit.d"
printf '[Service]\nTimeoutStartSec=600\n' >"/etc/systemd/system/$unit.d/slow-host.conf"
for log in syslog kern.log; do
    : >"/var/log/$log"
done
sync
