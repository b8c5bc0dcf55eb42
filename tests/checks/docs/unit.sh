#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when systemd-analyze finds something in the unit, or calls it more exposed than 1.1 of 10.
# usage: unit.sh PROGRAM
set -eu
command -v systemd-analyze >/dev/null || {
    echo "systemd-analyze is missing: install the package systemd" >&2
    exit 1
}
unit=packaging/systemd/switch-querier.service
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
# systemd-analyze wants the program at the path that the unit names; this build is elsewhere.
sed "s|^ExecStart=/usr/sbin/switch-querier |ExecStart=$1 |" "$unit" \
    >"$directory/switch-querier.service"
grep -q "^ExecStart=$1 " "$directory/switch-querier.service"
said=$(systemd-analyze verify --man=no "$directory/switch-querier.service" 2>&1) || {
    echo "$said"
    exit 1
}
[ -z "$said" ] || {
    echo "$said"
    exit 1
}
said=$(systemd-analyze security --no-pager --offline=yes --threshold=11 \
    "$directory/switch-querier.service" 2>&1) || {
    echo "$said"
    exit 1
}
for line in SuccessExitStatus=1 TimeoutStartSec=30 UMask=0077 ProtectKernelTunables=no \
    Type=oneshot; do
    grep -qx "$line" "$unit" || {
        echo "the unit has no line $line"
        exit 1
    }
done
