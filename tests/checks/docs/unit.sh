#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Fails when systemd-analyze finds something in the unit or in an application's unit that has the
# example's drop-in, or calls the unit more exposed than 1.1 of 10, or when a text names it wrongly.
# usage: unit.sh PROGRAM UNIT INSTALLED-PROGRAM
set -eu
program=$1
unit=$2
installed=$3
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

fail() {
    echo "$*"
    exit 1
}

# The program is expected where the unit says it is; here it is elsewhere.
mkdir "$directory/application.service.d"
sed "s|^ExecStart=$installed |ExecStart=$program |" "$unit" >"$directory/switch-querier@.service"
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
mkdir "$directory/switch-querier@.service.d"
cp packaging/systemd/gpioget.conf "$directory/switch-querier@.service.d"
said=$(verify) || fail "$said"
[ -z "$said" ] || fail "$said"
rm -r "$directory/switch-querier@.service.d"
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
    AssertPathIsReadWrite=/config ReadWritePaths=/config 'RequiresMountsFor=/config %f' \
    WantedBy=multi-user.target; do
    grep -qx "$line" "$unit" || fail "the unit has no line $line"
done
instance=switch-querier@$(systemd-escape --path /config/app.json).service
for line in "Requires=$instance" "After=$instance"; do
    for file in "$unit" packaging/systemd/application.conf man/switch-querier.8; do
        grep -Eqx "(# +)?$line" "$file" || fail "$file has no line $line"
    done
done
# Which of the tool's statuses are also systemd's own is in the manual and the README.
systemd-analyze exit-status | awk '$3 == "systemd" { print $2, $1 }' | while read -r status name; do
    for file in man/switch-querier.8 README.md; do
        ! grep -Eq "^(\.It |\| )$status( |$)" "$file" || grep -q "$status/$name" "$file" ||
            fail "$file does not say that $status is also systemd's $name"
    done
done
