# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Installs the package, and enables the unit that it brings and the application's.
set -e
# shellcheck source=tests/stages/board/guest/debian/unit.sh
. /cases/debian/unit.sh
everything >/var/tmp/before
dpkg --install /cases/switch-querier.deb
dpkg --verify switch-querier
cp /usr/share/doc/switch-querier/examples/switch-querier.service /etc/systemd/system
systemctl daemon-reload
systemctl enable application.service holder.service
systemctl enable "$unit"
[ "$(show TimeoutStartUSec)" = 30s ]
