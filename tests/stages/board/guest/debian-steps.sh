# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# What the host has Debian do, one function each; any command that fails ends it, except in
# check_boot.

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

# Prepares the next boot for a line of BOOTS in stage.py.
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

# Compares what a boot has left with what expected-run writes.
# usage: check_boot NAME LINE MARKER DISK FILE STATUS
check_boot() {
    set +ex
    name="boot $1"
    status=$6
    document=$5
    problem=
    /cases/expected-run "$2" "$3" "$4" "$5" /config/app.json /config/app.json
    compare "the status of expected-run" $? 0
    compare "the expected status" "$(cat /tmp/expected/status)" "$status"

    # The unit, and the application, which starts after it, with the new mode, or not at all.
    compare "the unit's status" "$(show ExecMainStatus)" "$status"
    if [ "$status" -le 1 ]; then
        compare "the unit's result" "$(show Result)" success
        compare "the unit" "$(show ActiveState)" active
        compare "the application" "$(show ActiveState application.service)" active
        compare_files "the application's mode" /run/application.json /tmp/expected/config
        ended=$(show ExecMainExitTimestampMonotonic)
        started=$(show ExecMainStartTimestampMonotonic application.service)
        [ "$started" -ge "$ended" ] || problem="$problem the application started too early;"
    else
        compare "the unit's result" "$(show Result)" exit-code
        compare "the unit" "$(show ActiveState)" failed
        compare "the application" "$(show ActiveState application.service)" inactive
        [ ! -e /run/application.json ] || problem="$problem the application started;"
    fi

    # The records, of facility 0, which journald leaves out and rsyslog takes for the kernel's.
    journalctl --sync
    journalctl --boot --identifier=switch-querier --output=export _TRANSPORT=syslog \
        --output-fields=PRIORITY,SYSLOG_FACILITY,SYSLOG_IDENTIFIER,MESSAGE |
        mawk '/^PRIORITY=/ { level = substr($0, 10) }
            /^SYSLOG_FACILITY=/ { facility = " with " $0 }
            /^SYSLOG_IDENTIFIER=/ { name = substr($0, 19) }
            /^MESSAGE=/ { text = substr($0, 9) }
            /^$/ { print level facility " " name ": " text; facility = "" }' |
        sed 's/^3 /err /; s/^6 /info /' >/tmp/journal
    compare_files "the journal" /tmp/journal /tmp/expected/log
    sed 's/^[a-z]* //' /tmp/expected/log >/tmp/expected/syslog
    for log in syslog kern.log; do
        for attempt in 1 2 3 4 5 6 7 8 9 10; do
            sed -n 's/^[^ ]* board \(switch-querier: .*\)/\1/p' "/var/log/$log" >/tmp/syslog
            ! cmp -s /tmp/syslog /tmp/expected/syslog || break
            sleep 1
        done
        compare_files "$log after $attempt s" /tmp/syslog /tmp/expected/syslog
    done

    # The report, and what else goes to standard error.
    case $(show StandardError) in
    journal) ;;
    *) : >/tmp/expected/err ;;
    esac
    journalctl --boot --unit="$unit" --output=cat _TRANSPORT=stdout >/tmp/err
    compare_files "the unit's output" /tmp/err /tmp/expected/err

    # The file, a new one or the old one.
    compare_configuration /config/app.json "$document" "$status"
    mode=600
    ! cmp -s /tmp/expected/document /config/app.json || mode=644
    [ "$document" = none ] ||
        compare "the file's mode" "$(stat -c '%a %U:%G' /config/app.json)" "$mode root:root"
    conclude "$name"
}

# Does what the lines from the host say, and reports each one's status.
serve_host() {
    stty -echo
    printf "\n@ready\n" # on a line of its own, after what systemd resets the terminal with
    while read -r line; do
        [ -n "$line" ] || continue
        (eval "set -ex; $line") </dev/null 2>&1
        echo "@status $?"
    done
}
