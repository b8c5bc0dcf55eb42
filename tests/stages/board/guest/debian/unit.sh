# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Sourced by the other scripts.
unit=switch-querier@config-app.json.service

# Prints a property of the unit, or of another one.
show() {
    systemctl show --property="$1" --value "${2:-$unit}"
}

# What is there, except for what dpkg keeps of its own work.
everything() {
    find / -xdev \( -path /var/lib/dpkg -o -path /var/log -o -path /var/tmp -o -path /tmp \
        -o -path /etc/systemd/system -o -path /cases \) -prune -o -print | sort
}
