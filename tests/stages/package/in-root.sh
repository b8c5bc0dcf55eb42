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

# What is there, but for what dpkg keeps of its own work, and where proot shows the host.
everything() {
    find / -xdev \( -path /host-rootfs -o -path /tmp \) -prune -o \
        ! -path '/var/lib/dpkg/*-old' ! -path '/var/lib/dpkg/lock*' \
        ! -path '/var/lib/dpkg/triggers/*' ! -path '/var/log/*' -print | LC_ALL=C sort
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
# The example of an init script, which starts the application after a success only.
(
    mkdir -p /config
    printf '#!/bin/sh\nexec sleep 100\n' >/usr/bin/application
    chmod +x /usr/bin/application
    script=/usr/share/doc/switch-querier/examples/S50application
    echo >/config/app.json
    touch /config/ENCODER
    status=0
    sh $script start >/tmp/log 2>&1 || status=$?
    [ "$status" -eq 174 ] && [ ! -e /run/application.pid ]
    printf '{"App": {"isEncoder": false}}' >/config/app.json
    sh $script start >/tmp/log 2>&1
    grep -qx 'Starting application as encoder' /tmp/log
    sh $script stop >/tmp/log
    rm -r /config /usr/bin/application /run/application.pid /run/switch-querier.lock
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
same_as_before "remove"
run_dpkg --install "$newer"
run_dpkg --purge switch-querier
same_as_before "purge"
