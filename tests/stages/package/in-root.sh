#!/bin/sh
# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT

# Run as root in a fresh root: installs the package, runs what it brings, and purges it. Fails when
# something does not work, or is left over.
# usage: in-root.sh PACKAGE TRY
set -eu
package=$1
try=$2

# What is there, but for what dpkg keeps of its own work.
everything() {
    find / -xdev ! -path '/tmp/*' ! -path '/var/lib/dpkg/*-old' ! -path '/var/log/dpkg.log' |
        LC_ALL=C sort
}

everything >/tmp/before
dpkg --install "$package" >/tmp/log 2>&1 || {
    cat /tmp/log
    exit 1
}
everything >/tmp/installed
dpkg --verify switch-querier
sh "$try" /tmp/try switch-querier
sh "$try" /tmp/try /usr/sbin/switch-querier
(
    printf '{"App": {"isEncoder": true}}' >/tmp/app.json
    mode=
    # shellcheck disable=SC1091
    . /usr/share/doc/switch-querier/examples/switch-mode.sh
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
bash -c 'set -eu
    . /usr/share/bash-completion/completions/switch-querier
    complete -p switch-querier >/dev/null'
dpkg --purge switch-querier >/tmp/log 2>&1 || {
    cat /tmp/log
    exit 1
}
everything >/tmp/after
# Else there was nothing to be gone.
grep -qx /usr/sbin/switch-querier /tmp/installed
diff /tmp/before /tmp/after || {
    echo "the purged package left or removed these files"
    exit 1
}
