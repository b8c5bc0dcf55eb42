#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Run as root in a fresh root: installs the package, runs what it brings, upgrades, removes,
# installs again and purges it. Fails if something does not work, or is left over.
# usage: in-root.sh PACKAGE NEWER-PACKAGE TRY MANUAL
set -eu
package=$1
newer=$2
try=$3
manual=$4

# What is there, but for what dpkg keeps of its own work, of which one file can be named, and where
# proot shows the host.
dpkg_keeps=none
everything() {
    find / -xdev \( -path /host-rootfs -o -path /tmp \) -prune -o \
        ! -path '/var/lib/dpkg/*-old' ! -path '/var/lib/dpkg/lock*' \
        ! -path '/var/lib/dpkg/triggers/*' ! -path "/var/lib/dpkg/info/$dpkg_keeps" \
        ! -path '/var/log/*' -print | LC_ALL=C sort
}

# usage: run_dpkg ARGUMENT…
run_dpkg() {
    dpkg "$@" >/tmp/log 2>&1 || {
        cat /tmp/log
        exit 1
    }
}

# usage: same_as_before AFTER-WHAT
same_as_before() {
    everything >/tmp/after
    diff /tmp/before /tmp/after || {
        echo "the package left that, or removed it: $1"
        exit 1
    }
}

mkdir -p /etc/systemd/system
everything >/tmp/before
run_dpkg --install "$package"
everything >/tmp/installed
# Else there were nothing to be gone.
grep -qx /usr/sbin/switch-querier /tmp/installed
dpkg --verify switch-querier
sh "$try" /tmp/try switch-querier
sh "$try" /tmp/try /usr/sbin/switch-querier
(
    printf '{"App": {"isEncoder": true}}' >/tmp/app.json
    mode=
    # shellcheck disable=SC1091
    . /usr/share/switch-querier/switch-mode.sh
    for wanted in decoder encoder; do
        switch_mode /tmp/app.json -flip >/tmp/log 2>&1
        [ "$mode" = "$wanted" ] || {
            echo "the init snippet says '$mode', not $wanted"
            cat /tmp/log
            exit 1
        }
    done
    rm /run/switch-querier.lock
)
# The example of an init script finds what is installed, and stops at the tool's refusal.
(
    mkdir -p /config
    touch /config/ENCODER
    echo >/config/app.json
    status=0
    /usr/share/doc/switch-querier/examples/S50application start >/tmp/log 2>&1 || status=$?
    [ "$status" -eq 174 ] || {
        echo "the example of an init script ends with $status"
        cat /tmp/log
        exit 1
    }
    rm -r /config /run/switch-querier.lock
)
bash -c 'set -eu
    . /usr/share/bash-completion/completions/switch-querier
    complete -p switch-querier >/dev/null'
mkdir /tmp/manual
AUTOPKGTEST_TMP=/tmp/manual sh "$manual"
rm -rf /config

run_dpkg --install "$newer"
[ "$(dpkg-query -W -f '${Version}' switch-querier)" = "$(dpkg-deb -f "$newer" Version)" ]
dpkg --verify switch-querier
sh "$try" /tmp/try switch-querier
run_dpkg --remove switch-querier
dpkg_keeps='switch-querier.*' # what purges it
same_as_before "remove"
dpkg_keeps=none
run_dpkg --install "$newer"
# As "systemctl enable" leaves it.
wants=/etc/systemd/system/multi-user.target.wants
mkdir -p $wants
ln -s /usr/lib/systemd/system/switch-querier@.service \
    $wants/switch-querier@config-app.json.service
run_dpkg --purge switch-querier
same_as_before "purge"
