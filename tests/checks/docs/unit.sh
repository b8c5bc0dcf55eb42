#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when systemd-analyze finds something in the unit or in an application's unit that has the
# example's drop-in, or calls the unit more exposed than 1.1 of 10.
# usage: unit.sh PROGRAM UNIT
set -eu
program=$1
unit=$2
command -v systemd-analyze >/dev/null || {
    echo "systemd-analyze is missing: install the package systemd" >&2
    exit 1
}
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

fail() {
    echo "$*"
    exit 1
}

# The program is expected where the unit says it is; here it is elsewhere.
mkdir "$directory/application.service.d"
sed "s|^ExecStart=.*/sbin/switch-querier |ExecStart=$program |" "$unit" \
    >"$directory/switch-querier@.service"
grep -qx "ExecStart=$program %f" "$directory/switch-querier@.service" || fail "no ExecStart="
printf '[Service]\nExecStart=/bin/true\n' >"$directory/application.service"
cp packaging/systemd/application.conf "$directory/application.service.d/mode.conf"
SYSTEMD_UNIT_PATH=$directory:
export SYSTEMD_UNIT_PATH
# usage: verify; prints what systemd-analyze objects to.
verify() {
    systemd-analyze verify --man=no --recursive-errors=yes "$directory/application.service" \
        "$directory/switch-querier@config-app.json.service" 2>&1
}
said=$(verify) || fail "$said"
[ -z "$said" ] || fail "$said"
# The instance was really loaded from the template: its ExecStart= is refused without the program.
sed -i "s|^ExecStart=.*|ExecStart=$directory/none %f|" "$directory/switch-querier@.service"
said=$(verify) || :
case $said in
*"switch-querier@config-app.json.service"*"$directory/none"*) ;;
*) fail "the template is not loaded: $said" ;;
esac

said=$(systemd-analyze security --no-pager --offline=yes --threshold=11 "$unit" 2>&1) ||
    fail "$said"
for line in SuccessExitStatus=1 TimeoutStartSec=30 UMask=0077 ProtectKernelTunables=no \
    Type=oneshot RemainAfterExit=yes StandardOutput=null StandardError=null \
    AssertPathIsReadWrite=/config ReadWritePaths=/config 'RequiresMountsFor=/config %f'; do
    grep -qx "$line" "$unit" || fail "the unit has no line $line"
done
[ "$(systemd-escape --path /config/app.json)" = config-app.json ] || fail "the instance's name"
