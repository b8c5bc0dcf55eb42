# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# What the host has Debian do, one function each; any command that fails ends it.

# shellcheck source=tests/stages/emulator/guest/results.sh
. /cases/results.sh
unit=switch-querier@config-app.json.service
overrides=/etc/systemd/system/$unit.d

# Prints a property of the unit, or of another one.
show() {
    systemctl show --property="$1" --value "${2:-$unit}"
}

# What is there, except for what dpkg keeps of its own work.
everything() {
    find / -xdev \( -path /var/lib/dpkg -o -path /var/log -o -path /var/tmp -o -path /tmp \
        -o -path /etc/systemd/system -o -path /cases \) -prune -o -print | sort
}

# Installs the package, and gives the application's unit the drop-in that is its example.
install_package() {
    everything >/var/tmp/before
    dpkg --install /cases/switch-querier.deb
    [ -z "$(dpkg --verify switch-querier)" ]
    mkdir /etc/systemd/system/application.service.d
    cp /usr/share/doc/switch-querier/examples/application.conf \
        /etc/systemd/system/application.service.d/mode.conf
    systemctl daemon-reload
    systemctl enable application.service holder.service
    [ "$(show TimeoutStartUSec)" = 30s ]
}

# Removes the package; nothing of it may be left.
purge_package() {
    [ -x /usr/sbin/switch-querier ]
    dpkg --purge switch-querier
    everything >/var/tmp/after
    diff /var/tmp/before /var/tmp/after
    ! dpkg-query --show switch-querier >/dev/null 2>&1 || exit 1
}

# Prepares the next boot for a line of boots.cases.
# usage: prepare NAME LINE MARKER DISK FILE
prepare() {
    rm -rf /config/* /var/held
    [ "$2" != held ] || touch /var/held
    [ "$3" = none ] || touch "/config/$3"
    /cases/expected-run "$2" "$3" "$4" "$5" /config/app.json /config/app.json
    [ "$5" = none ] || install -m 644 /tmp/expected/document /config/app.json
    [ "$4" != full ] || fill /config || :
    # On a slow host the sandbox alone can take longer than the unit allows.
    mkdir -p "$overrides"
    printf '[Service]\nTimeoutStartSec=600\n' >"$overrides/slow-host.conf"
    for log in syslog kern.log; do
        : >"/var/log/$log"
    done
    sync
}

# Starts the application anew, for which the unit decides with this status.
# usage: decide STATUS IS-ENCODER
decide() {
    systemctl stop application.service "$unit"
    systemctl start application.service
    [ "$(show ExecMainStatus)" = "$1" ]
    grep -q "\"isEncoder\": $2" /run/application.json
}

# Hides the kernel's files for lines, so that the switch is unreadable, and then gives the unit the
# drop-in that reads it by gpioget. A reboot undoes both.
read_by_gpioget() {
    echo 17 >/sys/class/gpio/unexport
    mount -t tmpfs none /sys/class/gpio
    refuse
    [ "$(show ExecMainStatus)" = 210 ]
    mkdir -p /run/systemd/system/switch-querier@.service.d
    cp /usr/share/doc/switch-querier/examples/gpioget.conf \
        /run/systemd/system/switch-querier@.service.d
    systemctl daemon-reload
}

# The application, which is started, does not start for want of the unit.
refuse() {
    systemctl stop application.service "$unit"
    rm -f /run/application.json
    ! systemctl start application.service || exit 1
    [ "$(show ActiveState application.service)" = inactive ]
    [ ! -e /run/application.json ]
}

# A /config that is read-only or missing: the unit does not run, and the journal says why.
refuse_without_config() {
    before=$(journalctl --boot --identifier=switch-querier | wc -l)
    mount -o remount,ro /config
    refuse
    [ "$(show AssertResult)" = no ]
    umount /config
    sed -i '/ \/config /d' /etc/fstab
    systemctl daemon-reload
    rmdir /config
    refuse
    [ "$(show AssertResult)" = no ]
    [ "$(journalctl --boot --identifier=switch-querier | wc -l)" = "$before" ]
    [ "$(journalctl --boot --unit="$unit" | grep -c 'Assertion failed for')" = 2 ]
    mkdir /config
}

# A run that hangs because the configuration file is a FIFO: the unit's own limit ends it.
hang() {
    rm -rf "$overrides" /config/*
    systemctl daemon-reload
    mkfifo /config/app.json
    refuse &
    hangs=no
    while kill -0 $! 2>/dev/null; do
        [ "$(cat "/proc/$(show MainPID)/comm" 2>/dev/null)" != switch-querier ] || hangs=yes
        sleep 1
    done
    wait $!
    [ "$hangs" = yes ]
    [ "$(show Result)" = timeout ]
    [ "$(show ActiveState)" = failed ]
    [ "$(show ExecMainStatus)" = 15 ] # killed by SIGTERM
    ! grep -qx switch-querier /proc/[0-9]*/comm 2>/dev/null || exit 1
    [ -p /config/app.json ]
    systemctl reset-failed
}
