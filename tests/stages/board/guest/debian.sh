# SPDX-FileCopyrightText: The switch querier authors
# SPDX-License-Identifier: MIT
# shellcheck shell=dash

# Brings what the tests need to the Debian on the SD card, and goes on with it.
killall syslogd
rm /dev/log
until [ -b /dev/mmcblk2 ]; do
    usleep 100000
done
mount -t ext4 /dev/mmcblk2 /disk
rm -rf /disk/cases
cp -a /cases /disk/cases
cp /bin/expected-run /bin/hold-line /disk/cases
cd /disk/etc/systemd/system || exit 1

# The application that the unit decides for; the package's example orders it after that.
cat >application.service <<'UNIT'
[Service]
Type=oneshot
RemainAfterExit=yes
ExecStart=/bin/cp /config/app.json /run/application.json

[Install]
WantedBy=multi-user.target
UNIT

# Another user of the line.
cat >holder.service <<'UNIT'
[Unit]
ConditionPathExists=/var/held
Before=switch-querier@config-app.json.service

[Service]
Type=exec
ExecStart=/cases/hold-line /dev/gpiochip0 17 /bin/sleep infinity

[Install]
WantedBy=multi-user.target
UNIT

# A shell for the host, after all has started, or failed to.
cat >console.service <<'UNIT'
[Unit]
After=multi-user.target

[Service]
ExecStart=/bin/sh -c ". /cases/debian-steps.sh && serve_host"
StandardInput=tty-force
StandardOutput=tty
TTYPath=/dev/ttymxc1
UNIT
mkdir -p graphical.target.wants
ln -sf ../console.service graphical.target.wants
exec switch_root /disk /sbin/init
