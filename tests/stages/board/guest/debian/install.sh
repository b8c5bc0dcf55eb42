# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Installs the package, and enables the application's unit, which requires the package's.
set -e
# shellcheck source=tests/stages/board/guest/debian/unit.sh
. /cases/debian/unit.sh
everything >/var/tmp/before
dpkg --install /cases/switch-querier.deb
dpkg --verify switch-querier
systemctl daemon-reload
systemctl enable application.service holder.service
[ "$(show TimeoutStartUSec)" = 30s ]
