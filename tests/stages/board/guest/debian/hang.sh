# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# A run that hangs: the unit's own limit ends it.
set -e
# shellcheck source=tests/stages/board/guest/debian/unit.sh
. /cases/debian/unit.sh
rm -rf "/etc/systemd/system/$unit.d" /config/*
systemctl daemon-reload
systemctl stop application.service "$unit"
systemctl reset-failed
mkfifo /config/app.json
systemctl start application.service && exit 1
[ "$(show Result)" = timeout ]
[ "$(show ActiveState application.service)" = inactive ]
[ "$(cat "/sys/fs/cgroup$(show ControlGroup)/cgroup.procs" 2>/dev/null)" = "" ]
[ -p /config/app.json ]
rm /config/app.json
