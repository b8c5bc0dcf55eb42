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
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# It wants the program where the unit says it is; here it stands elsewhere.
sed "s|^ExecStart=/usr/sbin/switch-querier |ExecStart=$1 |" "$unit" \
    >"$folder/switch-querier.service"
grep -q "^ExecStart=$1 " "$folder/switch-querier.service"
said=$(systemd-analyze verify --man=no "$folder/switch-querier.service" 2>&1) || {
    echo "$said"
    exit 1
}
[ -z "$said" ] || {
    echo "$said"
    exit 1
}
said=$(systemd-analyze security --no-pager --offline=yes --threshold=11 \
    "$folder/switch-querier.service" 2>&1) || {
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
